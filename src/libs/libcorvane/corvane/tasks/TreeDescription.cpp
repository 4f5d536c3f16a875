#include <corvane/tasks/TreeDescription.h>

#include <corvane/model/NearestName.h>
#include <corvane/tasks/Arguments.h>
#include <corvane/yaml/Savable.h>
#include <corvane/zirn/ZirnTaskParams.h>

#include <QHash>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>

using namespace Qt::StringLiterals;

namespace corvane::zirn {

namespace {

/// Puts names into an order in which parents come first, without recursion: a description may be
/// thousands of levels deep.
class ParentsFirst
{
public:
    explicit ParentsFirst(const QHash<QString, QStringList> &children)
        : m_children(children)
    {}

    /// False when the name leads back to itself.
    bool visit(const QString &top)
    {
        if (m_visited.contains(top))
            return true;
        enter(top);
        while (!m_path.isEmpty()) {
            Level &level = m_path.last();
            const QStringList &children = m_children[level.name];
            if (level.next == children.size()) {
                m_onPath.remove(level.name);
                m_path.removeLast();
                continue;
            }
            const QString child = children.at(level.next++);
            if (m_onPath.contains(child))
                return false;
            if (!m_visited.contains(child))
                enter(child);
        }
        return true;
    }
    QStringList order() const { return m_order; }

private:
    struct Level
    {
        QString name{};
        qsizetype next = 0;
    };

    void enter(const QString &name)
    {
        m_visited.insert(name);
        m_onPath.insert(name);
        m_order.append(name);
        m_path.append({name});
    }

    QHash<QString, QStringList> m_children;
    QStringList m_order;
    QSet<QString> m_visited, m_onPath;
    QList<Level> m_path;
};

std::optional<QVariantMap> readTree(const QVariant &tree, QString &cause, QString &suggestion)
{
    if (tree.typeId() == QMetaType::QVariantMap)
        return tree.toMap();
    const bool isText = tree.typeId() == QMetaType::QString;
    if (tree.isNull() || (isText && tree.toString().isEmpty())) {
        cause = u"'tree' parameter is required"_s;
        suggestion = u"provide a JSON object with instances and roots"_s;
        return std::nullopt;
    }
    const auto document = QJsonDocument::fromJson(isText ? tree.toString().toUtf8() : QByteArray());
    if (document.isObject())
        return document.object().toVariantMap();
    cause = u"'tree' must be a valid JSON object"_s;
    suggestion = u"check JSON syntax"_s;
    return std::nullopt;
}

/// The links of a tree: who lists whom, and which of several listings counts.
struct Links
{
    QHash<QString, QStringList> listed{}; ///< as described
    QHash<QString, QString> parents{};    ///< the last that lists a name
    QStringList notes{};                  ///< of names that are listed again

    QHash<QString, QStringList> children() const
    {
        QHash<QString, QStringList> kept;
        for (auto it = listed.cbegin(); it != listed.cend(); ++it) {
            for (const QString &name : *it) {
                if (parents.value(name) == it.key())
                    kept[it.key()].append(name);
            }
        }
        return kept;
    }
};

QStringList textsOf(const QVariantList &names)
{
    QStringList texts;
    for (const QVariant &name : names)
        texts.append(name.toString());
    return texts;
}

QString noteOfSecondListing(const QString &name, const QString &before, const QString &now)
{
    if (before == now)
        return u" NOTE: '%1' lists '%2' more than once; it stands there once."_s.arg(now, name);
    return u" NOTE: '%1' is listed by '%2' and '%3'; it stands under '%3' alone. Give '%2' a copy "
           u"of "
           u"it under another name."_s.arg(name, before, now);
}

Links linksOf(const QVariantMap &instances)
{
    Links links;
    for (auto it = instances.cbegin(); it != instances.cend(); ++it) {
        const ZirnTaskParams node(it->toMap());
        const QStringList names = textsOf(node.getList(u"children"_s));
        for (const QString &name : names) {
            const QString before = links.parents.value(name);
            if (!before.isEmpty())
                links.notes.append(noteOfSecondListing(name, before, it.key()));
            links.parents.insert(name, it.key());
        }
        if (!names.isEmpty())
            links.listed.insert(it.key(), names);
    }
    return links;
}

/// Parents first; empty when the references close a circle.
QStringList orderOf(const QVariantMap &instances, const Links &links, const QStringList &roots)
{
    ParentsFirst check(links.listed);
    ParentsFirst walk(links.children());
    const QStringList names = roots + instances.keys();
    for (const QString &name : names) {
        if (!check.visit(name))
            return {};
    }
    // From the tops alone: a root that somebody lists is created below that one.
    for (const QString &name : names) {
        if (!links.parents.contains(name))
            walk.visit(name);
    }
    return walk.order();
}

/// The first key that nothing reads, with what it may have meant; empty when all are known.
QString unknownKey(const QVariantMap &map, const QString &owner, const QStringList &known)
{
    for (auto key = map.keyBegin(); key != map.keyEnd(); ++key) {
        if (!known.contains(*key))
            return u"%1 has an unknown key '%2'. %3"_s.arg(
                owner, *key, model::didYouMean(*key, known, u"It takes "_s + known.join(u", "_s)));
    }
    return {};
}

bool isListOfNames(const QVariant &value)
{
    return value.isNull() || unquoted(value).typeId() == QMetaType::QVariantList;
}

/// What would be passed over, or lost when the scene is saved; empty when nothing is.
QString flawOf(const QVariantMap &tree, const QVariantMap &instances)
{
    if (!isListOfNames(tree.value(u"roots"_s)))
        return u"'roots' must be a list of names"_s;
    const QString unknown = unknownKey(tree, u"the tree"_s, {u"instances"_s, u"roots"_s});
    if (!unknown.isEmpty())
        return unknown;
    for (auto it = instances.cbegin(); it != instances.cend(); ++it) {
        const QVariantMap node = it->toMap();
        const QVariant params = node.value(u"params"_s);
        if (!isListOfNames(node.value(u"children"_s)))
            return u"'children' of instance '%1' must be a list of names"_s.arg(it.key());
        if (!params.isNull() && params.typeId() != QMetaType::QVariantMap)
            return u"'params' of instance '%1' must be a JSON object"_s.arg(it.key());
        const QString unread = unknownKey(node, u"instance '%1'"_s.arg(it.key()),
                                          {u"definition"_s, u"params"_s, u"children"_s});
        if (!unread.isEmpty())
            return unread;
        const QString flaw = yaml::whyUnsavable(params);
        if (!flaw.isEmpty())
            return u"'params' of instance '%1' %2"_s.arg(it.key(), flaw);
    }
    return {};
}

QList<TreeDescription::Node> nodesOf(const QVariantMap &instances, const Links &links,
                                     const QStringList &order)
{
    QList<TreeDescription::Node> nodes;
    for (const QString &name : order) {
        const QVariantMap node = instances.value(name).toMap();
        QVariantMap params = node.value(u"params"_s).toMap();
        params.remove(u"children"_s);
        nodes.append({.name = name,
                      .parentName = links.parents.value(name),
                      .definitionId = node.value(u"definition"_s).toString(),
                      .params = params});
    }
    return nodes;
}

} // namespace

std::optional<TreeDescription> TreeDescription::read(const QVariant &tree, QString &cause,
                                                     QString &suggestion)
{
    const auto refuse = [&cause, &suggestion](const QString &why, const QString &advice) {
        cause = why;
        suggestion = advice;
        return std::nullopt;
    };
    const auto map = readTree(tree, cause, suggestion);
    if (!map)
        return std::nullopt;
    const QVariantMap instances = map->value(u"instances"_s).toMap();
    if (instances.isEmpty())
        return refuse(u"'instances' map is empty or missing"_s, u"provide at least one instance"_s);
    const QString flaw = flawOf(*map, instances);
    if (!flaw.isEmpty())
        return refuse(flaw, u"fix the tree description and retry"_s);
    QStringList roots = textsOf(ZirnTaskParams(*map).getList(u"roots"_s));
    const Links links = linksOf(instances);
    const QStringList order = orderOf(instances, links, roots);
    if (order.isEmpty())
        return refuse(u"cycle detected in children references"_s,
                      u"check that no instance is an ancestor of itself"_s);
    if (roots.isEmpty())
        std::copy_if(order.cbegin(), order.cend(), std::back_inserter(roots),
                     [&links](const QString &name) { return !links.parents.contains(name); });
    return TreeDescription{
        .nodes = nodesOf(instances, links, order), .notes = links.notes, .rootNames = roots};
}

} // namespace corvane::zirn
