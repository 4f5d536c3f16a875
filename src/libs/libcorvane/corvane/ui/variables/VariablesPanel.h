#pragma once

#include <corvane/ui/fields/ExpressionScope.h>
#include <corvane/ui/variables/VariableList.h>

#include <QTimer>
#include <QWidget>

class QFrame;
class QPushButton;
class QScrollArea;
class QVBoxLayout;

namespace corvane::ui {

class VariableWidget;

/// The variables of the scene, under each other: what a stranger plays with. Groups stand as
/// sections; variables that nothing reads are dimmed. At the end a button adds one.
class VariablesPanel : public QWidget
{
    Q_OBJECT

public:
    /// Neither is owned, and both outlive the panel.
    VariablesPanel(lifecycle::SceneSession *session, const ExpressionScope *scope,
                   QWidget *parent = nullptr);

    VariableList &list() { return m_list; }
    QList<VariableWidget *> widgets() const { return m_widgets; }

public slots:
    /// Asks for the name of a new variable.
    void askForVariable();

private:
    void rebuild();
    void addRow(const VariableRow &row);
    void showUsage();
    void addHeading(const QString &text);
    void showDropPlace(VariableWidget *moved, const QPoint &globalPosition);
    void drop(VariableWidget *moved);
    void edit(VariableWidget *widget);

    lifecycle::SceneSession *const m_session;
    const ExpressionScope *const m_scope;
    VariableList m_list;
    QScrollArea *m_scroll = nullptr;
    QVBoxLayout *m_column = nullptr;
    QPushButton *m_add = nullptr;
    QList<VariableWidget *> m_widgets;
    QFrame *m_dropLine = nullptr;
    QString m_dropBefore; ///< name of the variable that the moved one goes before
    bool m_hasDropPlace = false;
    QTimer m_rebuildTimer{this};
};

} // namespace corvane::ui
