#pragma once

#include <QList>
#include <QString>
#include <QStringView>
#include <QVariant>

namespace corvane::yaml {

/// Reads the program's own subset of YAML into a tree of QVariantMap, QVariantList, QString,
/// qlonglong, double, bool and, for null, invalid values.
///
/// The subset is line oriented and goes by indentation: maps, lists, flow values (`[1, 2]`,
/// `{a: 1}`), quoted text without escapes, `|` blocks whose lines are trimmed. It has no anchors,
/// no documents, no tags. A `#` outside quotes ends its line wherever it stands. Line ends are LF
/// or CR LF, and a byte order mark at the start is passed over.
///
/// Reading is one pass: linear in the text, nothing kept per line. It never stops at an error, so
/// that all of them can be shown; a caller treats any error as a failed parse. Blocks and flow
/// values that nest deeper than `maxDepth` are an error and are left out.
class YamlParser
{
public:
    static constexpr int maxDepth = 256;
    /// Errors that one parse reports at most: a text that is no YAML at all has one on every line.
    static constexpr int maxErrors = 1000;

    struct ParseError
    {
        int line = 0; ///< from 1
        int column = 0;
        QString message;

        /// "Line 3, column 1: Expected key: value pair"
        [[nodiscard]] QString toString() const;
        bool operator==(const ParseError &) const = default;
    };

    /// What the subset reads in a way that its author most likely does not mean. No error: the text
    /// parses all the same.
    struct Remark
    {
        enum class Kind {
            DroppedLines,  ///< lines that stand deeper than their block, and are in no value
            RepeatedKey,   ///< a key that its block has already: the later value counts
            TabIndent,     ///< a tab in leading white space
            DroppedEntry,  ///< an entry of a flow map without a colon, which is left out
            UnclosedValue, ///< text that begins as a flow value and does not end as one
        };
        Kind kind = Kind::DroppedLines;
        int line = 0;     ///< from 1
        QString text{};   ///< the key, or the content of the line
        qint64 count = 1; ///< lines that are meant, this one being the first

        bool operator==(const Remark &) const = default;
    };
    /// Remarks that one parse makes at most; those of tabs are one, with their count.
    static constexpr int maxRemarks = 1000;

    /// One line that is neither blank nor all comment. The views look into the parsed text.
    struct Line
    {
        int lineNumber = 0;  ///< from 1
        int indent = 0;      ///< width of the leading white space
        QStringView content; ///< without comment, trimmed
        QStringView key;
        QStringView value;
        bool isListItem = false;
        bool isMultilineMarker = false;
        int keyIndent = 0; ///< where the text after a list item's "-" stands; else `indent`
    };

    /// @param indentSize  the width of a tab in leading white space, and the extra indentation
    ///                    demanded of the lines of a "|" block
    explicit YamlParser(int indentSize = 2);

    [[nodiscard]] int indentSize() const { return m_indentSize; }

    /// The top-level map. An empty document is an empty map and no error. Errors are appended, and
    /// so are remarks where somebody wants them.
    [[nodiscard]] QVariantMap parseToVariantMap(const QString &text, QList<ParseError> &errors,
                                                QList<Remark> *remarks = nullptr) const;

    /// One value as it stands behind a colon: a flow map or list, quoted text, a number, a word.
    [[nodiscard]] static QVariant parseValue(QStringView text);

private:
    int m_indentSize;
};

} // namespace corvane::yaml
