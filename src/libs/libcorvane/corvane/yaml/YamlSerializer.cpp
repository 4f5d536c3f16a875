#include <corvane/yaml/YamlSerializer.h>

#include "YamlScalar.h"
#include "YamlWriter.h"

#include <corvane/yaml/PlainValue.h>
#include <corvane/yaml/YamlParser.h>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace corvane::yaml {

namespace {

bool isMark(QChar c)
{
    return QStringView(u",:[]{}#&*!|>'\"%@`").contains(c);
}

bool isWordOfFormat(const QString &text)
{
    static constexpr std::array words{"true"_L1, "false"_L1, "yes"_L1, "no"_L1, "null"_L1, "~"_L1};
    return text.size() <= 5 &&
           std::any_of(words.begin(), words.end(), [&text](QLatin1StringView word) {
               return text.compare(word, Qt::CaseInsensitive) == 0;
           });
}

bool isLetterOrDigit(QChar c)
{
    return c == u'_' || (c.unicode() < 128 && c.isLetterOrNumber());
}

bool readsBack(const QVariantMap &map)
{
    QList<YamlParser::ParseError> errors;
    const QString text = YamlSerializer({.lossless = true}).serializeMap(map);
    return YamlParser().parseToVariantMap(text, errors) == map && errors.isEmpty();
}

QStringList filledLines(const QString &text)
{
    QStringList lines;
    for (const QString &line : text.split(u'\n')) {
        if (const QString filled = line.trimmed(); !filled.isEmpty())
            lines.append(filled);
    }
    return lines;
}

} // namespace

YamlSerializer::YamlSerializer()
    : YamlSerializer(Options{})
{}

YamlSerializer::YamlSerializer(Options options)
    : m_options(std::move(options))
{}

QString YamlSerializer::serializeMap(const QVariantMap &map, int indent) const
{
    YamlWriter writer(m_options);
    writer.writeMap(map, indent);
    return writer.text();
}

QString YamlSerializer::serializeList(const QVariantList &list, int indent) const
{
    YamlWriter writer(m_options);
    writer.writeList(list, indent);
    return writer.text();
}

QString YamlSerializer::serializeValue(const QVariant &value, int indent) const
{
    const QVariant plain = plainValue(value);
    if (plain.typeId() == QMetaType::QVariantMap)
        return serializeMap(plain.toMap(), indent);
    if (plain.typeId() == QMetaType::QVariantList)
        return serializeList(plain.toList(), indent);
    if (isMultilineString(plain))
        return serializeMultilineString(plain.toString(), indent);
    return YamlWriter(m_options).scalarText(plain, ScalarPlace::MapValue);
}

QString YamlSerializer::serializeMultilineString(const QString &text, int indent) const
{
    YamlWriter writer(m_options);
    writer.writeLines(text, indent);
    return writer.text();
}

bool YamlSerializer::isSimpleValue(const QVariant &value) const
{
    return YamlWriter(m_options).isSimple(value);
}

bool YamlSerializer::canUseCompactList(const QVariantList &list) const
{
    return YamlWriter(m_options).isCompact(list);
}

QString YamlSerializer::escapeString(const QString &text)
{
    QString escaped = text;
    escaped.replace(u'\\', "\\\\"_L1);
    escaped.replace(u'"', "\\\""_L1);
    escaped.replace(u'\n', "\\n"_L1);
    escaped.replace(u'\t', "\\t"_L1);
    return escaped;
}

bool YamlSerializer::needsQuotes(const QString &text)
{
    if (text.isEmpty() || isWordOfFormat(text) || text.front().isSpace() || text.back().isSpace() ||
        std::any_of(text.cbegin(), text.cend(), isMark))
        return true;
    bool isNumber = false;
    if (mayBeNumber(text))
        text.toDouble(&isNumber);
    return isNumber;
}

QString YamlSerializer::indentStr(int spaces)
{
    return QString(std::max(spaces, 0), u' ');
}

bool YamlSerializer::isReadableKey(const QString &key)
{
    if (key.isEmpty())
        return false;
    // Most keys are words, or names of several: nothing in them means anything to the reader.
    const auto isHarmless = [](QChar c) {
        return isLetterOrDigit(c) || c == u' ' || c == u'-' || c == u'.';
    };
    if (isLetterOrDigit(key.front()) && key.back() != u' ' &&
        std::all_of(key.cbegin(), key.cend(), isHarmless))
        return true;
    // A quote in the key may end where one in the value begins, and then a comment begins inside of
    // what the value quotes; in flow style a comma ends an entry.
    for (const QString &value : {u"a #b"_s, u"it's #1"_s, u"a \"#\" b"_s}) {
        const QVariantMap block{{key, value}, {u"y"_s, 1}};
        if (!readsBack(block) || !readsBack({{u"list"_s, QVariantList{block}}}))
            return false;
    }
    return readsBack({{u"map"_s, QVariantMap{{key, u"a, b"_s}, {u"expr"_s, u"c"_s}}}});
}

bool YamlSerializer::isReadableText(const QString &text, bool isListItem)
{
    const auto isHarmless = [](QChar c) {
        return isLetterOrDigit(c) || QStringView(u" .+-*/()=").contains(c);
    };
    if (std::all_of(text.cbegin(), text.cend(), isHarmless))
        return true;
    if (!text.contains(u'\n')) {
        const QVariant flow = QVariantMap{{u"expr"_s, text}};
        return readsBack({{u"x"_s, isListItem ? QVariantList{text, QVariantMap()} : QVariant(text)},
                          {u"flow"_s, flow}});
    }
    QList<YamlParser::ParseError> errors;
    const QString written = YamlSerializer({.lossless = true}).serializeMap({{u"x"_s, text}});
    const QVariant read = YamlParser().parseToVariantMap(written, errors).value(u"x"_s);
    return errors.isEmpty() && filledLines(read.toString()) == filledLines(text);
}

} // namespace corvane::yaml
