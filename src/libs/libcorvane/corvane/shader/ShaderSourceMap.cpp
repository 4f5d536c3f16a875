#include <corvane/shader/ShaderSourceMap.h>

#include <QRegularExpression>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace corvane::shader {

int ShaderSourceMap::Part::lineInCode(int shaderLine) const
{
    const int line = shaderLine - firstLine + codeLine;
    return line >= 1 && line <= codeLines ? line : 0;
}

QString ShaderSourceMap::Part::inUsersWords(const QString &message) const
{
    static const QRegularExpression word(u"\\w+"_s);
    QString result;
    qsizetype copied = 0;
    for (auto matches = word.globalMatch(message); matches.hasNext();) {
        const QRegularExpressionMatch match = matches.next();
        const auto name = userNames.constFind(match.captured());
        if (name == userNames.constEnd())
            continue;
        result += QStringView(message).sliced(copied, match.capturedStart() - copied);
        result += *name;
        copied = match.capturedEnd();
    }
    return result.append(QStringView(message).sliced(copied));
}

void ShaderSourceMap::append(const ShaderSourceMap &other, int firstLine)
{
    for (Part part : other.m_parts) {
        part.firstLine += firstLine - 1;
        m_parts.append(part);
    }
}

const ShaderSourceMap::Part *ShaderSourceMap::find(int shaderLine) const
{
    const auto next =
        std::upper_bound(m_parts.cbegin(), m_parts.cend(), shaderLine,
                         [](int line, const Part &part) { return line < part.firstLine; });
    if (next == m_parts.cbegin())
        return nullptr;
    const Part &part = *std::prev(next);
    return shaderLine < part.firstLine + part.lineCount ? &part : nullptr;
}

void MappedText::append(const QString &text)
{
    m_text += text;
    m_line += int(text.count(u'\n'));
}

void MappedText::append(const QString &text, ShaderSourceMap::Part part)
{
    part.firstLine = m_line;
    part.lineCount = int(text.count(u'\n')) + (text.endsWith(u'\n') ? 0 : 1);
    m_map.append(part);
    append(text);
}

void MappedText::append(const MappedText &other)
{
    m_map.append(other.m_map, m_line);
    append(other.m_text);
}

} // namespace corvane::shader
