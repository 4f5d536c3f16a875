#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QVariant>

namespace store {

/// Whether a value has a form in an INI file: strings, numbers, booleans, byte arrays, rectangles.
bool hasIniForm(const QVariant &value);

/// The text of an INI file as QSettings reads it back: "Group/rest/of/key" becomes
/// "rest\of\key=..." in the section "[Group]", a key without a slash stands in "[General]". UTF-8,
/// sections and keys sorted, so that equal settings are equal bytes. Values without an INI form are
/// left out.
QByteArray iniText(const QMap<QString, QVariant> &values);

} // namespace store
