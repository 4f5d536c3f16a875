#pragma once

#include <corvane/ui/targets/OpTarget.h>

namespace corvane::ui {

/// A variable of the scene: its value, or the expression that it is derived by.
class VariableTarget : public OpTarget
{
    Q_OBJECT

public:
    /// @param varset  empty for the unnamed one
    VariableTarget(lifecycle::SceneSession *session, const QString &varset, const QString &name,
                   QObject *parent = nullptr);

    FieldState state() const override;
    bool write(const QVariant &stored) override;
    bool canBeBound() const override { return true; }
    QString makeVariable(const QString &name) override;

    model::VarsetEntry entry() const; ///< empty when it is gone
    /// Replaces all of the entry; one step of undo.
    bool writeEntry(const model::VarsetEntry &entry);

private:
    const QString m_varset;
    const QString m_name;
};

/// All fields, also those that are empty: as ops take an entry whole.
QVariantMap entryMap(const model::VarsetEntry &entry);

} // namespace corvane::ui
