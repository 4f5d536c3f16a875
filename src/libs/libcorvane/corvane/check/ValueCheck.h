#pragma once

#include <corvane/registry/ParameterDef.h>

#include <QStringList>
#include <QVariant>

#include <optional>

namespace corvane::check {

/// What is wrong with a value, as parts of a model::SceneWarning.
struct Flaw
{
    QString what;
    QString remedy;
};

/// Whether a value can be that of a parameter, and lies in its range.
///
/// Minimum and maximum are what an editor's slider spans; scenes go beyond them with reason, a
/// rounding of 6 on a large part say. They are hard where the definition bounds the drag on the
/// number, and for whole numbers of few values, which are choices; a count has a hard minimum. Of
/// all others the sign alone is told, where the range does not cross 0: a radius of 0.0001 or 1e6
/// is unusual, one of -3 a mistake.
///
/// @param value      no expression; an invalid one is a key without a value
/// @param variables  what the scene declares: a text of these is a forgotten "="
std::optional<Flaw> valueFlaw(const registry::ParameterDef &parameter, const QVariant &value,
                              const QStringList &variables);

/// The remedy for a text that stands where a number is wanted.
QString numberRemedy(const QString &text, const QStringList &variables);

/// A number that is finite; texts of digits count, as they do for the field.
bool isNumber(const QVariant &value);

} // namespace corvane::check
