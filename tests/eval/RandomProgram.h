#pragma once

#include <eval/Type.h>

#include <QList>
#include <QRandomGenerator>
#include <QString>

/// Writes a well-typed program over the inputs of ProgramPair: a few functions full of
/// declarations, assignments of every kind, branches, loops and calls, and one expression. The same
/// seed gives the same text.
///
/// Nothing runs for long: loops have few rounds and nobody assigns their counters. Faults are
/// welcome: divisors and indexes are what they happen to be.
class RandomProgram
{
public:
    explicit RandomProgram(quint32 seed);
    QString text();
    /// The same as a function `float field(vec3 p)` and what it calls, of what can be computed for
    /// several points at a time: hardly any integers, no indexes but literal ones, no `switch`.
    QString field();

private:
    struct Variable
    {
        QString name;
        eval::Type type = eval::Type::Float;
        bool isConstant = false;
    };
    struct Function
    {
        QString name;
        eval::Type result = eval::Type::Float;
        QList<eval::Type> parameters;
        QList<bool> isInOut;
    };

    int below(int limit) { return static_cast<int>(m_random.bounded(limit)); }
    bool oneIn(int count) { return below(count) == 0; }
    template<class T>
    T pick(const QList<T> &items)
    {
        return items[below(static_cast<int>(items.size()))];
    }

    QString function();
    QString block(int statements);
    QString statement();
    QString declaration();
    QString assignment();
    QString ifStatement();
    QString loop();
    QString switchStatement();
    QString callWithOut();

    QString expression(eval::Type type, int depth);
    QString leaf(eval::Type type);
    QString floatExpression(int depth);
    QString intExpression(int depth);
    QString index();
    QString boolExpression(int depth);
    QString vectorExpression(eval::Type type, int depth);
    QString matrixExpression(eval::Type type, int depth);
    QString call(const Function &function, int depth);
    QString constructor(eval::Type type, int depth);
    QList<Variable> assignable(eval::Type type) const;

    QRandomGenerator m_random;
    QList<Variable> m_variables; ///< in sight
    QList<Function> m_functions;
    eval::Type m_result = eval::Type::Float;
    int m_names = 0;
    int m_loops = 0; ///< around the current statement
    int m_nesting = 0;
    bool m_isPlain = false;
    int m_left = 0; ///< what the current function may still grow by
};
