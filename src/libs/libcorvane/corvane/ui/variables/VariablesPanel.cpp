#include <corvane/ui/variables/VariablesPanel.h>

#include <corvane/ui/fields/FieldMenu.h>
#include <corvane/ui/fields/FieldWidget.h>
#include <corvane/ui/fields/NamePrompt.h>
#include <corvane/ui/look/Fonts.h>
#include <corvane/ui/look/IconSet.h>
#include <corvane/ui/variables/VariableEditor.h>
#include <corvane/ui/variables/VariableWidget.h>

#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace corvane::ui {

VariablesPanel::VariablesPanel(lifecycle::SceneSession *session, const ExpressionScope *scope,
                               QWidget *parent)
    : QWidget(parent)
    , m_session(session)
    , m_scope(scope)
    , m_list(session)
    , m_scroll(new QScrollArea(this))
    , m_add(new QPushButton(icon(u"plus"_s), tr("Add a variable"), this))
{
    setObjectName(u"variablesPanel"_s);
    setAccessibleName(tr("Variables"));
    m_scroll->setWidgetResizable(true);
    m_scroll->setFrameShape(QFrame::NoFrame);
    m_scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_scroll->setFocusPolicy(Qt::NoFocus);
    m_add->setAutoDefault(false);
    auto *const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, Metrics::margin);
    column->addWidget(m_scroll, 1);
    auto *const foot = new QHBoxLayout;
    foot->setContentsMargins(Metrics::margin, 0, Metrics::margin, 0);
    foot->addWidget(m_add);
    foot->addStretch();
    column->addLayout(foot);
    connect(m_add, &QPushButton::clicked, this, &VariablesPanel::askForVariable);
    m_rebuildTimer.setSingleShot(true);
    m_rebuildTimer.setInterval(0); // a row may be what told of the change
    connect(&m_rebuildTimer, &QTimer::timeout, this, &VariablesPanel::rebuild);
    connect(&m_list, &VariableList::rowsChanged, this, [this] { m_rebuildTimer.start(); });
    connect(&m_list, &VariableList::valuesChanged, this, &VariablesPanel::showUsage);
    rebuild();
}

void VariablesPanel::rebuild()
{
    auto *const page = new QWidget;
    m_widgets.clear();
    m_dropLine = nullptr;
    m_column = new QVBoxLayout(page);
    m_column->setSpacing(Metrics::grid);
    QString varset;
    const QList<VariableRow> rows = m_list.rows();
    for (const VariableRow &row : rows) {
        if (row.varset != varset)
            addHeading(row.varset);
        varset = row.varset;
        addRow(row);
    }
    if (rows.isEmpty()) {
        auto *const hint = new QLabel(
            tr("Variables drive numbers: make one here, or from the menu of a field."), page);
        hint->setWordWrap(true);
        hint->setForegroundRole(QPalette::PlaceholderText);
        m_column->addWidget(hint);
    }
    m_column->addStretch();
    m_scroll->setWidget(page);
}

// In their places: a row may be typed into.
void VariablesPanel::showUsage()
{
    const QList<VariableRow> rows = m_list.rows();
    for (VariableWidget *const widget : std::as_const(m_widgets)) {
        const QString name = widget->row().fullName();
        const auto row =
            std::find_if(rows.cbegin(), rows.cend(),
                         [&name](const VariableRow &known) { return known.fullName() == name; });
        if (row != rows.cend())
            widget->setUsed(row->isUsed);
    }
}

void VariablesPanel::addHeading(const QString &text)
{
    auto *const heading = new QLabel(text);
    heading->setFont(applicationFont(TextSize::Small));
    heading->setForegroundRole(QPalette::PlaceholderText);
    m_column->addWidget(heading);
}

void VariablesPanel::addRow(const VariableRow &row)
{
    auto *const widget = new VariableWidget(row, &m_list, m_session, m_scope);
    m_column->addWidget(widget);
    m_widgets.append(widget);
    connect(widget, &VariableWidget::dragged, this,
            [this, widget](const QPoint &position) { showDropPlace(widget, position); });
    connect(widget, &VariableWidget::dropped, this, [this, widget] { drop(widget); });
    connect(widget, &VariableWidget::editRequested, this, [this, widget] { edit(widget); });
}

// Above the first of its group whose middle lies below the mouse, else at the group's end.
void VariablesPanel::showDropPlace(VariableWidget *moved, const QPoint &globalPosition)
{
    const int y = m_scroll->widget()->mapFromGlobal(globalPosition).y();
    m_dropBefore.clear();
    m_hasDropPlace = true;
    int line = 0;
    for (const VariableWidget *const widget : std::as_const(m_widgets)) {
        if (widget->row().varset != moved->row().varset)
            continue;
        if (y < widget->geometry().center().y()) {
            m_dropBefore = widget->row().name;
            line = widget->geometry().top() - Metrics::grid / 2;
            break;
        }
        line = widget->geometry().bottom() + Metrics::grid / 2;
    }
    if (!m_dropLine) {
        m_dropLine = new QFrame(m_scroll->widget());
        m_dropLine->setAutoFillBackground(true);
        m_dropLine->setBackgroundRole(QPalette::Highlight);
    }
    m_dropLine->setGeometry(Metrics::margin, line - 1,
                            m_scroll->widget()->width() - 2 * Metrics::margin, 2);
    m_dropLine->show();
    m_dropLine->raise();
}

void VariablesPanel::drop(VariableWidget *moved)
{
    if (m_dropLine)
        m_dropLine->hide();
    if (std::exchange(m_hasDropPlace, false))
        m_list.moveBefore(moved->row(), m_dropBefore);
}

void VariablesPanel::edit(VariableWidget *widget)
{
    auto *const editor = new VariableEditor(widget->row(), &m_list, widget);
    editor->show();
}

void VariablesPanel::askForVariable()
{
    QStringList names;
    const QList<VariableRow> rows = m_list.rows();
    for (const VariableRow &row : rows)
        names.append(row.fullName());
    auto *const prompt = new NamePrompt(
        tr("Name of the variable"), variableNameFor(tr("width"), names),
        [this](const QString &name) { return m_list.add(name); }, m_add);
    prompt->show();
}

} // namespace corvane::ui
