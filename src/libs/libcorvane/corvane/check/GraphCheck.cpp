#include <corvane/check/GraphCheck.h>

#include <corvane/model/NearestName.h>
#include <corvane/model/ParameterValue.h>
#include <corvane/model/SceneItem.h>
#include <corvane/model/SceneKeys.h>
#include <corvane/registry/Registry.h>

#include <QUuid>

using namespace Qt::StringLiterals;

namespace corvane::check {

namespace {

/// Names that are compared with one that is not known. Somebody who has more finds it himself.
constexpr qsizetype maxCandidates = 2000;
constexpr qsizetype maxCircleShown = 6;
/// Unions of any sort: of one part they are that part, as it is meant.
constexpr int unionCodes[] = {0, 3, 6, 7};

QString withoutMark(const QString &reference)
{
    return reference.startsWith(u'@') ? reference.mid(1) : reference;
}

bool isOfField(const QVariantMap &map)
{
    return map.value(u"itemType"_s, model::ItemTypes::Sdf).toString() == model::ItemTypes::Sdf;
}

bool isUnion(const registry::Definition &definition)
{
    return std::find(std::begin(unionCodes), std::end(unionCodes), definition.operationType) !=
           std::end(unionCodes);
}

QString countOf(qsizetype count)
{
    return count == 0 ? u"no child"_s : count == 1 ? u"1 child"_s : u"%1 children"_s.arg(count);
}

} // namespace

GraphCheck::GraphCheck(const SceneSource &source, const NodeGroup &group, Findings &findings)
    : m_source(source)
    , m_group(group)
    , m_findings(findings)
{
    for (auto it = group.nodes.cbegin(); it != group.nodes.cend(); ++it) {
        const QVariantMap map = it->toMap();
        if (it->typeId() == QMetaType::QVariantMap || (source.version >= 2 && !it->isValid()))
            m_nodes.append({it.key(), map});
    }
    // A key means its node whatever the names and ids of others are.
    for (qsizetype i = 0; i < m_nodes.size(); ++i) {
        const Node &node = m_nodes.at(i);
        const bool isName = !node.key.contains(u'-') && !node.map.contains(u"name"_s);
        if (isName || source.version >= 2)
            addWord(node.key, i);
    }
    for (qsizetype i = 0; i < m_nodes.size(); ++i) {
        const Node &node = m_nodes.at(i);
        addWord(node.map.value(u"name"_s).toString(), i);
        const QUuid id = model::SceneKeys::statedId(node.key, node.map);
        if (!id.isNull())
            addWord(id.toString(QUuid::WithoutBraces), i);
    }
}

void GraphCheck::check(bool isScene)
{
    for (qsizetype i = 0; i < m_nodes.size(); ++i)
        readChildren(i);
    for (const Node &node : std::as_const(m_nodes))
        checkChildCount(node);
    if (!isScene)
        return;
    checkRoots();
    if (m_source.version >= 2)
        return;
    checkCircles();
    checkUndrawn();
    checkRootsDrawnTwice();
}

void GraphCheck::addWord(const QString &word, qsizetype node)
{
    if (!word.isEmpty() && !m_words.contains(word))
        m_words.insert(word, node);
}

qsizetype GraphCheck::resolve(const QString &reference) const
{
    const qsizetype node = m_words.value(withoutMark(reference), -1);
    const bool isMarked = reference.startsWith(u'@') || m_source.version >= 2;
    return isMarked || !QUuid::fromString(reference).isNull() ? node : -1;
}

QVariant GraphCheck::childrenOf(const QVariantMap &map, KeyPath &path) const
{
    if (m_source.version >= 2 && map.contains(u"children"_s)) {
        path.append(u"children"_s);
        return map.value(u"children"_s);
    }
    path.append({u"params"_s, u"children"_s});
    const auto value =
        model::ParameterValue::fromVariant(map.value(u"params"_s).toMap().value(u"children"_s));
    return value.isExpression() ? QVariant() : value.literal;
}

void GraphCheck::readChildren(qsizetype number)
{
    Node &node = m_nodes[number];
    if (!isOfField(node.map))
        return;
    KeyPath path = pathOf(node);
    const QVariant stored = childrenOf(node.map, path);
    if (stored.isValid() && stored.typeId() != QMetaType::QVariantList &&
        stored.typeId() != QMetaType::QString)
        m_findings.add(path, u"%1 is no list of children"_s.arg(shownValue(stored)),
                       u"Write it as [\"@first\", \"@second\"]"_s);
    if (m_source.version < 2 && node.map.contains(u"children"_s))
        markMeant(number, node.map.value(u"children"_s).toStringList());
    const QStringList references = stored.toStringList();
    for (const QString &reference : references) {
        if (const qsizetype child = resolve(reference); child >= 0) {
            node.children.append(child);
            continue;
        }
        node.hasLostChild = true;
        m_findings.add(
            path,
            u"child %1 names no instance, so it is left out"_s.arg(shownValue(QVariant(reference))),
            referenceRemedy(reference, m_source.version < 2 ? u"@"_s : QString()));
    }
}

/// Children that stand at a place where nothing reads them, which is told there.
void GraphCheck::markMeant(qsizetype number, const QStringList &references)
{
    m_nodes[number].hasLostChild = true;
    for (const QString &reference : references) {
        if (const qsizetype child = m_words.value(withoutMark(reference), -1); child >= 0)
            m_nodes[child].isMeantElsewhere = true;
    }
}

QString GraphCheck::referenceRemedy(const QString &reference, const QString &mark)
{
    const QString name = withoutMark(reference);
    // Who is named wrongly is told here; that nothing draws it need not be told as well.
    const auto meant = [&](const QString &word) {
        if (const qsizetype node = m_words.value(word, -1); node >= 0)
            m_nodes[node].isMeantElsewhere = true;
        return u"Did you mean \"%1%2\"?"_s.arg(mark, shown(word));
    };
    if (m_words.contains(name))
        return meant(name);
    if (m_findings.isFull())
        return {};
    const QStringList names = candidates();
    const QString nearest = m_group.nodes.contains(name) ? name : model::nearestName(name, names);
    if (nearest.contains(u'-') && !m_words.contains(nearest))
        return u"In version 1 a key with \"-\" is no name: call it \"%1\""_s.arg(
            shown(QString(nearest).replace(u'-', u'_')));
    return nearest.isEmpty() ? u"Name one of the instances"_s : meant(nearest);
}

QStringList GraphCheck::candidates() const
{
    QStringList names;
    for (qsizetype i = 0; i < std::min(m_nodes.size(), maxCandidates); ++i)
        names.append(m_nodes.at(i).map.value(u"name"_s, m_nodes.at(i).key).toString());
    return names;
}

void GraphCheck::checkChildCount(const Node &node) const
{
    // What a group or a component stands for is not counted here.
    const bool countsOthers =
        std::any_of(node.children.cbegin(), node.children.cend(),
                    [this](qsizetype child) { return !m_nodes.at(child).map.contains(u"type"_s); });
    const auto definition =
        registry::Registry::instance().getDefinition(node.map.value(u"type"_s).toString());
    if (!definition || countsOthers || node.hasLostChild || !isOfField(node.map) ||
        node.map.contains(u"component"_s))
        return;
    const qsizetype count = node.children.size();
    const int most = definition->maxChildren();
    const QString id = definition->id;
    if (!definition->childParameter() && count > 0 && m_source.version < 2)
        m_findings.add(pathOf(node), u"%1 takes no children, so they are not drawn"_s.arg(id),
                       u"Make an instance of an operator, such as union, of them"_s);
    else if (definition->childParameter() && most >= 0 && count > most)
        m_findings.add(
            pathOf(node),
            u"it has %1, but %2 takes %3"_s.arg(countOf(count), id, QString::number(most)),
            u"Put a union around the children"_s);
    else if (count == 0 && definition->minChildren() > 0)
        m_findings.add(pathOf(node), u"%1 has no child to act on"_s.arg(id),
                       u"List what it acts on under \"children\""_s);
    else if (count < definition->minChildren() && !isUnion(*definition))
        m_findings.add(pathOf(node),
                       u"it has %1, but %2 needs %3"_s.arg(
                           countOf(count), id, QString::number(definition->minChildren())),
                       u"List the others under \"children\" as well"_s);
}

void GraphCheck::checkRoots()
{
    const QVariant stored = m_source.block.value(u"roots"_s);
    if (!stored.isValid())
        return checkMissingRoots();
    const KeyPath path = m_source.at(u"roots"_s);
    const QStringList references = stored.toStringList();
    for (const QString &reference : references) {
        // The marks of children do no harm here, and a root needs none.
        const qsizetype root = m_words.value(withoutMark(reference), -1);
        if (root >= 0) {
            m_roots.append(root);
            continue;
        }
        m_findings.add(
            path,
            u"root %1 names no instance, so it is left out"_s.arg(shownValue(QVariant(reference))),
            referenceRemedy(reference, {}));
    }
    if (m_roots.isEmpty() && !m_nodes.isEmpty())
        m_findings.add(path, u"no root is left, so nothing is drawn"_s,
                       u"List the instance that is the whole part"_s);
}

/// Without roots version 1 draws every instance by itself: what a subtraction cuts away too.
void GraphCheck::checkMissingRoots() const
{
    const bool isAnyListed = std::any_of(m_nodes.cbegin(), m_nodes.cend(),
                                         [](const Node &node) { return !node.children.isEmpty(); });
    if (m_source.version >= 2 || !isAnyListed)
        return;
    QStringList tops;
    const QList<qsizetype> unlistedNodes = unlisted();
    for (const qsizetype node : unlistedNodes.mid(0, maxCircleShown))
        tops.append(shown(m_nodes.at(node).key));
    m_findings.add(m_source.at(u"roots"_s),
                   u"there are none, so every instance is drawn, also what others cut away"_s,
                   u"Write \"roots: [%1]\""_s.arg(tops.join(u", "_s)));
}

QList<qsizetype> GraphCheck::unlisted() const
{
    QList<bool> isListed(m_nodes.size(), false);
    for (qsizetype i = 0; i < m_nodes.size(); ++i) {
        for (const qsizetype child : m_nodes.at(i).children)
            isListed[child] = isListed.at(child) || child != i;
    }
    QList<qsizetype> tops;
    for (qsizetype i = 0; i < m_nodes.size(); ++i) {
        if (!isListed.at(i) && isOfField(m_nodes.at(i).map))
            tops.append(i);
    }
    return tops;
}

/// A walk in depth: a child that is open already closes a circle. Linear in nodes and references.
void GraphCheck::checkCircles() const
{
    enum Mark : char { Unseen, Open, Done };
    QList<Mark> marks(m_nodes.size(), Unseen);
    // From the roots first, so that a circle is told from above as the part is drawn.
    QList<qsizetype> starts = m_roots;
    for (qsizetype node = 0; node < m_nodes.size(); ++node)
        starts.append(node);
    for (const qsizetype start : std::as_const(starts)) {
        if (marks.at(start) != Unseen)
            continue;
        QList<qsizetype> path{start};
        QList<qsizetype> nextChild{0};
        marks[start] = Open;
        while (!path.isEmpty()) {
            const Node &node = m_nodes.at(path.last());
            if (nextChild.last() == node.children.size()) {
                marks[path.takeLast()] = Done;
                nextChild.removeLast();
                continue;
            }
            const qsizetype child = node.children.at(nextChild.last()++);
            if (marks.at(child) == Open) {
                addCircle(path, path.indexOf(child));
            } else if (marks.at(child) == Unseen) {
                marks[child] = Open;
                path.append(child);
                nextChild.append(0);
            }
        }
    }
}

void GraphCheck::addCircle(const QList<qsizetype> &path, qsizetype start) const
{
    QStringList names;
    for (qsizetype i = start; i < path.size() && names.size() < maxCircleShown; ++i)
        names.append(shown(m_nodes.at(path.at(i)).key));
    if (path.size() - start > names.size())
        names.append(u"..."_s);
    const QString first = shown(m_nodes.at(path.at(start)).key);
    const Node &last = m_nodes.at(path.last());
    m_findings.add(pathOf(last) + KeyPath{u"params"_s, u"children"_s},
                   u"it lists %1, which stands above it (%2): that place is left out"_s.arg(
                       first, (names + QStringList(first)).join(u" > "_s)),
                   u"Take %1 out of the children of %2"_s.arg(first, shown(last.key)));
}

QList<bool> GraphCheck::reachedFrom(const QList<qsizetype> &starts) const
{
    QList<bool> isReached(m_nodes.size(), false);
    QList<qsizetype> open = starts;
    while (!open.isEmpty()) {
        const qsizetype node = open.takeLast();
        if (isReached.at(node))
            continue;
        isReached[node] = true;
        open += m_nodes.at(node).children;
    }
    return isReached;
}

/// Roots are united: one that is subtracted elsewhere fills again what it cuts away.
void GraphCheck::checkRootsDrawnTwice() const
{
    const QSet<qsizetype> roots(m_roots.cbegin(), m_roots.cend());
    if (roots.size() < 2)
        return;
    const QList<bool> isDrawn = reachedFrom(m_roots);
    for (qsizetype i = 0; i < m_nodes.size(); ++i) {
        const Node &node = m_nodes.at(i);
        const auto definition =
            registry::Registry::instance().getDefinition(node.map.value(u"type"_s).toString());
        if (!isDrawn.at(i) || !definition || isUnion(*definition) ||
            definition->nodeType != registry::NodeType::CSGOperator)
            continue;
        for (const qsizetype child : node.children) {
            if (child != i && roots.contains(child))
                m_findings.add(m_source.at(u"roots"_s),
                               u"%1 is drawn by itself as well as in %2, which is of type %3"_s.arg(
                                   shown(m_nodes.at(child).key), shown(node.key), definition->id),
                               u"Take %1 out of the roots"_s.arg(shown(m_nodes.at(child).key)));
        }
    }
}

void GraphCheck::checkUndrawn() const
{
    if (m_roots.isEmpty())
        return;
    const QList<bool> isDrawn = reachedFrom(m_roots);
    const QList<qsizetype> tops = unlisted();
    for (const qsizetype top : tops) {
        const Node &node = m_nodes.at(top);
        const QStringList tags = node.map.value(u"tags"_s).toStringList();
        const bool isMeant = isCompiled(node.map) || node.isMeantElsewhere ||
                             tags.contains(model::ItemTags::Hidden) ||
                             !node.map.contains(u"type"_s);
        if (!isDrawn.at(top) && !isMeant)
            m_findings.add(
                pathOf(node), u"no root leads to it, so it is not drawn"_s,
                u"List it under \"roots\" or in the children of another, or remove it"_s);
    }
}

} // namespace corvane::check
