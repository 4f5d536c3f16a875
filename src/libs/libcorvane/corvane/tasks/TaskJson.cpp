#include <corvane/tasks/TaskJson.h>

#include <corvane/model/ParameterValue.h>
#include <corvane/model/PlainValue.h>

#include <QJsonArray>
#include <QJsonDocument>

namespace corvane::zirn {

QJsonValue jsonOf(const QVariant &value)
{
    return QJsonValue::fromVariant(model::plainForFile(value));
}

QJsonArray jsonOf(const QVector3D &vector)
{
    return jsonOf(QVariant(vector)).toArray();
}

QJsonObject jsonOfParameters(const QVariantMap &params)
{
    QJsonObject object;
    for (auto it = params.cbegin(); it != params.cend(); ++it)
        object.insert(it.key(), jsonOf(model::parameterForFile(*it)));
    return object;
}

QString compact(const QJsonArray &array)
{
    return QString::fromUtf8(QJsonDocument(array).toJson(QJsonDocument::Compact));
}

QString compact(const QJsonObject &object)
{
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

QString textOf(const QVariant &value)
{
    const QJsonValue json = jsonOf(value);
    if (json.isObject())
        return compact(json.toObject());
    if (json.isArray())
        return compact(json.toArray());
    return value.toString();
}

} // namespace corvane::zirn
