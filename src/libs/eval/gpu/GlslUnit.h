#pragma once

#include <eval/gpu/GlslText.h>
#include <eval/internal/frontend/Ast.h>
#include <eval/internal/frontend/StructRegistry.h>
#include <eval/internal/interpreter/Interpreter.h>
#include <eval/internal/native/LoopRounds.h>

#include <QByteArray>
#include <QHash>
#include <QList>

namespace eval::gpu {

/// A user function on its way into GLSL.
struct GlslFunction
{
    const internal::AstNode *definition = nullptr;
    QByteArray name;        ///< mangled: no name of a scene goes to a driver
    QByteArray text;        ///< the whole definition
    QList<qsizetype> calls; ///< the functions that it calls
};

/// What the functions of one shader share: names, structs, and what has gone wrong.
class GlslUnit
{
public:
    /// Texts beyond this cost a compiler seconds and more.
    static constexpr qsizetype statementLimit = 50'000;
    /// What a function keeps in variables, in values.
    static constexpr qsizetype variableLimit = 16'384;

    explicit GlslUnit(const internal::StructRegistry &structs);

    /// Enters the functions of one output, in order.
    void addFunctions(const QList<internal::AstPtr> &functions);
    /// The functions that the body of the current output may call.
    void setTable(const internal::FunctionTable *table) { m_table = table; }
    const internal::FunctionTable &table() const { return *m_table; }
    qsizetype indexOf(const internal::AstNode *function) const
    {
        return m_indexes.value(function, -1);
    }

    /// "float", "vec3", "S2"; marks the unit as not expressible for what has no GLSL type.
    QByteArray typeText(Type type, const QString &structName);
    /// The value of a variable that was given none.
    QByteArray defaultText(Type type, const QString &structName);
    /// All structs, each after those that it contains.
    QByteArray structText();
    static QByteArray fieldName(qsizetype index) { return 'm' + QByteArray::number(index); }

    void setUnsupported() { m_isSupported = false; }
    bool isSupported() const { return m_isSupported; }
    /// One more statement; false once there are too many.
    bool countStatement() { return ++m_statements <= statementLimit; }
    bool isTooLarge() const { return m_statements > statementLimit; }
    void setTooLarge() { m_statements = statementLimit + 1; }

    /// Whether the rounds of a loop have to be counted, because its text does not bound them.
    bool mustCount(const internal::AstNode &loop);

    const internal::StructRegistry &structs() const { return m_structs; }
    QList<GlslFunction> functions;
    QList<qsizetype> entryCalls; ///< the functions that the outputs call

private:
    const internal::StructRegistry &m_structs;
    QHash<QString, qsizetype> m_structIndexes;
    QHash<const internal::AstNode *, qsizetype> m_indexes;
    const internal::FunctionTable *m_table = nullptr;
    internal::LoopRounds m_loopRounds;
    qsizetype m_statements = 0;
    bool m_isSupported = true;
};

} // namespace eval::gpu
