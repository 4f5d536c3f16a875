#include <corvane/aa/AntialiasStrategyFactory.h>

#include <corvane/aa/AnalyticSDFAAStrategy.h>
#include <corvane/aa/CompositeStrategy.h>
#include <corvane/aa/FXAAStrategy.h>
#include <corvane/aa/MSAAStrategy.h>
#include <corvane/aa/NoneStrategy.h>
#include <corvane/aa/SSAAStrategy.h>

#include <QLoggingCategory>

using namespace Qt::StringLiterals;

namespace corvane::aa {

Q_LOGGING_CATEGORY(lcAntialias, "ondrel.rendering.aa", QtWarningMsg)

namespace {

using Strategy = std::unique_ptr<IAntialiasStrategy>;

template<int Samples>
Strategy msaa(const QString &)
{
    return std::make_unique<MSAAStrategy>(Samples);
}

template<int Halves>
Strategy ssaa(const QString &id)
{
    return std::make_unique<SSAAStrategy>(id, 0.5f * Halves);
}

template<class Plain>
Strategy plain(const QString &)
{
    return std::make_unique<Plain>();
}

struct Row
{
    QLatin1StringView id;
    Strategy (*create)(const QString &id);
};

constexpr Row rows[] = {
    {"none"_L1, &plain<NoneStrategy>}, {"msaa-2x"_L1, &msaa<2>},
    {"msaa-4x"_L1, &msaa<4>},          {"msaa-8x"_L1, &msaa<8>},
    {"ssaa-1.5x"_L1, &ssaa<3>},        {"ssaa-2x"_L1, &ssaa<4>},
    {"fxaa"_L1, &plain<FXAAStrategy>}, {"sdf-analytic"_L1, &plain<AnalyticSDFAAStrategy>},
};

Strategy composite(const QString &id)
{
    std::vector<Strategy> parts;
    const QStringList ids = id.split(u'+');
    for (const QString &part : ids)
        parts.push_back(AntialiasStrategyFactory::create(part));
    return std::make_unique<CompositeStrategy>(id, std::move(parts));
}

} // namespace

std::unique_ptr<IAntialiasStrategy> AntialiasStrategyFactory::create(const QString &id)
{
    if (id.contains(u'+'))
        return composite(id);
    for (const Row &row : rows) {
        if (row.id == id)
            return row.create(id);
    }
    qCWarning(lcAntialias).noquote()
        << "AntialiasStrategyFactory: unknown id" << id << "— falling back to NoneStrategy";
    return std::make_unique<NoneStrategy>();
}

} // namespace corvane::aa
