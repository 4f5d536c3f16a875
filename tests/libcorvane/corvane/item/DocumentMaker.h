// Documents with no tree behind them, for the tests of this folder.
#pragma once

#include <corvane/model/Corvane.h>

#include <QHash>

/// Adds instances by name; children are given by name, too.
class DocumentMaker
{
public:
    using Corvane = corvane::model::Corvane;
    using Instance = corvane::model::Instance;

    explicit DocumentMaker(Corvane &scene)
        : m_scene(scene)
    {}

    QUuid add(const QString &name, const QString &definitionId, const QStringList &children = {})
    {
        Instance made(definitionId);
        made.name = name;
        const QUuid id = m_scene.addItem(made);
        if (!children.isEmpty())
            setChildren(id, children);
        return id;
    }
    void setChildren(const QUuid &id, const QStringList &children)
    {
        QVariantList references;
        for (const QString &child : children)
            references.append(child.isEmpty() ? QString() : QStringLiteral("@") + child);
        Instance owner = m_scene.instance(id);
        owner.setParameter(QStringLiteral("children"), references);
        m_scene.updateItem(owner);
    }
    QUuid id(const QString &name) const { return m_scene.instanceIdByName(name); }
    /// The names of what stands in the slots, "-" for an empty one.
    QString children(const QString &name) const
    {
        QStringList names;
        const QStringList references = m_scene.instance(id(name)).childReferences();
        for (const QString &reference : references) {
            const QUuid child = m_scene.resolveReference(reference);
            names.append(child.isNull() ? QStringLiteral("-") : m_scene.item(child).name);
        }
        return names.join(u' ');
    }
    QString roots() const
    {
        QStringList names;
        const QList<QUuid> ids = m_scene.roots();
        for (const QUuid &root : ids)
            names.append(m_scene.item(root).name);
        return names.join(u' ');
    }

private:
    Corvane &m_scene;
};
