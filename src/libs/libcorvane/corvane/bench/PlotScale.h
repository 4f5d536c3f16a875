#pragma once

#include <QList>
#include <QString>

namespace corvane::bench {

/// Brings the values of an axis to a stretch of pixels, with round numbers to label it by.
class PlotScale
{
public:
    struct Tick
    {
        double value = 0;
        QString text{};
    };

    /// The range is widened to whole ticks: to powers of ten on a logarithmic axis, to a linear one
    /// from 0 (or below) otherwise. What is not finite is left out of it.
    /// @param from, to  pixels of the low and the high end
    PlotScale(const QList<double> &values, bool logarithmic, double from, double to);

    double pixel(double value) const;
    QList<Tick> ticks() const;

private:
    void takeDecades(const QList<double> &values);
    void takeSteps(const QList<double> &values);

    const bool m_logarithmic;
    const double m_from, m_to;
    double m_low = 0, m_high = 1; ///< of a logarithmic axis the exponents
    double m_step = 1;
};

} // namespace corvane::bench
