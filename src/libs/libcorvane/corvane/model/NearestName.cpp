#include "NearestName.h"

#include <algorithm>
#include <array>
#include <utility>

using namespace Qt::StringLiterals;

namespace corvane::model {

namespace {

constexpr qsizetype maxLetters = 64;

using Row = std::array<int, maxLetters + 1>;

// Three rows are enough: a swap looks two rows back, everything else one.
int slipsBetween(const QString &a, const QString &b)
{
    Row beforeLast{};
    Row last{};
    Row row{};
    for (qsizetype j = 0; j <= b.size(); ++j)
        last[size_t(j)] = int(j);
    for (qsizetype i = 1; i <= a.size(); ++i) {
        row[0] = int(i);
        for (qsizetype j = 1; j <= b.size(); ++j) {
            const auto at = size_t(j);
            const int change = last[at - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
            row[at] = std::min({last[at] + 1, row[at - 1] + 1, change});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                row[at] = std::min(row[at], beforeLast[at - 2] + 1);
        }
        beforeLast = std::exchange(last, row);
    }
    return last[size_t(b.size())];
}

} // namespace

QString nearestName(const QString &name, const QStringList &candidates)
{
    const QString wanted = name.toLower();
    QString nearest;
    int fewest = maxLetters;
    for (const QString &candidate : candidates) {
        if (wanted.size() > maxLetters || candidate.size() > maxLetters)
            continue;
        const auto allowed = std::max<qsizetype>(1, std::max(wanted.size(), candidate.size()) / 3);
        if (qAbs(wanted.size() - candidate.size()) > allowed)
            continue; // that many letters are missing at least
        const int slips = slipsBetween(wanted, candidate.toLower());
        // One letter for another of a single one is no slip but another name.
        const bool sharesLetters = slips < std::max(wanted.size(), candidate.size());
        if (slips <= allowed && sharesLetters && slips < fewest) {
            fewest = slips;
            nearest = candidate;
        }
    }
    return nearest;
}

QString didYouMean(const QString &name, const QStringList &candidates, const QString &otherwise)
{
    const QString nearest = nearestName(name, candidates);
    return nearest.isEmpty() ? otherwise : u"Did you mean \"%1\"?"_s.arg(nearest);
}

} // namespace corvane::model
