#pragma once

#include <QStringView>
#include <QVariant>

namespace corvane::yaml {

/// Reads one value: a flow map or list, quoted text, a number, a word.
class YamlFlowParser
{
public:
    /// @param levels  how many maps and lists may stand in each other; what lies deeper is not read
    explicit YamlFlowParser(int levels)
        : m_levelsLeft(levels)
    {}

    [[nodiscard]] QVariant parse(QStringView text);
    /// True when a part of what was read lay too deep, and reads as null.
    [[nodiscard]] bool isTooDeep() const { return m_tooDeep; }
    /// The last entry of a flow map that was left out since it has no key; empty for none.
    [[nodiscard]] QStringView droppedEntry() const { return m_droppedEntry; }

private:
    [[nodiscard]] QVariant parseMap(QStringView inside);
    [[nodiscard]] QVariant parseList(QStringView inside);

    int m_levelsLeft;
    bool m_tooDeep = false;
    QStringView m_droppedEntry;
};

} // namespace corvane::yaml
