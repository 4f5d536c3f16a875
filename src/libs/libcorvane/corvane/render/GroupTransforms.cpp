#include <corvane/render/GroupTransforms.h>

#include <corvane/model/Corvane.h>

#include <QSet>

namespace corvane::render {

QMatrix4x4 GroupTransforms::below(const QUuid &parentId)
{
    QList<model::SceneItem> chain; // inner to outer, up to what is known
    QSet<QUuid> onChain;
    QMatrix4x4 world;
    QUuid id = parentId;
    while (!id.isNull() && m_scene.hasItem(id) && !onChain.contains(id)) {
        const auto known = m_known.constFind(id);
        if (known != m_known.cend()) {
            world = *known;
            break;
        }
        onChain.insert(id);
        chain.append(m_scene.item(id));
        if (chain.last().itemType == model::ItemTypes::SdfDomain)
            break;
        id = chain.last().parentId;
    }
    for (auto item = chain.crbegin(); item != chain.crend(); ++item) {
        if (item->itemType != model::ItemTypes::Sdf)
            world *= item->modelMatrix();
        m_known.insert(item->id, world);
    }
    return world;
}

} // namespace corvane::render
