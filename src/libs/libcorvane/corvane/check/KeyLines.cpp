#include <corvane/check/KeyLines.h>

#include <corvane/yaml/YamlLineReader.h>

namespace corvane::check {

namespace {

constexpr int yamlIndent = 2;
constexpr QChar separator = u'\n'; // no key of a line-oriented text holds one

QString joined(const KeyPath &path)
{
    return path.join(separator);
}

/// The keys that are open at a line, each with the depth below which it ends.
///
/// A list may stand at the indentation of its key, and a map in a list at that of its "-" plus
/// one: depths count half columns, a "-" standing half a column to the right of its column.
class OpenKeys
{
public:
    void open(qint64 depth, const QString &key)
    {
        while (!m_open.isEmpty() && m_open.last().depth >= depth)
            m_open.removeLast();
        const QString above = path();
        m_open.append({depth, above.isEmpty() ? key : above + separator + key});
    }
    /// The next entry of the list at that depth.
    void openItem(qint64 depth)
    {
        while (!m_open.isEmpty() && m_open.last().depth > depth)
            m_open.removeLast();
        const bool isNext = !m_open.isEmpty() && m_open.last().depth == depth;
        const qint64 number = isNext ? m_open.last().number + 1 : 0;
        open(depth, u'#' + QString::number(number));
        m_open.last().number = number;
    }
    QString path() const { return m_open.isEmpty() ? QString() : m_open.last().path; }

private:
    struct Key
    {
        qint64 depth = 0;
        QString path;
        qint64 number = 0;
    };
    QList<Key> m_open;
};

} // namespace

KeyLines::KeyLines(const QString &text, const QList<KeyPath> &paths)
{
    for (const KeyPath &path : paths) {
        for (qsizetype length = 1; length <= path.size(); ++length)
            m_lines.insert(joined(path.mid(0, length)), 0);
    }
    if (!m_lines.isEmpty())
        read(text);
}

void KeyLines::read(const QString &text)
{
    OpenKeys keys;
    const auto note = [&](int line) {
        const auto wanted = m_lines.find(keys.path());
        if (wanted != m_lines.end())
            *wanted = line;
    };
    for (yaml::YamlLineReader lines(text, yamlIndent); lines.current(); lines.advance()) {
        const yaml::YamlParser::Line &line = *lines.current();
        if (line.isListItem) {
            keys.openItem(2 * qint64(line.indent) + 1);
            note(line.lineNumber);
        }
        if (!line.key.isEmpty()) {
            keys.open(2 * qint64(line.keyIndent), line.key.toString());
            note(line.lineNumber);
        }
    }
}

int KeyLines::lineOf(const KeyPath &path) const
{
    for (qsizetype length = path.size(); length > 0; --length) {
        if (const int line = m_lines.value(joined(path.mid(0, length))); line > 0)
            return line;
    }
    return 0;
}

} // namespace corvane::check
