#pragma once

#include <corvane/model/SceneWarning.h>

#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>

namespace corvane::check {

/// The keys that lead from the top of a file to a value; "#0" is the first entry of a list.
using KeyPath = QStringList;

/// What the checks of one scene have found: at most a hundred warnings, and one that counts the
/// rest, since a file of nothing but mistakes must not bury its reader. Names and texts of the file
/// are of any length and may hold anything; what is kept of them is short and printable.
class Findings
{
public:
    static constexpr qsizetype maxWarnings = 100;

    /// A warning about the value at `path`, which also is the place that is told: "plate.radius".
    void add(const KeyPath &path, const QString &what, const QString &remedy);
    /// The same where the place has a name of its own.
    void addNamed(const QString &where, const KeyPath &path, const QString &what,
                  const QString &remedy);
    void addAtLine(int line, const QString &where, const QString &what, const QString &remedy);

    /// Whether further warnings are only counted. Who has to search for a remedy need not then.
    bool isFull() const { return m_count >= maxWarnings; }
    /// model::didYouMean(), which takes time, for a warning that will be told; else nothing.
    QString didYouMean(const QString &name, const QStringList &candidates,
                       const QString &otherwise) const;

    /// By their lines, which are looked up in the text of the file: it is read once more for it
    /// when there are any.
    QList<model::SceneWarning> warnings(const QString &text) const;

private:
    struct Finding
    {
        model::SceneWarning warning;
        KeyPath path;
    };
    void append(const Finding &finding);

    QList<Finding> m_findings;
    qint64 m_count = 0;
};

// How a warning shows what a file holds

/// At most 60 characters; those that a terminal does not show as themselves are escaped.
QString shown(const QString &text);
/// A value: "text" in quotes, 12.5, [1, 2, 3], "a map".
QString shownValue(const QVariant &value);
/// "a, b and c"
QString listed(const QStringList &names);

} // namespace corvane::check
