#include <corvane/shader/DefinitionFault.h>

using namespace Qt::StringLiterals;

namespace corvane::shader {

namespace {

/// What helps against a message of the compilers; the first row whose words are in it counts.
struct Remedy
{
    QLatin1StringView words;
    QLatin1StringView text;
};

constexpr Remedy remedies[] = {
    {"undeclared identifier"_L1,
     "Declare the name before its first use, or correct its spelling"_L1},
    {"unresolved name"_L1, "Declare the name before its first use, or correct its spelling"_L1},
    {"to open function body"_L1,
     "Define the function here: declarations without a body are not read where it is meshed"_L1},
    {"no matching overloaded function"_L1,
     "Check the function's name, and the number and types of its arguments"_L1},
    {"cannot construct"_L1, "Check the number and types of the arguments"_L1},
    {"not enough data"_L1, "Give the constructor as many numbers as its type has"_L1},
    {"too many arguments"_L1, "Give the constructor as many numbers as its type has"_L1},
    {"cannot convert"_L1, "Make both sides of one type: \"1.0\" is a float, \"1\" an int"_L1},
    {"wrong operand type"_L1, "Make both sides of one type: \"1.0\" is a float, \"1\" an int"_L1},
    {"redefinition"_L1, "Give one of the two another name"_L1},
    {"already has a body"_L1, "Give one of the two functions another name"_L1},
    {"not return a value"_L1, "End the function with a return statement of its type"_L1},
    {"missing return"_L1, "End the function with a return statement of its type"_L1},
    {"swizzle"_L1, "Use x, y, z and w, as many as the vector has"_L1},
    {"out of range"_L1, "Use an index below the size"_L1},
    {"syntax error"_L1,
     "Look for a missing \";\", bracket or operand here and on the line before"_L1},
    {"expected "_L1, "Look for what is missing here or on the line before"_L1},
    {"end of file"_L1, "Look for a bracket or comment that is not closed"_L1},
    {"Recursi"_L1, "Write a loop instead: GLSL has no recursion"_L1},
    {"More than"_L1, "Make the code smaller"_L1},
    {"discard"_L1, "Return a large distance, such as 1e10, where nothing shall be"_L1},
};

constexpr auto usualRemedy = "Correct this line"_L1;
constexpr auto callRemedy = "List under \"parameters\" one entry for each further argument of the "
                            "function, in its order and of its type"_L1;

QString remedyFor(const ShaderSourceMap::Part &part, const QString &message)
{
    if (part.key == "parameters"_L1)
        return callRemedy;
    for (const Remedy &remedy : remedies) {
        if (message.contains(remedy.words, Qt::CaseInsensitive))
            return remedy.text;
    }
    return usualRemedy;
}

// The compiler's "'name' : words"; the name may be empty.
QString tidied(QString message)
{
    message = message.simplified();
    if (message.startsWith("'' : "_L1))
        message.remove(0, 5);
    message.replace("' : "_L1, "': "_L1);
    while (message.endsWith(u'.') || message.endsWith(u' '))
        message.chop(1);
    return message;
}

} // namespace

QString DefinitionFault::where() const
{
    const QString place = u"definitions.%1.%2"_s.arg(definitionId, key);
    return line > 0 ? place + u", line %1"_s.arg(line) : place;
}

QString DefinitionFault::toString() const
{
    return u"%1: %2. %3."_s.arg(where(), message, remedy);
}

DefinitionFault faultOf(const ShaderSourceMap::Part &part, int line, const QString &message)
{
    const QString words = tidied(part.inUsersWords(message));
    return {.definitionId = part.definitionId,
            .key = part.key,
            .line = line,
            .message = words,
            .remedy = remedyFor(part, words)};
}

QList<DefinitionFault> faultsOf(const QList<::shader::Diagnostic> &diagnostics,
                                const ShaderSourceMap &map)
{
    QList<DefinitionFault> faults;
    for (const ::shader::Diagnostic &diagnostic : diagnostics) {
        const ShaderSourceMap::Part *part = map.find(diagnostic.line);
        if (!part || diagnostic.message.contains("compilation terminated"_L1))
            continue;
        const DefinitionFault fault =
            faultOf(*part, part->lineInCode(diagnostic.line), diagnostic.message);
        if (!faults.contains(fault))
            faults.append(fault);
    }
    return faults;
}

} // namespace corvane::shader
