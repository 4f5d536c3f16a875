#pragma once

#include <QString>

/// A text as it may go to a terminal: control characters, of which escape sequences are made, are
/// written out, "\x1b" for an escape, since names in a scene are other people's. Line feeds and
/// tabs stay.
QString terminalText(const QString &text);

/// The same on one line: line feeds and tabs are written out too.
QString terminalLine(const QString &text);

/// The same for a JSON document, whose own escapes are used: "\u009b".
QString terminalJson(const QString &json);
