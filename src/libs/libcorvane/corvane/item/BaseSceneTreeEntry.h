#pragma once

#include <corvane/item/ISceneTreeEntry.h>
#include <corvane/model/IconShapes.h>
#include <corvane/model/Instance.h>
#include <corvane/model/SceneItem.h>

#include <QSharedPointer>

#include <algorithm>
#include <concepts>

namespace corvane::item {

/// How an entry reads and writes an object of type T. An object of another library joins the tree
/// by a specialisation.
template<class T>
struct EntryAccess;

/// Items, and Instance among them.
template<class T>
requires std::derived_from<T, model::SceneItem>
struct EntryAccess<T>
{
    static QUuid uuid(const T &item) { return item.id; }
    static QString name(const T &item) { return item.name; }
    static void setName(T &item, const QString &name) { item.name = name; }
    static QString typeName(const T &item) { return item.itemType; }
    static bool isBuiltIn(const T &) { return false; }
};

/// An entry over an object that it shares with others.
template<class T>
class BaseSceneTreeEntry : public ISceneTreeEntry
{
public:
    explicit BaseSceneTreeEntry(const QSharedPointer<T> &object)
        : m_object(object)
    {}

    const QSharedPointer<T> &object() const { return m_object; }

    QUuid uuid() const override { return Access::uuid(*m_object); }
    QString name() const override { return Access::name(*m_object); }
    void setName(const QString &name) override { Access::setName(*m_object, name); }
    QString typeName() const override { return Access::typeName(*m_object); }
    bool isBuiltIn() const override { return Access::isBuiltIn(*m_object); }

    QIcon getIcon() const override { return model::IconShapes::icon(iconName()); }
    bool hasCustomIcon() const override { return model::IconShapes::contains(iconName()); }
    QImage getPreview() const override
    {
        if (m_preview.isNull())
            m_preview = generatePreview(QSize(previewPixels, previewPixels));
        return m_preview;
    }
    /// The icon, as large as fits.
    QImage generatePreview(const QSize &pixels) const override
    {
        return model::IconShapes::image(iconName(), std::min(pixels.width(), pixels.height()));
    }
    void updatePreview() override
    {
        m_preview = generatePreview(QSize(previewPixels, previewPixels));
    }

    bool canHaveChildren() const override { return !acceptedChildTypes().isEmpty(); }
    QStringList acceptedChildTypes() const override { return {}; }

protected:
    /// Of model::IconShapes.
    virtual QString iconName() const { return typeName(); }

private:
    using Access = EntryAccess<T>;
    static constexpr int previewPixels = 64;

    QSharedPointer<T> m_object;
    mutable QImage m_preview;
};

} // namespace corvane::item
