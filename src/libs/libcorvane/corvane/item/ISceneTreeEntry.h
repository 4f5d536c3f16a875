#pragma once

#include <QIcon>
#include <QImage>
#include <QSize>
#include <QString>
#include <QStringList>
#include <QUuid>

namespace corvane::item {

/// Anything that has a row in the tree of all scene objects: an item, a layer, a post effect.
class ISceneTreeEntry
{
public:
    virtual ~ISceneTreeEntry() = default;

    [[nodiscard]] virtual QUuid uuid() const = 0;
    [[nodiscard]] virtual QString name() const = 0;
    virtual void setName(const QString &name) = 0;
    /// The word by which others say that they accept it as a child.
    [[nodiscard]] virtual QString typeName() const = 0;

    /// Empty without a QGuiApplication.
    [[nodiscard]] virtual QIcon getIcon() const = 0;
    /// Whether the icon is its own, not that of anything without one.
    [[nodiscard]] virtual bool hasCustomIcon() const = 0;
    /// The preview as it was last made; made when there is none.
    [[nodiscard]] virtual QImage getPreview() const = 0;
    [[nodiscard]] virtual QImage generatePreview(const QSize &pixels) const = 0;
    /// Makes the preview anew, after the object changed.
    virtual void updatePreview() = 0;

    /// Whether it belongs to the program: the user can't remove it.
    [[nodiscard]] virtual bool isBuiltIn() const = 0;
    [[nodiscard]] virtual bool canHaveChildren() const = 0;
    /// Type names. Empty, although it can have children, where these are operands: entries of its
    /// own type.
    [[nodiscard]] virtual QStringList acceptedChildTypes() const = 0;
};

} // namespace corvane::item
