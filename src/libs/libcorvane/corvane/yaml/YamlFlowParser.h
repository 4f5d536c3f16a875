#pragma once

#include <QStringView>
#include <QVariant>

namespace corvane::yaml {

/// Reads one value: a flow map or list, quoted text, a number, a word.
class YamlFlowParser
{
public:
    /// @param depth  how deep the value itself stands; past YamlParser::maxDepth nothing is read
    explicit YamlFlowParser(int depth)
        : m_depth(depth)
    {}

    [[nodiscard]] QVariant parse(QStringView text);
    /// True when a part of what was read lay too deep, and reads as null.
    [[nodiscard]] bool isTooDeep() const { return m_tooDeep; }

private:
    [[nodiscard]] QVariant parseMap(QStringView inside);
    [[nodiscard]] QVariant parseList(QStringView inside);

    int m_depth;
    bool m_tooDeep = false;
};

} // namespace corvane::yaml
