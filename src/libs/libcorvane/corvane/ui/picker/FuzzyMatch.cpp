// The best of all ways to lay the query over the text, by dynamic programming over pairs (letter of
// the query, letter of the text): best[j] is the best score of the query so far that ends at letter
// j of the text, and `run` the same where letter j - 1 was taken for the letter before. Cost is
// their product; both are short, and cut where they are not.
#include <corvane/ui/picker/FuzzyMatch.h>

#include <QList>

namespace corvane::ui {

namespace {

constexpr qsizetype longestText = 128;
constexpr int none = -1000000;
constexpr int letterScore = 10;
constexpr int runBonus = 15;
constexpr int wordBonus = 20;
constexpr int startBonus = 30;
constexpr int wholeBonus = 50;

int placeBonus(const QString &text, qsizetype at)
{
    if (at == 0)
        return startBonus;
    const QChar before = text.at(at - 1);
    return before.isLetterOrNumber() ? 0 : wordBonus;
}

} // namespace

std::optional<int> fuzzyScore(const QString &query, const QString &text)
{
    const QString wanted = query.simplified().toCaseFolded().left(longestText);
    const QString given = text.toCaseFolded().left(longestText);
    if (wanted.isEmpty())
        return 0;
    QList<int> best(given.size(), none);
    for (qsizetype i = 0; i < wanted.size(); ++i) {
        QList<int> next(given.size(), none);
        int reached = i == 0 ? 0 : none; // best of the letter before, further left
        for (qsizetype j = 0; j < given.size(); ++j) {
            const int run = j > 0 && i > 0 ? best.at(j - 1) + runBonus : none;
            const int from = std::max(reached, run);
            if (given.at(j) == wanted.at(i) && from > none / 2)
                next[j] = from + letterScore + placeBonus(given, j);
            if (i > 0)
                reached = std::max(reached, best.at(j));
        }
        best = next;
    }
    const auto top = std::max_element(best.cbegin(), best.cend());
    if (top == best.cend() || *top <= none / 2)
        return std::nullopt;
    const int whole = wanted == given ? wholeBonus : 0;
    return *top + whole - int(given.size() - wanted.size()) / 4;
}

} // namespace corvane::ui
