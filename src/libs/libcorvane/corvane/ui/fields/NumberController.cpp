#include <corvane/ui/fields/NumberController.h>

#include <corvane/model/ParameterValue.h>

#include <cmath>

using namespace Qt::StringLiterals;

namespace corvane::ui {

namespace {

using expr::ExprType;
using model::ParameterValue;

constexpr double coarseFactor = 10.0;

double factorOf(NumberController::Pace pace)
{
    switch (pace) {
    case NumberController::Pace::Fine:
        return 1.0 / coarseFactor;
    case NumberController::Pace::Coarse:
        return coarseFactor;
    case NumberController::Pace::Normal:
        break;
    }
    return 1.0;
}

/// Sums of steps such as 0.1 + 0.2 without the dust at their end.
double withoutDust(double value, double step)
{
    const double scale = std::pow(10.0, std::ceil(-std::log10(step)) + 6.0);
    return std::isfinite(value * scale) ? std::round(value * scale) / scale : value;
}

} // namespace

NumberController::NumberController(const NumberSpec &spec, FieldTarget *target,
                                   const ExpressionScope *scope, QObject *parent)
    : QObject(parent)
    , m_spec(spec)
    , m_target(target)
    , m_scope(scope)
{
    connect(target, &FieldTarget::changed, this, &NumberController::changed);
}

FieldState NumberController::state() const
{
    return m_target ? m_target->state() : FieldState{.isReadOnly = true};
}

double NumberController::value() const
{
    return state().value.toDouble();
}

QString NumberController::text() const
{
    const FieldState now = state();
    if (now.isMixed)
        return {};
    return now.isBound() ? u'=' + now.expression : numberText(now.value.toDouble());
}

QString NumberController::error() const
{
    return m_error.isEmpty() ? state().failure : m_error;
}

void NumberController::clearError()
{
    if (m_error.isEmpty())
        return;
    m_error.clear();
    m_errorPosition = -1;
    emit changed();
}

bool NumberController::refuse(const QString &error, int position)
{
    m_error = error;
    m_errorPosition = position;
    emit changed();
    return false;
}

bool NumberController::submit(const QString &text)
{
    const QString typed = text.trimmed();
    if (state().isReadOnly || (typed == this->text().trimmed() && state().failure.isEmpty())) {
        clearError();
        return true;
    }
    if (typed.isEmpty())
        return refuse(tr("%1 needs a number, or = and an expression.").arg(m_spec.name));
    return typed.startsWith(u'=') ? submitExpression(typed.mid(1).trimmed()) : submitNumber(typed);
}

bool NumberController::submitExpression(const QString &expression)
{
    constexpr int equalSign = 1;
    if (expression.isEmpty())
        return refuse(tr("An expression follows the sign =, such as =width/2."));
    if (!m_target || !m_target->canBeBound())
        return submitNumber(expression);
    const Computed computed = m_scope ? m_scope->compute(expression) : Computed{};
    if (!computed.isOk())
        return refuse(computed.error, computed.position < 0 ? -1 : computed.position + equalSign);
    if (computed.type != ExprType::Float && computed.type != ExprType::Int)
        return refuse(tr("%1 needs a number; this gives a %2.")
                          .arg(m_spec.name, expr::exprTypeName(computed.type)));
    if (const QString why = m_spec.refusal(computed.value.toDouble()); !why.isEmpty())
        return refuse(
            tr("%1 The expression gives %2.").arg(why, numberText(computed.value.toDouble())));
    clearError();
    const auto stored = ParameterValue::fromExpression(expression, computed.value);
    return m_target->write(QVariant::fromValue(stored)) ||
           refuse(tr("The scene refuses this expression."));
}

bool NumberController::submitNumber(const QString &text)
{
    const Computed computed = m_scope ? m_scope->computeNumber(text) : Computed{};
    if (!computed.isOk())
        return refuse(computed.error, computed.position);
    if (computed.type != ExprType::Float && computed.type != ExprType::Int)
        return refuse(tr("%1 needs a number.").arg(m_spec.name));
    const double value = computed.value.toDouble();
    if (const QString why = m_spec.refusal(value); !why.isEmpty())
        return refuse(why);
    clearError();
    return store(value) || refuse(tr("The scene refuses this value."));
}

bool NumberController::store(double value)
{
    const QVariant stored = m_spec.isWhole ? QVariant(qlonglong(value)) : QVariant(value);
    return m_target && m_target->write(stored);
}

NumberController::Pace NumberController::paceOf(Qt::KeyboardModifiers modifiers)
{
    if (modifiers.testFlag(Qt::AltModifier))
        return Pace::Fine;
    return modifiers.testFlag(Qt::ShiftModifier) ? Pace::Coarse : Pace::Normal;
}

bool NumberController::canSlide() const
{
    const FieldState now = state();
    return !now.isReadOnly && !now.isBound();
}

bool NumberController::step(int steps, Pace pace)
{
    if (!canSlide() || steps == 0)
        return false;
    clearError();
    const double from = value();
    double size = m_spec.stepAt(from) * factorOf(pace);
    if (m_spec.isWhole)
        size = std::max(size, 1.0);
    const double to = m_spec.fitted(withoutDust(from + steps * size, size));
    return to != from && store(to);
}

bool NumberController::beginDrag()
{
    if (m_isDragging || !canSlide())
        return false;
    clearError();
    m_isDragging = true;
    m_dragStart = value();
    m_dragOrigin = m_dragPixels = 0.0;
    m_dragPace = Pace::Normal;
    m_target->beginDrag(tr("Drag %1").arg(m_spec.name));
    return true;
}

// A change of pace goes on from where the value is, so that it does not jump.
void NumberController::dragTo(double pixels, Pace pace)
{
    if (!m_isDragging)
        return;
    if (pace != m_dragPace) {
        m_dragStart = value();
        m_dragOrigin = m_dragPixels;
        m_dragPace = pace;
    }
    m_dragPixels = pixels;
    const double moved = dragged(m_spec.drag, m_spec.dragRange(), m_dragStart,
                                 (pixels - m_dragOrigin) * factorOf(pace));
    const double to = m_spec.fitted(moved);
    if (to != value())
        store(to);
}

void NumberController::endDrag()
{
    if (std::exchange(m_isDragging, false) && m_target)
        m_target->endDrag();
}

void NumberController::cancelDrag()
{
    if (std::exchange(m_isDragging, false) && m_target)
        m_target->cancelDrag();
}

} // namespace corvane::ui
