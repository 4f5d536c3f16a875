#pragma once

#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <QVariant>
#include <QVariantMap>
#include <QVector3D>

namespace corvane::zirn {

/// A stored value as JSON: vectors and colours as lists of numbers, what JSON has no word for as
/// null.
QJsonValue jsonOf(const QVariant &value);
QJsonArray jsonOf(const QVector3D &vector);
/// Parameters: plain values, and {"expr": text, "fallback": value} for expressions.
QJsonObject jsonOfParameters(const QVariantMap &params);

/// Compact, as the outputs of tasks have it.
QString compact(const QJsonArray &array);
QString compact(const QJsonObject &object);

/// A value in a sentence: a text as it is, anything else as compact JSON.
QString textOf(const QVariant &value);

} // namespace corvane::zirn
