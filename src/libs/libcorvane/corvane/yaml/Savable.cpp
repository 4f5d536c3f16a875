#include <corvane/yaml/Savable.h>

#include <corvane/yaml/YamlSerializer.h>

#include <QStringList>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace corvane::yaml {

namespace {

/// Far from what the reader of scene files takes, whatever the value stands in.
constexpr int deepestValue = 100;
constexpr qsizetype longestQuote = 60;

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
        return u"is nested deeper than %1 levels"_s.arg(deepestValue);
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

} // namespace

QString whyUnsavableName(const QString &name)
{
    const QStringList words = name.split(u'.', Qt::SkipEmptyParts);
    if (std::all_of(words.cbegin(), words.cend(), &YamlSerializer::isReadableKey))
        return {};
    return quoted(name) + u" can't be held by a scene file, whose names are without ':', '#', ',', "
                          u"brackets, quotes and line breaks"_s;
}

QString whyUnsavable(const QVariant &value)
{
    return whyUnsavableAt(0, value, false);
}

} // namespace corvane::yaml
