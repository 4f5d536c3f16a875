#include <corvane/model/NodeKeys.h>

#include <corvane/model/SceneKeys.h>

using namespace Qt::StringLiterals;

namespace corvane::model {

namespace {

constexpr qsizetype idDigits = 8;

/// What a node is called in the file unless another one is called that.
QString baseKey(const LogicalInstance &node)
{
    const QString id = node.id.toString(QUuid::WithoutBraces);
    if (node.name.isEmpty())
        return id.left(idDigits);
    return SceneKeys::isSafeForNode(node.name) ? node.name : id;
}

QString numbered(const QString &base, int number)
{
    return base + u'_' + QString::number(number);
}

/// The part of a key before the "_" and a number at its end; empty when it has none.
QString withoutNumber(const QString &key)
{
    const qsizetype underscore = key.lastIndexOf(u'_');
    bool isNumber = false;
    const int number = QStringView(key).sliced(underscore + 1).toInt(&isNumber);
    return underscore > 0 && isNumber && number > 1 ? key.left(underscore) : QString();
}

} // namespace

NodeKeys::NodeKeys(const QList<const LogicalInstance *> &nodes, const QString &space)
{
    m_keys.reserve(nodes.size());
    keepFormerKeys(nodes, space);
    QHash<QString, int> nextNumber;
    for (const LogicalInstance *node : nodes) {
        if (m_keys.contains(node->id))
            continue;
        const QString base = baseKey(*node);
        QString key = base;
        for (int &number = nextNumber[base]; m_taken.contains(key);) {
            number = std::max(number + 1, 2);
            key = numbered(base, number);
        }
        take(node->id, key);
    }
}

QUuid NodeKeys::idOf(const QString &key, const QString &space)
{
    return SceneKeys::idOf(space.isEmpty() ? u"node "_s + key
                                           : u"node %1 of component %2"_s.arg(key, space));
}

void NodeKeys::take(const QUuid &id, const QString &key)
{
    m_keys.insert(id, key);
    m_taken.insert(key);
}

/// Only of nodes that share a name: all others have but one key to choose.
void NodeKeys::keepFormerKeys(const QList<const LogicalInstance *> &nodes, const QString &space)
{
    QHash<QString, int> holders;
    for (const LogicalInstance *node : nodes) {
        const QString base = baseKey(*node);
        ++holders[base];
        // A name "Box_2" takes a key from the nodes named "Box".
        if (const QString shorter = withoutNumber(base); !shorter.isEmpty())
            ++holders[shorter];
    }
    QHash<QUuid, QString> formerKeys;
    for (auto it = holders.cbegin(); it != holders.cend(); ++it) {
        if (*it < 2)
            continue;
        formerKeys.insert(idOf(it.key(), space), it.key());
        for (int number = 2; number <= *it + 1; ++number) {
            const QString key = numbered(it.key(), number);
            formerKeys.insert(idOf(key, space), key);
        }
    }
    for (const LogicalInstance *node : nodes) {
        const QString key = formerKeys.value(node->id);
        const QString base = baseKey(*node);
        if (!key.isEmpty() && (key == base || withoutNumber(key) == base) && !m_taken.contains(key))
            take(node->id, key);
    }
}

} // namespace corvane::model
