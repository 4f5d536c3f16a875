#include "IniText.h"

#include <QPoint>
#include <QRect>
#include <QSize>
#include <QStringList>

#include <optional>

using namespace Qt::StringLiterals;

namespace store {

namespace {

constexpr QLatin1StringView generalSection{"General"};

QByteArray hexOf(uint value, int width)
{
    return QByteArray::number(value, 16).toUpper().rightJustified(width, '0');
}

bool isPlainInKey(char16_t c)
{
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9') ||
           c == u'_' || c == u'-' || c == u'.';
}

QByteArray escapedKey(QStringView key)
{
    QByteArray text;
    for (const QChar c : key) {
        const char16_t unit = c.unicode();
        if (unit == u'/')
            text += '\\';
        else if (isPlainInKey(unit))
            text += char(unit);
        else
            text += unit <= 0xff ? '%' + hexOf(unit, 2) : "%U" + hexOf(unit, 4);
    }
    return text;
}

bool isHexDigit(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

QByteArray escapedText(const QString &value)
{
    const QByteArray utf8 = value.toUtf8();
    QByteArray text;
    bool afterHex = false; // a hex escape takes in all digits that follow it
    for (const char c : utf8) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            text += '\\';
            text += c;
            afterHex = false;
        } else if (byte < 0x20 || (afterHex && isHexDigit(c))) {
            text += "\\x" + hexOf(byte, 1);
            afterHex = true;
        } else {
            text += c;
            afterHex = false;
        }
    }
    const bool needsQuotes = utf8.contains(';') || utf8.contains(',') || utf8.contains('=') ||
                             text.startsWith(' ') || text.endsWith(' ');
    return needsQuotes ? '"' + text + '"' : text;
}

// A leading "@" announces a type, so one of the text's own is doubled.
QString withoutMarker(const QString &text)
{
    return text.startsWith(u'@') ? u'@' + text : text;
}

QByteArray escapedList(const QStringList &list)
{
    QByteArrayList elements;
    for (const QString &element : list)
        elements.append(element.isEmpty() ? QByteArray("\"\"")
                                          : escapedText(withoutMarker(element)));
    return elements.join(", ");
}

std::optional<QByteArray> iniValue(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::Bool:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Float:
    case QMetaType::Double:
        return value.toString().toLatin1();
    case QMetaType::QString:
        return escapedText(withoutMarker(value.toString()));
    case QMetaType::QStringList:
        return escapedList(value.toStringList());
    case QMetaType::QByteArray:
        return escapedText(u"@ByteArray("_s + QString::fromLatin1(value.toByteArray()) + u')');
    case QMetaType::QRect: {
        const QRect r = value.toRect();
        return u"@Rect(%1 %2 %3 %4)"_s.arg(r.x())
            .arg(r.y())
            .arg(r.width())
            .arg(r.height())
            .toLatin1();
    }
    case QMetaType::QSize:
        return u"@Size(%1 %2)"_s.arg(value.toSize().width())
            .arg(value.toSize().height())
            .toLatin1();
    case QMetaType::QPoint:
        return u"@Point(%1 %2)"_s.arg(value.toPoint().x()).arg(value.toPoint().y()).toLatin1();
    default:
        return std::nullopt;
    }
}

QByteArray sectionHead(const QString &section)
{
    if (section.isEmpty())
        return "[General]\n";
    // The plain name means no section, so one that is really called so is marked.
    const bool isMarked = section.compare(generalSection, Qt::CaseInsensitive) == 0;
    return isMarked ? QByteArray("[%General]\n") : '[' + escapedKey(section) + "]\n";
}

} // namespace

bool hasIniForm(const QVariant &value)
{
    return iniValue(value).has_value();
}

QByteArray iniText(const QMap<QString, QVariant> &values)
{
    QMap<QString, QByteArray> sections;
    for (auto it = values.cbegin(); it != values.cend(); ++it) {
        const auto value = iniValue(*it);
        if (!value)
            continue;
        const qsizetype slash = it.key().indexOf(u'/');
        const QString section = slash < 0 ? QString() : it.key().left(slash);
        sections[section] +=
            escapedKey(QStringView(it.key()).sliced(slash + 1)) + '=' + *value + '\n';
    }
    QByteArray text;
    for (auto it = sections.cbegin(); it != sections.cend(); ++it)
        text += (text.isEmpty() ? QByteArray() : QByteArray("\n")) + sectionHead(it.key()) + *it;
    return text;
}

} // namespace store
