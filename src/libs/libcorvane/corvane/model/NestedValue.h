#pragma once

#include <QString>
#include <QVariant>

namespace corvane::model {

/// The value at a dotted path ("export.bounds.minX") in nested maps; invalid when there is none.
QVariant getNestedValue(const QVariantMap &map, const QString &path);

/// Sets the value at a dotted path. Maps on the way are made as needed, in place of any other value
/// there.
void setNestedValue(QVariantMap &map, const QString &path, const QVariant &value);

} // namespace corvane::model
