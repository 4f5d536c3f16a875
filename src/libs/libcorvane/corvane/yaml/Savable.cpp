#include <corvane/yaml/Savable.h>

#include <corvane/yaml/YamlParser.h>
#include <corvane/yaml/YamlSerializer.h>

#include <QStringList>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace corvane::yaml {

namespace {

/// Far from what the reader of scene files takes, whatever the value stands in.
constexpr int deepestValue = 100;
constexpr qsizetype longestQuote = 60;

QString tooDeep()
{
    return u"is nested deeper than %1 levels"_s.arg(deepestValue);
}

QString quoted(const QString &text)
{
    const bool isLong = text.size() > longestQuote;
    return u'\'' + (isLong ? text.left(longestQuote) + u'\u2026' : text) + u'\'';
}

QString whyUnsavableText(const QString &text, bool isListItem)
{
    if (YamlSerializer::isReadableText(text, isListItem))
        return {};
    return u"has a text that a scene file can't hold: "_s + quoted(text);
}

/// See whyUnsavable(); `depth` is the number of values around this one.
QString whyUnsavableAt(int depth, const QVariant &value, bool isListItem)
{
    if (value.typeId() == QMetaType::QString)
        return whyUnsavableText(value.toString(), isListItem);
    const bool isList = value.typeId() == QMetaType::QVariantList;
    if (!isList && value.typeId() != QMetaType::QVariantMap)
        return {};
    if (depth >= deepestValue)
        return tooDeep();
    const QVariantMap map = isList ? QVariantMap() : value.toMap();
    for (auto key = map.keyBegin(); key != map.keyEnd(); ++key) {
        if (!YamlSerializer::isReadableKey(*key))
            return u"has a key that a scene file can't hold: "_s + quoted(*key);
    }
    QString flaw;
    const QVariantList values = isList ? value.toList() : map.values();
    for (auto below = values.cbegin(); below != values.cend() && flaw.isEmpty(); ++below)
        flaw = whyUnsavableAt(depth + 1, *below, isList);
    return flaw;
}

/// Whether a key is read back where it stands by itself on a line. What an edit may use has to do
/// so in flow style, too; but what a file held before is not refused for that.
bool isKeyOfLine(const QString &key)
{
    if (YamlSerializer::isReadableKey(key))
        return true;
    const QVariantMap map{{key, 1LL}};
    QList<YamlParser::ParseError> errors;
    const QString text = YamlSerializer({.lossless = true}).serializeMap(map);
    return YamlParser().parseToVariantMap(text, errors) == map && errors.isEmpty();
}

/// See whyUnsavableFile(). Texts are not looked at: at worst one of them is read otherwise, while a
/// key or a depth that the reader does not take costs the whole file.
QString whyUnreadable(int depth, const QVariant &value)
{
    const bool isMap = value.typeId() == QMetaType::QVariantMap;
    if (!isMap && value.typeId() != QMetaType::QVariantList)
        return {};
    if (depth >= YamlParser::maxDepth)
        return u"it is nested deeper than %1 levels"_s.arg(YamlParser::maxDepth);
    QString flaw;
    if (isMap) {
        const QVariantMap map = value.toMap();
        for (auto it = map.cbegin(); it != map.cend() && flaw.isEmpty(); ++it)
            flaw = isKeyOfLine(it.key()) ? whyUnreadable(depth + 1, *it)
                                         : u"it has the key "_s + quoted(it.key());
    } else {
        const QVariantList list = value.toList();
        for (auto it = list.cbegin(); it != list.cend() && flaw.isEmpty(); ++it)
            flaw = whyUnreadable(depth + 1, *it);
    }
    return flaw;
}

} // namespace

QString whyUnsavableName(const QString &name)
{
    const QStringList words = name.split(u'.', Qt::SkipEmptyParts);
    if (std::all_of(words.cbegin(), words.cend(), &YamlSerializer::isReadableKey))
        return {};
    return quoted(name) + u" can't be held by a scene file, whose names are without ':', '#', ',', "
                          u"brackets, quotes and line breaks, and begin with no '-' or blank"_s;
}

QString whyUnsavable(const QVariant &value, int around)
{
    return around > deepestValue ? tooDeep() : whyUnsavableAt(around, value, false);
}

QString whyUnsavableFile(const QVariantMap &file)
{
    return whyUnreadable(0, file);
}

} // namespace corvane::yaml
