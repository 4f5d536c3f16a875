#include <corvane/aa/AntialiasMenu.h>

using namespace Qt::StringLiterals;

namespace corvane::aa {

namespace {

struct Row
{
    QLatin1StringView id;
    QStringView text;
};

constexpr Row rows[] = {
    {"none"_L1, u"None"},
    {"msaa-2x"_L1, u"MSAA 2× (experimental)"},
    {"msaa-4x"_L1, u"MSAA 4× (experimental)"},
    {"msaa-8x"_L1, u"MSAA 8× (experimental)"},
    {"ssaa-1.5x"_L1, u"SSAA 1.5× (renders at 1.5× resolution)"},
    {"ssaa-2x"_L1, u"SSAA 2× (renders at 2× resolution)"},
    {"fxaa"_L1, u"FXAA"},
    {"ssaa-2x+fxaa"_L1, u"SSAA 2× + FXAA (high quality)"},
    {"sdf-analytic"_L1, u"Analytic edges"},
};

} // namespace

QList<AntialiasMenu::Choice> AntialiasMenu::choices()
{
    QList<Choice> all;
    for (const Row &row : rows)
        all.append({.id = row.id, .text = row.text.toString()});
    return all;
}

QString AntialiasMenu::textOf(const QString &id)
{
    for (const Row &row : rows) {
        if (row.id == id)
            return row.text.toString();
    }
    return id;
}

QString AntialiasMenu::sampleCountNotice(int samples, int mostSamples)
{
    if (samples <= mostSamples)
        return {};
    return u"MSAA %1× exceeds this machine's cap of %2×"_s.arg(QString::number(samples),
                                                               QString::number(mostSamples));
}

} // namespace corvane::aa
