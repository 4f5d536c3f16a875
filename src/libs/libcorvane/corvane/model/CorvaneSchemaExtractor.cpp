#include <corvane/model/CorvaneSchemaExtractor.h>

#include <corvane/model/Corvane.h>
#include <corvane/model/PlainValue.h>

#include <QCryptographicHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace corvane::model {

namespace {

/// Lists and vectors as JSON text, so that the hash sees a change in them.
QString textOf(const QVariant &value)
{
    const QVariant plain = plainForFile(value);
    if (plain.typeId() == QMetaType::QVariantList)
        return QString::fromUtf8(
            QJsonDocument::fromVariant(plain.toList()).toJson(QJsonDocument::Compact));
    if (plain.typeId() == QMetaType::QVariantMap)
        return QString::fromUtf8(
            QJsonDocument::fromVariant(plain.toMap()).toJson(QJsonDocument::Compact));
    return plain.toString();
}

QJsonValue defaultOf(const QVariant &value)
{
    const QVariant plain = plainForFile(value);
    switch (plain.typeId()) {
    case QMetaType::Bool:
        return plain.toBool();
    case QMetaType::Int:
    case QMetaType::LongLong:
        return plain.toLongLong();
    case QMetaType::Double:
        return plain.toDouble();
    default:
        return textOf(plain);
    }
}

void insertNumber(QJsonObject &object, const QString &key, const QVariant &value)
{
    bool isNumber = false;
    const double number = value.toDouble(&isNumber);
    if (isNumber)
        object.insert(key, number);
}

void insertConstraints(QJsonObject &object, const VarsetConstraints &constraints)
{
    insertNumber(object, u"min"_s, constraints.min);
    insertNumber(object, u"max"_s, constraints.max);
    insertNumber(object, u"step"_s, constraints.step);
    if (!constraints.enumValues.isEmpty())
        object.insert(u"values"_s, QJsonArray::fromStringList(constraints.enumValues));
}

QJsonObject describe(const QString &name, const VarsetEntry &entry)
{
    QJsonObject object{{u"name"_s, name}, {u"type"_s, entry.effectiveType()}};
    if (entry.value.isValid())
        object.insert(u"default"_s, defaultOf(entry.value));
    if (!entry.description.isEmpty())
        object.insert(u"description"_s, entry.description);
    if (!entry.unit.isEmpty())
        object.insert(u"unit"_s, entry.unit);
    insertConstraints(object, entry.constraints);
    return object;
}

QString sourceHash(const VarsetEntries &entries)
{
    QJsonObject source;
    for (auto it = entries.cbegin(); it != entries.cend(); ++it) {
        source.insert(it.key(),
                      QJsonObject{{u"value"_s, textOf(it->value)}, {u"type"_s, it->type}});
    }
    const QByteArray json = QJsonDocument(source).toJson(QJsonDocument::Compact);
    return QString::fromLatin1(QCryptographicHash::hash(json, QCryptographicHash::Sha256).toHex());
}

} // namespace

QJsonObject CorvaneSchemaExtractor::extractSchema(const Corvane &scene)
{
    const VarsetEntries entries = scene.varsetEntries();
    QJsonArray parameters;
    for (auto it = entries.cbegin(); it != entries.cend(); ++it) {
        if (it->expression.isEmpty())
            parameters.append(describe(it.key(), *it));
    }
    return {
        {u"parameters"_s, parameters},
        {u"generator_type"_s, u"corvane"_s},
        {u"generator_version"_s, u"1.0"_s},
        {u"source_hash"_s, sourceHash(entries)},
    };
}

} // namespace corvane::model
