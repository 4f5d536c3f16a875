#pragma once

#include <QLatin1StringView>
#include <QString>
#include <QVector3D>

#include <array>
#include <cstddef>

namespace corvane::model {

/// One part of where something stands. A wrapper of the same name applies it to the field.
struct TransformPart
{
    QLatin1StringView key;       ///< in maps of nodes and items, and the wrapper's definition
    QLatin1StringView parameter; ///< of the wrapper
    char16_t letter;             ///< of its axes in calls: "tx"
    QVector3D none;              ///< what moves nothing
    bool isUniform = false;      ///< the wrapper takes one number, that of x
};

/// Points are moved, then turned, then scaled.
inline constexpr std::array<TransformPart, 3> transformParts{{
    {QLatin1StringView("translate"), QLatin1StringView("offset"), u't', {0.0f, 0.0f, 0.0f}, false},
    {QLatin1StringView("rotate"), QLatin1StringView("angles"), u'r', {0.0f, 0.0f, 0.0f}, false},
    {QLatin1StringView("scale"), QLatin1StringView("factor"), u's', {1.0f, 1.0f, 1.0f}, true},
}};

/// The field of a part in any record that has all three.
template<class Record>
constexpr QVector3D Record::*transformField(std::size_t part)
{
    constexpr std::array<QVector3D Record::*, 3> fields{&Record::translate, &Record::rotate,
                                                        &Record::scale};
    return fields[part];
}

/// The place of the part of that key; that behind the last where there is none.
inline std::size_t transformPartOf(const QString &key)
{
    std::size_t part = 0;
    while (part < transformParts.size() && transformParts[part].key != key)
        ++part;
    return part;
}

/// The parameter by which the wrapper applies the transform; empty for any other wrapper.
inline QString connectedParameter(const QString &wrapperId)
{
    const std::size_t part = transformPartOf(wrapperId);
    return part < transformParts.size() ? QString(transformParts[part].parameter) : QString();
}

} // namespace corvane::model
