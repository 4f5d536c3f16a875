#include "YamlScalar.h"

#include <corvane/yaml/PlainValue.h>

#include "YamlFlowParser.h"
#include "YamlLineReader.h"
#include "YamlWriter.h"

#include <QLocale>

using namespace Qt::StringLiterals;

namespace corvane::yaml {

namespace {

QString numberText(double value, int precision)
{
    QString text = QString::number(value, 'g', precision);
    const double size = std::abs(value);
    if (size > 1e-6 && size < 1e10 && !text.contains(u'.') && !text.contains(u'e'))
        text += ".0"_L1;
    return text;
}

bool isSameNumber(double value, const QString &text)
{
    const QVariant read = YamlFlowParser(0).parse(text);
    const bool isNumber =
        read.typeId() == QMetaType::Double || read.typeId() == QMetaType::LongLong;
    return isNumber && read.toDouble() == value &&
           std::signbit(read.toDouble()) == std::signbit(value);
}

QString losslessNumber(double value)
{
    if (value == 0.0 && std::signbit(value))
        return u"-0.0"_s;
    const QString usual = numberText(value, 15);
    if (!std::isfinite(value) || isSameNumber(value, usual))
        return usual;
    const QString shortest = numberText(value, QLocale::FloatingPointShortest);
    return isSameNumber(value, shortest) ? shortest : shortest + ".0"_L1;
}

// Puts a form of the text where it is to stand, and reads that as the parser would.
bool readsBack(const QString &form, const QString &text, ScalarPlace place)
{
    if (form.contains(u'\n'))
        return false;
    const QString line = place == ScalarPlace::MapValue   ? u"k: "_s + form
                         : place == ScalarPlace::ListItem ? u"- "_s + form
                                                          : u"k: {a: ["_s + form + u", 0], b: 0}"_s;
    const YamlLineReader reader(line, 2);
    const YamlParser::Line *read = reader.current();
    if (!read || read->isMultilineMarker || read->isListItem != (place == ScalarPlace::ListItem) ||
        (read->isListItem && !read->key.isEmpty()))
        return false;
    const QVariant value = YamlFlowParser(0).parse(read->value);
    if (place != ScalarPlace::Flow)
        return value.typeId() == QMetaType::QString && value.toString() == text;
    const QVariantMap expected{{u"a"_s, QVariantList{text, 0LL}}, {u"b"_s, 0LL}};
    return value.typeId() == QMetaType::QVariantMap && value.toMap() == expected &&
           value.toMap().value(u"a"_s).toList().constFirst().typeId() == QMetaType::QString;
}

// True when the text is read whole as a line of a "|" block.
bool isBlockLine(const QString &text)
{
    const YamlLineReader reader(text, 2);
    return reader.current() && reader.current()->content == text;
}

} // namespace

bool isMultilineString(const QVariant &value)
{
    return value.typeId() == QMetaType::QString && value.toString().contains(u'\n');
}

QString usualScalarText(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::UnknownType:
    case QMetaType::Nullptr:
        return u"null"_s;
    case QMetaType::Bool:
        return value.toBool() ? u"true"_s : u"false"_s;
    case QMetaType::Int:
    case QMetaType::LongLong:
    case QMetaType::ULong:
    case QMetaType::ULongLong:
        return value.toString();
    case QMetaType::Double:
    case QMetaType::Float:
        return numberText(value.toDouble(), 15);
    default:
        break;
    }
    if (!value.canConvert<QString>())
        return u"null"_s;
    const QString text = value.toString();
    if (!text.isEmpty() && !YamlSerializer::needsQuotes(text))
        return text;
    return u'"' + YamlSerializer::escapeString(text) + u'"';
}

std::optional<QString> losslessScalarText(const QVariant &value, ScalarPlace place)
{
    if (value.typeId() == QMetaType::Double || value.typeId() == QMetaType::Float)
        return losslessNumber(value.typeId() == QMetaType::Float ? decimalOf(value.toFloat())
                                                                 : value.toDouble());
    const QString usual = usualScalarText(value);
    if (value.typeId() != QMetaType::QString)
        return usual;
    const QString text = value.toString();
    for (const QString &form :
         {usual, QString(u'\'' + text + u'\''), QString(u'"' + text + u'"'), text}) {
        if (readsBack(form, text, place))
            return form;
    }
    return isBlockLine(text) ? std::nullopt : std::optional(usual);
}

} // namespace corvane::yaml
