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

bool isHarmful(QChar character)
{
    return isControl(character) && !isLayout(character);
}

QString writtenOut(const QString &text, bool (*isUnsafe)(QChar), QLatin1StringView escape,
                   int digits)
{
    if (std::none_of(text.cbegin(), text.cend(), isUnsafe))
        return text;
    QString shown;
    for (const QChar character : text) {
        if (isUnsafe(character))
            shown += escape + QString::number(character.unicode(), 16).rightJustified(digits, u'0');
        else
            shown += character;
    }
    return shown;
}

} // namespace

QString terminalText(const QString &text)
{
    return writtenOut(text, &isHarmful, "\\x"_L1, 2);
}

QString terminalLine(const QString &text)
{
    return writtenOut(text, &isControl, "\\x"_L1, 2);
}

QString terminalJson(const QString &json)
{
    return writtenOut(json, &isHarmful, "\\u"_L1, 4);
}
