#pragma once

#include <corvane/ui/fields/FieldTarget.h>

#include <QPointer>
#include <QStringList>

#include <optional>

namespace corvane::ui {

/// One component of a vector that another target holds.
///
/// A vector is bound as a whole. An expression for one component makes one of all, "vec3(a, b, c)",
/// with the other components as they are; of a vector that is bound by any other text, a component
/// is "(text).x".
class ComponentTarget : public FieldTarget
{
    Q_OBJECT

public:
    /// @param vector  not owned; of `count` components
    ComponentTarget(FieldTarget *vector, int index, int count, QObject *parent = nullptr);

    FieldState state() const override;
    bool write(const QVariant &stored) override;
    bool reset() override;
    void beginDrag(const QString &label) override { m_vector->beginDrag(label); }
    void endDrag() override { m_vector->endDrag(); }
    void cancelDrag() override { m_vector->cancelDrag(); }
    bool canBeBound() const override { return m_vector && m_vector->canBeBound(); }

    /// What component `index` of a target goes back to; none leaves "Reset" to the whole.
    void setDefault(double value) { m_default = value; }

private:
    QStringList texts(const FieldState &whole) const;

    const QPointer<FieldTarget> m_vector;
    const int m_index;
    const int m_count;
    std::optional<double> m_default;
};

/// The components of a stored vector: a list of numbers, one of Qt's vectors or a colour.
QList<double> components(const QVariant &vector, int count);
/// The arguments of a text that is "vecN(a, b, ...)" with `count` of them; empty for any other.
QStringList constructorArguments(const QString &text, int count);

} // namespace corvane::ui
