#include <corvane/ui/targets/VariableTarget.h>

#include <corvane/model/ParameterValue.h>

using namespace Qt::StringLiterals;

namespace corvane::ui {

QVariantMap entryMap(const model::VarsetEntry &entry)
{
    return {{u"value"_s, entry.value},
            {u"type"_s, entry.type},
            {u"description"_s, entry.description},
            {u"unit"_s, entry.unit},
            {u"constraints"_s, entry.constraints.toVariantMap()},
            {u"expression"_s, entry.expression}};
}

VariableTarget::VariableTarget(lifecycle::SceneSession *session, const QString &varset,
                               const QString &name, QObject *parent)
    : OpTarget(session, parent)
    , m_varset(varset)
    , m_name(name)
{
    connect(session->document().data(), &model::Corvane::varsetChanged, this,
            &VariableTarget::changed);
    followValues();
}

model::VarsetEntry VariableTarget::entry() const
{
    const auto *const found =
        session() ? session()->document()->variables().findIn(m_varset, m_name) : nullptr;
    return found ? *found : model::VarsetEntry();
}

FieldState VariableTarget::state() const
{
    const model::VarsetEntry now = entry();
    FieldState state{.value = now.value, .expression = now.expression};
    state.isReadOnly = !now.value.isValid() && now.expression.isEmpty();
    if (state.isBound())
        state.failure =
            failureOf({}, m_varset.isEmpty() ? m_name : u"%1.%2"_s.arg(m_varset, m_name));
    return state;
}

bool VariableTarget::write(const QVariant &stored)
{
    const auto value = model::ParameterValue::fromVariant(stored);
    model::VarsetEntry changed = entry();
    changed.expression = value.isExpression() ? value.expression : QString();
    if (value.value().isValid())
        changed.value = value.value();
    return writeEntry(changed);
}

bool VariableTarget::writeEntry(const model::VarsetEntry &entry)
{
    QVariantMap args{{u"name"_s, m_name}, {u"entry"_s, entryMap(entry)}};
    if (!m_varset.isEmpty())
        args.insert(u"varsetName"_s, m_varset);
    return apply({{ops::OpKind::VarsetSetVariable, args}}, tr("Set variable"));
}

QString VariableTarget::makeVariable(const QString &name)
{
    Q_UNUSED(name)
    return tr("It is a variable already.");
}

} // namespace corvane::ui
