#include <corvane/tasks/EditArguments.h>

#include <corvane/expr/ExprCompiler.h>
#include <corvane/model/Corvane.h>
#include <corvane/model/LogicalScene.h>
#include <corvane/model/MaterialLibrary.h>
#include <corvane/model/TransformPart.h>
#include <corvane/registry/Registry.h>
#include <corvane/tasks/Arguments.h>
#include <corvane/tasks/ParameterCheck.h>
#include <corvane/tasks/SceneAccess.h>
#include <corvane/tasks/SceneErrors.h>
#include <corvane/tasks/TaskJson.h>
#include <corvane/zirn/FailureText.h>

#include <QRegularExpression>

#include <cmath>

using namespace Qt::StringLiterals;

namespace corvane::zirn {

namespace {

using Prepared = std::optional<QVariantMap>;

Prepared refuse(QString &cause, const QString &why)
{
    cause = why;
    return std::nullopt;
}

bool isFinite(const QVariant &value)
{
    bool isNumber = false;
    const double number = value.toDouble(&isNumber);
    return isNumber && std::isfinite(number);
}

QVariantMap givenParameters(const QVariantMap &arguments)
{
    const QVariantMap typeData = arguments.value(u"typeData"_s).toMap();
    const QVariantMap parameters = typeData.value(u"parameters"_s).toMap();
    return parameters.isEmpty() ? typeData.value(u"params"_s).toMap() : parameters;
}

bool isSdf(const QVariantMap &arguments)
{
    return arguments.value(u"itemType"_s) == u"sdf"_s;
}

/// Placeholders fill texts in, whatever the type of what they stand for. An expression stays one.
QVariantMap withoutQuotes(QVariantMap parameters)
{
    for (QVariant &value : parameters)
        value = unquoted(value);
    return parameters;
}

/// The wrapper of a node that a parameter's name begins with, as in "translate.offset"; empty where
/// the name has none.
QString wrapperIn(const SceneAccess &access, const QUuid &itemId, const QString &name)
{
    const QString head = name.section(u'.', 0, 0);
    const bool isDotted = head.size() < name.size();
    const bool isWrapper =
        isDotted && access.isNode(itemId) && registry::Registry::instance().contains(head);
    return isWrapper ? head : QString();
}

/// The entry of a variable with all its fields.
QVariantMap fieldsOf(const model::VarsetEntry &entry)
{
    return {{u"value"_s, entry.value},
            {u"type"_s, entry.type},
            {u"description"_s, entry.description},
            {u"unit"_s, entry.unit},
            {u"constraints"_s, entry.constraints.toVariantMap()},
            {u"expression"_s, entry.expression}};
}

QString fullVariableName(const QVariantMap &arguments)
{
    const QString varset = arguments.value(u"varsetName"_s).toString();
    const QString name = arguments.value(u"name"_s).toString();
    return varset.isEmpty() ? name : varset + u'.' + name;
}

/// As it is given, else as it is; of a number that says nothing of its type, "number".
QString typeFor(const QString &given, const model::VarsetEntry &known)
{
    if (!given.isEmpty() || !known.type.isEmpty())
        return given.isEmpty() ? known.type : given;
    const QString inferred = known.effectiveType();
    return inferred == "string"_L1 ? QString() : inferred;
}

/// Why the value is none of the type; empty when it is, and for an expression.
QString valueFlaw(const QVariant &value, const QString &type)
{
    const QString text = value.toString();
    if (value.typeId() == QMetaType::QString && text.startsWith(u'='))
        return {};
    if (value.typeId() == QMetaType::QVariantMap)
        return u"value is a JSON object"_s;
    if (type == "number"_L1 && !isFinite(unquoted(value)))
        return u"value '%1' is no number, and an expression begins with \"=\""_s.arg(
            shortened(textOf(value)));
    return {};
}

/// An expression begins with "="; anything else is a value, of the type that the variable has.
void putValue(QVariantMap &entry, const QVariant &value, const QString &type)
{
    const bool isText = value.typeId() == QMetaType::QString;
    const bool wantsText = type == "string"_L1;
    const QString text = value.toString();
    if (isText && !wantsText && text.startsWith(u'=')) {
        entry.insert(u"expression"_s, text.mid(1));
        return;
    }
    entry.insert(u"value"_s, wantsText || type.isEmpty() ? value : unquoted(value));
    entry.remove(u"expression"_s);
}

} // namespace

Prepared prepareItemAdd(const SceneAccess &access, const QVariantMap &arguments, QString &cause)
{
    static const QStringList types{u"sdf"_s, u"mesh"_s, u"tet_volume"_s, u"group"_s,
                                   u"sdf_domain"_s};
    const QString type = arguments.value(u"itemType"_s).toString();
    if (!types.contains(type))
        return refuse(cause, u"itemType '%1' is none of %2"_s.arg(type, types.join(u", "_s)));
    if (!isSdf(arguments))
        return arguments;
    if (arguments.value(u"definitionId"_s).toString().isEmpty())
        return refuse(cause, u"definitionId is required for an item of type sdf"_s);
    if (!access.tree)
        return refuse(cause, u"the scene has no tree for items of type sdf"_s);
    cause = parameterFlaw(arguments.value(u"definitionId"_s).toString(),
                          withoutQuotes(givenParameters(arguments)));
    if (!cause.isEmpty())
        return std::nullopt;
    return arguments;
}

std::optional<ops::CorvaneOp> parametersOfNewItem(const QVariantMap &arguments,
                                                  const QUuid &createdId)
{
    const QVariantMap parameters = givenParameters(arguments);
    if (!isSdf(arguments) || parameters.isEmpty())
        return std::nullopt;
    return ops::CorvaneOp{ops::OpKind::SdfSetAllParams,
                          {{u"itemId"_s, createdId.toString(QUuid::WithoutBraces)},
                           {u"parameters"_s, withoutQuotes(parameters)}}};
}

Prepared prepareTransform(const SceneAccess &, const QVariantMap &arguments, QString &cause)
{
    QVariantMap prepared{{u"itemId"_s, arguments.value(u"itemId"_s)}};
    for (const model::TransformPart &part : model::transformParts) {
        QVariantMap axes;
        for (const QChar axis : u"xyz"_s) {
            const QString key = QString(QChar(part.letter)) + axis;
            if (arguments.contains(key))
                axes.insert(axis, arguments.value(key));
        }
        if (!axes.isEmpty())
            prepared.insert(part.key, axes);
    }
    if (prepared.size() == 1)
        return refuse(cause, u"none of tx, ty, tz, rx, ry, rz, sx, sy, sz is given"_s);
    return prepared;
}

Prepared prepareItemMaterial(const SceneAccess &access, const QVariantMap &arguments,
                             QString &cause)
{
    if (arguments.size() < 2)
        return refuse(cause, u"none of materialId, albedo, metallic, roughness is given"_s);
    const QString text = arguments.value(u"materialId"_s).toString();
    const QUuid id = QUuid::fromString(text);
    const bool isKnown =
        model::MaterialLibrary::instance().material(id) || access.document->material(id);
    if (!text.isEmpty() && !isKnown)
        return refuse(cause, u"material %1 not found"_s.arg(text));
    return arguments;
}

Prepared prepareParameter(const SceneAccess &access, const QVariantMap &arguments, QString &cause)
{
    const QUuid id = QUuid::fromString(arguments.value(u"itemId"_s).toString());
    const QVariant value = unquoted(arguments.value(u"value"_s));
    const QString name = arguments.value(u"paramName"_s).toString();
    const QString wrapperId = wrapperIn(access, id, name);
    const QString param = wrapperId.isEmpty() ? name : name.mid(wrapperId.size() + 1);
    cause = wrapperId.isEmpty() ? parameterFlaw(access, id, {{param, value}})
                                : parameterFlaw(wrapperId, {{param, value}});
    if (!cause.isEmpty())
        return std::nullopt;
    QVariantMap prepared = arguments;
    prepared.insert(u"value"_s, value);
    prepared.insert(u"paramName"_s, param);
    if (!wrapperId.isEmpty())
        prepared.insert(u"wrapperId"_s, wrapperId);
    return prepared;
}

Prepared prepareParameters(const SceneAccess &access, const QVariantMap &arguments, QString &cause)
{
    const QUuid id = QUuid::fromString(arguments.value(u"itemId"_s).toString());
    const QVariantMap values = withoutQuotes(arguments.value(u"parameters"_s).toMap());
    cause = parameterFlaw(access, id, values);
    if (!cause.isEmpty())
        return std::nullopt;
    QVariantMap prepared = arguments;
    prepared.insert(u"parameters"_s, values);
    return prepared;
}

/// Groups of the tree have no place of their own; those of a document count once there are domains.
QString noteGroupTransform(const SceneAccess &access, const QVariantMap &arguments,
                           const QUuid &itemId)
{
    Q_UNUSED(arguments)
    const bool isNode = access.isNode(itemId);
    const bool isGroup = isNode
                             ? access.tree->isContainer(itemId)
                             : access.document->item(itemId).itemType == model::ItemTypes::Group &&
                                   !access.document->hasItemsOfType(model::ItemTypes::SdfDomain);
    if (!isGroup)
        return {};
    return isNode ? u" NOTE: a group does not move the shapes in it; move them one by one."_s
                  : u" NOTE: without an sdf_domain in the scene a group does not move the shapes "
                    "in it."_s;
}

QString noteUnreadParameters(const SceneAccess &access, const QVariantMap &arguments,
                             const QUuid &itemId)
{
    QVariantMap given = givenParameters(arguments);
    given.insert(arguments.value(u"parameters"_s).toMap());
    const QString name = arguments.value(u"paramName"_s).toString();
    if (!name.isEmpty() && wrapperIn(access, itemId, name).isEmpty())
        given.insert(name, {});
    return unreadParameters(access, itemId, given);
}

/// That a text which reads like an expression is kept as a text.
QString noteTextValue(const SceneAccess &access, const QVariantMap &arguments, const QUuid &)
{
    const QVariant value = arguments.value(u"value"_s);
    const QString text = value.toString();
    const bool isText = value.typeId() == QMetaType::QString && !text.startsWith(u'=');
    if (!isText || arguments.value(u"type"_s) == u"string"_s ||
        unquoted(value).typeId() != QMetaType::QString)
        return {};
    static const QRegularExpression operation(u"[-+*/()]"_s);
    const auto compiled =
        expr::ExprCompiler(editorScope(*access.document, access.tree)).compile(text);
    if (!text.contains(operation) || !compiled.isValid())
        return {};
    return u" NOTE: '%1' is kept as a text; with \"=\" before it the variable is derived."_s.arg(
        shortened(text));
}

Prepared prepareModifier(const SceneAccess &, const QVariantMap &arguments, QString &cause)
{
    const QString modifier = arguments.value(u"modifier"_s).toString();
    if (model::findNodeModifier(modifier))
        return arguments;
    QStringList known;
    for (const model::NodeModifier &row : model::nodeModifiers)
        known.append(row.key);
    return refuse(cause, u"modifier '%1' is none of %2"_s.arg(modifier, known.join(u", "_s)));
}

/// An expression may stand in an argument of its own, with a value until it is evaluated or
/// without, or as a map in the place of the value.
void completeVariable(QVariantMap &arguments)
{
    const auto given = model::ParameterValue::fromVariant(arguments.value(u"value"_s));
    QString text = arguments.value(u"expression"_s).toString().trimmed();
    if (text.isEmpty() && arguments.value(u"value"_s).typeId() == QMetaType::QVariantMap &&
        given.isExpression()) {
        text = given.expression.trimmed();
        if (given.fallback.isValid())
            arguments.insert(u"value"_s, given.fallback);
        else
            arguments.remove(u"value"_s);
    }
    if (text.isEmpty())
        return;
    if (text.startsWith(u'='))
        text.remove(0, 1);
    arguments.insert(u"expression"_s, text);
    if (arguments.contains(u"value"_s))
        return;
    arguments.remove(u"expression"_s);
    arguments.insert(u"value"_s, QString(u'=' + text));
}

Prepared prepareVariable(const SceneAccess &access, const QVariantMap &arguments, QString &cause)
{
    static const QStringList types{u"number"_s, u"boolean"_s, u"string"_s, u"vector"_s};
    const QString givenType = arguments.value(u"type"_s).toString();
    if (!givenType.isEmpty() && !types.contains(givenType))
        return refuse(cause, u"type '%1' is none of %2"_s.arg(givenType, types.join(u", "_s)));
    const model::VarsetEntry known = access.document->variableEntry(fullVariableName(arguments));
    // A number is not made a text by a slip: that takes the type "string".
    const QString type = givenType.isEmpty() ? known.type : givenType;
    const QString flaw = valueFlaw(arguments.value(u"value"_s), type);
    if (!flaw.isEmpty())
        return refuse(cause, flaw);
    QVariantMap entry = fieldsOf(known);
    for (const QString &key : {u"type"_s, u"description"_s, u"unit"_s}) {
        if (arguments.contains(key))
            entry.insert(key, arguments.value(key));
    }
    QVariantMap constraints = entry.value(u"constraints"_s).toMap();
    for (const QString &key : {u"min"_s, u"max"_s, u"step"_s}) {
        if (arguments.contains(key))
            constraints.insert(key, arguments.value(key));
    }
    entry.insert(u"constraints"_s, constraints);
    putValue(entry, arguments.value(u"value"_s), typeFor(givenType, known));
    const QString expression = arguments.value(u"expression"_s).toString();
    if (!expression.isEmpty())
        entry.insert(u"expression"_s, expression);
    return QVariantMap{{u"name"_s, arguments.value(u"name"_s)},
                       {u"varsetName"_s, arguments.value(u"varsetName"_s)},
                       {u"entry"_s, entry}};
}

} // namespace corvane::zirn
