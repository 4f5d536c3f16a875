#pragma once

#include <corvane/yaml/YamlParser.h>

namespace corvane::yaml {

/// Cuts a text into YamlParser::Line records, one at a time, so that nothing is kept per line.
/// The text must outlive the reader and its lines.
class YamlLineReader
{
public:
    YamlLineReader(QStringView text, int indentSize);

    /// The line that stands next; null at the end of the text.
    [[nodiscard]] const YamlParser::Line *current() const { return m_atEnd ? nullptr : &m_line; }
    void advance();
    /// The column, from 1, at which a view into the current line begins.
    [[nodiscard]] int columnOf(QStringView part) const;

    /// Lines so far, blank ones left out, that have a tab in their leading white space.
    [[nodiscard]] qint64 tabLines() const { return m_tabLines; }
    [[nodiscard]] int firstTabLine() const { return m_firstTabLine; } ///< from 1; 0 for none

private:
    [[nodiscard]] QStringView takePhysicalLine();
    void countTabs(QStringView margin);
    void split(QStringView stripped);
    void splitListItem();
    void splitPair(QStringView text);

    QStringView m_rest;
    const QChar *m_lineStart = nullptr;
    int m_indentSize;
    int m_lineNumber = 0;
    bool m_atEnd = false;
    qint64 m_tabLines = 0;
    int m_firstTabLine = 0;
    YamlParser::Line m_line;
};

} // namespace corvane::yaml
