#pragma once

#include <QHash>
#include <QSet>
#include <QString>
#include <QUuid>
#include <QVariantList>
#include <QVariantMap>

namespace corvane::model {

class Corvane;
struct SceneItem;

/// Makes the map of a version 1 file of a document, such that SceneVersion1Reader gives the
/// document again.
///
/// Vectors and colours become lists of numbers. An item is keyed by its name where the name is a
/// safe key and its own, else by its uuid with the name beside it.
class SceneVersion1Writer
{
public:
    explicit SceneVersion1Writer(const Corvane &scene);

    /// {corvane: block}
    QVariantMap write() const;

private:
    QVariantMap block() const;
    void writeItems(QVariantMap &block) const;
    QVariantMap itemMap(const SceneItem &item) const;
    QVariantList rootsList() const;
    QString itemKey(const SceneItem &item) const;
    QString unambiguousReference(const QString &reference) const;
    QVariant writtenParameter(const QString &name, const QVariant &stored) const;

    const Corvane &m_scene;
    QSet<QString> m_sharedNames; ///< names that several items have
    QHash<QUuid, QUuid> m_materialAliases;
};

} // namespace corvane::model
