#include <corvane/model/Version1Parts.h>

#include <corvane/model/ParameterValue.h>
#include <corvane/model/WarningList.h>

#include <QUuid>

using namespace Qt::StringLiterals;

namespace corvane::model {

Version1References::Version1References(const QVariantMap &instances)
{
    m_keys.reserve(instances.size());
    // What is met first stays: a key means its instance whatever the names and ids of others.
    const auto add = [this](const QString &word, const QString &key) {
        if (!word.isEmpty() && !m_keys.contains(word))
            m_keys.insert(word, key);
    };
    for (auto it = instances.cbegin(); it != instances.cend(); ++it)
        add(it.key(), it.key());
    for (auto it = instances.cbegin(); it != instances.cend(); ++it) {
        const QVariantMap map = it->toMap();
        add(map.value(u"name"_s).toString(), it.key());
        const QUuid id = QUuid::fromString(map.value(u"id"_s).toString());
        if (!id.isNull())
            add(id.toString(QUuid::WithoutBraces), it.key());
    }
}

QString Version1References::resolve(const QString &reference) const
{
    const QString word = reference.startsWith(u'@') ? reference.mid(1) : reference;
    if (const auto known = m_keys.constFind(word); known != m_keys.cend())
        return *known;
    const QUuid id = QUuid::fromString(word);
    return id.isNull() ? QString() : m_keys.value(id.toString(QUuid::WithoutBraces));
}

QStringList Version1References::childrenOf(const QVariantMap &instance)
{
    const QVariant children = instance.value(u"params"_s).toMap().value(u"children"_s);
    return plainParamValue(children).toStringList();
}

void Version1References::setChildren(QVariantMap &instance, const QStringList &references)
{
    QVariantMap params = instance.value(u"params"_s).toMap();
    params.insert(u"children"_s, QVariant(references).toList());
    instance.insert(u"params"_s, params);
}

/// An instance whose children are being placed.
struct Version1Unfolder::Open
{
    QString key;      ///< of the original
    QString placedAs; ///< the key of this place
    QStringList children{};
    QStringList placedChildren{};
    qsizetype next = 0;
};

Version1Unfolder::Version1Unfolder(const QVariantMap &instances, WarningList &warnings)
    : m_originals(instances)
    , m_instances(instances)
    , m_references(instances)
    , m_warnings(warnings)
{}

bool Version1Unfolder::unfold(QStringList &roots)
{
    for (QString &root : roots) {
        const QString key = m_references.resolve(root);
        if (key.isEmpty())
            continue;
        root = place(key);
        if (!placeBelow(key, root))
            return false;
    }
    // Then what no root leads to: first what stands at the top of something, then circles.
    QSet<QString> referenced;
    for (auto it = m_originals.cbegin(); it != m_originals.cend(); ++it) {
        const QStringList children = Version1References::childrenOf(it->toMap());
        for (const QString &child : children)
            referenced.insert(m_references.resolve(child));
    }
    for (const bool isTop : {true, false}) {
        for (auto it = m_originals.cbegin(); it != m_originals.cend(); ++it) {
            if (referenced.contains(it.key()) == isTop || m_places.contains(it.key()))
                continue;
            if (!placeBelow(it.key(), place(it.key())))
                return false;
        }
    }
    return true;
}

/// The key of one more place of an instance: its own the first time, that of a new copy afterwards.
QString Version1Unfolder::place(const QString &key)
{
    if (m_places[key]++ == 0)
        return key;
    ++m_copies;
    QVariantMap copy = m_originals.value(key).toMap();
    copy.remove(u"id"_s);
    copy.remove(u"name"_s);
    const QString copyKey = freeKey(key);
    m_instances.insert(copyKey, copy);
    return copyKey;
}

QString Version1Unfolder::freeKey(const QString &key)
{
    for (int number = m_places.value(key);; ++number) {
        const QString candidate = u"%1_%2"_s.arg(key, QString::number(number));
        if (!m_instances.contains(candidate))
            return candidate;
    }
}

bool Version1Unfolder::placeBelow(const QString &key, const QString &placedAs)
{
    const auto open = [this](const QString &original, const QString &as) {
        m_onPath.insert(original);
        return Open{.key = original,
                    .placedAs = as,
                    .children =
                        Version1References::childrenOf(m_originals.value(original).toMap())};
    };
    QList<Open> path{open(key, placedAs)};
    while (!path.isEmpty()) {
        Open &top = path.last();
        if (top.next == top.children.size()) {
            if (top.placedChildren != top.children) {
                QVariantMap map = m_instances.value(top.placedAs).toMap();
                Version1References::setChildren(map, top.placedChildren);
                m_instances.insert(top.placedAs, map);
            }
            m_onPath.remove(top.key);
            path.removeLast();
            continue;
        }
        const QString reference = top.children.at(top.next++);
        const QString child = m_references.resolve(reference);
        if (child.isEmpty()) {
            top.placedChildren.append(reference);
        } else if (m_onPath.contains(child)) {
            m_warnings.add(
                u"Instance '%1' stands below itself; that place was dropped"_s.arg(child));
        } else {
            const QString childPlace = place(child);
            if (m_copies > maxCopies)
                return false;
            top.placedChildren.append(childPlace == child ? reference : u'@' + childPlace);
            path.append(open(child, childPlace));
        }
    }
    return true;
}

} // namespace corvane::model
