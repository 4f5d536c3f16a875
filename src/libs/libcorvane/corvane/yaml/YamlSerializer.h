#pragma once

#include <QString>
#include <QVariant>

namespace corvane::yaml {

/// Writes a QVariant tree in the subset that YamlParser reads.
///
/// Vectors are written as lists of numbers, a string of several lines as a "|" block wherever it
/// stands (its blank lines and the indentation of its lines are not kept by the reader). Keys are
/// written as they are: a key with a colon or a "#" can't be read back, and some texts can't
/// either; isReadableKey() and isReadableText() tell.
class YamlSerializer
{
public:
    struct Options
    {
        int indentSize = 2;       ///< spaces a level
        bool sortKeys = false;    ///< sort the keys of maps, whatever their case
        bool compactLists = true; ///< allow lists in flow style
        int maxCompactListSize = 4;
        /// A map that holds this key is written in flow style when it has at most 2 entries. Empty
        /// means "expr".
        QString compactMapKey = QStringLiteral("expr");
        /// The usual form of a string escapes quotes, backslashes and tabs, which the reader does
        /// not undo, and a number has 15 digits. With this, whatever would not read back the same
        /// is written otherwise: in the other quotes, as a one-line block, with 17 digits.
        bool lossless = false;
    };

    YamlSerializer();
    explicit YamlSerializer(Options options);

    [[nodiscard]] const Options &options() const { return m_options; }

    [[nodiscard]] QString serializeMap(const QVariantMap &map, int indent = 0) const;
    [[nodiscard]] QString serializeList(const QVariantList &list, int indent = 0) const;
    [[nodiscard]] QString serializeValue(const QVariant &value, int indent = 0) const;
    /// Each line of the text at the indent.
    [[nodiscard]] QString serializeMultilineString(const QString &text, int indent) const;

    /// True for what is written on the line of its key.
    [[nodiscard]] bool isSimpleValue(const QVariant &value) const;
    /// True for a short list of single-line scalars.
    [[nodiscard]] bool canUseCompactList(const QVariantList &list) const;

    /// Backslash, double quote, line feed and tab as two characters each.
    [[nodiscard]] static QString escapeString(const QString &text);
    /// True when the bare text would be read as something else than this string.
    [[nodiscard]] static bool needsQuotes(const QString &text);
    [[nodiscard]] static QString indentStr(int spaces);
    /// True when the key is read back as it is, whatever its value and wherever its map stands.
    [[nodiscard]] static bool isReadableKey(const QString &key);
    /// True when the text is read back as it is, but for blank lines and the space around lines.
    /// As an item of a long list, a text with a colon is not.
    [[nodiscard]] static bool isReadableText(const QString &text, bool isListItem = false);

private:
    Options m_options;
};

} // namespace corvane::yaml
