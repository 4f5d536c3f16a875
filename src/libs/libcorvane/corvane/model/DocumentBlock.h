#pragma once

#include <corvane/model/CatalogMaterial.h>
#include <corvane/model/VarsetTable.h>
#include <corvane/registry/Definition.h>

#include <QHash>
#include <QList>
#include <QSet>
#include <QStringList>
#include <QUuid>
#include <QVariantMap>

namespace corvane::model {

class Corvane;
class WarningList;

/// What a scene file holds beside its nodes, the same in both versions: name, units, varsets and
/// their orders, settings, definitions, materials, metadata, and keys that mean nothing here.
class DocumentBlock
{
public:
    /// What the nodes of a scene use, in addition to the items of the document.
    struct Used
    {
        QSet<QUuid> materialIds{};
        QSet<QString> definitionIds{};
    };

    /// The block of a document, without nodes and roots. Materials that are used and that the
    /// document lacks are taken from the process-wide catalogue. Vectors and colours become lists
    /// of numbers.
    static QVariantMap write(const Corvane &document, const Used &used);
    /// Of built-in materials that are used and that the document has a copy of, from a session in
    /// which they had other ids: to the id of that copy. The block is written without them, and
    /// nodes have to name the copy.
    static QHash<QUuid, QUuid> materialAliases(const Corvane &document,
                                               const QSet<QUuid> &materialIds);

    /// Makes the document hold what the block gives; what the block does not have is left as it is.
    /// Variables are replaced as a whole. sceneChanged() comes once, at the end. Items and roots
    /// are not touched, and definitions are not registered.
    static void apply(const QVariantMap &block, Corvane &document, QStringList *warnings = nullptr);
    /// Adds the block's definitions to the document, with no signal, and nothing else.
    static void applyDefinitions(const QVariantMap &block, Corvane &document,
                                 QStringList *warnings = nullptr);

    // The parts of a block

    static VarsetTable readVariables(const QVariantMap &block);
    /// A material has the id that the file states, else one that is made of its key.
    static QList<CatalogMaterial> readMaterials(const QVariantMap &block);
    /// Those with an id; of several with the same one the first.
    static QList<registry::DefinitionPtr> readDefinitions(const QVariantMap &block,
                                                          WarningList &warnings);
    /// The keys that mean nothing here, kept for the next save.
    static QVariantMap otherKeys(QVariantMap block);
};

} // namespace corvane::model
