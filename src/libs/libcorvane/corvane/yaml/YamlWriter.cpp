#include "YamlWriter.h"

#include "YamlScalar.h"

#include <corvane/yaml/PlainValue.h>

using namespace Qt::StringLiterals;

namespace corvane::yaml {

namespace {

bool isMap(const QVariant &value)
{
    return value.typeId() == QMetaType::QVariantMap;
}

bool isList(const QVariant &value)
{
    return value.typeId() == QMetaType::QVariantList;
}

} // namespace

template<class Visit>
void YamlWriter::forEachEntry(const QVariantMap &map, const Visit &visit) const
{
    if (!m_options.sortKeys) {
        for (auto entry = map.cbegin(); entry != map.cend(); ++entry)
            visit(entry.key(), *entry);
        return;
    }
    QStringList keys = map.keys();
    std::stable_sort(keys.begin(), keys.end(), [](const QString &a, const QString &b) {
        return a.compare(b, Qt::CaseInsensitive) < 0;
    });
    for (const QString &key : std::as_const(keys))
        visit(key, *map.constFind(key));
}

void YamlWriter::writeMap(const QVariantMap &map, int indent)
{
    if (map.isEmpty()) {
        m_text += "{}"_L1;
        return;
    }
    bool isFirst = true;
    forEachEntry(map, [&](const QString &key, const QVariant &value) {
        if (indent == 0 && !isFirst)
            m_text += u'\n';
        isFirst = false;
        writeSpaces(indent);
        writeEntry(key, value, indent, Container::Map);
    });
}

void YamlWriter::writeList(const QVariantList &list, int indent)
{
    if (list.isEmpty())
        m_text += "[]\n"_L1;
    for (const QVariant &element : list)
        writeItem(plainValue(element), indent);
}

void YamlWriter::writeLines(const QString &text, int indent)
{
    for (const QStringView line : QStringView(text).split(u'\n')) {
        writeSpaces(indent);
        m_text += line;
        m_text += u'\n';
    }
}

// The cursor stands where the key goes; `indent` is the column of the key.
void YamlWriter::writeEntry(const QString &key, const QVariant &rawValue, int indent,
                            Container container)
{
    const QVariant value = plainValue(rawValue);
    m_text += key;
    m_text += u':';
    if (isMap(value)) {
        writeMapValue(value.toMap(), indent, container);
    } else if (isList(value)) {
        writeListValue(value.toList(), indent);
    } else if (const auto text = lineText(value, ScalarPlace::MapValue)) {
        // In a map of its own a null is a key with nothing behind it.
        if (value.isValid() || container == Container::ListItem) {
            m_text += u' ';
            m_text += *text;
        }
        m_text += u'\n';
    } else {
        m_text += " |\n"_L1;
        writeLines(value.toString(), indent + m_options.indentSize);
    }
}

void YamlWriter::writeMapValue(const QVariantMap &map, int indent, Container container)
{
    if (map.isEmpty()) {
        m_text += " {}\n"_L1;
    } else if (container == Container::Map && isCompactMap(map)) {
        m_text += u' ' + flowMapText(map) + u'\n';
    } else {
        m_text += u'\n';
        writeMap(map, indent + m_options.indentSize);
    }
}

void YamlWriter::writeListValue(const QVariantList &list, int indent)
{
    if (list.isEmpty()) {
        m_text += " []\n"_L1;
    } else if (isCompact(list)) {
        m_text += u' ' + flowListText(list) + u'\n';
    } else {
        m_text += u'\n';
        writeList(list, indent + m_options.indentSize);
    }
}

void YamlWriter::writeItem(const QVariant &value, int indent)
{
    writeSpaces(indent);
    if (isMap(value)) {
        writeMapItem(value.toMap(), indent);
    } else if (needsBlock(value, ScalarPlace::ListItem)) {
        m_text += "- |\n"_L1;
        writeLines(value.toString(), indent + m_options.indentSize);
    } else {
        // A list in a list stands in flow style: the reader would join the lines of a block to
        // the outer list.
        m_text += "- "_L1;
        m_text += isList(value) ? flowText(value) : scalarText(value, ScalarPlace::ListItem);
        m_text += u'\n';
    }
}

// The reader takes nothing but a value on its line for the first key of an item, so a map that
// begins otherwise stands whole on the lines behind a bare "-".
void YamlWriter::writeMapItem(const QVariantMap &map, int indent)
{
    if (map.isEmpty()) {
        m_text += "- {}\n"_L1;
        return;
    }
    bool isBehindDash = false;
    bool isFirst = true;
    forEachEntry(map, [&](const QString &key, const QVariant &value) {
        if (isFirst) {
            isBehindDash = isOnOneLine(plainValue(value), Container::ListItem);
            m_text += isBehindDash ? "- "_L1 : "-\n"_L1;
        }
        if (!isFirst || !isBehindDash)
            writeSpaces(indent + 2);
        isFirst = false;
        writeEntry(key, value, indent + 2, Container::ListItem);
    });
}

bool YamlWriter::isOnOneLine(const QVariant &value, Container container) const
{
    if (isMap(value)) {
        const QVariantMap map = value.toMap();
        return map.isEmpty() || (container == Container::Map && isCompactMap(map));
    }
    if (isList(value))
        return value.toList().isEmpty() || isCompact(value.toList());
    return !needsBlock(value, ScalarPlace::MapValue);
}

bool YamlWriter::isCompact(const QVariantList &list) const
{
    if (!m_options.compactLists || list.size() > m_options.maxCompactListSize)
        return false;
    return std::all_of(list.cbegin(), list.cend(), [this](const QVariant &raw) {
        const QVariant value = plainValue(raw);
        return !isMap(value) && !isList(value) && isFlowSafe(value);
    });
}

bool YamlWriter::isCompactMap(const QVariantMap &map) const
{
    const QString key = m_options.compactMapKey.isEmpty() ? u"expr"_s : m_options.compactMapKey;
    return map.size() <= 2 && map.contains(key) &&
           std::all_of(map.cbegin(), map.cend(),
                       [this](const QVariant &value) { return isFlowSafe(plainValue(value)); });
}

bool YamlWriter::isSimple(const QVariant &rawValue) const
{
    const QVariant value = plainValue(rawValue);
    switch (value.typeId()) {
    case QMetaType::UnknownType:
    case QMetaType::Bool:
    case QMetaType::Int:
    case QMetaType::LongLong:
    case QMetaType::Double:
    case QMetaType::Float:
        return true;
    case QMetaType::QVariantList:
        return isCompact(value.toList());
    case QMetaType::QString:
        return !isMultilineString(value);
    default:
        return false;
    }
}

// True when the value and all that it holds can stand in flow style.
bool YamlWriter::isFlowSafe(const QVariant &value) const
{
    const auto isSafe = [this](const QVariant &part) { return isFlowSafe(plainValue(part)); };
    if (isMap(value)) {
        const QVariantMap map = value.toMap();
        return std::all_of(map.cbegin(), map.cend(), isSafe);
    }
    if (isList(value)) {
        const QVariantList list = value.toList();
        return std::all_of(list.cbegin(), list.cend(), isSafe);
    }
    return !needsBlock(value, ScalarPlace::Flow);
}

// None for a string that reads back from a "|" block only.
std::optional<QString> YamlWriter::lineText(const QVariant &value, ScalarPlace place) const
{
    if (isMultilineString(value))
        return std::nullopt;
    return m_options.lossless ? losslessScalarText(value, place) : usualScalarText(value);
}

bool YamlWriter::needsBlock(const QVariant &value, ScalarPlace place) const
{
    return value.typeId() == QMetaType::QString && !lineText(value, place);
}

QString YamlWriter::scalarText(const QVariant &value, ScalarPlace place) const
{
    const auto text = m_options.lossless ? losslessScalarText(value, place) : std::nullopt;
    return text ? *text : usualScalarText(value);
}

QString YamlWriter::flowText(const QVariant &rawValue) const
{
    const QVariant value = plainValue(rawValue);
    if (isMap(value))
        return flowMapText(value.toMap());
    if (isList(value))
        return flowListText(value.toList());
    return scalarText(value, ScalarPlace::Flow);
}

QString YamlWriter::flowMapText(const QVariantMap &map) const
{
    QStringList entries;
    forEachEntry(map, [&](const QString &key, const QVariant &value) {
        entries.append(key + ": "_L1 + flowText(value));
    });
    return u'{' + entries.join(", "_L1) + u'}';
}

QString YamlWriter::flowListText(const QVariantList &list) const
{
    QStringList elements;
    for (const QVariant &element : list)
        elements.append(flowText(element));
    return u'[' + elements.join(", "_L1) + u']';
}

} // namespace corvane::yaml
