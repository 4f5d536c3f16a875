#include <corvane/ui/fields/VectorField.h>

#include <corvane/model/ParameterValue.h>
#include <corvane/ui/fields/ComponentTarget.h>
#include <corvane/ui/fields/NumberField.h>

#include <QHBoxLayout>

using namespace Qt::StringLiterals;

namespace corvane::ui {

namespace {

constexpr QLatin1StringView letters("XYZW");

} // namespace

VectorField::VectorField(const NumberSpec &spec, int count, FieldTarget *target,
                         const ExpressionScope *scope, QWidget *parent)
    : FieldWidget({spec.name, spec.description}, target, scope, parent)
{
    auto *const row = new QWidget(this);
    auto *const line = new QHBoxLayout(row);
    line->setContentsMargins({});
    line->setSpacing(0);
    for (int i = 0; i < count; ++i) {
        auto *const component = new ComponentTarget(target, i, count, this);
        auto *const field =
            new NumberField(spec.component(QString(letters[i])), component, scope, row);
        line->addWidget(field, 1, Qt::AlignTop);
        m_fields.append(field);
    }
    setEditor(row);
    setFocusProxy(m_fields.first());
    layout()->setContentsMargins({}); // each component has its own dot
}

QWidget *VectorField::editor() const
{
    return m_fields.first()->editor();
}

QString VectorField::copyText() const
{
    const FieldState state = target() ? target()->state() : FieldState{};
    if (state.isBound())
        return u'=' + state.expression;
    QStringList texts;
    for (const NumberField *field : m_fields)
        texts.append(field->copyText());
    return texts.join(u", "_s);
}

bool VectorField::paste(const QString &text)
{
    const QString typed = text.trimmed();
    if (typed.startsWith(u'='))
        return target() &&
               target()->write(QVariant::fromValue(model::ParameterValue::fromVariant(typed)));
    const QStringList parts = typed.split(u',');
    QVariantList values;
    for (const QString &part : parts) {
        bool isNumber = false;
        values.append(part.toDouble(&isNumber));
        if (!isNumber)
            return false;
    }
    return values.size() == m_fields.size() && target() && target()->write(values);
}

expr::ExprType VectorField::type() const
{
    switch (m_fields.size()) {
    case 2:
        return expr::ExprType::Vec2;
    case 3:
        return expr::ExprType::Vec3;
    default:
        return expr::ExprType::Vec4;
    }
}

} // namespace corvane::ui
