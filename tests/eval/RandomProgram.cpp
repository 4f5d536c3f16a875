#include "RandomProgram.h"

using namespace Qt::StringLiterals;
using eval::Type;

namespace {

const QList<Type> variableTypes = {Type::Float, Type::Float, Type::Int,  Type::Bool, Type::Vec2,
                                   Type::Vec3,  Type::Vec3,  Type::Vec4, Type::Mat2, Type::Mat3};
const QList<Type> vectorTypes = {Type::Vec2, Type::Vec3, Type::Vec4};

QString keyword(Type type)
{
    return eval::typeName(type);
}

} // namespace

RandomProgram::RandomProgram(quint32 seed)
    : m_random(seed)
{}

QString RandomProgram::text()
{
    QString source;
    const int functions = 1 + below(4);
    for (int i = 0; i < functions; ++i)
        source += function();
    m_variables = {
        {u"p"_s, Type::Vec3}, {u"k"_s, Type::Float}, {u"n"_s, Type::Int}, {u"flag"_s, Type::Bool}};
    m_left = 60;
    return source + expression(pick(variableTypes), 3) + u'\n';
}

QString RandomProgram::field()
{
    m_isPlain = true;
    QString source;
    const int functions = 1 + below(4);
    for (int i = 0; i < functions; ++i)
        source += function();
    m_variables = {{u"p"_s, Type::Vec3}, {u"k"_s, Type::Float}, {u"flag"_s, Type::Bool}};
    m_result = Type::Float;
    m_left = 100;
    return source + u"float field(vec3 p) {\nfloat k = p.x + 1.0;\nbool flag = p.y > 0.0;\n"_s +
           block(4) + u"return %1;\n}\n"_s.arg(expression(Type::Float, 3));
}

QString RandomProgram::function()
{
    Function made;
    made.name = u"f%1"_s.arg(m_functions.size());
    made.result = pick(variableTypes);
    m_variables.clear();
    m_result = made.result;
    m_left = 160;
    QStringList parameters;
    const int count = 1 + below(3);
    for (int i = 0; i < count; ++i) {
        const Type type = pick(variableTypes);
        const bool isInOut = oneIn(4);
        const QString name = u"a%1"_s.arg(i);
        made.parameters.append(type);
        made.isInOut.append(isInOut);
        m_variables.append({name, type});
        parameters.append((isInOut ? u"inout "_s : QString()) + keyword(type) + u' ' + name);
    }
    const QString body = block(3 + below(6));
    const QString source = u"%1 %2(%3) {\n%4return %5;\n}\n"_s.arg(keyword(made.result), made.name,
                                                                   parameters.join(u", "_s), body,
                                                                   expression(made.result, 2));
    m_functions.append(made);
    return source;
}

QString RandomProgram::block(int statements)
{
    QString source;
    for (int i = 0; i < statements; ++i)
        source += statement();
    return source;
}

QString RandomProgram::statement()
{
    if (--m_left < 0 || m_nesting > 3)
        return assignment();
    // What is declared in a branch or loop is not used behind it: the walk would not know it on
    // every way.
    const QList<Variable> outer = m_variables;
    ++m_nesting;
    QString source;
    switch (below(11)) {
    case 0:
    case 1:
    case 2:
        --m_nesting;
        return declaration();
    case 3:
    case 4:
        source = ifStatement();
        break;
    case 5:
        source = m_loops < 2 ? loop() : assignment();
        break;
    case 6:
        source = m_isPlain ? ifStatement() : switchStatement();
        break;
    case 7:
        source = callWithOut();
        break;
    default:
        source = assignment();
    }
    --m_nesting;
    m_variables = outer;
    return source;
}

QString RandomProgram::declaration()
{
    const Type type = pick(variableTypes);
    const QString value = oneIn(6) ? QString() : u" = "_s + expression(type, 3);
    const QString name = u"v%1"_s.arg(m_names++);
    m_variables.append({name, type});
    return keyword(type) + u' ' + name + value + u";\n"_s;
}

QList<RandomProgram::Variable> RandomProgram::assignable(Type type) const
{
    QList<Variable> found;
    for (const Variable &variable : m_variables) {
        if (variable.type == type && !variable.isConstant)
            found.append(variable);
    }
    return found;
}

QString RandomProgram::assignment()
{
    static const QList<QString> operators = {u" = "_s, u" = "_s, u" += "_s, u" -= "_s, u" *= "_s};
    const Type type = pick(variableTypes);
    const QList<Variable> targets = assignable(type);
    if (targets.isEmpty())
        return u"(%1);\n"_s.arg(expression(type, 1)); // a type keyword would begin a declaration
    const QString name = pick(targets).name;
    const QString assign = type == Type::Bool ? u" = "_s : pick(operators);
    if (eval::isVector(type) && oneIn(2)) {
        if (oneIn(3))
            return u"%1[%2]%3%4;\n"_s.arg(name, oneIn(2) ? u"1"_s : index(), assign,
                                          floatExpression(2));
        static const QList<QString> pairs = {u"xy"_s, u"yx"_s, u"rg"_s, u"xx"_s};
        return oneIn(2)
                   ? u"%1.y%2%3;\n"_s.arg(name, assign, floatExpression(2))
                   : u"%1.%2%3%4;\n"_s.arg(name, pick(pairs), assign, expression(Type::Vec2, 2));
    }
    if (type == Type::Mat2 && oneIn(2))
        return u"%1[%2] = %3;\n"_s.arg(name, oneIn(2) ? u"0"_s : index(),
                                       expression(Type::Vec2, 1));
    if (type == Type::Int && oneIn(3))
        return name + (oneIn(2) ? u"++;\n"_s : u"--;\n"_s);
    return name + assign + expression(type, 3) + u";\n"_s;
}

QString RandomProgram::ifStatement()
{
    const QString condition = boolExpression(2);
    const QList<Variable> outer = m_variables;
    QString yes = block(1 + below(2));
    if (oneIn(5))
        yes += u"return %1;\n"_s.arg(expression(m_result, 2));
    else if (m_loops > 0 && oneIn(4))
        yes += oneIn(2) ? u"break;\n"_s : u"continue;\n"_s;
    m_variables = outer;
    QString source = u"if (%1) {\n%2}\n"_s.arg(condition, yes);
    if (oneIn(2))
        source += u"else {\n%1}\n"_s.arg(block(1 + below(2)));
    return source;
}

QString RandomProgram::loop()
{
    const QString counter = u"i%1"_s.arg(m_names++);
    const int rounds = 1 + below(4);
    const int kind = below(3);
    ++m_loops;
    m_variables.append({counter, Type::Int, true});
    const QString body = block(1 + below(3));
    --m_loops;
    if (kind == 0)
        return u"for (int %1 = 0; %1 < %2; %1++) {\n%3}\n"_s.arg(counter, QString::number(rounds),
                                                                 body);
    // The counter goes first: a continue must not pass it by.
    const QString text = kind == 1 ? u"int %1 = 0;\nwhile (%1 < %2) {\n%1++;\n%3}\n"_s
                                   : u"int %1 = 0;\ndo {\n%1++;\n%3} while (%1 < %2);\n"_s;
    return text.arg(counter, QString::number(rounds), body);
}

QString RandomProgram::switchStatement()
{
    QString source = u"switch (%1) {\n"_s.arg(intExpression(1));
    const QList<Variable> outer = m_variables;
    for (const QString &label : {u"case 0:\n"_s, u"case 2:\n"_s, u"default:\n"_s}) {
        const int loops = std::exchange(m_loops, 0); // a continue belongs to the loop, not in here
        source += label + block(1 + below(2)) + (oneIn(2) ? u"break;\n"_s : QString());
        m_loops = loops;
        m_variables = outer;
    }
    return source + u"}\n"_s;
}

QString RandomProgram::callWithOut()
{
    if (m_functions.isEmpty())
        return assignment();
    const Function function = pick(m_functions);
    QStringList arguments;
    for (qsizetype i = 0; i < function.parameters.size(); ++i) {
        const QList<Variable> targets = assignable(function.parameters[i]);
        arguments.append(function.isInOut[i] && !targets.isEmpty()
                             ? pick(targets).name
                             : expression(function.parameters[i], 1));
    }
    return u"%1(%2);\n"_s.arg(function.name, arguments.join(u", "_s));
}

QString RandomProgram::leaf(Type type)
{
    QList<QString> names;
    for (const Variable &variable : std::as_const(m_variables)) {
        if (variable.type == type)
            names.append(variable.name);
    }
    if (!names.isEmpty() && !oneIn(4))
        return pick(names);
    static const QList<QString> floats = {u"0.0"_s, u"1.0"_s, u"0.5"_s,  u"2.75"_s,
                                          u"1e3"_s, u"0.3"_s, u"-1.5"_s, u"4.0"_s};
    static const QList<QString> ints = {u"0"_s, u"1"_s, u"2"_s, u"7"_s, u"-3"_s, u"100000"_s};
    switch (type) {
    case Type::Float:
        return pick(floats);
    case Type::Int:
        return pick(ints);
    case Type::Bool:
        return oneIn(2) ? u"true"_s : u"false"_s;
    default:
        return u"%1(%2)"_s.arg(keyword(type), pick(floats));
    }
}

QString RandomProgram::expression(Type type, int depth)
{
    if (depth <= 0 || --m_left < 0)
        return leaf(type);
    if (oneIn(8))
        return u"(%1 ? %2 : %3)"_s.arg(boolExpression(depth - 1), expression(type, depth - 1),
                                       expression(type, depth - 1));
    if (oneIn(8)) {
        QList<Function> fitting;
        for (const Function &function : std::as_const(m_functions)) {
            if (function.result == type)
                fitting.append(function);
        }
        if (!fitting.isEmpty())
            return call(pick(fitting), depth);
    }
    if (oneIn(20) && !assignable(type).isEmpty())
        return u"(%1 = %2)"_s.arg(pick(assignable(type)).name, expression(type, depth - 1));
    if (type == Type::Float)
        return floatExpression(depth);
    if (type == Type::Int)
        return intExpression(depth);
    if (type == Type::Bool)
        return boolExpression(depth);
    return eval::isVector(type) ? vectorExpression(type, depth) : matrixExpression(type, depth);
}

QString RandomProgram::call(const Function &function, int depth)
{
    QStringList arguments;
    for (const Type type : function.parameters)
        arguments.append(expression(type, depth - 1));
    return u"%1(%2)"_s.arg(function.name, arguments.join(u", "_s));
}

QString RandomProgram::floatExpression(int depth)
{
    static const QList<QString> operators = {u"+"_s, u"-"_s, u"*"_s, u"/"_s, u"%"_s};
    static const QList<QString> unary = {
        u"sin"_s,  u"cos"_s,   u"abs"_s,  u"sqrt"_s, u"floor"_s, u"fract"_s,
        u"exp"_s,  u"ceil"_s,  u"sign"_s, u"-"_s,    u"round"_s, u"inversesqrt"_s,
        u"atan"_s, u"trunc"_s, u"log2"_s, u"tanh"_s, u"asin"_s,  u"radians"_s};
    static const QList<QString> binary = {u"min"_s, u"max"_s,  u"mod"_s,
                                          u"pow"_s, u"step"_s, u"atan"_s};
    static const QList<QString> ternary = {u"mix"_s, u"clamp"_s, u"smoothstep"_s, u"fma"_s};
    const auto inner = [&] { return expression(Type::Float, depth - 1); };
    const Type vector = pick(vectorTypes);
    switch (below(10)) {
    case 0:
    case 1:
        return u"(%1 %2 %3)"_s.arg(inner(), pick(operators), inner());
    case 2:
        return u"%1(%2)"_s.arg(pick(unary), inner());
    case 3:
        return u"%1(%2, %3)"_s.arg(pick(binary), inner(), inner());
    case 4:
        return u"%1(%2, %3, %4)"_s.arg(pick(ternary), inner(), inner(), inner());
    case 5:
        return u"%1(%2, %3)"_s.arg(oneIn(2) ? u"dot"_s : u"distance"_s,
                                   expression(vector, depth - 1), expression(vector, depth - 1));
    case 6:
        return u"length(%1)"_s.arg(expression(vector, depth - 1));
    case 7:
        return u"(%1).%2"_s.arg(expression(vector, depth - 1), oneIn(2) ? u"x"_s : u"g"_s);
    case 8:
        return m_isPlain || oneIn(2) ? u"float(%1)"_s.arg(intExpression(depth - 1))
                                     : u"(%1 * %2)"_s.arg(intExpression(depth - 1), inner());
    default:
        return oneIn(2)
                   ? u"(%1)[%2]"_s.arg(expression(vector, depth - 1), oneIn(3) ? index() : u"1"_s)
               : m_isPlain ? u"(%1)[2].y"_s.arg(expression(Type::Mat3, depth - 1))
                           : u"determinant(%1)"_s.arg(expression(Type::Mat3, depth - 1));
    }
}

QString RandomProgram::index()
{
    return m_isPlain ? u"1"_s : intExpression(1);
}

QString RandomProgram::intExpression(int depth)
{
    static const QList<QString> operators = {u"+"_s, u"-"_s, u"*"_s, u"/"_s,  u"%"_s,
                                             u"&"_s, u"|"_s, u"^"_s, u"<<"_s, u">>"_s};
    if (depth <= 0 || --m_left < 0)
        return leaf(Type::Int);
    if (m_isPlain)
        return oneIn(2) ? u"(%1 %2 %3)"_s.arg(intExpression(depth - 1), operators[below(2)],
                                              intExpression(depth - 1))
                        : u"int(%1)"_s.arg(expression(Type::Float, depth - 1));
    switch (below(6)) {
    case 0:
    case 1:
        return u"(%1 %2 %3)"_s.arg(intExpression(depth - 1), pick(operators),
                                   intExpression(depth - 1));
    case 2:
        return u"int(%1)"_s.arg(expression(Type::Float, depth - 1));
    case 3:
        return u"%1(%2, %3)"_s.arg(oneIn(2) ? u"min"_s : u"max"_s, intExpression(depth - 1),
                                   intExpression(depth - 1));
    case 4:
        return oneIn(2) ? u"abs(%1)"_s.arg(intExpression(depth - 1))
                        : u"bitCount(%1)"_s.arg(intExpression(depth - 1));
    default:
        return leaf(Type::Int);
    }
}

QString RandomProgram::boolExpression(int depth)
{
    static const QList<QString> comparisons = {u"<"_s, u">"_s, u"<="_s, u">="_s, u"=="_s, u"!="_s};
    static const QList<QString> logical = {u"&&"_s, u"||"_s, u"^^"_s};
    if (depth <= 0 || --m_left < 0)
        return leaf(Type::Bool);
    const Type vector = pick(vectorTypes);
    switch (below(6)) {
    case 0:
    case 1:
        return u"(%1 %2 %3)"_s.arg(
            expression(Type::Float, depth - 1), pick(comparisons),
            expression(!m_isPlain && oneIn(4) ? Type::Int : Type::Float, depth - 1));
    case 2:
        return u"(%1 %2 %3)"_s.arg(intExpression(depth - 1), pick(comparisons),
                                   intExpression(depth - 1));
    case 3:
        return u"(%1 %2 %3)"_s.arg(boolExpression(depth - 1), pick(logical),
                                   boolExpression(depth - 1));
    case 4:
        return u"!%1"_s.arg(boolExpression(depth - 1));
    default:
        return u"%1(%2(%3, %4))"_s.arg(
            oneIn(2) ? u"any"_s : u"all"_s, oneIn(2) ? u"lessThan"_s : u"notEqual"_s,
            expression(vector, depth - 1), expression(vector, depth - 1));
    }
}

QString RandomProgram::constructor(Type type, int depth)
{
    QStringList parts;
    for (int i = 0; i < eval::laneCount(type); ++i)
        parts.append(expression(Type::Float, depth - 2));
    return u"%1(%2)"_s.arg(keyword(type), parts.join(u", "_s));
}

QString RandomProgram::vectorExpression(Type type, int depth)
{
    static const QList<QString> operators = {u"+"_s, u"-"_s, u"*"_s, u"/"_s, u"%"_s};
    static const QList<QString> unary = {u"abs"_s,  u"floor"_s, u"normalize"_s, u"-"_s,
                                         u"sign"_s, u"cos"_s,   u"fract"_s};
    static const QList<QString> binary = {u"min"_s, u"max"_s, u"mod"_s, u"reflect"_s};
    const auto inner = [&] { return expression(type, depth - 1); };
    const int size = eval::laneCount(type);
    switch (below(9)) {
    case 0:
        return constructor(type, depth);
    case 1:
    case 2:
        return u"(%1 %2 %3)"_s.arg(inner(), pick(operators),
                                   oneIn(3) ? expression(Type::Float, depth - 1) : inner());
    case 3:
        return u"%1(%2)"_s.arg(pick(unary), inner());
    case 4:
        return u"%1(%2, %3)"_s.arg(pick(binary), inner(), inner());
    case 5:
        return u"mix(%1, %2, %3)"_s.arg(inner(), inner(), expression(Type::Float, depth - 1));
    case 6: {
        static const QString swizzles[] = {u"yx"_s, u"xyx"_s, u"yxxy"_s};
        return u"(%1).%2"_s.arg(expression(pick(vectorTypes), depth - 1), swizzles[size - 2]);
    }
    case 7:
        if (type == Type::Vec3)
            return oneIn(2) ? u"cross(%1, %2)"_s.arg(inner(), inner())
                            : u"(%1 * %2)"_s.arg(expression(Type::Mat3, depth - 1), inner());
        if (type == Type::Vec2)
            return u"(%1 * %2)"_s.arg(inner(), expression(Type::Mat2, depth - 1));
        [[fallthrough]];
    default:
        return u"clamp(%1, %2, %3)"_s.arg(inner(), expression(Type::Float, depth - 1),
                                          expression(Type::Float, depth - 1));
    }
}

QString RandomProgram::matrixExpression(Type type, int depth)
{
    const Type column = eval::vectorOf(Type::Float, eval::matrixRows(type));
    const auto inner = [&] { return expression(type, depth - 1); };
    switch (below(7)) {
    case 0:
        return constructor(type, depth);
    case 1:
        return u"(%1 * %2)"_s.arg(inner(), inner());
    case 2:
        return u"(%1 + %2)"_s.arg(inner(), inner());
    case 3:
        return u"transpose(%1)"_s.arg(inner());
    case 4:
        return m_isPlain ? u"(-%1)"_s.arg(inner()) : u"inverse(%1)"_s.arg(inner());
    case 5:
        return u"outerProduct(%1, %2)"_s.arg(expression(column, depth - 1),
                                             expression(column, depth - 1));
    default:
        return u"(%1 * %2)"_s.arg(expression(Type::Float, depth - 1), inner());
    }
}
