#include <corvane/ui/fields/NumberSpec.h>

#include <QCoreApplication>
#include <QLocale>

#include <cmath>

using namespace Qt::StringLiterals;

namespace corvane::ui {

namespace {

using registry::ParameterDef;
using registry::SDFParameterType;

std::optional<double> number(const QVariant &value)
{
    bool isNumber = false;
    const double read = value.toDouble(&isNumber);
    return isNumber && std::isfinite(read) ? std::optional(read) : std::nullopt;
}

QString say(const char *text)
{
    return QCoreApplication::translate("corvane::ui::NumberSpec", text);
}

} // namespace

NumberSpec NumberSpec::of(const ParameterDef &parameter)
{
    NumberSpec spec{.name =
                        parameter.displayName.isEmpty() ? parameter.name : parameter.displayName,
                    .description = parameter.description,
                    .unit = parameter.unit,
                    .minimum = number(parameter.minValue),
                    .maximum = number(parameter.maxValue),
                    .step = number(parameter.stepValue),
                    .isWhole = parameter.type == SDFParameterType::Int};
    if (parameter.drag) {
        spec.drag = *parameter.drag;
        spec.isHard = parameter.drag->bounded;
    } else {
        spec.drag.bounded = true;
        spec.drag.signLock = false;
    }
    return spec;
}

NumberSpec NumberSpec::component(const QString &letter) const
{
    NumberSpec spec = *this;
    spec.name = u"%1 %2"_s.arg(name, letter);
    return spec;
}

QString NumberSpec::refusal(double value) const
{
    if (!std::isfinite(value))
        return say(QT_TRANSLATE_NOOP("corvane::ui::NumberSpec", "%1 must be a finite number."))
            .arg(name);
    if (isWhole && value != std::round(value))
        return say(QT_TRANSLATE_NOOP("corvane::ui::NumberSpec", "%1 must be a whole number."))
            .arg(name);
    const bool isBelow = isHard && minimum && value < *minimum;
    const bool isAbove = isHard && maximum && value > *maximum;
    if (!isBelow && !isAbove)
        return {};
    if (minimum && maximum)
        return say(QT_TRANSLATE_NOOP("corvane::ui::NumberSpec", "%1 must be between %2 and %3."))
            .arg(name, numberText(*minimum), numberText(*maximum));
    return isBelow ? say(QT_TRANSLATE_NOOP("corvane::ui::NumberSpec", "%1 must be at least %2."))
                         .arg(name, numberText(*minimum))
                   : say(QT_TRANSLATE_NOOP("corvane::ui::NumberSpec", "%1 must be at most %2."))
                         .arg(name, numberText(*maximum));
}

double NumberSpec::fitted(double value) const
{
    if (isWhole)
        value = std::round(value);
    if (isHard && minimum)
        value = std::max(value, *minimum);
    if (isHard && maximum)
        value = std::min(value, *maximum);
    return value;
}

// Without a step of its own a number moves by a tenth of its order: 1 from 12, 0.1 from 4.
double NumberSpec::stepAt(double value) const
{
    if (step && *step > 0.0)
        return *step;
    if (isWhole)
        return 1.0;
    const double size = std::fabs(value);
    return size < 1e-6 ? 0.1 : std::pow(10.0, std::floor(std::log10(size)) - 1.0);
}

DragRange NumberSpec::dragRange() const
{
    const auto dragStep = step ? step : isWhole ? std::optional(1.0) : std::nullopt;
    return {.minimum = minimum, .maximum = maximum, .step = dragStep};
}

QString numberText(double value)
{
    constexpr int fewestDigits = 6;
    constexpr int digitsOfFloat = 9;
    const float single = float(value);
    const bool wasFloat = double(single) == value;
    QString text = QString::number(value, 'g', QLocale::FloatingPointShortest);
    for (int digits = fewestDigits; wasFloat && digits <= digitsOfFloat; ++digits) {
        const QString shorter = QString::number(value, 'g', digits);
        if (shorter.toFloat() == single && (!shorter.contains(u'e') || digits == digitsOfFloat)) {
            text = shorter;
            break;
        }
    }
    return text == "-0"_L1 ? u"0"_s : text;
}

} // namespace corvane::ui
