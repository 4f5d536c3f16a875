#include <corvane/ops/CorvaneOpDescriber.h>

#include <corvane/ops/OpCatalogue.h>

using namespace Qt::StringLiterals;

namespace corvane::ops {

namespace {

/// The value for one of OpEntry::describeKeys; none when its argument isn't given.
std::optional<QString> describedValue(const QString &key, const QVariantMap &args)
{
    if (key.endsWith(":varset"_L1))
        return CorvaneOpDescriber::varsetLabel(args.value(key.section(u':', 0, 0)).toString());
    if (key.endsWith(":count"_L1))
        return QString::number(args.value(key.section(u':', 0, 0)).toList().size());
    const QStringList alternatives = key.split(u'|');
    for (const QString &alternative : alternatives) {
        const QString text = args.value(alternative).toString();
        if (!text.isEmpty())
            return text;
    }
    return std::nullopt;
}

} // namespace

QString CorvaneOpDescriber::describe(const CorvaneOp &op)
{
    const OpEntry *entry = findOp(op.kind);
    return entry ? describe(*entry, op.args) : op.kind;
}

QString CorvaneOpDescriber::describe(const OpEntry &entry, const QVariantMap &args)
{
    QStringList values;
    bool isComplete = true;
    const QStringList keys = QString(entry.describeKeys).split(u' ', Qt::SkipEmptyParts);
    for (const QString &key : keys) {
        const auto value = describedValue(key, args);
        isComplete = isComplete && value;
        values.append(value.value_or(QString()));
    }
    return fillText(isComplete ? entry.description : entry.shortDescription, values);
}

QString CorvaneOpDescriber::varsetLabel(const QString &varsetName)
{
    return varsetName.isEmpty() ? u"Default"_s : varsetName;
}

QString fillText(QStringView text, const QStringList &values)
{
    QString filled;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const bool isHole = text.at(i) == u'%' && i + 1 < text.size() && text.at(i + 1).isDigit();
        if (isHole)
            filled += values.value(text.at(++i).digitValue() - 1);
        else
            filled += text.at(i);
    }
    return filled;
}

} // namespace corvane::ops
