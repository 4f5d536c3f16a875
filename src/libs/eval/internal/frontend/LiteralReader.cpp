#include <eval/internal/frontend/LiteralReader.h>

#include <limits>

using namespace Qt::StringLiterals;

namespace eval::internal {

namespace {

QStringView withoutSuffix(QStringView text, QStringView letters)
{
    while (!text.isEmpty() && letters.contains(text.back()))
        text.chop(1);
    return text;
}

/// Values beyond the range of a double read as infinity or zero, as on a GPU.
std::optional<double> readReal(QStringView text)
{
    const QChar last = text.isEmpty() ? QChar() : text.back();
    const bool isComplete = last == u'.' || (last >= u'0' && last <= u'9');
    return isComplete ? std::optional(text.toDouble()) : std::nullopt;
}

template<class T>
bool store(AstNode &node, const std::optional<T> &value)
{
    node.literal = QVariant::fromValue(value.value_or(T{}));
    node.valid = value.has_value();
    return node.valid;
}

/// An integer literal of 32 bits is a bit pattern: 0xFFFFFFFF is -1 as an int.
std::optional<quint32> read32Bits(QStringView text)
{
    const std::optional<quint64> wide = readInteger(text);
    const bool fits = wide && *wide <= std::numeric_limits<quint32>::max();
    return fits ? std::optional(static_cast<quint32>(*wide)) : std::nullopt;
}

template<class To, class From>
std::optional<To> cast(const std::optional<From> &value)
{
    return value ? std::optional(static_cast<To>(*value)) : std::nullopt;
}

} // namespace

bool readLiteral(const Token &token, AstNode &node)
{
    switch (token.kind) {
    case TokenKind::BoolLiteral:
        return store(node, std::optional(token.text == u"true"));
    case TokenKind::UnsignedLiteral:
        return store(node, read32Bits(token.text));
    case TokenKind::Int64Literal:
        return store(node, cast<qlonglong>(readInteger(token.text)));
    case TokenKind::Unsigned64Literal:
        return store(node, cast<qulonglong>(readInteger(token.text)));
    case TokenKind::FloatLiteral:
        return store(node, cast<float>(readReal(withoutSuffix(token.text, u"fFuUlL"))));
    case TokenKind::DoubleLiteral:
        return store(node, readReal(withoutSuffix(token.text, u"fFlL")));
    default:
        return store(node, cast<int>(read32Bits(token.text)));
    }
}

std::optional<quint64> readInteger(QStringView text)
{
    bool ok = false;
    const quint64 value = withoutSuffix(text, u"uUlL").toULongLong(&ok, 0);
    return ok ? std::optional(value) : std::nullopt;
}

} // namespace eval::internal
