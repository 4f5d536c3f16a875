#pragma once

#include <eval/internal/CompiledProgram.h>
#include <eval/internal/interpreter/Interpreter.h>
#include <eval/internal/native/LoopRounds.h>

#include <QByteArray>
#include <QHash>
#include <QList>

namespace eval::internal {

/// A user function on its way into text.
struct CodeFunction
{
    const AstNode *definition = nullptr;
    QByteArray name;        ///< see CodeUnit::mangleFunctionName
    QByteArray text;        ///< the definition without its leading attributes
    QByteArray head;        ///< the same for a declaration, where the language has one
    QList<qsizetype> calls; ///< the functions that it calls, once for each call
    qsizetype statements = 0;
};

/// The words in which the languages differ, and what their compilers bear.
struct CodeWords
{
    qsizetype statementLimit = 0;
    const char *structStart = "struct ";
    const char *constant = "";            ///< before the type of what nothing changes
    const char *noValue = "";             ///< behind a variable that has no value yet
    const char *within = "";              ///< the function that turns a bad index into -1
    Type indexType = Type::Int;           ///< of its result
    const char *noLane = "-1";            ///< such an index
    const char *logicalOperators[3] = {}; ///< and, or, xor of two values
    const char *fromBits = "";            ///< a function that makes a float of 32 bits
};

/// What the bodies of one text share: names, functions, and what has gone wrong.
class CodeUnit
{
public:
    /// What a function keeps in variables, in values: all of it may be on one stack.
    static constexpr qsizetype variableLimit = 16'384;

    CodeUnit(const StructRegistry &structs, const CodeWords &words);
    virtual ~CodeUnit();

    const CodeWords &words() const { return m_words; }
    const StructRegistry &structs() const { return m_structs; }

    /// The functions that the body of the current output may call.
    void setTable(const FunctionTable *table) { m_table = table; }
    const FunctionTable &table() const { return *m_table; }
    /// Enters the functions of all outputs, in order, and calls write(index) for each.
    template<class Write>
    void emitFunctions(const CompiledProgram &program, Write write);
    qsizetype indexOf(const AstNode *function) const { return m_indexes.value(function, -1); }
    /// Whether a function can get to itself.
    bool hasRecursion() const;

    /// What a variable, a parameter or a field may be, structs apart.
    virtual bool isVariableType(Type type) const = 0;
    /// The name of a type, "S2" of a struct; marks the unit for what has none.
    QByteArray typeText(Type type, const QString &structName);
    /// All structs, each after those that it contains.
    QByteArray structText();
    static QByteArray fieldName(qsizetype index) { return 'm' + QByteArray::number(index); }
    /// Whether a line says nothing but what there is in the form of this unit.
    virtual bool canSay(const QByteArray &line) const;

    void setUnsupported() { m_isSupported = false; }
    bool isSupported() const { return m_isSupported; }
    /// One more statement; false once there are too many.
    bool countStatement() { return ++m_statements <= m_words.statementLimit; }
    bool isTooLarge() const { return m_statements > m_words.statementLimit; }
    void setTooLarge() { m_statements = m_words.statementLimit + 1; }
    qsizetype statements() const { return m_statements; }

    QList<CodeFunction> functions;
    QList<qsizetype> entryCalls; ///< the functions that the outputs call, once for each call

protected:
    /// Empty for what has no name.
    virtual QByteArray typeName(Type type) const = 0;
    /// What has to stand behind a struct.
    virtual QByteArray structTail(const StructDef &definition);
    /// Whether a loop is over after few rounds, as far as its text says so.
    bool areRoundsFew(const AstNode &loop) { return m_loopRounds.areFew(loop, table()); }

private:
    void addFunctions(const QList<AstPtr> &list);
    /// A name that no other function has, with the types of the parameters for a reader.
    static QByteArray mangleFunctionName(const AstNode &function, qsizetype index);

    const StructRegistry &m_structs;
    CodeWords m_words;
    QHash<QString, qsizetype> m_structIndexes;
    QHash<const AstNode *, qsizetype> m_indexes;
    const FunctionTable *m_table = nullptr;
    LoopRounds m_loopRounds;
    qsizetype m_statements = 0;
    bool m_isSupported = true;
};

template<class Write>
void CodeUnit::emitFunctions(const CompiledProgram &program, Write write)
{
    for (const OutputCode &code : program.code) {
        const qsizetype first = functions.size();
        addFunctions(code.functions);
        const FunctionTable table = makeFunctionTable(code.functions);
        setTable(&table);
        for (qsizetype i = first; i < functions.size() && isSupported(); ++i)
            write(i);
    }
}

} // namespace eval::internal
