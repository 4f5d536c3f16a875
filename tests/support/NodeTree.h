// Node lists as the scene flattening makes them, built by hand. Needs corvane_field.
#pragma once

#include <corvane/eval/DefinitionTable.h>
#include <corvane/registry/Definition.h>
#include <corvane/registry/Registry.h>
#include <corvane/shader/SDFNode.h>
#include <corvane/shader/ShaderIndexManager.h>

#include <QDebug>
#include <QRegularExpression>

#include <initializer_list>

namespace support {

/// A scene of built-in definitions; children are added before their parents.
///
///     NodeTree tree;
///     const int root = tree.add("union", {}, {tree.add("sphere", {1}), tree.add("box", {1, 1,
///     1})});
///     const int same = tree.read("(union (sphere 1) (box 1 1 1))");
class NodeTree
{
public:
    using Node = corvane::shader::SDFNode;
    using Registry = corvane::registry::Registry;

    explicit NodeTree(const Registry &registry = Registry::instance())
        : m_registry(&registry)
    {
        m_indices.rebuildIndices(&registry);
    }

    int add(QLatin1String id, std::initializer_list<float> parameters = {},
            std::initializer_list<int> children = {})
    {
        return addNode(id, parameters, QList<int>(children));
    }

    /// An id with its parameters and its children, each of them in parentheses; 0 for no text.
    int read(const QString &text)
    {
        static const QRegularExpression token(QStringLiteral("[()]|[^\\s()]+"));
        auto tokens = token.globalMatch(text);
        return tokens.hasNext() && tokens.next().captured() == QLatin1Char('(') ? read(tokens) : 0;
    }

    int addNode(const QString &id, const QList<float> &parameters, const QList<int> &children)
    {
        Node node;
        const auto entry = m_indices.find(id);
        if (!entry)
            qFatal("no definition %s", qPrintable(id));
        node.nodeType = static_cast<quint32>(entry->type);
        node.definitionIndex = static_cast<quint32>(entry->index);
        std::array<float, corvane::shader::parameterSlotCount> packed{};
        std::copy(parameters.begin(), parameters.end(), packed.begin());
        node.setParameterSlots(packed);
        node.childCount = static_cast<int>(children.size());
        node.firstChild = children.value(0, -1);
        setOperation(node, *m_registry->getDefinition(id), parameters);
        const int index = static_cast<int>(nodes.size());
        for (qsizetype i = 0; i < children.size(); ++i) {
            nodes[children.at(i)].nextSibling = children.value(i + 1, -1);
            nodes[children.at(i)].parentIndex = index;
        }
        nodes.append(node);
        return index;
    }

    corvane::eval::DefinitionTable definitions() const
    {
        return corvane::eval::DefinitionTable::collect(nodes, *m_registry, m_indices);
    }

    QList<Node> nodes;

private:
    static void setOperation(Node &node, const corvane::registry::Definition &definition,
                             const QList<float> &parameters)
    {
        if (definition.operationType < 0)
            return;
        node.operationType = static_cast<quint32>(definition.operationType);
        if (!parameters.isEmpty() && parameters.first() > 0.0f)
            node.smoothRadius = parameters.first(); // the only one that operators have
    }

    int read(QRegularExpressionMatchIterator &tokens)
    {
        const QString id = tokens.next().captured();
        QList<float> parameters;
        QList<int> children;
        while (tokens.hasNext()) {
            const QString word = tokens.next().captured();
            if (word == QLatin1Char(')'))
                break;
            if (word == QLatin1Char('('))
                children.append(read(tokens));
            else
                parameters.append(word.toFloat());
        }
        return addNode(id, parameters, children);
    }

    const Registry *m_registry;
    corvane::shader::ShaderIndexManager m_indices;
};

/// A shape that only tests have: "sdf_<id>" is the function in its code.
inline void addShape(const QString &id, const QString &code)
{
    auto made = corvane::registry::DefinitionPtr::create();
    made->id = made->name = id;
    made->category = QStringLiteral("Test");
    made->shaderCode = code;
    corvane::registry::Registry::instance().registerFileScopedPrimitive(made);
}

/// "test_endless", whose distance never comes.
inline void addEndlessShape()
{
    addShape(QStringLiteral("test_endless"),
             QStringLiteral("float sdf_test_endless(vec3 p) { float s = 0.0;\n"
                            "while (true) { while (true) { while (true) { s = s + 1.0; } } }\n"
                            "return s; }"));
}

} // namespace support
