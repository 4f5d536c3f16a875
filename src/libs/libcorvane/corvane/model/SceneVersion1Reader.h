#pragma once

#include <corvane/model/WarningList.h>

#include <QHash>
#include <QList>
#include <QSharedPointer>
#include <QString>
#include <QStringList>
#include <QUuid>
#include <QVariant>

class QObject;

namespace corvane::model {

class Corvane;
struct SceneItem;

/// Makes a document of the map of a version 1 file.
///
/// Nothing in a map makes it fail: what is not understood is kept for the next save, and a
/// reference that names nothing is dropped with a warning. An item without an id gets one that
/// depends on its key alone, so that a file is the same scene, in the same order, every time it is
/// read.
class SceneVersion1Reader
{
public:
    /// What nobody else holds of the map is freed as it is read.
    explicit SceneVersion1Reader(QVariantMap file);

    QSharedPointer<Corvane> read(QObject *parent = nullptr);
    /// What was dropped, and ids that occurred twice: at most a hundred lines, and one that counts
    /// the rest.
    QStringList warnings() const { return m_warnings.lines(); }

private:
    struct ItemEntry;

    void readMaterials();
    void readItems();
    QList<ItemEntry> itemEntries(QVariantMap items);
    void assignIds(QList<ItemEntry> &entries);
    SceneItem readItem(ItemEntry &entry); ///< and frees what it read
    QSet<QString> shared(const QSet<QString> &tags);
    void dropDanglingReferences();
    bool dropDanglingParent(SceneItem &item);
    bool dropDanglingChildren(SceneItem &item);
    void cutParentCycles();
    void readRoots();
    void adoptCatalogueMaterials();

    QVariantMap m_block;
    QSharedPointer<Corvane> m_scene; ///< while read() runs
    QList<QUuid> m_itemIds;          ///< in the order of the file's keys, and so are the warnings
    WarningList m_warnings;
    QList<QSet<QString>> m_tagSets; ///< those that many items have, of which a scene has a few
};

} // namespace corvane::model
