#include "RoffText.h"

#include <QStringList>

using namespace Qt::StringLiterals;

namespace roff {

namespace {

QString escaped(QChar character)
{
    switch (character.unicode()) {
    case '\\':
        return u"\\e"_s;
    case '-': // a plain one may become a hyphen, which can't be pasted as an option
        return u"\\-"_s;
    case '"': // ends the argument of a macro
        return u"\\(dq"_s;
    case '\n':
        return u" "_s;
    default:
        break;
    }
    if (character.unicode() < 128)
        return character;
    return u"\\[u%1]"_s.arg(QString::number(character.unicode(), 16).toUpper(), 4, u'0');
}

} // namespace

QString text(QStringView plain)
{
    QString result;
    for (const QChar character : plain)
        result += escaped(character);
    // At the start of a line these make a request of it.
    if (result.startsWith(u'.') || result.startsWith(u'\''))
        result.prepend(u"\\&"_s);
    return result;
}

QString argument(QStringView plain)
{
    return u'"' + text(plain) + u'"';
}

QString sentence(QStringView plain)
{
    QString words = plain.trimmed().toString();
    if (words.isEmpty())
        return u"\n"_s;
    words[0] = words[0].toUpper();
    if (!words.endsWith(u'.'))
        words += u'.';
    return text(words) + u'\n';
}

QString valueText(const QVariant &value)
{
    if (value.typeId() == QMetaType::Double)
        return QString::number(value.toDouble(), 'g', 9);
    if (value.typeId() != QMetaType::QVariantList)
        return value.toString();
    QStringList texts;
    const QVariantList components = value.toList();
    for (const QVariant &component : components)
        texts.append(valueText(component));
    return u'(' + texts.join(u", "_s) + u')';
}

} // namespace roff
