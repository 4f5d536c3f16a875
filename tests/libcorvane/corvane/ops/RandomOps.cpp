#include "RandomOps.h"

using namespace Qt::StringLiterals;
using namespace corvane;
using ops::CorvaneOp;
namespace OpKind = ops::OpKind;

namespace {

constexpr int manyNodes = 60;
constexpr int manyItems = 30;
constexpr int manyComponents = 10;
const QStringList shapes{u"box"_s, u"sphere"_s, u"union"_s, u"smooth_union"_s, u"subtract"_s};

} // namespace

const QList<RandomOps::Maker> &RandomOps::makers()
{
    static const QList<Maker> all{
        {OpKind::ItemAdd, &RandomOps::itemAdd},
        {OpKind::ItemRemove, &RandomOps::itemRemove},
        {OpKind::ItemRename, &RandomOps::itemRename},
        {OpKind::ItemSetTransform, &RandomOps::itemSetTransform},
        {OpKind::ItemSetParent, &RandomOps::itemSetParent},
        {OpKind::ItemSetMaterial, &RandomOps::itemSetMaterial},
        {OpKind::ItemSetTags, &RandomOps::itemSetTags},
        {OpKind::ItemSetTypeData, &RandomOps::itemSetTypeData},
        {OpKind::ItemDuplicate, &RandomOps::itemDuplicate},
        {OpKind::ItemSetProxy, &RandomOps::itemSetProxy},
        {OpKind::SdfSetParameter, &RandomOps::sdfSetParameter},
        {OpKind::SdfSetAllParams, &RandomOps::sdfSetAllParams},
        {OpKind::SdfSetDefinition, &RandomOps::sdfSetDefinition},
        {OpKind::SdfSetModifier, &RandomOps::sdfSetModifier},
        {OpKind::MaterialAdd, &RandomOps::materialAdd},
        {OpKind::MaterialRemove, &RandomOps::materialRemove},
        {OpKind::MaterialUpdate, &RandomOps::materialUpdate},
        {OpKind::MaterialDuplicate, &RandomOps::materialDuplicate},
        {OpKind::VarsetSetVariable, &RandomOps::varsetSetVariable},
        {OpKind::VarsetRemoveVar, &RandomOps::varsetRemoveVar},
        {OpKind::VarsetRenameVar, &RandomOps::varsetRenameVar},
        {OpKind::VarsetReorder, &RandomOps::varsetReorder},
        {OpKind::VarsetAddNamed, &RandomOps::varsetAddNamed},
        {OpKind::VarsetRemoveNamed, &RandomOps::varsetRemoveNamed},
        {OpKind::VarsetMoveEntry, &RandomOps::varsetMoveEntry},
        {OpKind::SettingsSet, &RandomOps::settingsSet},
        {OpKind::SettingsSetBulk, &RandomOps::settingsSetBulk},
        {OpKind::DefinitionAdd, &RandomOps::definitionAdd},
        {OpKind::DefinitionRemove, &RandomOps::definitionRemove},
        {OpKind::DefinitionUpdate, &RandomOps::definitionUpdate},
        {OpKind::ComponentNest, &RandomOps::componentNest},
        {OpKind::ComponentNestMulti, &RandomOps::componentNestMulti},
        {OpKind::ComponentUnnest, &RandomOps::componentUnnest},
        {OpKind::ComponentExplode, &RandomOps::componentExplode},
        {OpKind::ComponentUpdateDefinition, &RandomOps::componentUpdateDefinition},
        {OpKind::ComponentPublish, &RandomOps::componentPublish},
        {OpKind::ComponentEditEnter, &RandomOps::componentEditEnter},
        {OpKind::ComponentEditCommit, &RandomOps::componentEditCommit},
    };
    return all;
}

QStringList RandomOps::kinds()
{
    QStringList kinds;
    for (const Maker &maker : makers())
        kinds.append(maker.kind);
    return kinds;
}

CorvaneOp RandomOps::next()
{
    if (m_fixture.tree.instances().size() > manyNodes)
        return {OpKind::ItemRemove, {{u"itemId"_s, node()}}};
    if (itemNames().size() > manyItems)
        return {OpKind::ItemRemove, {{u"itemId"_s, item()}}};
    if (m_fixture.tree.componentRegistry()->definitions().size() > manyComponents)
        return {OpKind::ComponentExplode, componentExplode()};
    // Else a session's branch is hardly ever there still when its turn comes.
    if (!m_sessions.isEmpty() && m_fixture.tree.contains(m_sessions.last().second) && chance(10))
        return {OpKind::ComponentEditCommit, componentEditCommit()};
    const Maker &maker = makers().at(below(int(makers().size())));
    return {maker.kind, (this->*maker.args)()};
}

CorvaneOp RandomOps::nextOfDrag(const QUuid &id)
{
    QVariantMap args;
    if (chance(60)) {
        args = {{u"translate"_s, QVariantList{below(90), below(9), 0.1 * below(9)}}};
        args.insert(u"itemId"_s, id);
        return {OpKind::ItemSetTransform, args};
    }
    args = chance(80) ? sdfSetParameter() : sdfSetAllParams();
    args.insert(u"itemId"_s, id);
    return {args.contains(u"paramName"_s) ? OpKind::SdfSetParameter : OpKind::SdfSetAllParams,
            args};
}

QUuid RandomOps::pick(const QList<QUuid> &ids)
{
    return ids.isEmpty() || chance(3) ? QUuid::createUuid() : ids.at(below(int(ids.size())));
}

QString RandomOps::pickText(const QStringList &texts)
{
    return texts.isEmpty() ? u"nothing"_s : texts.at(below(int(texts.size())));
}

QUuid RandomOps::node()
{
    return pick(m_fixture.tree.nodesInOrder());
}

QUuid RandomOps::item()
{
    // By name: the ids, and with them the order of the items, are others in each run.
    return m_fixture.document->nameIndex().value(pickText(itemNames()), QUuid::createUuid());
}

QStringList RandomOps::itemNames()
{
    QStringList names;
    const QMap<QString, QUuid> index = m_fixture.document->nameIndex();
    for (auto it = index.cbegin(); it != index.cend(); ++it) {
        if (!m_fixture.document->item(*it).hasTag(model::ItemTags::Compiled))
            names.append(it.key());
    }
    return names;
}

QUuid RandomOps::anything()
{
    return chance(75) ? node() : item();
}

QVariant RandomOps::value()
{
    switch (below(7)) {
    case 0:
        return QVariantMap{{u"expr"_s, pickText({u"a * 2"_s, u"\"b\" + a"_s, u"size.w"_s})}};
    case 1:
        return pickText({u"=a+1"_s, u"=2+3"_s, u"=vec3(a, 1, 2)"_s});
    case 2:
        // Of other items, and of vectors that may be numbers by now.
        return u'=' + pickText({u"\"Old sphere\".radius / 2"_s, u"Lid.radius + Base.radius"_s,
                                u"Lid.size.y"_s, u"Base.translate"_s, u"\"Lid 2\".radius"_s});
    case 3:
        return QVariant::fromValue(QVector3D(float(below(9)), 0.1f, -2.5f));
    default:
        return 0.1 * below(100);
    }
}

QString RandomOps::name()
{
    return pickText({u"Lid"_s, u"Lid 2"_s, u"Base"_s, u"a.b"_s, u"Wheel: \"left\""_s, u"=x"_s,
                     u"Größe"_s, u"Box 1"_s, QString(500, u'n')});
}

QString RandomOps::variable()
{
    QStringList names = m_fixture.document->variableNames();
    const auto named = m_fixture.document->namedVarsets();
    for (auto it = named.cbegin(); it != named.cend(); ++it) {
        const QStringList entries = it->keys();
        for (const QString &entry : entries)
            names.append(it.key() + u'.' + entry);
    }
    return pickText(names);
}

QString RandomOps::varset()
{
    return chance(40) ? QString() : pickText(m_fixture.document->namedVarsets().keys());
}

QString RandomOps::component()
{
    return pickText(m_fixture.tree.componentRegistry()->definitions().keys());
}

QString RandomOps::newComponent()
{
    return u"component %1"_s.arg(m_componentCount++);
}

QUuid RandomOps::material()
{
    const auto all = m_fixture.materials.allMaterials();
    return chance(3) ? QUuid() : all.at(below(int(all.size()))).id;
}

QVariantMap RandomOps::surface()
{
    return {{u"albedo"_s, QVariantList{0.1 * below(10), 0.5, 0.25, 1.0}},
            {u"roughness"_s, 0.01 * below(100)}};
}

QVariantMap RandomOps::definitionMap(const QString &id)
{
    return {
        {u"id"_s, id},
        {u"name"_s, u"Ball "_s + id},
        {u"description"_s, name()},
        {u"shaderCode"_s, u"float sdf_%1(vec3 p, float r) { return length(p) - r; }"_s.arg(id)}};
}

QVariantMap RandomOps::itemAdd()
{
    if (chance(30))
        return {{u"itemType"_s, pickText({u"mesh"_s, u"group"_s, u"camera"_s})},
                {u"parentId"_s, chance(50) ? QUuid() : item()},
                {u"name"_s, name()},
                {u"material"_s, surface()},
                {u"typeData"_s, QVariantMap{{u"file"_s, u"a.stl"_s}}}};
    QVariantMap args{{u"itemType"_s, u"sdf"_s},
                     {u"definitionId"_s, chance(15) ? component() : pickText(shapes)},
                     {u"parentId"_s, chance(40) ? QUuid() : node()}};
    if (chance(30))
        args.insert(u"name"_s, name());
    if (chance(20))
        args.insert(u"insertIndex"_s, below(3));
    if (chance(10))
        args.insert(u"container"_s, true);
    return args;
}

QVariantMap RandomOps::itemRemove()
{
    return {{u"itemId"_s, anything()}};
}

QVariantMap RandomOps::itemRename()
{
    return {{u"itemId"_s, anything()}, {u"newName"_s, name()}};
}

QVariantMap RandomOps::itemSetTransform()
{
    QVariantMap args{{u"itemId"_s, anything()}};
    args.insert(pickText({u"translate"_s, u"rotate"_s, u"scale"_s}),
                QVariantList{0.1 * below(90), below(9), 1});
    if (chance(30))
        args.insert(u"ry"_s, below(360));
    return args;
}

QVariantMap RandomOps::itemSetParent()
{
    const bool isNode = chance(75);
    const QUuid parent = isNode ? node() : item();
    return {{u"itemId"_s, isNode ? node() : item()},
            {u"newParentId"_s, chance(30) ? QUuid() : parent},
            {u"insertIndex"_s, below(6) - 1}};
}

QVariantMap RandomOps::itemSetMaterial()
{
    QVariantMap args{{u"itemId"_s, anything()}};
    if (chance(50))
        args.insert(u"materialId"_s, material());
    if (chance(60))
        args.insert(u"material"_s, surface());
    return args;
}

QVariantMap RandomOps::itemSetTags()
{
    const QStringList tags{u"hidden"_s, u"locked"_s, u"isolated"_s, u"selected"_s};
    return {{u"itemId"_s, anything()},
            {u"add"_s, QStringList{pickText(tags)}},
            {u"remove"_s, QStringList{pickText(tags), pickText(tags)}}};
}

QVariantMap RandomOps::itemSetTypeData()
{
    QVariantMap args{{u"itemId"_s, item()},
                     {u"key"_s, pickText({u"file"_s, u"params"_s, u"parameters"_s, u"name"_s})}};
    if (chance(70))
        args.insert(u"value"_s, QVariantMap{{u"radius"_s, below(9)}});
    return args;
}

QVariantMap RandomOps::itemDuplicate()
{
    QVariantMap args{{u"sourceId"_s, anything()}};
    if (chance(30))
        args.insert(u"newParentId"_s, anything());
    return args;
}

QVariantMap RandomOps::itemSetProxy()
{
    return {{u"itemId"_s, anything()}, {u"proxied"_s, chance(60)}};
}

QVariantMap RandomOps::sdfSetParameter()
{
    QVariantMap args{{u"itemId"_s, anything()},
                     {u"paramName"_s, pickText({u"radius"_s, u"width"_s, u"knob"_s})},
                     {u"value"_s, value()}};
    if (chance(30))
        args.insert(u"wrapperId"_s, pickText({u"translate"_s, u"round"_s, u"twist"_s}));
    if (chance(10)) {
        args.insert({{u"wrapperId"_s, u"translate"_s},
                     {u"paramName"_s, u"offset"_s},
                     {u"value"_s, QVariantList{below(9), 0, below(3)}}});
    }
    return args;
}

QVariantMap RandomOps::sdfSetAllParams()
{
    return {{u"itemId"_s, anything()},
            {u"parameters"_s, QVariantMap{{u"radius"_s, value()}, {u"depth"_s, value()}}}};
}

QVariantMap RandomOps::sdfSetDefinition()
{
    return {{u"itemId"_s, anything()}, {u"definitionId"_s, pickText(shapes)}};
}

QVariantMap RandomOps::sdfSetModifier()
{
    return {{u"itemId"_s, anything()},
            {u"modifier"_s, pickText({u"densityScale"_s, u"shellThickness"_s, u"blendSharpness"_s,
                                      u"materialMode"_s, u"colour"_s})},
            {u"value"_s, 0.1 * below(30)}};
}

QVariantMap RandomOps::materialAdd()
{
    QVariantMap data = surface();
    if (chance(70))
        data.insert(u"name"_s, pickText({u"Wood"_s, u"Wood (copy)"_s, u"Slate"_s}));
    return {{u"data"_s, data}};
}

QVariantMap RandomOps::materialRemove()
{
    return {{u"materialId"_s, material()}};
}

QVariantMap RandomOps::materialUpdate()
{
    QVariantMap data = surface();
    if (chance(40))
        data.insert(u"name"_s, pickText({u"Wood"_s, u"Oak"_s}));
    return {{u"materialId"_s, material()}, {u"data"_s, data}};
}

QVariantMap RandomOps::materialDuplicate()
{
    return {{u"sourceId"_s, material()}};
}

QVariantMap RandomOps::varsetSetVariable()
{
    QVariantMap args{{u"name"_s, chance(40) ? variable() : pickText({u"a"_s, u"b"_s, u"w"_s})},
                     {u"varsetName"_s, varset()}};
    if (chance(30))
        args.insert(u"entry"_s, QVariantMap{{u"value"_s, below(9)},
                                            {u"unit"_s, u"mm"_s},
                                            {u"constraints"_s, QVariantMap{{u"min"_s, 1}}}});
    else
        args.insert(u"value"_s, chance(20) ? QVariant(u"=a * 3"_s) : QVariant(below(99)));
    return args;
}

QVariantMap RandomOps::varsetRemoveVar()
{
    return {{u"name"_s, variable()}};
}

QVariantMap RandomOps::varsetRenameVar()
{
    return {{u"oldName"_s, variable()},
            {u"newName"_s, pickText({u"a"_s, u"b"_s, u"long name"_s, u"width"_s, u"q"_s})}};
}

QVariantMap RandomOps::varsetReorder()
{
    return {{u"name"_s, variable()}, {u"beforeName"_s, chance(30) ? QString() : variable()}};
}

QVariantMap RandomOps::varsetAddNamed()
{
    return {{u"varsetName"_s, pickText({u"size"_s, u"look"_s, u"motion"_s})}};
}

QVariantMap RandomOps::varsetRemoveNamed()
{
    return {{u"varsetName"_s, varset()}};
}

QVariantMap RandomOps::varsetMoveEntry()
{
    const QString source = varset();
    return {{u"entryName"_s,
             pickText(source.isEmpty() ? m_fixture.document->variableNames()
                                       : m_fixture.document->namedVarset(source).keys())},
            {u"srcVarset"_s, source},
            {u"dstVarset"_s, varset()}};
}

QVariantMap RandomOps::settingsSet()
{
    return {{u"path"_s, pickText({u"export.cellSize"_s, u"export.bounds.minX"_s, u"export"_s,
                                  u"animation.fps"_s, u"note"_s, u"note.text"_s})},
            {u"value"_s, below(9)}};
}

QVariantMap RandomOps::settingsSetBulk()
{
    return {{u"settings"_s, QVariantMap{{u"export"_s, QVariantMap{{u"cellSize"_s, below(9)}}},
                                        {u"view.grid"_s, chance(50)}}}};
}

QVariantMap RandomOps::definitionAdd()
{
    return {{u"definition"_s, definitionMap(u"ball%1"_s.arg(below(5)))}};
}

QVariantMap RandomOps::definitionRemove()
{
    return {{u"definitionId"_s, u"ball%1"_s.arg(below(5))}};
}

QVariantMap RandomOps::definitionUpdate()
{
    const QString id = u"ball%1"_s.arg(below(5));
    return {{u"definitionId"_s, id}, {u"definition"_s, definitionMap(id)}};
}

QVariantMap RandomOps::componentNest()
{
    QVariantMap args{{u"itemId"_s, node()}, {u"definitionId"_s, newComponent()}};
    if (chance(60))
        args.insert(u"name"_s, name());
    return args;
}

QVariantMap RandomOps::componentNestMulti()
{
    return {{u"itemIds"_s, QVariantList{node(), node(), node()}},
            {u"name"_s, name()},
            {u"definitionId"_s, newComponent()}};
}

QVariantMap RandomOps::componentUnnest()
{
    QList<QUuid> instances = m_fixture.tree.nodesInOrder();
    instances.removeIf([this](const QUuid &id) { return !m_fixture.tree.isComponentInstance(id); });
    return {{u"itemId"_s, pick(instances)}};
}

QVariantMap RandomOps::componentExplode()
{
    return {{u"definitionId"_s, component()}};
}

QVariantMap RandomOps::componentUpdateDefinition()
{
    const QString id = component();
    const auto definition = m_fixture.tree.componentRegistry()->definition(id);
    const QVariantList nodes = definition.structure.value(u"instances"_s).toList();
    const QString target =
        nodes.isEmpty() ? QString() : nodes.last().toMap().value(u"id"_s).toString();
    const QVariantMap promotion{
        {u"alias"_s, u"knob"_s},
        {u"target"_s, QVariantMap{{u"node"_s, target}, {u"param"_s, u"radius"_s}}},
        {u"binding"_s, chance(50) ? u"passthrough"_s : u"expression"_s},
        {u"expression"_s, u"knob * 2"_s}};
    return {{u"definitionId"_s, id},
            {u"definition"_s,
             QVariantMap{{u"description"_s, name()}, {u"interface"_s, QVariantList{promotion}}}}};
}

QVariantMap RandomOps::componentPublish()
{
    return {{u"definitionId"_s, component()}};
}

QVariantMap RandomOps::componentEditEnter()
{
    return componentUnnest();
}

QVariantMap RandomOps::componentEditCommit()
{
    if (m_sessions.isEmpty())
        return {{u"definitionId"_s, component()}, {u"branchRootId"_s, node()}};
    const int last = int(m_sessions.size()) - 1;
    const auto &session = m_sessions.at(chance(70) ? last : below(last + 1));
    return {{u"definitionId"_s, session.first}, {u"branchRootId"_s, session.second}};
}
