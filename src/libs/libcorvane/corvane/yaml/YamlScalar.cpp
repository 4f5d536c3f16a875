#include "YamlScalar.h"

#include <corvane/yaml/PlainValue.h>
#include <corvane/yaml/YamlParser.h>

#include "YamlFlowParser.h"
#include "YamlLineReader.h"
#include "YamlWriter.h"

#include <QLocale>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <string_view>

using namespace Qt::StringLiterals;

namespace corvane::yaml {

namespace {

/// What a character means for the text that holds it.
enum class CharacterKind : uchar {
    Unknown, ///< nothing is known without reading it back
    Word,    ///< may stand bare wherever it is
    Plain,   ///< printable, and no mark of the format by itself
    Mark     ///< wants quotes, and is safe in them
};

constexpr std::array<CharacterKind, 128> characterKinds = [] {
    std::array<CharacterKind, 128> kinds{};
    for (std::size_t c = 0x20; c < 0x7f; ++c)
        kinds[c] = CharacterKind::Plain;
    for (const char c : std::string_view(",:[]{}#&*!|>'%@`"))
        kinds[std::size_t(c)] = CharacterKind::Mark;
    for (const char c : std::string_view("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                         "0123456789_"))
        kinds[std::size_t(c)] = CharacterKind::Word;
    for (const char c : std::string_view("\"\\"))
        kinds[std::size_t(c)] = CharacterKind::Unknown;
    return kinds;
}();

CharacterKind kindOf(QChar c)
{
    return c.unicode() < characterKinds.size() ? characterKinds[c.unicode()]
                                               : CharacterKind::Unknown;
}

/// The form of most texts of a file, which are names and ids: their characters tell that it reads
/// back. None where only reading it can tell.
std::optional<QString> knownForm(const QString &text, ScalarPlace place)
{
    bool isMarked = false;
    for (const QChar c : text) {
        const CharacterKind kind = kindOf(c);
        // In an item of a list a colon makes a key, quotes or not.
        if (kind == CharacterKind::Unknown || (c == u':' && place == ScalarPlace::ListItem))
            return std::nullopt;
        isMarked |= kind == CharacterKind::Mark;
    }
    if (isMarked || YamlSerializer::needsQuotes(text))
        return u'"' + text + u'"';
    const auto mayStandInside = [](QChar c) {
        return kindOf(c) == CharacterKind::Word || c == u'-' || c == u'.' || c == u' ';
    };
    if (kindOf(text.front()) == CharacterKind::Word &&
        std::all_of(text.cbegin(), text.cend(), mayStandInside))
        return text;
    return std::nullopt;
}

QString numberText(double value, int precision)
{
    QString text = QString::number(value, 'g', precision);
    const double size = std::abs(value);
    if (size > 1e-6 && size < 1e10 && !text.contains(u'.') && !text.contains(u'e'))
        text += ".0"_L1;
    return text;
}

bool isSameNumber(double value, const QString &text)
{
    const QVariant read = YamlFlowParser(YamlParser::maxDepth).parse(text);
    const bool isNumber =
        read.typeId() == QMetaType::Double || read.typeId() == QMetaType::LongLong;
    return isNumber && read.toDouble() == value &&
           std::signbit(read.toDouble()) == std::signbit(value);
}

/// The usual text of a number where that names it exactly; most numbers of a file are short.
std::optional<QString> shortNumber(double value)
{
    if (std::abs(value) < 1e10 && std::trunc(value) == value)
        return QString::number(qint64(value)) + (value == 0.0 ? ""_L1 : ".0"_L1);
    std::array<char, 32> text{};
    const auto written = std::to_chars(text.data(), text.data() + text.size(), value,
                                       std::chars_format::general, 15);
    double read = 0.0;
    const auto parsed = std::from_chars(text.data(), written.ptr, read);
    if (std::abs(value) >= 1e10 || written.ec != std::errc() || parsed.ec != std::errc() ||
        read != value)
        return std::nullopt;
    return QString::fromLatin1(text.data(), written.ptr - text.data());
}

QString losslessNumber(double value)
{
    if (value == 0.0 && std::signbit(value))
        return u"-0.0"_s;
    if (auto text = shortNumber(value))
        return *std::move(text);
    const QString usual = numberText(value, 15);
    if (!std::isfinite(value) || isSameNumber(value, usual))
        return usual;
    const QString shortest = numberText(value, QLocale::FloatingPointShortest);
    return isSameNumber(value, shortest) ? shortest : shortest + ".0"_L1;
}

// Puts a form of the text where it is to stand, and reads that as the parser would.
bool readsBack(const QString &form, const QString &text, ScalarPlace place)
{
    if (form.contains(u'\n'))
        return false;
    const QString line = place == ScalarPlace::MapValue   ? u"k: "_s + form
                         : place == ScalarPlace::ListItem ? u"- "_s + form
                                                          : u"k: {a: ["_s + form + u", 0], b: 0}"_s;
    const YamlLineReader reader(line, 2);
    const YamlParser::Line *read = reader.current();
    if (!read || read->isMultilineMarker || read->isListItem != (place == ScalarPlace::ListItem) ||
        (read->isListItem && !read->key.isEmpty()))
        return false;
    const QVariant value = YamlFlowParser(YamlParser::maxDepth).parse(read->value);
    if (place != ScalarPlace::Flow)
        return value.typeId() == QMetaType::QString && value.toString() == text;
    const QVariantMap expected{{u"a"_s, QVariantList{text, 0LL}}, {u"b"_s, 0LL}};
    return value.typeId() == QMetaType::QVariantMap && value.toMap() == expected &&
           value.toMap().value(u"a"_s).toList().constFirst().typeId() == QMetaType::QString;
}

// True when the text is read whole as a line of a "|" block.
bool isBlockLine(const QString &text)
{
    const YamlLineReader reader(text, 2);
    return reader.current() && reader.current()->content == text;
}

} // namespace

bool mayBeNumber(QStringView text)
{
    char16_t before = 0;
    for (const QChar character : text) {
        const char16_t c = character.unicode() | 0x20; // letters as small ones
        const bool isSign = character == u'+' || character == u'-';
        if (isSign ? before != 0 && before != u'e'
                   : c >= u'a' && c <= u'z' && !QStringView(u"einfaty").contains(c))
            return false;
        before = c;
    }
    return true;
}

bool isMultilineString(const QVariant &value)
{
    return value.typeId() == QMetaType::QString && value.toString().contains(u'\n');
}

QString usualScalarText(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::UnknownType:
    case QMetaType::Nullptr:
        return u"null"_s;
    case QMetaType::Bool:
        return value.toBool() ? u"true"_s : u"false"_s;
    case QMetaType::Int:
    case QMetaType::LongLong:
    case QMetaType::ULong:
    case QMetaType::ULongLong:
        return value.toString();
    case QMetaType::Double:
    case QMetaType::Float:
        return numberText(value.toDouble(), 15);
    default:
        break;
    }
    if (!value.canConvert<QString>())
        return u"null"_s;
    const QString text = value.toString();
    if (!text.isEmpty() && !YamlSerializer::needsQuotes(text))
        return text;
    return u'"' + YamlSerializer::escapeString(text) + u'"';
}

std::optional<QString> losslessScalarText(const QVariant &value, ScalarPlace place)
{
    if (value.typeId() == QMetaType::Double || value.typeId() == QMetaType::Float)
        return losslessNumber(value.typeId() == QMetaType::Float ? decimalOf(value.toFloat())
                                                                 : value.toDouble());
    if (value.typeId() != QMetaType::QString)
        return usualScalarText(value);
    const QString text = value.toString();
    if (auto known = knownForm(text, place))
        return known;
    const QString usual = usualScalarText(value);
    for (const QString &form :
         {usual, QString(u'\'' + text + u'\''), QString(u'"' + text + u'"'), text}) {
        if (readsBack(form, text, place))
            return form;
    }
    return isBlockLine(text) ? std::nullopt : std::optional(usual);
}

} // namespace corvane::yaml
