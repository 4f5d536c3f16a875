#pragma once

#include <corvane/lifecycle/SceneSession.h>

#include <QObject>
#include <QPointer>
#include <QTimer>

namespace corvane::ui {

/// A variable of the scene, as the panel lists it.
struct VariableRow
{
    QString varset{}; ///< empty for the unnamed one
    QString name{};
    model::VarsetEntry entry{};
    bool isUsed = false; ///< some expression reads it

    QString fullName() const { return varset.isEmpty() ? name : varset + u'.' + name; }
    bool operator==(const VariableRow &) const = default;
};

/// The variables of a scene, and what can be done to the list of them. Each edit is one step of
/// undo; one that is refused says why, in words for the user. Main thread.
class VariableList : public QObject
{
    Q_OBJECT

public:
    explicit VariableList(lifecycle::SceneSession *session, QObject *parent = nullptr);

    /// In the scene's order: the unnamed varset, then the named ones.
    QList<VariableRow> rows() const;
    QStringList varsets() const; ///< the named ones
    /// What fails, a line each, by the full name of the variable.
    QHash<QString, QString> failures() const;

    /// A new number; the empty text is success.
    QString add(const QString &name, const QString &varset = {});
    QString rename(const VariableRow &row, const QString &newName);
    bool remove(const VariableRow &row);
    /// Puts it before another of its varset; at the end for an empty name.
    bool moveBefore(const VariableRow &row, const QString &beforeName);
    bool setEntry(const VariableRow &row, const model::VarsetEntry &entry);

signals:
    void rowsChanged();   ///< variables came, went, moved, or are described otherwise
    void valuesChanged(); ///< only what they are, or whether they are used

private:
    bool apply(QLatin1StringView kind, QVariantMap args, const VariableRow &row);
    void follow(expr::ExpressionManager *expressions);
    void onChanged();

    const QPointer<lifecycle::SceneSession> m_session;
    QTimer m_lookTimer{this};
    QList<VariableRow> m_told; ///< as the last rowsChanged() had them, without values
};

} // namespace corvane::ui
