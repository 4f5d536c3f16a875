#pragma once

#include <corvane/model/NodeModifiers.h>
#include <corvane/model/ParameterValue.h>
#include <corvane/model/SDFNodeProvenance.h>
#include <corvane/model/SceneItem.h>

#include <QStringList>

namespace corvane::model {

/// A SceneItem of type "sdf": one node of the field's expression.
///
/// It has no fields of its own. The definition id, the parameters and the modifiers are in
/// `typeData`, where a modifier at its default is not stored. Parameters are stored as
/// ParameterValue, or plain as a file holds them; parameter() makes a usable value of both.
class Instance : public SceneItem
{
public:
    Instance() = default;
    explicit Instance(const SceneItem &item)
        : SceneItem(item)
    {}
    /// A new item of type "sdf" of that definition.
    explicit Instance(const QString &definitionId);

    /// Neither the id nor the definition id is missing.
    bool isValid() const;

    QString definitionId() const;
    void setDefinitionId(const QString &definitionId);

    QVariantMap rawParams() const;
    void setRawParams(const QVariantMap &params);
    bool hasParameter(const QString &param) const;
    /// The current value: a literal, or what an expression last gave. Invalid when there is none.
    QVariant parameter(const QString &param) const;
    ParameterValue parameterValue(const QString &param) const;
    /// Stores by ParameterValue::fromVariant, so that "=a+1" becomes an expression.
    void setParameter(const QString &param, const QVariant &value);
    /// setParameter() for each entry; parameters that are not named stay.
    void setParameters(const QVariantMap &params);
    void setLiteral(const QString &param, const QVariant &value);
    void setExpression(const QString &param, const QString &text, const QVariant &fallback = {});
    void removeParameter(const QString &param);

    /// The strings of the parameter "children" as they are stored: "@" and a name or an id, or a
    /// bare id.
    QStringList childReferences() const;

    NodeModifiers modifiers() const;
    void setModifiers(const NodeModifiers &modifiers);
    /// Takes one of them.
    void setModifier(const NodeModifier &modifier, const NodeModifiers &modifiers);
    /// Where a compiled item comes from; a record of the role Unknown when it is not said.
    SDFNodeProvenance provenance() const;
    bool hasProvenance() const;
    void setProvenance(const SDFNodeProvenance &provenance);
};

} // namespace corvane::model
