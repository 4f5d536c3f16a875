#pragma once

#include <corvane/yaml/YamlSerializer.h>

#include <optional>

namespace corvane::yaml {

/// Where a scalar stands decides what form of it reads back.
enum class ScalarPlace { MapValue, ListItem, Flow };

/// Appends a value tree to one text: what YamlSerializer's functions share.
class YamlWriter
{
public:
    explicit YamlWriter(const YamlSerializer::Options &options)
        : m_options(options)
    {}

    void writeMap(const QVariantMap &map, int indent);
    void writeList(const QVariantList &list, int indent);
    void writeLines(const QString &text, int indent);
    [[nodiscard]] QString scalarText(const QVariant &value, ScalarPlace place) const;

    [[nodiscard]] bool isCompact(const QVariantList &list) const;
    [[nodiscard]] bool isSimple(const QVariant &value) const;

    [[nodiscard]] const QString &text() const { return m_text; }

private:
    enum class Container { Map, ListItem };

    /// In the order in which the entries are to be written.
    template<class Visit>
    void forEachEntry(const QVariantMap &map, const Visit &visit) const;
    void writeEntry(const QString &key, const QVariant &value, int indent, Container container);
    void writeMapValue(const QVariantMap &map, int indent, Container container);
    void writeListValue(const QVariantList &list, int indent);
    void writeMapItem(const QVariantMap &map, int indent);
    void writeItem(const QVariant &value, int indent);
    void writeSpaces(int count) { m_text.resize(m_text.size() + count, u' '); }
    [[nodiscard]] bool isOnOneLine(const QVariant &value, Container container) const;
    [[nodiscard]] bool isCompactMap(const QVariantMap &map) const;
    [[nodiscard]] bool isFlowSafe(const QVariant &value) const;
    [[nodiscard]] QString flowText(const QVariant &value) const;
    [[nodiscard]] QString flowMapText(const QVariantMap &map) const;
    [[nodiscard]] QString flowListText(const QVariantList &list) const;
    [[nodiscard]] std::optional<QString> lineText(const QVariant &value, ScalarPlace place) const;
    [[nodiscard]] bool needsBlock(const QVariant &value, ScalarPlace place) const;

    const YamlSerializer::Options m_options;
    QString m_text;
};

} // namespace corvane::yaml
