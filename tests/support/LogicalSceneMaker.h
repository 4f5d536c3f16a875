// Logical scenes with everything that a node may hold, the same for the same seed. Needs
// corvane_model.
#pragma once

#include <corvane/model/LogicalScene.h>
#include <corvane/model/ParameterValue.h>

#include <QRandomGenerator>

#include <algorithm>

namespace support {

/// Names and values of every nasty sort, groups, wrappers in any order, detached nodes, namesakes,
/// and components in components.
class LogicalSceneMaker
{
public:
    using LogicalInstance = corvane::model::LogicalInstance;
    using LogicalScene = corvane::model::LogicalScene;

    explicit LogicalSceneMaker(quint32 seed)
        : m_random(seed)
    {}

    /// Replaces the scene by a tree of `count` nodes.
    void fill(LogicalScene &scene, int count)
    {
        QVariantMap components;
        for (const QString &id : {QStringLiteral("inner"), QStringLiteral("outer: \"2\"")}) {
            components.insert(id, component(id));
            m_components.append(id);
        }
        QList<QUuid> roots;
        const QVariantList nodes = tree(count, roots);
        QVariantList rootTexts;
        for (const QUuid &root : std::as_const(roots)) {
            if (roots.size() < 3 || root != roots.last()) // one may stay detached
                rootTexts.append(root.toString());
        }
        scene.fromVariantMap({{QStringLiteral("instances"), nodes},
                              {QStringLiteral("roots"), rootTexts},
                              {QStringLiteral("components"), components}});
    }

    /// A node with all sorts of fields and no children.
    LogicalInstance node()
    {
        using namespace Qt::StringLiterals;
        LogicalInstance made(id());
        if (!m_components.isEmpty() && chance(5))
            made.componentDefId = pick(m_components);
        else if (!chance(5))
            made.definitionId = pick(QStringList{u"box"_s, u"sphere"_s, u"union"_s, u"subtract"_s,
                                                 u"onion"_s, u"translate"_s, u"no such thing"_s});
        made.name = chance(8) ? QString() : text() + QString::number(m_random.bounded(40));
        for (int i = int(m_random.bounded(4)); i > 0; --i)
            made.params.insert(pick(QStringList{u"radius"_s, u"width"_s, u"label"_s, u"k"_s}),
                               value());
        made.wrappers = wrappers();
        made.material.roughness = chance(3) ? 0.1f : 0.5f;
        made.materialId = chance(3) ? id() : QUuid();
        if (chance(3))
            made.tags = {u"hidden"_s, text()};
        made.modifiers.blendSharpness = chance(3) ? 0.25f : made.modifiers.blendSharpness;
        made.modifiers.materialMode = chance(3) ? 1 : made.modifiers.materialMode;
        made.modifiers.densityScale = chance(3) ? 1.0f / 3.0f : made.modifiers.densityScale;
        made.modifiers.shellThickness = chance(3) ? 0.1f : made.modifiers.shellThickness;
        made.translate = chance(2) ? QVector3D(0.1f, -2, 1e-9f) : QVector3D();
        made.rotate = chance(3) ? QVector3D(90, 0, 0.3f) : QVector3D();
        made.scale = chance(3) ? QVector3D(2, 1, 1) : QVector3D(1, 1, 1);
        return made;
    }

    QString text()
    {
        using namespace Qt::StringLiterals;
        return pick(
            QStringList{u"Box "_s,  u"plain"_s, u"a: b"_s,    u"it's"_s,     u"say \"hi\""_s,
                        u"a # b"_s, u"-x"_s,    u"my-part"_s, u"true"_s,     u"1.5"_s,
                        u"=x"_s,    u"[1, 2"_s, u"{a}"_s,     u"one\ntwo"_s, u"\u00e4\u4e2d"_s,
                        u"a.b"_s,   u"@box"_s,  u"~"_s,       u"Box_2"_s,    QString(10000, u'n')});
    }

private:
    bool chance(quint32 n) { return m_random.bounded(n) == 0; }
    template<class T>
    T pick(const QList<T> &list)
    {
        return list.at(qsizetype(m_random.bounded(quint32(list.size()))));
    }
    QUuid id()
    {
        const uint a = m_random.generate();
        return QUuid(a, ushort(m_random.bounded(65536)), 7, 1, 2, 3, 4, 5, 6, 7, 8);
    }
    QVariant value()
    {
        using corvane::model::ParameterValue;
        return pick(QList<QVariant>{
            1, 2.5, 1e12, -0.0, 0.1f, true, text(), text(), QVector3D(0.1f, 2, -3),
            QVariantList{1, 2.5, text()}, QVariantMap{{QStringLiteral("k"), text()}},
            QVariantMap{{QStringLiteral("value"), QStringLiteral("=literal")}},
            QVariant::fromValue(ParameterValue::fromExpression(QStringLiteral("a*2"), 4.5)),
            QVariantMap{{QStringLiteral("expr"), QStringLiteral("b / \"c\"")}}});
    }
    QList<corvane::model::WrapperValues> wrappers()
    {
        using namespace Qt::StringLiterals;
        QStringList ids{u"translate"_s, u"rotate"_s, u"scale"_s, u"onion"_s, u"unheard of"_s};
        std::shuffle(ids.begin(), ids.end(), m_random);
        QList<corvane::model::WrapperValues> stack;
        for (const QString &wrapper : ids.mid(int(m_random.bounded(6)))) {
            QVariantMap values;
            if (chance(2))
                values.insert(pick(QStringList{u"offset"_s, u"angles"_s, u"factor"_s}),
                              chance(2) ? QVariant(QVariantList{1, 0.5, 0.1}) : value());
            stack.append({wrapper, values});
        }
        return stack;
    }
    QVariantList tree(int count, QList<QUuid> &roots)
    {
        QList<LogicalInstance> nodes;
        for (int i = 0; i < count; ++i) {
            nodes.append(node());
            LogicalInstance *parent =
                i > 0 && !chance(6) ? &nodes[qsizetype(m_random.bounded(quint32(i)))] : nullptr;
            if (!parent || parent->isComponentInstance())
                roots.append(nodes.last().id);
            else
                parent->children.append(nodes.last().id);
        }
        QVariantList maps;
        for (const LogicalInstance &made : std::as_const(nodes))
            maps.append(made.toVariantMap());
        return maps;
    }
    QVariantMap component(const QString &id)
    {
        corvane::component::ComponentDefinition definition;
        definition.id = id;
        definition.name = text();
        definition.description = text();
        QList<QUuid> roots;
        const QVariantList nodes = tree(5, roots);
        definition.structure = {{QStringLiteral("instances"), nodes},
                                {QStringLiteral("root"), roots.first().toString()}};
        definition.promotions.append({.alias = QStringLiteral("size"),
                                      .displayName = text(),
                                      .targetNode = roots.first(),
                                      .targetParam = QStringLiteral("radius")});
        definition.promotions.append({.alias = QStringLiteral("twice"),
                                      .targetNode = roots.first(),
                                      .targetParam = QStringLiteral("width"),
                                      .binding = corvane::component::ComponentPromotion::Expression,
                                      .expression = QStringLiteral("size*2 + \"x\"")});
        return definition.toVariantMap();
    }

    QRandomGenerator m_random;
    QStringList m_components;
};

/// What is wrong with the tree of a scene, a line each; empty when it is sound.
inline QStringList treeFaults(const corvane::model::LogicalScene &scene)
{
    using namespace Qt::StringLiterals;
    QStringList faults;
    QHash<QUuid, int> places;
    for (const QUuid &root : scene.roots()) {
        ++places[root];
        if (!scene.parentOf(root).isNull())
            faults.append(u"a root has a parent"_s);
    }
    const auto &nodes = scene.instances();
    for (auto it = nodes.cbegin(); it != nodes.cend(); ++it) {
        if (it->id != it.key())
            faults.append(u"a node is kept under another id"_s);
        for (const QUuid &child : it->children) {
            ++places[child];
            if (!nodes.contains(child))
                faults.append(u"a child does not exist"_s);
            if (scene.parentOf(child) != it.key())
                faults.append(u"a child has another parent"_s);
        }
    }
    for (auto it = places.cbegin(); it != places.cend(); ++it) {
        if (*it != 1)
            faults.append(u"a node stands in several places"_s);
    }
    if (scene.nodesInOrder().size() != nodes.size())
        faults.append(u"nodes stand below themselves"_s);
    return faults;
}

} // namespace support
