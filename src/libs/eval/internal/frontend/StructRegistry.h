#pragma once

#include <eval/Type.h>

#include <QHash>
#include <QList>
#include <QString>

namespace eval::internal {

struct StructField
{
    QString name;
    Type type = Type::Float;
    QString structName; ///< when type is Struct

    bool operator==(const StructField &) const = default;
};

struct StructDef
{
    QString name;
    QList<StructField> fields;
    qsizetype valueCount = 1; ///< itself and all values that it contains, at any depth
    int depth = 1;            ///< levels of structs, this one included

    /// -1 when there is no such field.
    int indexOf(const QString &field) const;
};

/// The structs of one compile by name, in the order of their declaration.
class StructRegistry
{
public:
    /// False, with nothing changed, when the name is taken.
    bool registerStruct(StructDef definition);
    /// Null for an unknown name. Valid until the next registerStruct().
    const StructDef *lookup(const QString &name) const;
    /// In the order of registration, in which a struct comes after every struct that it contains:
    /// its source could only name structs that stood before it, and the first of a name stays.
    const QList<StructDef> &all() const { return m_definitions; }
    bool isEmpty() const { return m_definitions.isEmpty(); }

private:
    QList<StructDef> m_definitions;
    QHash<QString, qsizetype> m_indexes;
};

} // namespace eval::internal
