#include "YamlFlowParser.h"

#include "YamlScalar.h"

using namespace Qt::StringLiterals;

namespace corvane::yaml {

namespace {

// Which brackets a comma hides in; parentheses count in maps only.
enum class Parentheses { Count, DoNotCount };

int depthChange(char16_t c, Parentheses parentheses)
{
    switch (c) {
    case u'[':
    case u'{':
        return 1;
    case u']':
    case u'}':
        return -1;
    case u'(':
        return parentheses == Parentheses::Count ? 1 : 0;
    case u')':
        return parentheses == Parentheses::Count ? -1 : 0;
    default:
        return 0;
    }
}

// Takes the part up to the next comma at depth 0 off `rest`; `rest` is null behind the last part.
QStringView takeEntry(QStringView &rest, Parentheses parentheses)
{
    char16_t quote = 0;
    int depth = 0;
    for (qsizetype i = 0; i < rest.size(); ++i) {
        const char16_t c = rest[i].unicode();
        if (quote) {
            if (c == quote)
                quote = 0;
        } else if (c == u'"' || c == u'\'') {
            quote = c;
        } else if (c == u',' && depth == 0) {
            const QStringView entry = rest.first(i).trimmed();
            rest = QStringView(rest.data() + i + 1, rest.size() - i - 1);
            return entry;
        } else {
            depth += depthChange(c, parentheses);
        }
    }
    const QStringView entry = rest.trimmed();
    rest = {};
    return entry;
}

bool isWrapped(QStringView text, char16_t open, char16_t close)
{
    return text.size() >= 2 && text.front() == open && text.back() == close;
}

bool isOneOf(QStringView text, QLatin1StringView a, QLatin1StringView b)
{
    return text.compare(a, Qt::CaseInsensitive) == 0 || text.compare(b, Qt::CaseInsensitive) == 0;
}

bool beginsAsNumber(QStringView text)
{
    const char16_t c = text.front().unicode();
    return c >= 0x80 || (c >= u'0' && c <= u'9') || c == u'+' || c == u'-' || c == u'.';
}

QVariant parseNumberOrText(QStringView text)
{
    if (beginsAsNumber(text) && mayBeNumber(text)) {
        bool ok = false;
        if (text.contains(u'.') || text.contains(u'e', Qt::CaseInsensitive)) {
            const double number = text.toDouble(&ok);
            if (ok)
                return number;
        } else {
            const qlonglong number = text.toLongLong(&ok, 10);
            if (ok)
                return number;
        }
    }
    return text.toString();
}

QVariant parseWord(QStringView text)
{
    if (text.size() <= 5) {
        if (isOneOf(text, "true"_L1, "yes"_L1))
            return true;
        if (isOneOf(text, "false"_L1, "no"_L1))
            return false;
        if (isOneOf(text, "null"_L1, "~"_L1))
            return {};
    }
    return parseNumberOrText(text);
}

} // namespace

QVariant YamlFlowParser::parse(QStringView text)
{
    if (text.isEmpty())
        return {};
    const bool isMap = isWrapped(text, u'{', u'}');
    if (isMap || isWrapped(text, u'[', u']')) {
        if (m_levelsLeft <= 0) {
            m_tooDeep = true;
            return {};
        }
        --m_levelsLeft;
        const QStringView inside = text.sliced(1, text.size() - 2).trimmed();
        const QVariant value = isMap ? parseMap(inside) : parseList(inside);
        ++m_levelsLeft;
        return value;
    }
    if (isWrapped(text, u'"', u'"') || isWrapped(text, u'\'', u'\''))
        return text.sliced(1, text.size() - 2).toString();
    return parseWord(text);
}

QVariant YamlFlowParser::parseMap(QStringView inside)
{
    QVariantMap map;
    while (!inside.isNull()) {
        const QStringView entry = takeEntry(inside, Parentheses::Count);
        const qsizetype colon = entry.indexOf(u':');
        if (colon > 0)
            map.insert(entry.first(colon).trimmed().toString(),
                       parse(entry.sliced(colon + 1).trimmed()));
        else if (!entry.isEmpty())
            m_droppedEntry = entry;
    }
    return map;
}

QVariant YamlFlowParser::parseList(QStringView inside)
{
    QVariantList list;
    while (!inside.isNull()) {
        const QStringView element = takeEntry(inside, Parentheses::DoNotCount);
        if (!element.isEmpty() || !inside.isNull())
            list.append(parse(element));
    }
    return list;
}

} // namespace corvane::yaml
