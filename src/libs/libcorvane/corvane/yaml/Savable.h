#pragma once

#include <QString>
#include <QVariant>

namespace corvane::yaml {

// What a scene file can hold, found by writing and reading it: keys are written as they are, and
// the reader knows no escapes. Edits ask before they put into a scene what a save would lose.

/// Why a name can't be a key, or keys with dots between them, as the rest of a sentence; empty when
/// it can.
QString whyUnsavableName(const QString &name);

/// Why a value can't be kept, such as "has a key that a scene file can't hold: 'a: b'"; empty when
/// it can. Blank lines of a text and the space around its lines are lost without a word.
/// @param around  how many maps and lists stand around the value, as far as the edit makes them
QString whyUnsavable(const QVariant &value, int around = 0);

/// Why what a whole file is to hold would be refused or changed by its reader, as a sentence
/// without its full stop; empty when it would not. The last check before a file is replaced: of
/// keys and of depth, at a small part of the cost of writing.
QString whyUnsavableFile(const QVariantMap &file);

} // namespace corvane::yaml
