#include <corvane/registry/code/SignatureAnalyzer.h>

#include <glsl/Lexer.h>
#include <glsl/Words.h>

#include <utility>

using namespace Qt::StringLiterals;

// Signatures are read at every start for every definition, so this takes the words one by one where
// the header gives patterns.

namespace corvane::shader {

using glsl::TokenKind;
using registry::NodeType;
using registry::SignatureAnalysisResult;

namespace {

// Walks the words of a text, with what stands before and behind each. Comments are read like any
// other text, as the patterns do.
class WordCursor
{
public:
    explicit WordCursor(QStringView text)
        : m_lexer(text, glsl::plainText)
        , m_begin(text.data())
        , m_behind(m_lexer.next())
    {}

    bool next()
    {
        do {
            m_before = std::exchange(m_word, m_behind);
            m_behind = m_lexer.next();
        } while (!m_word.isWord() && !m_word.is(TokenKind::End));
        return m_word.isWord();
    }

    [[nodiscard]] QStringView word() const { return m_word.text; }
    /// The word before, if nothing but white space stands between; else null.
    [[nodiscard]] QStringView wordBefore() const
    {
        return m_before.isWord() ? m_before.text : QStringView();
    }
    /// The position behind a "(" that follows the word; -1 when none does.
    [[nodiscard]] qsizetype behindParenthesis() const
    {
        return m_behind.is(TokenKind::LeftParen) ? m_behind.text.end() - m_begin : -1;
    }

private:
    glsl::Lexer m_lexer;
    const QChar *m_begin;
    glsl::Token m_before;
    glsl::Token m_word;
    glsl::Token m_behind;
};

bool isAscii(QStringView word)
{
    return std::all_of(word.begin(), word.end(), [](QChar c) { return c < QChar(0x80); });
}

bool isFunctionType(QStringView word)
{
    constexpr QLatin1StringView types[] = {"float"_L1, "vec2"_L1, "vec3"_L1, "vec4"_L1,
                                           "mat2"_L1,  "mat3"_L1, "mat4"_L1, "void"_L1,
                                           "int"_L1,   "uint"_L1, "bool"_L1};
    return std::find(std::begin(types), std::end(types), word) != std::end(types);
}

bool isQualifier(QStringView word)
{
    return glsl::rolesOf(word).testFlag(glsl::WordRole::Qualifies);
}

bool isOldStylePrimitive(QStringView name)
{
    return name.startsWith("sd"_L1) && name.size() > 2 && name[2].isUpper();
}

QString findPrimaryFunction(const QStringList &names)
{
    for (const QLatin1StringView prefix :
         {"sdf_"_L1, "op_"_L1, "mod_"_L1, "pam_"_L1, "field_"_L1}) {
        for (const QString &name : names) {
            if (name.startsWith(prefix))
                return name;
        }
    }
    const auto old = std::find_if(names.cbegin(), names.cend(), isOldStylePrimitive);
    return old == names.cend() ? QString() : *old;
}

// The type is the first word that is no qualifier; an argument without a name is a type alone.
QStringList argumentTypes(const QString &arguments)
{
    QStringList types;
    for (const QStringView part : QStringView(arguments).split(u',')) {
        if (part.trimmed().isEmpty())
            continue;
        WordCursor words(part);
        bool found = words.next();
        while (found && isQualifier(words.word()))
            found = words.next();
        types.append(found ? words.word().toString() : part.trimmed().toString());
    }
    return types;
}

// What a function takes and gives, as far as the kind of node depends on it.
enum class Shape { Other, FloatOfPoint, FloatOfDistances, FloatOfDistance, PointOfPoint };

Shape shapeOf(const SignatureAnalysisResult &result)
{
    const QString first = result.parameterTypes.value(0);
    const QString second = result.parameterTypes.value(1);
    if (result.returnType == "vec3"_L1)
        return first == "vec3"_L1 ? Shape::PointOfPoint : Shape::Other;
    if (result.returnType != "float"_L1)
        return Shape::Other;
    if (first == "vec3"_L1)
        return Shape::FloatOfPoint;
    if (first != "float"_L1)
        return Shape::Other;
    return second == "float"_L1 ? Shape::FloatOfDistances : Shape::FloatOfDistance;
}

NodeType classifyByName(const SignatureAnalysisResult &result, Shape shape)
{
    const QString &name = result.primaryFunctionName;
    const bool takesDistance = shape == Shape::FloatOfDistance || shape == Shape::FloatOfDistances;
    if (name.startsWith("op_"_L1) && shape == Shape::FloatOfDistances)
        return NodeType::CSGOperator;
    if (name.startsWith("op_"_L1) && shape == Shape::PointOfPoint)
        return NodeType::PositionTransform;
    if (name.startsWith("mod_"_L1) && takesDistance)
        return NodeType::DistanceModifier;
    if (name.startsWith("pam_"_L1) && shape == Shape::FloatOfPoint &&
        result.parameterTypes.value(1) == "float"_L1)
        return NodeType::PositionAwareModifier;
    if (name.startsWith("field_"_L1) && shape == Shape::FloatOfPoint)
        return NodeType::ScalarField;
    return NodeType::Unknown;
}

NodeType classify(const SignatureAnalysisResult &result)
{
    const Shape shape = shapeOf(result);
    const NodeType byName = classifyByName(result, shape);
    if (byName != NodeType::Unknown)
        return byName;
    switch (shape) {
    case Shape::FloatOfPoint:
        return NodeType::Primitive;
    case Shape::FloatOfDistances:
        return NodeType::CSGOperator;
    case Shape::FloatOfDistance:
        return NodeType::DistanceModifier;
    case Shape::PointOfPoint:
        return NodeType::PositionTransform;
    case Shape::Other:
        break;
    }
    return NodeType::Unknown;
}

// The row is the operation's number.
constexpr QLatin1StringView operationWords[][4] = {
    {"union"_L1},
    {"subtract"_L1, "subtraction"_L1},
    {"intersect"_L1, "intersection"_L1},
    {"smooth_union"_L1, "smoothunion"_L1},
    {"smooth_subtract"_L1, "smoothsubtract"_L1, "smooth_subtraction"_L1, "smoothsubtraction"_L1},
    {"smooth_intersect"_L1, "smoothintersect"_L1, "smooth_intersection"_L1,
     "smoothintersection"_L1},
    {"additive_blend"_L1, "additiveblend"_L1},
    {"chamfer_union"_L1, "chamferunion"_L1},
    {"chamfer_intersect"_L1, "chamferintersect"_L1, "chamfer_intersection"_L1,
     "chamferintersection"_L1},
    {"xor"_L1},
};

int operationTypeOf(const QString &functionName)
{
    QString name = functionName;
    if (name.startsWith("op_"_L1, Qt::CaseInsensitive))
        name.remove(0, 3);
    else if (name.startsWith("op"_L1) && name.size() > 2 && name[2].isUpper())
        name.remove(0, 2);
    name = name.toLower();
    for (std::size_t i = 0; i < std::size(operationWords); ++i) {
        for (const QLatin1StringView word : operationWords[i]) {
            if (!word.isEmpty() && name == word)
                return int(i);
        }
    }
    return -1;
}

bool takesChildren(NodeType type)
{
    return type == NodeType::CSGOperator || type == NodeType::PositionTransform ||
           type == NodeType::DistanceModifier || type == NodeType::PositionAwareModifier;
}

SignatureAnalysisResult failure(const QString &message)
{
    SignatureAnalysisResult result;
    result.errorMessage = message;
    return result;
}

} // namespace

QStringList SignatureAnalyzer::extractFunctionNames(const QString &code)
{
    QStringList names;
    for (WordCursor words(code); words.next();) {
        // The cheapest question first: most words have no parenthesis behind them.
        if (words.behindParenthesis() >= 0 && isFunctionType(words.wordBefore()) &&
            isAscii(words.word()) && words.word() != "main"_L1)
            names.append(words.word().toString());
    }
    return names;
}

QString SignatureAnalyzer::withoutComments(QStringView code)
{
    QString bare;
    bare.reserve(code.size());
    while (!code.isEmpty()) {
        const qsizetype comment = code.indexOf("//"_L1);
        if (comment < 0)
            return bare.append(code);
        bare.append(code.first(comment));
        const qsizetype lineEnd = code.indexOf(u'\n', comment);
        code = lineEnd < 0 ? QStringView() : code.sliced(lineEnd);
    }
    return bare;
}

std::optional<SignatureAnalyzer::Signature>
SignatureAnalyzer::findSignature(QStringView code, QStringView functionName)
{
    for (WordCursor words(code); words.next();) {
        if (words.word() != functionName || words.wordBefore().isNull())
            continue;
        const qsizetype begin = words.behindParenthesis();
        const qsizetype end = begin < 0 ? -1 : code.indexOf(u')', begin);
        if (end >= 0)
            return Signature{.returnType = words.wordBefore().toString(),
                             .arguments = code.sliced(begin, end - begin).trimmed().toString()};
    }
    return std::nullopt;
}

SignatureAnalysisResult SignatureAnalyzer::analyze(const QString &code)
{
    if (code.trimmed().isEmpty())
        return failure(u"Empty shader code"_s);
    SignatureAnalysisResult result;
    result.helperFunctions = extractFunctionNames(code);
    result.primaryFunctionName = findPrimaryFunction(result.helperFunctions);
    const QString name = result.primaryFunctionName;
    if (name.isEmpty())
        return failure(u"No primary function found (expected sdf_*, op_*, mod_*, pam_*, or "
                       "field_* prefix)"_s);
    const auto signature = findSignature(withoutComments(code), name);
    if (!signature)
        return failure(u"Failed to parse signature for function '%1'"_s.arg(name));
    result.returnType = signature->returnType;
    result.parameterTypes = argumentTypes(signature->arguments);
    result.nodeType = classify(result);
    if (result.nodeType == NodeType::Unknown)
        return failure(
            u"Could not infer node type for function '%1' with signature: %2 %1(%3)"_s.arg(
                name, result.returnType, result.parameterTypes.join(", "_L1)));
    result.valid = true;
    result.helperFunctions.removeAll(name);
    result.isOperator = takesChildren(result.nodeType);
    if (result.nodeType == NodeType::CSGOperator)
        result.operationType = operationTypeOf(name);
    return result;
}

} // namespace corvane::shader
