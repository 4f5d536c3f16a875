#include <corvane/ui/variables/VariableWidget.h>

#include <corvane/ui/fields/NamePrompt.h>
#include <corvane/ui/fields/NumberField.h>
#include <corvane/ui/fields/SimpleFields.h>
#include <corvane/ui/fields/VectorField.h>
#include <corvane/ui/look/IconSet.h>
#include <corvane/ui/look/Metrics.h>
#include <corvane/ui/look/Theme.h>
#include <corvane/ui/targets/VariableTarget.h>

#include <QContextMenuEvent>
#include <QLabel>
#include <QMenu>
#include <QSlider>
#include <QVBoxLayout>

#include <cmath>

using namespace Qt::StringLiterals;

namespace corvane::ui {

namespace {

constexpr int sliderSteps = 1000;
constexpr int nameWidth = 80;

std::optional<double> number(const QVariant &value)
{
    bool isNumber = false;
    const double read = value.toDouble(&isNumber);
    return isNumber ? std::optional(read) : std::nullopt;
}

NumberSpec specOf(const VariableRow &row)
{
    const model::VarsetConstraints &limits = row.entry.constraints;
    NumberSpec spec{.name = row.name,
                    .description = row.entry.description,
                    .unit = row.entry.unit,
                    .minimum = number(limits.min),
                    .maximum = number(limits.max),
                    .step = number(limits.step)};
    spec.drag.signLock = false;
    spec.drag.bounded = true;
    return spec;
}

int vectorSize(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::QVector2D:
        return 2;
    case QMetaType::QVector4D:
        return 4;
    case QMetaType::QVariantList:
        return qBound(2, int(value.toList().size()), 4);
    default:
        return 3;
    }
}

} // namespace

VariableWidget::VariableWidget(const VariableRow &row, VariableList *list,
                               lifecycle::SceneSession *session, const ExpressionScope *scope,
                               QWidget *parent)
    : QWidget(parent)
    , m_row(row)
    , m_list(list)
    , m_target(new VariableTarget(session, row.varset, row.name, this))
    , m_handle(new QLabel(this))
    , m_name(new QLabel(row.name, this))
{
    setObjectName(u"variable-"_s + row.fullName());
    setAccessibleName(row.fullName());
    setToolTip(row.entry.description);
    m_handle->setPixmap(iconPixmap(u"grip-vertical"_s, SemanticPalette::current().muted,
                                   Metrics::iconSize, devicePixelRatioF()));
    m_handle->setFixedSize(Metrics::iconSize, Metrics::controlHeight);
    m_handle->setCursor(Qt::OpenHandCursor);
    m_handle->setToolTip(tr("Drag to another place"));
    m_handle->installEventFilter(this);
    m_name->setFixedSize(nameWidth, Metrics::controlHeight);
    m_name->setObjectName(u"variableName"_s);
    m_name->setTextFormat(Qt::PlainText);
    setUsed(row.isUsed);
    m_field = makeValueField(scope);
    if (auto *const field = qobject_cast<NumberField *>(m_field))
        field->setLabel(m_name);
    m_name->installEventFilter(this);

    auto *const line = new QHBoxLayout;
    line->setSpacing(Metrics::grid);
    line->addWidget(m_handle, 0, Qt::AlignTop);
    line->addWidget(m_name, 0, Qt::AlignTop);
    line->addWidget(m_field, 1, Qt::AlignTop);
    auto *const column = new QVBoxLayout(this);
    column->setContentsMargins({});
    column->setSpacing(0);
    column->addLayout(line);
    addSlider();
}

void VariableWidget::setUsed(bool used)
{
    m_name->setForegroundRole(used ? QPalette::WindowText : QPalette::PlaceholderText);
    m_name->setToolTip(used ? QString() : tr("Nothing reads this variable so far."));
}

FieldWidget *VariableWidget::makeValueField(const ExpressionScope *scope)
{
    const QString type = m_row.entry.effectiveType();
    const FieldLabel label{m_row.name, m_row.entry.description};
    if (type == "boolean"_L1)
        return new BoolField(label, m_target, scope, this);
    if (type == "vector"_L1)
        return new VectorField(specOf(m_row), vectorSize(m_row.entry.value), m_target, scope, this);
    if (type != "string"_L1)
        return new NumberField(specOf(m_row), m_target, scope, this);
    if (m_row.entry.constraints.enumValues.isEmpty())
        return new TextField(label, m_target, scope, this);
    QList<ChoiceField::Choice> choices;
    for (const QString &value : m_row.entry.constraints.enumValues)
        choices.append({value, value});
    return new ChoiceField(label, choices, m_target, scope, this);
}

// The slider and the field say the same: where the variable lies in its range.
void VariableWidget::addSlider()
{
    const NumberSpec spec = specOf(m_row);
    const bool hasRange = spec.minimum && spec.maximum && *spec.maximum > *spec.minimum;
    if (!hasRange || !qobject_cast<NumberField *>(m_field))
        return;
    m_slider = new QSlider(Qt::Horizontal, this);
    m_slider->setRange(0, sliderSteps);
    m_slider->setAccessibleName(tr("%1, slider").arg(m_row.name));
    m_slider->setFocusPolicy(Qt::StrongFocus);
    auto *const line = new QHBoxLayout;
    line->setContentsMargins(Metrics::iconSize + nameWidth + 4 * Metrics::grid, 0, 0, 0);
    line->addWidget(m_slider);
    static_cast<QVBoxLayout *>(layout())->addLayout(line);
    m_slider->installEventFilter(this);
    connect(m_slider, &QSlider::valueChanged, this, &VariableWidget::slideTo);
    connect(m_target, &FieldTarget::changed, this, &VariableWidget::showSlider);
    showSlider();
}

void VariableWidget::slideTo(int position)
{
    const NumberSpec spec = specOf(m_row);
    const double span = *spec.maximum - *spec.minimum;
    double value = *spec.minimum + span * position / sliderSteps;
    // Onto the step, else onto what a thousandth of the range can tell apart.
    const double grid =
        spec.step.value_or(std::pow(10.0, std::floor(std::log10(span / sliderSteps))));
    if (grid > 0.0)
        value = std::round(value / grid) * grid;
    value = spec.fitted(QString::number(value, 'g', 12).toDouble());
    if (!m_target->state().isBound() && value != m_target->state().value.toDouble())
        m_target->write(value);
}

void VariableWidget::showSlider()
{
    const NumberSpec spec = specOf(m_row);
    const FieldState state = m_target->state();
    const double part = (state.value.toDouble() - *spec.minimum) / (*spec.maximum - *spec.minimum);
    const QSignalBlocker quiet(m_slider);
    if (!m_slider->isSliderDown())
        m_slider->setValue(int(std::lround(qBound(0.0, part, 1.0) * sliderSteps)));
    m_slider->setEnabled(!state.isBound() && !state.isReadOnly);
}

void VariableWidget::askForName()
{
    const VariableRow row = m_row;
    auto *const prompt = new NamePrompt(
        tr("New name; expressions follow"), row.name,
        [list = m_list, row](const QString &name) { return list->rename(row, name); }, m_name);
    prompt->show();
}

void VariableWidget::contextMenuEvent(QContextMenuEvent *event)
{
    auto *const menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    // A pop-up that opens over another goes with it: what these open waits for the menu's end.
    menu->addAction(icon(u"pencil"_s), tr("Rename..."), this, [this, menu] {
        connect(menu, &QObject::destroyed, this, &VariableWidget::askForName, Qt::QueuedConnection);
    });
    menu->addAction(icon(u"sliders-horizontal"_s), tr("Range, unit, description..."), this,
                    [this, menu] {
                        connect(menu, &QObject::destroyed, this, &VariableWidget::editRequested,
                                Qt::QueuedConnection);
                    });
    menu->addSeparator();
    menu->addAction(icon(u"trash-2"_s), tr("Remove"), m_list,
                    [list = m_list, row = m_row] { list->remove(row); });
    menu->popup(event->globalPos());
    event->accept();
}

bool VariableWidget::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_name && event->type() == QEvent::MouseButtonDblClick) {
        askForName();
        return true;
    }
    // The slider jumps to a press before it says that it is pressed: the drag begins with the
    // press.
    if (watched == m_slider && event->type() == QEvent::MouseButtonPress)
        m_target->beginDrag(tr("Drag %1").arg(m_row.name));
    if (watched == m_slider && event->type() == QEvent::MouseButtonRelease)
        m_target->endDrag();
    if (watched != m_handle)
        return QWidget::eventFilter(watched, event);
    switch (event->type()) {
    case QEvent::MouseButtonPress:
        m_handle->setCursor(Qt::ClosedHandCursor);
        return true;
    case QEvent::MouseMove:
        emit dragged(static_cast<QMouseEvent *>(event)->globalPosition().toPoint());
        return true;
    case QEvent::MouseButtonRelease:
        m_handle->setCursor(Qt::OpenHandCursor);
        emit dropped();
        return true;
    default:
        return QWidget::eventFilter(watched, event);
    }
}

} // namespace corvane::ui
