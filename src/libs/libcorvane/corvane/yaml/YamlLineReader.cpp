#include "YamlLineReader.h"

#include <limits>

namespace corvane::yaml {

namespace {

bool isBlockMarker(QStringView value)
{
    return value.size() == 1 && (value[0] == u'|' || value[0] == u'>');
}

// The width of the leading white space; a line of nothing but tabs must not overflow it.
int leadingWidth(QStringView line, int tabWidth)
{
    qint64 width = 0;
    for (const QChar c : line) {
        if (c == u' ')
            ++width;
        else if (c == u'\t')
            width += tabWidth;
        else
            break;
    }
    return int(std::min<qint64>(width, std::numeric_limits<int>::max() / 2));
}

} // namespace

YamlLineReader::YamlLineReader(QStringView text, int indentSize)
    : m_rest(text)
    , m_indentSize(indentSize)
{
    if (m_rest.startsWith(QChar::ByteOrderMark))
        m_rest = m_rest.sliced(1);
    advance();
}

void YamlLineReader::advance()
{
    while (!m_rest.isNull()) {
        const QStringView stripped = takePhysicalLine();
        const QStringView content = stripped.trimmed();
        if (content.isEmpty())
            continue;
        m_line = {.lineNumber = m_lineNumber,
                  .indent = leadingWidth(stripped, m_indentSize),
                  .content = content,
                  .key = {},
                  .value = {},
                  .isListItem = false,
                  .isMultilineMarker = false,
                  .keyIndent = 0};
        countTabs({stripped.data(), content.data()});
        split(content);
        return;
    }
    m_atEnd = true;
}

void YamlLineReader::countTabs(QStringView margin)
{
    if (!margin.contains(u'\t'))
        return;
    if (m_tabLines++ == 0)
        m_firstTabLine = m_lineNumber;
}

int YamlLineReader::columnOf(QStringView part) const
{
    return int(std::min<qsizetype>(part.data() - m_lineStart + 1, std::numeric_limits<int>::max()));
}

// One line without its comment. A quote is closed by its like only, and ends with the line.
QStringView YamlLineReader::takePhysicalLine()
{
    ++m_lineNumber;
    m_lineStart = m_rest.data();
    const QChar *const end = m_rest.data() + m_rest.size();
    const QChar *comment = nullptr;
    char16_t quote = 0;
    const QChar *at = m_lineStart;
    for (; at != end && *at != u'\n'; ++at) {
        const char16_t c = at->unicode();
        if (quote) {
            if (c == quote)
                quote = 0;
        } else if (c == u'"' || c == u'\'') {
            quote = c;
        } else if (c == u'#') {
            comment = at;
            while (at != end && *at != u'\n')
                ++at;
            break;
        }
    }
    // Null says that the text is at its end; behind a last line feed stands one more, empty line.
    m_rest = at == end ? QStringView() : QStringView(at + 1, end);
    return {m_lineStart, comment ? comment : at};
}

void YamlLineReader::split(QStringView content)
{
    m_line.isListItem = content.startsWith(u'-');
    m_line.keyIndent = m_line.indent;
    if (m_line.isListItem)
        splitListItem();
    else
        splitPair(content);
    m_line.isMultilineMarker =
        isBlockMarker(m_line.value) && (m_line.isListItem || !m_line.key.isEmpty());
}

void YamlLineReader::splitListItem()
{
    const QStringView behindDash = m_line.content.sliced(1);
    const QStringView item = behindDash.trimmed();
    if (item.isEmpty())
        return;
    m_line.keyIndent = m_line.indent + 1 + leadingWidth(behindDash, m_indentSize);
    if (!item.startsWith(u'[') && item.indexOf(u':') > 0)
        splitPair(item);
    else
        m_line.value = item;
}

void YamlLineReader::splitPair(QStringView text)
{
    const qsizetype colon = text.indexOf(u':');
    if (colon < 1)
        return;
    m_line.key = text.first(colon).trimmed();
    m_line.value = text.sliced(colon + 1).trimmed();
}

} // namespace corvane::yaml
