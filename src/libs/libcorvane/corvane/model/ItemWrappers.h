#pragma once

#include <QList>
#include <QString>
#include <QUuid>
#include <QVector3D>

namespace corvane::model {

class Corvane;
struct SceneItem;

/// A translation, a rotation in degrees, a scale.
struct Transform
{
    QVector3D translate{};
    QVector3D rotate{};
    QVector3D scale{1.0f, 1.0f, 1.0f};

    bool operator==(const Transform &) const = default;
};

/// The wrappers around an item of the field, which no user sees on their own.
///
/// Compiling a node makes them around its core; an item that no tree stands behind gets those that
/// move, turn and scale it when it needs them. They name the item as their source, and have the ids
/// that a compile gives. Made for one look: it does not follow the document.
class ItemWrappers
{
public:
    ItemWrappers(const Corvane &document, const QUuid &itemId);

    QList<QUuid> ids() const { return m_ids; } ///< innermost first
    /// What stands in the expression for the item and all its wrappers; the item without any.
    QUuid outerId() const { return m_ids.isEmpty() ? m_itemId : m_ids.last(); }
    /// By the definition; null when there is none.
    QUuid find(const QString &wrapperId) const;
    /// The definitions, in the order of ids().
    QStringList wrapperIds() const;
    /// What the wrappers do to the item. An item's own fields do nothing to the field.
    Transform transform() const;

    /// Gives the item a transform: wrappers that it has get their values, those that it lacks are
    /// made unless they would do nothing and are not `needed`. Its own fields follow. False, and
    /// nothing done, where another item has the id of one to be made.
    static bool setTransform(Corvane &document, const QUuid &itemId, const Transform &transform,
                             const QStringList &needed = {});
    /// Takes away the wrappers of a transform but these.
    static void keepOnly(Corvane &document, const QUuid &itemId, const QStringList &wrapperIds);
    /// The item that a wrapper belongs to; null for what is none.
    static QUuid ownerOf(const Corvane &document, const SceneItem &item);

private:
    static void insert(Corvane &document, const QUuid &itemId, const QString &wrapperId);

    const Corvane &m_document;
    const QUuid m_itemId;
    QList<QUuid> m_ids;
};

} // namespace corvane::model
