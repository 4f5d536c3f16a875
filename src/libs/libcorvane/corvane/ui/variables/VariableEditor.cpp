#include <corvane/ui/variables/VariableEditor.h>

#include <corvane/ui/fields/NumberSpec.h>
#include <corvane/ui/look/Metrics.h>
#include <corvane/ui/look/Theme.h>

#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

using namespace Qt::StringLiterals;

namespace corvane::ui {

namespace {

constexpr int sheetWidth = 260;

QString shown(const QVariant &value)
{
    return value.isValid() ? numberText(value.toDouble()) : QString();
}

} // namespace

VariableEditor::VariableEditor(const VariableRow &row, VariableList *list, QWidget *below)
    : QFrame(below, Qt::Popup)
    , m_row(row)
    , m_list(list)
{
    setObjectName(u"variableEditor"_s);
    setAttribute(Qt::WA_DeleteOnClose);
    setFrameShape(QFrame::StyledPanel);
    new QFormLayout(this);
    m_unit = addLine(tr("Unit"), row.entry.unit);
    m_minimum = addLine(tr("Least"), shown(row.entry.constraints.min));
    m_maximum = addLine(tr("Most"), shown(row.entry.constraints.max));
    m_step = addLine(tr("Step"), shown(row.entry.constraints.step));
    m_description = addLine(tr("Description"), row.entry.description);
    m_error = new QLabel(this);
    m_error->setWordWrap(true);
    QPalette red = m_error->palette();
    red.setColor(QPalette::WindowText, SemanticPalette::current().error);
    m_error->setPalette(red);
    m_error->hide();
    auto *const take = new QPushButton(tr("Apply"), this);
    take->setDefault(true);
    connect(take, &QPushButton::clicked, this, &VariableEditor::apply);
    auto *const form = static_cast<QFormLayout *>(layout());
    form->addRow(m_error);
    form->addRow(take);
    setFixedWidth(sheetWidth);
    move(below->mapToGlobal(QPoint(0, below->height())));
}

QLineEdit *VariableEditor::addLine(const QString &label, const QString &text)
{
    auto *const line = new QLineEdit(text, this);
    line->setAccessibleName(label);
    static_cast<QFormLayout *>(layout())->addRow(label, line);
    connect(line, &QLineEdit::returnPressed, this, &VariableEditor::apply);
    return line;
}

void VariableEditor::refuse(const QString &why)
{
    m_error->setText(why);
    m_error->show();
    adjustSize();
}

bool VariableEditor::read(QLineEdit *line, QVariant &value)
{
    const QString text = line->text().trimmed();
    bool isNumber = text.isEmpty();
    value = text.isEmpty() ? QVariant() : QVariant(text.toDouble(&isNumber));
    if (isNumber)
        return true;
    refuse(tr("%1 is a number, or empty.").arg(line->accessibleName()));
    line->setFocus();
    return false;
}

void VariableEditor::apply()
{
    model::VarsetEntry entry = m_row.entry;
    model::VarsetConstraints &limits = entry.constraints;
    if (!read(m_minimum, limits.min) || !read(m_maximum, limits.max) || !read(m_step, limits.step))
        return;
    if (limits.min.isValid() && limits.max.isValid() &&
        limits.min.toDouble() >= limits.max.toDouble())
        return refuse(tr("The least is below the most."));
    if (limits.step.isValid() && limits.step.toDouble() <= 0.0)
        return refuse(tr("A step is above 0."));
    entry.unit = m_unit->text().trimmed();
    entry.description = m_description->text().trimmed();
    if (!m_list->setEntry(m_row, entry))
        return refuse(tr("The scene refuses this."));
    close();
}

} // namespace corvane::ui
