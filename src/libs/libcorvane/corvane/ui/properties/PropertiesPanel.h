#pragma once

#include <corvane/item/IScenePanelModel.h>
#include <corvane/lifecycle/SceneSession.h>
#include <corvane/ui/fields/ExpressionScope.h>
#include <corvane/ui/properties/PropertiesContent.h>

#include <QSet>
#include <QTimer>
#include <QWidget>

class QLabel;
class QScrollArea;
class QVBoxLayout;

namespace corvane::ui {

class FieldTarget;
class SectionBox;

/// What can be set of the selected nodes: name, transform, parameters, wrappers, material. Of
/// several nodes what they share, edited together. With nothing selected it says what would fill
/// it.
class PropertiesPanel : public QWidget
{
    Q_OBJECT

public:
    /// None is owned, and all outlive the panel.
    PropertiesPanel(lifecycle::SceneSession *session, item::IScenePanelModel *panel,
                    const ExpressionScope *scope, QWidget *parent = nullptr);

    const PropertiesContent &content() const { return m_content; }
    QList<SectionBox *> sections() const { return m_sections; }
    /// Gives the keyboard to the first parameter, or to that of a wrapper.
    void focusFirstParameter(const QString &wrapperId = {});

public slots:
    /// Reads the selection; builds anew only where it has other fields.
    void refresh();

signals:
    void addWrapperRequested();

private:
    void rebuild();
    void clearContent();
    void buildHead();
    void buildTransform();
    void buildParameters();
    void buildWrappers();
    void buildSurface();
    SectionBox *addSection(const QString &title);
    void addParameters(SectionBox &box, const QList<registry::ParameterDef> &parameters,
                       const QString &wrapperId);
    template<class Target, class... Args>
    Target *makeTarget(Args &&...args);

    lifecycle::SceneSession *const m_session;
    item::IScenePanelModel *const m_panel;
    const ExpressionScope *const m_scope;
    PropertiesContent m_content;
    QScrollArea *m_scroll = nullptr;
    QWidget *m_page = nullptr; ///< all that belongs to the selection
    QVBoxLayout *m_column = nullptr;
    QList<SectionBox *> m_sections;
    QSet<QString> m_folded; ///< titles of sections that the user folded
    QTimer m_refreshTimer{this};
};

} // namespace corvane::ui
