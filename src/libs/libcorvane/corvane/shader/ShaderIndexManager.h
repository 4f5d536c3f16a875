#pragma once

#include <corvane/shader/SDFNode.h>

#include <QHash>
#include <QList>
#include <QSet>
#include <QString>
#include <array>
#include <optional>

namespace corvane::registry {
class Definition;
class Registry;
} // namespace corvane::registry

namespace corvane::shader {

/// Numbers the definitions of the registry: one table for each GpuNodeType, from definition id to a
/// zero-based index and back.
///
/// Every enabled definition has an index, whether or not the scene uses it, so that an index
/// survives a change of the active set and a node buffer need not be rewritten for it. The active
/// set only says which definitions are emitted into shader text.
class ShaderIndexManager
{
public:
    /// Where a definition stands.
    struct Entry
    {
        GpuNodeType type = GpuNodeType::Primitive;
        int index = -1;
    };

    /// Numbers anew, in the order of `Registry::getAllPrimitives()`; null clears the tables.
    /// Definitions that are disabled, or have no id or no code, get no index. The active set stays.
    void rebuildIndices(const registry::Registry *registry);

    /// The table of a definition's kind; none for the invalid kind.
    [[nodiscard]] static std::optional<GpuNodeType> tableOf(const registry::Definition &definition);

    /// Type and index of a definition; none when it has no index.
    [[nodiscard]] std::optional<Entry> find(const QString &id) const;
    /// Index in one table; -1 when the id is not in it.
    [[nodiscard]] int indexOf(GpuNodeType type, const QString &id) const;
    /// Id at an index of one table; empty when out of range.
    [[nodiscard]] QString idAt(GpuNodeType type, qint64 index) const;
    [[nodiscard]] int count(GpuNodeType type) const;
    /// The indices of one table whose ids are active, ascending.
    [[nodiscard]] QList<int> activeIndices(GpuNodeType type) const;

    [[nodiscard]] int primitiveIndex(const QString &id) const;
    [[nodiscard]] QString primitiveIdAt(qint64 index) const;
    [[nodiscard]] QString positionTransformIdAt(qint64 index) const;
    [[nodiscard]] QString csgOperatorIdAt(qint64 index) const;
    [[nodiscard]] int activePrimitiveCount() const;

    /// True when the filter is off, or the id is in the active set.
    [[nodiscard]] bool isActive(const QString &id) const;
    /// Turns the filter on. True, and stored, only when the set differs from the active one; an
    /// inactive filter counts as differing.
    bool setActiveDefinitionIds(const QSet<QString> &ids);
    void clearActiveFilter();

private:
    struct Table
    {
        QHash<QString, int> indexById;
        QList<QString> idByIndex;
    };
    [[nodiscard]] const Table &table(GpuNodeType type) const;

    std::array<Table, gpuNodeTypeCount> m_tables;
    QSet<QString> m_activeIds;
    bool m_filterActive = false;
};

} // namespace corvane::shader
