#include <corvane/bench/PlotScale.h>

#include <algorithm>
#include <cmath>

namespace corvane::bench {

namespace {

constexpr double wantedTicks = 5;
constexpr double lowestExponent = -12;

QList<double> finite(QList<double> values, bool positiveOnly)
{
    values.removeIf([positiveOnly](double value) {
        return !std::isfinite(value) || (positiveOnly && value <= 0);
    });
    return values;
}

// 1, 2 or 5 times a power of ten.
double roundStep(double step)
{
    const double power = std::pow(10.0, std::floor(std::log10(step)));
    for (const double factor : {1.0, 2.0, 5.0})
        if (step <= factor * power)
            return factor * power;
    return 10.0 * power;
}

} // namespace

PlotScale::PlotScale(const QList<double> &values, bool logarithmic, double from, double to)
    : m_logarithmic(logarithmic)
    , m_from(from)
    , m_to(to)
{
    const QList<double> usable = finite(values, logarithmic);
    if (usable.isEmpty())
        return;
    if (logarithmic)
        takeDecades(usable);
    else
        takeSteps(usable);
}

void PlotScale::takeDecades(const QList<double> &values)
{
    const auto [least, most] = std::minmax_element(values.begin(), values.end());
    m_low = std::max(std::floor(std::log10(*least)), lowestExponent);
    m_high = std::max(std::ceil(std::log10(*most)), m_low + 1);
    m_step = std::max(1.0, std::ceil((m_high - m_low) / (2 * wantedTicks)));
}

void PlotScale::takeSteps(const QList<double> &values)
{
    const auto [least, most] = std::minmax_element(values.begin(), values.end());
    const double low = std::min(*least, 0.0);
    const double range = *most > low ? *most - low : 1.0;
    m_step = roundStep(range / wantedTicks);
    m_low = std::floor(low / m_step) * m_step;
    m_high = std::max(std::ceil(*most / m_step) * m_step, m_low + m_step);
}

double PlotScale::pixel(double value) const
{
    double place = value;
    if (m_logarithmic)
        place = value > 0 ? std::log10(value) : m_low;
    const double share = (place - m_low) / (m_high - m_low);
    return m_from + std::clamp(share, 0.0, 1.0) * (m_to - m_from);
}

QList<PlotScale::Tick> PlotScale::ticks() const
{
    QList<Tick> ticks;
    for (int i = 0; m_low + i * m_step <= m_high + m_step * 1e-9; ++i) {
        const double place = m_low + i * m_step;
        const double value = m_logarithmic ? std::pow(10.0, place) : place;
        ticks.append({value, QString::number(value, 'g', 6)});
    }
    return ticks;
}

} // namespace corvane::bench
