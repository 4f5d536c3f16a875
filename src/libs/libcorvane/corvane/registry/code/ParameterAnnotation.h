#pragma once

#include <corvane/registry/ParameterDef.h>

#include <QHash>
#include <QString>
#include <QVariant>

namespace corvane::shader {

/// What comments in a shader's source say about one parameter.
struct ParameterAnnotation
{
    QString name;
    QVariant defaultValue; ///< all values are text, to be read by the parameter's type
    QVariant minValue;
    QVariant maxValue;
    QVariant stepValue;
    registry::UIHint hint = registry::UIHint::Default;
    QString unit;
    QString description;
    QString section;
    bool hasDefault = false;
    bool hasRange = false;
    bool hasHint = false;
    bool hasStep = false;

    bool operator==(const ParameterAnnotation &) const = default;
};

using ParameterAnnotations = QHash<QString, ParameterAnnotation>; ///< by parameter name

} // namespace corvane::shader
