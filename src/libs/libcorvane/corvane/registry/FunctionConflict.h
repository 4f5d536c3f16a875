#pragma once

#include <QHash>
#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>

namespace corvane::registry {

class Definition;

/// A function name that the code of more than one definition defines.
struct FunctionConflict
{
    QString functionName;
    QString definitionIds; ///< sorted, joined by ", "
    QString message;       ///< "Function 'f' is defined in multiple primitives: a, b"

    bool operator==(const FunctionConflict &) const = default;
};

/// Which definition defines which functions, kept up to date one definition at a time, so that the
/// code of the others is not read again for each change.
class FunctionIndex
{
public:
    /// Takes the place of what was known of the definition's id.
    void insert(const Definition &definition);
    void remove(const QString &definitionId);

    [[nodiscard]] bool hasConflicts() const { return !m_conflicting.isEmpty(); }
    /// By function name.
    [[nodiscard]] QList<FunctionConflict> conflicts() const;

private:
    QHash<QString, QStringList> m_namesById;
    QHash<QString, QSet<QString>> m_idsByName;
    QSet<QString> m_conflicting; ///< names that more than one definition has
};

} // namespace corvane::registry
