#pragma once

#include <QList>
#include <QString>
#include <QStringList>

namespace corvane::expr {

/// A place in an expression that names something: an identifier with the ".name" parts behind it,
/// up to the first that is a call. `w`, `position.x`, `Box.width` and `"left wall".width` are one
/// reference each.
struct NameReference
{
    QStringList parts{};     ///< without quotes
    QList<qsizetype> ends{}; ///< where each part ends in the text
    qsizetype position = 0;  ///< where the first begins, its quote included
    bool isQuoted = false;   ///< the first part stands in quotes; if it is no name, it is a text

    /// The first `count` parts with dots between them.
    QString path(qsizetype count) const { return parts.mid(0, count).join(u'.'); }
    /// Whether the name lies in the scope that "default." names: the rest is a bare name then.
    bool isDefaultScoped() const
    {
        return !isQuoted && parts.size() > 1 && parts.at(0) == u"default";
    }
};

/// Finds the references of an expression, in order. Numbers, comments, calls and the reserved words
/// of the field language are none.
QList<NameReference> scanNames(const QString &text);

/// Whether a word of the field language stands in the way of its use as a name.
bool isReservedWord(const QString &word);
/// A letter or "_", then letters, digits and "_"; and no reserved word.
bool isPlainIdentifier(const QString &name);

} // namespace corvane::expr
