#include <corvane/yaml/YamlParser.h>

#include "YamlFlowParser.h"
#include "YamlLineReader.h"

#include <QHash>

using namespace Qt::StringLiterals;

namespace corvane::yaml {

namespace {

constexpr int maxSharedKeys = 4096;

// A recursive descent over the lines. A block knows its lines by their indentation alone, so each
// function gets the indentation that it owns and leaves the first line that is not its own.
class BlockParser
{
public:
    BlockParser(QStringView text, int indentSize, QList<YamlParser::ParseError> &errors,
                QList<YamlParser::Remark> *remarks)
        : m_lines(text, indentSize)
        , m_indentSize(indentSize)
        , m_errors(errors)
        , m_remarks(remarks)
    {}

    QVariantMap parseDocument()
    {
        QVariantMap map;
        parseBlock(0, map);
        if (m_lines.tabLines() > 0)
            remark({Remark::Kind::TabIndent, m_lines.firstTabLine(), {}, m_lines.tabLines()});
        return map;
    }

private:
    using Remark = YamlParser::Remark;

    void parseBlock(int minIndent, QVariantMap &map);
    void parseListBlock(int minIndent, QVariantList &list);
    [[nodiscard]] QVariant parseKeyValue(const YamlParser::Line &line);
    [[nodiscard]] QVariant parseListItem(const YamlParser::Line &item, QVariantList &list,
                                         bool &isElement);
    [[nodiscard]] QVariantMap parseMapItem(const YamlParser::Line &item);
    [[nodiscard]] QVariant parseNestedMap(int indent);
    void parseNestedList(int indent, QVariantList &list);
    [[nodiscard]] QVariant parseMultiline(int indent);
    [[nodiscard]] QVariant parseValue(QStringView text, int lineNumber, int column);
    [[nodiscard]] bool enterBlock(int indent);
    [[nodiscard]] QString sharedKey(QStringView key);
    void addError(int line, int column, const QString &message);
    void dropStrayLines(const YamlParser::Line &first, int minIndent);
    void remark(const Remark &remark);

    YamlLineReader m_lines;
    int m_indentSize;
    int m_depth = 0;
    QList<YamlParser::ParseError> &m_errors;
    QList<Remark> *m_remarks; ///< null where nobody wants them
    QHash<QStringView, QString> m_keys;
};

void BlockParser::parseBlock(int minIndent, QVariantMap &map)
{
    while (const YamlParser::Line *current = m_lines.current()) {
        const YamlParser::Line line = *current;
        if (line.indent < minIndent)
            return;
        if (line.isListItem) {
            addError(line.lineNumber, 1, u"Unexpected list item at block level"_s);
            m_lines.advance();
        } else if (line.indent != minIndent) {
            dropStrayLines(line, minIndent);
        } else if (line.key.isEmpty()) {
            addError(line.lineNumber, 1, u"Expected key: value pair"_s);
            m_lines.advance();
        } else {
            const auto before = map.size();
            map.insert(sharedKey(line.key), parseKeyValue(line));
            if (map.size() == before)
                remark({Remark::Kind::RepeatedKey, line.lineNumber, line.key.toString()});
        }
    }
}

// A stray line that stands deeper than its block is dropped, and so are those that follow it at
// such a depth: they belong to no key.
void BlockParser::dropStrayLines(const YamlParser::Line &first, int minIndent)
{
    qint64 count = 0;
    for (const YamlParser::Line *line = m_lines.current();
         line && line->indent > minIndent && !line->isListItem; line = m_lines.current()) {
        ++count;
        m_lines.advance();
    }
    remark({Remark::Kind::DroppedLines, first.lineNumber, first.content.toString(), count});
}

QVariant BlockParser::parseKeyValue(const YamlParser::Line &line)
{
    const int column = m_lines.columnOf(line.value);
    m_lines.advance();
    if (line.isMultilineMarker)
        return parseMultiline(line.indent + m_indentSize);
    if (!line.value.isEmpty())
        return parseValue(line.value, line.lineNumber, column);
    const YamlParser::Line *next = m_lines.current();
    if (!next)
        return {};
    if (next->isListItem && next->indent >= line.indent) {
        QVariantList list;
        parseNestedList(next->indent, list);
        return list;
    }
    if (!next->isListItem && next->indent > line.indent)
        return parseNestedMap(next->indent);
    return {};
}

void BlockParser::parseListBlock(int minIndent, QVariantList &list)
{
    while (const YamlParser::Line *current = m_lines.current()) {
        if (current->indent < minIndent || !current->isListItem)
            return;
        bool isElement = true;
        const QVariant element = parseListItem(YamlParser::Line(*current), list, isElement);
        if (isElement)
            list.append(element);
    }
}

// `isElement` comes out false for a bare "-" over deeper items: those go into the list themselves.
QVariant BlockParser::parseListItem(const YamlParser::Line &item, QVariantList &list,
                                    bool &isElement)
{
    if (!item.key.isEmpty())
        return parseMapItem(item);
    const int column = m_lines.columnOf(item.value);
    m_lines.advance();
    if (item.isMultilineMarker)
        return parseMultiline(item.indent + m_indentSize);
    if (!item.value.isEmpty())
        return parseValue(item.value, item.lineNumber, column);
    const YamlParser::Line *next = m_lines.current();
    if (!next || next->indent <= item.indent)
        return {};
    if (!next->isListItem)
        return parseNestedMap(next->indent);
    isElement = false;
    parseNestedList(next->indent, list);
    return {};
}

// "- key: value" and the keys on the deeper lines that follow make one map.
QVariantMap BlockParser::parseMapItem(const YamlParser::Line &item)
{
    const int column = m_lines.columnOf(item.value);
    m_lines.advance();
    QVariantMap map;
    map.insert(sharedKey(item.key), item.isMultilineMarker
                                        ? parseMultiline(item.keyIndent + m_indentSize)
                                        : parseValue(item.value, item.lineNumber, column));
    const YamlParser::Line *next = m_lines.current();
    if (next && next->indent > item.indent && !next->isListItem && enterBlock(next->indent)) {
        parseBlock(m_lines.current()->indent, map);
        --m_depth;
    }
    return map;
}

QVariant BlockParser::parseNestedMap(int indent)
{
    if (!enterBlock(indent))
        return {};
    QVariantMap map;
    parseBlock(indent, map);
    --m_depth;
    return map;
}

void BlockParser::parseNestedList(int indent, QVariantList &list)
{
    if (!enterBlock(indent))
        return;
    parseListBlock(indent, list);
    --m_depth;
}

QVariant BlockParser::parseMultiline(int indent)
{
    QString text;
    bool isFirst = true;
    for (const YamlParser::Line *line = m_lines.current(); line && line->indent >= indent;
         line = m_lines.current()) {
        if (!isFirst)
            text += u'\n';
        text += line->content;
        isFirst = false;
        m_lines.advance();
    }
    return text;
}

QVariant BlockParser::parseValue(QStringView text, int lineNumber, int column)
{
    YamlFlowParser flow(YamlParser::maxDepth - m_depth);
    const QVariant value = flow.parse(text);
    if (flow.isTooDeep())
        addError(lineNumber, column,
                 u"Values are nested deeper than %1 levels"_s.arg(YamlParser::maxDepth));
    if (!flow.droppedEntry().isEmpty())
        remark({Remark::Kind::DroppedEntry, lineNumber, flow.droppedEntry().toString()});
    if (value.typeId() == QMetaType::QString && (text.startsWith(u'[') || text.startsWith(u'{')))
        remark({Remark::Kind::UnclosedValue, lineNumber, text.toString()});
    return value;
}

// Below the deepest level allowed the whole block is passed over, with one error for it.
bool BlockParser::enterBlock(int indent)
{
    if (m_depth < YamlParser::maxDepth) {
        ++m_depth;
        return true;
    }
    addError(m_lines.current()->lineNumber, indent + 1,
             u"Blocks are nested deeper than %1 levels"_s.arg(YamlParser::maxDepth));
    while (m_lines.current() && m_lines.current()->indent >= indent)
        m_lines.advance();
    return false;
}

// Scene files repeat a few keys a great many times; they share one string each.
QString BlockParser::sharedKey(QStringView key)
{
    if (const auto known = m_keys.constFind(key); known != m_keys.constEnd())
        return *known;
    if (m_keys.size() >= maxSharedKeys)
        return key.toString();
    return *m_keys.insert(key, key.toString());
}

void BlockParser::addError(int line, int column, const QString &message)
{
    if (m_errors.size() < YamlParser::maxErrors)
        m_errors.append({line, column, message});
}

void BlockParser::remark(const Remark &remark)
{
    if (m_remarks && m_remarks->size() < YamlParser::maxRemarks)
        m_remarks->append(remark);
}

} // namespace

QString YamlParser::ParseError::toString() const
{
    return u"Line %1, column %2: %3"_s.arg(QString::number(line), QString::number(column), message);
}

YamlParser::YamlParser(int indentSize)
    : m_indentSize(std::max(indentSize, 1))
{}

QVariantMap YamlParser::parseToVariantMap(const QString &text, QList<ParseError> &errors,
                                          QList<Remark> *remarks) const
{
    return BlockParser(text, m_indentSize, errors, remarks).parseDocument();
}

QVariant YamlParser::parseValue(QStringView text)
{
    return YamlFlowParser(YamlParser::maxDepth).parse(text);
}

} // namespace corvane::yaml
