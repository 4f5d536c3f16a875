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

QVariantMap only(const QString &key, const QVariant &value)
{
    return {{key, value}};
}

} // namespace

const QList<RandomOps::Maker> &RandomOps::makers()
{
    static const QList<Maker> all{
        {OpKind::ItemAdd,
         [](RandomOps &r) -> QVariantMap {
             if (r.chance(30))
                 return {{u"itemType"_s, r.pickText({u"mesh"_s, u"group"_s, u"camera"_s})},
                         {u"parentId"_s, r.chance(50) ? QUuid() : r.item()},
                         {u"name"_s, r.name()},
                         {u"material"_s, r.surface()},
                         {u"typeData"_s, QVariantMap{{u"file"_s, u"a.stl"_s}}}};
             QVariantMap args{
                 {u"itemType"_s, u"sdf"_s},
                 {u"definitionId"_s, r.chance(15) ? r.component() : r.pickText(shapes)},
                 {u"parentId"_s, r.chance(40) ? QUuid() : r.node()}};
             if (r.chance(30))
                 args.insert(u"name"_s, r.name());
             if (r.chance(20))
                 args.insert(u"insertIndex"_s, r.below(3));
             if (r.chance(10))
                 args.insert(u"container"_s, true);
             return args;
         }},
        {OpKind::ItemRemove, [](RandomOps &r) { return only(u"itemId"_s, r.anything()); }},
        {OpKind::ItemRename,
         [](RandomOps &r) -> QVariantMap {
             return {{u"itemId"_s, r.anything()}, {u"newName"_s, r.name()}};
         }},
        {OpKind::ItemSetTransform,
         [](RandomOps &r) -> QVariantMap {
             QVariantMap args{{u"itemId"_s, r.anything()}};
             args.insert(r.pickText({u"translate"_s, u"rotate"_s, u"scale"_s}),
                         QVariantList{0.1 * r.below(90), r.below(9), 1});
             if (r.chance(30))
                 args.insert(u"ry"_s, r.below(360));
             if (r.chance(30))
                 args.insert(r.pickText({u"tx"_s, u"rz"_s, u"sx"_s}), u"=w * 2.0"_s);
             return args;
         }},
        {OpKind::ItemSetParent,
         [](RandomOps &r) -> QVariantMap {
             const bool isNode = r.chance(75);
             const QUuid parent = isNode ? r.node() : r.item();
             return {{u"itemId"_s, isNode ? r.node() : r.item()},
                     {u"newParentId"_s, r.chance(30) ? QUuid() : parent},
                     {u"insertIndex"_s, r.below(6) - 1}};
         }},
        {OpKind::ItemSetMaterial,
         [](RandomOps &r) -> QVariantMap {
             QVariantMap args{{u"itemId"_s, r.anything()}};
             if (r.chance(50))
                 args.insert(u"materialId"_s, r.material());
             if (r.chance(60))
                 args.insert(u"material"_s, r.surface());
             return args;
         }},
        {OpKind::ItemSetTags,
         [](RandomOps &r) -> QVariantMap {
             const QStringList tags{u"hidden"_s, u"locked"_s, u"isolated"_s, u"selected"_s};
             return {{u"itemId"_s, r.anything()},
                     {u"add"_s, QStringList{r.pickText(tags)}},
                     {u"remove"_s, QStringList{r.pickText(tags), r.pickText(tags)}}};
         }},
        {OpKind::ItemSetTypeData,
         [](RandomOps &r) -> QVariantMap {
             QVariantMap args{
                 {u"itemId"_s, r.item()},
                 {u"key"_s, r.pickText({u"file"_s, u"params"_s, u"parameters"_s, u"name"_s})}};
             if (r.chance(70))
                 args.insert(u"value"_s, QVariantMap{{u"radius"_s, r.below(9)}});
             return args;
         }},
        {OpKind::ItemDuplicate,
         [](RandomOps &r) -> QVariantMap {
             QVariantMap args{{u"sourceId"_s, r.anything()}};
             if (r.chance(30))
                 args.insert(u"newParentId"_s, r.anything());
             return args;
         }},
        {OpKind::ItemSetProxy,
         [](RandomOps &r) -> QVariantMap {
             return {{u"itemId"_s, r.anything()}, {u"proxied"_s, r.chance(60)}};
         }},
        {OpKind::SdfSetParameter, [](RandomOps &r) { return r.sdfSetParameter(); }},
        {OpKind::SdfSetAllParams, [](RandomOps &r) { return r.sdfSetAllParams(); }},
        {OpKind::SdfSetDefinition,
         [](RandomOps &r) -> QVariantMap {
             return {{u"itemId"_s, r.anything()}, {u"definitionId"_s, r.pickText(shapes)}};
         }},
        {OpKind::SdfSetModifier,
         [](RandomOps &r) -> QVariantMap {
             return {
                 {u"itemId"_s, r.anything()},
                 {u"modifier"_s, r.pickText({u"densityScale"_s, u"shellThickness"_s,
                                             u"blendSharpness"_s, u"materialMode"_s, u"colour"_s})},
                 {u"value"_s, 0.1 * r.below(30)}};
         }},
        {OpKind::MaterialAdd,
         [](RandomOps &r) -> QVariantMap {
             QVariantMap data = r.surface();
             if (r.chance(70))
                 data.insert(u"name"_s, r.pickText({u"Wood"_s, u"Wood (copy)"_s, u"Slate"_s}));
             return {{u"data"_s, data}};
         }},
        {OpKind::MaterialRemove, [](RandomOps &r) { return only(u"materialId"_s, r.material()); }},
        {OpKind::MaterialUpdate,
         [](RandomOps &r) -> QVariantMap {
             QVariantMap data = r.surface();
             if (r.chance(40))
                 data.insert(u"name"_s, r.pickText({u"Wood"_s, u"Oak"_s}));
             return {{u"materialId"_s, r.material()}, {u"data"_s, data}};
         }},
        {OpKind::MaterialDuplicate, [](RandomOps &r) { return only(u"sourceId"_s, r.material()); }},
        {OpKind::VarsetSetVariable,
         [](RandomOps &r) -> QVariantMap {
             QVariantMap args{
                 {u"name"_s, r.chance(40) ? r.variable() : r.pickText({u"a"_s, u"b"_s, u"w"_s})},
                 {u"varsetName"_s, r.varset()}};
             if (r.chance(30))
                 args.insert(u"entry"_s,
                             QVariantMap{{u"value"_s, r.below(9)},
                                         {u"unit"_s, u"mm"_s},
                                         {u"constraints"_s, QVariantMap{{u"min"_s, 1}}}});
             else
                 args.insert(u"value"_s,
                             r.chance(20) ? QVariant(u"=a * 3"_s) : QVariant(r.below(99)));
             return args;
         }},
        {OpKind::VarsetRemoveVar, [](RandomOps &r) { return only(u"name"_s, r.variable()); }},
        {OpKind::VarsetRenameVar,
         [](RandomOps &r) -> QVariantMap {
             return {
                 {u"oldName"_s, r.variable()},
                 {u"newName"_s, r.pickText({u"a"_s, u"b"_s, u"long name"_s, u"width"_s, u"q"_s})}};
         }},
        {OpKind::VarsetReorder,
         [](RandomOps &r) -> QVariantMap {
             return {{u"name"_s, r.variable()},
                     {u"beforeName"_s, r.chance(30) ? QString() : r.variable()}};
         }},
        {OpKind::VarsetAddNamed,
         [](RandomOps &r) -> QVariantMap {
             return {{u"varsetName"_s, r.pickText({u"size"_s, u"look"_s, u"motion"_s})}};
         }},
        {OpKind::VarsetRemoveNamed, [](RandomOps &r) { return only(u"varsetName"_s, r.varset()); }},
        {OpKind::VarsetMoveEntry,
         [](RandomOps &r) -> QVariantMap {
             const QString source = r.varset();
             return {
                 {u"entryName"_s,
                  r.pickText(source.isEmpty() ? r.m_fixture.document->variableNames()
                                              : r.m_fixture.document->namedVarset(source).keys())},
                 {u"srcVarset"_s, source},
                 {u"dstVarset"_s, r.varset()}};
         }},
        {OpKind::SettingsSet,
         [](RandomOps &r) -> QVariantMap {
             return {
                 {u"path"_s, r.pickText({u"export.cellSize"_s, u"export.bounds.minX"_s, u"export"_s,
                                         u"animation.fps"_s, u"note"_s, u"note.text"_s})},
                 {u"value"_s, r.below(9)}};
         }},
        {OpKind::SettingsSetBulk,
         [](RandomOps &r) -> QVariantMap {
             return {{u"settings"_s,
                      QVariantMap{{u"export"_s, QVariantMap{{u"cellSize"_s, r.below(9)}}},
                                  {u"view.grid"_s, r.chance(50)}}}};
         }},
        {OpKind::DefinitionAdd,
         [](RandomOps &r) {
             return only(u"definition"_s, r.definitionMap(u"ball%1"_s.arg(r.below(5))));
         }},
        {OpKind::DefinitionRemove,
         [](RandomOps &r) { return only(u"definitionId"_s, u"ball%1"_s.arg(r.below(5))); }},
        {OpKind::DefinitionUpdate,
         [](RandomOps &r) -> QVariantMap {
             const QString id = u"ball%1"_s.arg(r.below(5));
             return {{u"definitionId"_s, id}, {u"definition"_s, r.definitionMap(id)}};
         }},
        {OpKind::ComponentNest,
         [](RandomOps &r) -> QVariantMap {
             QVariantMap args{{u"itemId"_s, r.node()}, {u"definitionId"_s, r.newComponent()}};
             if (r.chance(60))
                 args.insert(u"name"_s, r.name());
             return args;
         }},
        {OpKind::ComponentNestMulti,
         [](RandomOps &r) -> QVariantMap {
             return {{u"itemIds"_s, QVariantList{r.node(), r.node(), r.node()}},
                     {u"name"_s, r.name()},
                     {u"definitionId"_s, r.newComponent()}};
         }},
        {OpKind::ComponentUnnest, [](RandomOps &r) { return r.componentUnnest(); }},
        {OpKind::ComponentExplode, [](RandomOps &r) { return r.componentExplode(); }},
        {OpKind::ComponentUpdateDefinition,
         [](RandomOps &r) -> QVariantMap {
             const QString id = r.component();
             const auto definition = r.m_fixture.tree.componentRegistry()->definition(id);
             const QVariantList nodes = definition.structure.value(u"instances"_s).toList();
             const QString target =
                 nodes.isEmpty() ? QString() : nodes.last().toMap().value(u"id"_s).toString();
             const QVariantMap promotion{
                 {u"alias"_s, u"knob"_s},
                 {u"target"_s, QVariantMap{{u"node"_s, target}, {u"param"_s, u"radius"_s}}},
                 {u"binding"_s, r.chance(50) ? u"passthrough"_s : u"expression"_s},
                 {u"expression"_s, u"knob * 2"_s}};
             return {{u"definitionId"_s, id},
                     {u"definition"_s, QVariantMap{{u"description"_s, r.name()},
                                                   {u"interface"_s, QVariantList{promotion}}}}};
         }},
        {OpKind::ComponentPublish,
         [](RandomOps &r) { return only(u"definitionId"_s, r.component()); }},
        {OpKind::ComponentEditEnter,
         [](RandomOps &r) -> QVariantMap { return r.componentUnnest(); }},
        {OpKind::ComponentEditCommit, [](RandomOps &r) { return r.componentEditCommit(); }},
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
    return {maker.kind, maker.args(*this)};
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
    const auto &references = m_fixture.tree.references();
    if (chance(2)) // which nobody sees, and all ops refuse
        return pick(references.keys());
    QList<QUuid> nodes = m_fixture.tree.nodesInOrder();
    nodes.removeIf([&references](const QUuid &id) { return references.contains(id); });
    return pick(nodes);
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

QVariantMap RandomOps::componentEditCommit()
{
    if (m_sessions.isEmpty())
        return {{u"definitionId"_s, component()}, {u"branchRootId"_s, node()}};
    const int last = int(m_sessions.size()) - 1;
    const auto &session = m_sessions.at(chance(70) ? last : below(last + 1));
    return {{u"definitionId"_s, session.first}, {u"branchRootId"_s, session.second}};
}
