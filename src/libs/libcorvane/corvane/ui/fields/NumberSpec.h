#pragma once

#include <corvane/ui/fields/DragMapping.h>

#include <QString>
#include <QVariant>

#include <optional>

namespace corvane::ui {

/// What a number is called, measured in, and may be.
struct NumberSpec
{
    QString name{}; ///< as shown, and as a screen reader says it
    QString description{};
    QString unit{};
    std::optional<double> minimum{};
    std::optional<double> maximum{};
    std::optional<double> step{}; ///< of the arrow keys
    bool isWhole = false;
    /// Whether what lies outside the range is refused; else the range is where a drag's curve
    /// begins, and nothing more.
    bool isHard = true;
    registry::DragSpec drag{};

    static NumberSpec of(const registry::ParameterDef &parameter);
    /// The same for a component of a vector, "X" of "Offset".
    NumberSpec component(const QString &letter) const;

    /// Why a value is refused, naming the range: "Teeth must be between 4 and 200."; empty when it
    /// is not.
    QString refusal(double value) const;
    /// Into a hard range, and onto whole numbers.
    double fitted(double value) const;
    /// What one arrow key moves from here.
    double stepAt(double value) const;
    DragRange dragRange() const;
};

/// The shortest text that reads back as this number, in the C locale; of a number that was a float
/// on its way, the shortest for that.
QString numberText(double value);

} // namespace corvane::ui
