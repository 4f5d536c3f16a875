#include "TerminalText.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

/// C0, DEL and C1: some terminals take U+009B for the beginning of an escape sequence.
bool isControl(QChar character)
{
    const char16_t code = character.unicode();
    return code < 0x20 || (code >= 0x7f && code < 0xa0);
}

bool isLayout(QChar character)
{
    return character == u'\n' || character == u'\t';
}

template<class IsUnsafe>
QString writtenOut(const QString &text, IsUnsafe isUnsafe)
{
    if (std::none_of(text.cbegin(), text.cend(), isUnsafe))
        return text;
    QString shown;
    for (const QChar character : text)
        shown += isUnsafe(character)
                     ? u"\\x%1"_s.arg(int(character.unicode()), 2, 16, QLatin1Char('0'))
                     : QString(character);
    return shown;
}

} // namespace

QString terminalText(const QString &text)
{
    return writtenOut(text,
                      [](QChar character) { return isControl(character) && !isLayout(character); });
}

QString terminalLine(const QString &text)
{
    return writtenOut(text, isControl);
}
