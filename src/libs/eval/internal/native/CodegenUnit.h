#pragma once

#include <eval/internal/frontend/Ast.h>
#include <eval/internal/frontend/StructRegistry.h>
#include <eval/internal/interpreter/Interpreter.h>
#include <eval/internal/native/LoopRounds.h>
#include <eval/internal/native/NativeTypes.h>

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QSet>

namespace eval::internal {

/// A user function on its way into C++.
struct CodegenFunction
{
    const AstNode *definition = nullptr;
    QByteArray name;        ///< see CodegenUnit::mangleFunctionName
    QByteArray text;        ///< the definition without its leading attributes
    QByteArray head;        ///< the same for a declaration
    QList<qsizetype> calls; ///< the functions that it calls, once for each call
    qsizetype statements = 0;
};

/// How many points a text computes at a time.
enum class CodegenForm {
    Point,
    Lanes ///< conditions are masks, and what is assigned is chosen lane by lane
};

/// What the bodies of one translation unit share: names, functions, and what has gone wrong.
class CodegenUnit
{
public:
    /// g++ takes some 3 ms for a statement with a library call in it.
    static constexpr qsizetype statementLimit = 6'000;
    /// What a function keeps in variables, in values: all of it may be on one stack.
    static constexpr qsizetype variableLimit = 16'384;

    explicit CodegenUnit(const StructRegistry &structs, CodegenForm form = CodegenForm::Point);
    bool isForLanes() const { return m_form == CodegenForm::Lanes; }

    /// Enters the functions of one output. Their order is kept; of equal signatures the last one
    /// counts.
    void addFunctions(const QList<AstPtr> &functions);
    /// The functions that the body of the current output may call.
    void setTable(const FunctionTable *table) { m_table = table; }
    const FunctionTable &table() const { return *m_table; }

    /// A name that no other function has, with the types of the parameters for a reader.
    static QByteArray mangleFunctionName(const AstNode &function, qsizetype index);
    qsizetype indexOf(const AstNode *function) const { return m_indexes.value(function, -1); }

    /// "float", "V3", "S2"; marks the unit as not expressible for what has no C++ type.
    QByteArray typeText(Type type, const QString &structName);
    QByteArray structText();
    /// Whether a line says nothing but what there is in the form of this unit.
    bool canSay(const QByteArray &line) const;
    static QByteArray fieldName(qsizetype index) { return 'm' + QByteArray::number(index); }

    void setUnsupported() { m_isSupported = false; }
    bool isSupported() const { return m_isSupported; }
    /// One more statement; false once there are too many.
    bool countStatement() { return ++m_statements <= statementLimit; }
    bool isTooLarge() const { return m_statements > statementLimit; }
    void setTooLarge() { m_statements = statementLimit + 1; }
    qsizetype statements() const { return m_statements; }

    /// Whether a loop has to look for a cancel in each round, because it may not end for long.
    bool mustWatch(const AstNode &loop);
    /// Whether any loop of the unit has.
    bool isWatched() const { return m_isWatched; }

    const StructRegistry &structs() const { return m_structs; }
    QList<CodegenFunction> functions;
    QList<qsizetype> entryCalls; ///< the functions that the outputs call, once for each call

private:
    QByteArray selectText(const StructDef &definition);

    const StructRegistry &m_structs;
    CodegenForm m_form;
    QHash<QString, qsizetype> m_structIndexes;
    QHash<const AstNode *, qsizetype> m_indexes;
    const FunctionTable *m_table = nullptr;
    qsizetype m_statements = 0;
    bool m_isSupported = true;
    LoopRounds m_loopRounds;
    bool m_isWatched = false;
};

} // namespace eval::internal
