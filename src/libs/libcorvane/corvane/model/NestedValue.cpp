#include <corvane/model/NestedValue.h>

#include <QStringList>

namespace corvane::model {

QVariant getNestedValue(const QVariantMap &map, const QString &path)
{
    QVariant value = map;
    const QStringList parts = path.split(u'.');
    for (const QString &part : parts) {
        if (value.typeId() != QMetaType::QVariantMap)
            return {};
        value = value.toMap().value(part);
    }
    return value;
}

void setNestedValue(QVariantMap &map, const QString &path, const QVariant &value)
{
    const qsizetype dot = path.indexOf(u'.');
    if (dot < 0) {
        map.insert(path, value);
        return;
    }
    const QString head = path.left(dot);
    QVariantMap inner = map.value(head).toMap();
    setNestedValue(inner, path.mid(dot + 1), value);
    map.insert(head, inner);
}

} // namespace corvane::model
