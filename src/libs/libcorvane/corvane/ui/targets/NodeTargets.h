#pragma once

#include <corvane/registry/ParameterDef.h>
#include <corvane/ui/targets/OpTarget.h>

#include <QUuid>

namespace corvane::ui {

/// What targets of nodes have in common: one or several nodes, which are changed together.
class NodeTarget : public OpTarget
{
    Q_OBJECT

public:
    NodeTarget(lifecycle::SceneSession *session, const QList<QUuid> &nodes,
               QObject *parent = nullptr);

    FieldState state() const override;
    bool write(const QVariant &stored) override;

protected:
    const QList<QUuid> &nodes() const { return m_nodes; }
    /// Of one node; nothing for a node that is gone.
    virtual FieldState stateOf(const model::LogicalInstance &node) const = 0;
    virtual ops::CorvaneOp writeOp(const QUuid &node, const QVariant &stored) const = 0;
    virtual QString label() const = 0; ///< of the step of undo
    /// The value that a compiled item of the node has for a stored parameter, where expressions
    /// gave one; else that of the parameter itself.
    QVariant evaluated(const QUuid &itemId, const QString &param, const QVariant &stored) const;
    model::CompiledInstanceMapping mappingOf(const QUuid &node) const;
    const model::LogicalInstance *instance(const QUuid &node) const;

private:
    void changedOf(const QUuid &node);

    const QList<QUuid> m_nodes;
};

/// A parameter of nodes of one definition, or of a wrapper in their stacks.
class ParameterTarget : public NodeTarget
{
    Q_OBJECT

public:
    /// @param wrapperId  empty for a parameter of the nodes themselves
    ParameterTarget(lifecycle::SceneSession *session, const QList<QUuid> &nodes,
                    const registry::ParameterDef &parameter, const QString &wrapperId = {},
                    QObject *parent = nullptr);

    bool reset() override;
    bool canBeBound() const override;

protected:
    FieldState stateOf(const model::LogicalInstance &node) const override;
    ops::CorvaneOp writeOp(const QUuid &node, const QVariant &stored) const override;
    QString label() const override;
    QVariantMap variableEntry() const override;

private:
    const registry::ParameterDef m_parameter;
    const QString m_wrapperId;
};

/// A part of the transform: three numbers, of the scale one.
class TransformTarget : public NodeTarget
{
    Q_OBJECT

public:
    enum class Part { Translate, Rotate, Scale };

    TransformTarget(lifecycle::SceneSession *session, const QList<QUuid> &nodes, Part part,
                    QObject *parent = nullptr);

    bool reset() override;
    bool canBeBound() const override { return true; }

protected:
    FieldState stateOf(const model::LogicalInstance &node) const override;
    ops::CorvaneOp writeOp(const QUuid &node, const QVariant &stored) const override;
    QString label() const override;
    QVariantMap variableEntry() const override;

private:
    const Part m_part;
};

/// The name of a node; of several none.
class NameTarget : public NodeTarget
{
    Q_OBJECT

public:
    using NodeTarget::NodeTarget;

protected:
    FieldState stateOf(const model::LogicalInstance &node) const override;
    ops::CorvaneOp writeOp(const QUuid &node, const QVariant &stored) const override;
    QString label() const override;
};

/// One of the node's own switches: "densityScale", "shellThickness", "blendSharpness",
/// "materialMode".
class ModifierTarget : public NodeTarget
{
    Q_OBJECT

public:
    ModifierTarget(lifecycle::SceneSession *session, const QList<QUuid> &nodes,
                   const QString &modifier, QObject *parent = nullptr);

    bool reset() override;

protected:
    FieldState stateOf(const model::LogicalInstance &node) const override;
    ops::CorvaneOp writeOp(const QUuid &node, const QVariant &stored) const override;
    QString label() const override;

private:
    const QString m_modifier;
};

/// One property of the material of nodes: "albedo", "metallic", "roughness", "emission".
class MaterialTarget : public NodeTarget
{
    Q_OBJECT

public:
    MaterialTarget(lifecycle::SceneSession *session, const QList<QUuid> &nodes,
                   const QString &property, QObject *parent = nullptr);

    bool reset() override;

protected:
    FieldState stateOf(const model::LogicalInstance &node) const override;
    ops::CorvaneOp writeOp(const QUuid &node, const QVariant &stored) const override;
    QString label() const override;

private:
    const QString m_property;
};

/// The catalogue material of nodes, by id as text; empty for a material of their own.
class MaterialChoiceTarget : public NodeTarget
{
    Q_OBJECT

public:
    using NodeTarget::NodeTarget;

protected:
    FieldState stateOf(const model::LogicalInstance &node) const override;
    ops::CorvaneOp writeOp(const QUuid &node, const QVariant &stored) const override;
    QString label() const override;
};

} // namespace corvane::ui
