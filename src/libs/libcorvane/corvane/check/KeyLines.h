#pragma once

#include <corvane/check/Findings.h>

#include <QHash>

namespace corvane::check {

/// The lines on which the keys of a file stand.
///
/// The text is read once, linear in its length; what is kept is the lines of the paths that were
/// asked for. That is done only when something is to be told, so that a sound scene does not pay
/// for it.
class KeyLines
{
public:
    KeyLines(const QString &text, const QList<KeyPath> &paths);

    /// From 1. The line of the nearest key above where the last ones are within a flow value, and 0
    /// when not even the first key is found. Of a key that is there twice, the later counts, as it
    /// does for the value.
    int lineOf(const KeyPath &path) const;

private:
    void read(const QString &text);

    QHash<QString, int> m_lines; ///< by the joined path; 0 until it is met
};

} // namespace corvane::check
