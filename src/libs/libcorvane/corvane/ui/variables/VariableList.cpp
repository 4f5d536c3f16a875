#include <corvane/ui/variables/VariableList.h>

#include <corvane/ui/targets/OpTarget.h>
#include <corvane/ui/targets/VariableTarget.h>

using namespace Qt::StringLiterals;

namespace corvane::ui {

namespace {

using model::VarsetEntry;

constexpr int lookDelayMs = 100;

/// What a row is, without what changes while it is worked with.
QList<VariableRow> withoutValues(QList<VariableRow> rows)
{
    for (VariableRow &row : rows) {
        const bool isText = row.entry.effectiveType() == u"string";
        const bool isFlag = row.entry.effectiveType() == u"boolean";
        row.entry.value = isText ? QVariant(QString()) : isFlag ? QVariant(false) : QVariant(0.0);
        row.entry.expression.clear();
        row.isUsed = false;
    }
    return rows;
}

} // namespace

VariableList::VariableList(lifecycle::SceneSession *session, QObject *parent)
    : QObject(parent)
    , m_session(session)
{
    m_lookTimer.setSingleShot(true);
    m_lookTimer.setInterval(lookDelayMs);
    connect(&m_lookTimer, &QTimer::timeout, this, &VariableList::onChanged);
    connect(session->document().data(), &model::Corvane::varsetChanged, this,
            &VariableList::onChanged);
    connect(session, &lifecycle::SceneSession::sceneOpened, this, &VariableList::onChanged);
    connect(session, &lifecycle::SceneSession::expressionsChanged, this, &VariableList::follow);
    connect(session->tree(), &model::LogicalScene::structureChanged, this,
            &VariableList::onChanged);
    follow(session->expressions());
    m_told = withoutValues(rows());
}

void VariableList::follow(expr::ExpressionManager *expressions)
{
    if (!expressions)
        return;
    // Which variables are read may be another with any edit, and a drag is many: it is looked at
    // when there is time.
    connect(expressions, &expr::ExpressionManager::evaluationComplete, this, [this] {
        if (!m_lookTimer.isActive())
            m_lookTimer.start();
    });
    connect(expressions, &expr::ExpressionManager::errorsChanged, this,
            &VariableList::valuesChanged);
}

void VariableList::onChanged()
{
    const QList<VariableRow> now = withoutValues(rows());
    if (now == m_told) {
        emit valuesChanged();
        return;
    }
    m_told = now;
    emit rowsChanged();
}

QList<VariableRow> VariableList::rows() const
{
    QList<VariableRow> rows;
    const model::VarsetTable &variables = m_session->document()->variables();
    const expr::ExpressionManager *const expressions = m_session->expressions();
    const auto append = [&](const QString &varset, const QString &name) {
        const VarsetEntry *const entry = variables.findIn(varset, name);
        if (!entry)
            return;
        VariableRow row{varset, name, *entry, false};
        row.isUsed = expressions && !expressions->referencesTo(row.fullName()).isEmpty();
        rows.append(row);
    };
    const QStringList names = variables.variableNames();
    for (const QString &name : names)
        append({}, name);
    const QStringList named = varsets();
    for (const QString &varset : named) {
        const QStringList order = variables.namedVarsetEntryOrder(varset);
        for (const QString &name : order)
            append(varset, name);
    }
    return rows;
}

QStringList VariableList::varsets() const
{
    return m_session->document()->variables().namedVarsets().keys();
}

QHash<QString, QString> VariableList::failures() const
{
    QHash<QString, QString> texts;
    const auto *const expressions = m_session->expressions();
    const auto failures = expressions ? expressions->failures() : QList<expr::ExpressionFailure>();
    for (const auto &failure : failures) {
        if (failure.instanceId.isNull())
            texts.insert(failure.name, failure.message);
    }
    return texts;
}

bool VariableList::apply(QLatin1StringView kind, QVariantMap args, const VariableRow &row)
{
    if (!row.varset.isEmpty())
        args.insert(u"varsetName"_s, row.varset);
    return m_session->executor()->apply({kind, args});
}

QString VariableList::add(const QString &name, const QString &varset)
{
    if (const QString why = whyNoVariableName(*m_session->document(), name); !why.isEmpty())
        return why;
    const VariableRow row{varset, name, {}, false};
    const QVariantMap entry = entryMap({.value = 0.0, .type = u"number"_s, .unit = u"mm"_s});
    return apply(ops::OpKind::VarsetSetVariable, {{u"name"_s, name}, {u"entry"_s, entry}}, row)
               ? QString()
               : tr("The scene refuses this variable.");
}

QString VariableList::rename(const VariableRow &row, const QString &newName)
{
    if (newName == row.name)
        return {};
    if (const QString why = whyNoVariableName(*m_session->document(), newName); !why.isEmpty())
        return why;
    const QVariantMap args{{u"oldName"_s, row.name}, {u"newName"_s, newName}};
    return apply(ops::OpKind::VarsetRenameVar, args, row) ? QString()
                                                          : tr("The scene refuses this name.");
}

bool VariableList::remove(const VariableRow &row)
{
    return apply(ops::OpKind::VarsetRemoveVar, {{u"name"_s, row.name}}, row);
}

bool VariableList::moveBefore(const VariableRow &row, const QString &beforeName)
{
    QVariantMap args{{u"name"_s, row.name}};
    if (!beforeName.isEmpty())
        args.insert(u"beforeName"_s, beforeName);
    return beforeName != row.name && apply(ops::OpKind::VarsetReorder, args, row);
}

bool VariableList::setEntry(const VariableRow &row, const VarsetEntry &entry)
{
    return apply(ops::OpKind::VarsetSetVariable,
                 {{u"name"_s, row.name}, {u"entry"_s, entryMap(entry)}}, row);
}

} // namespace corvane::ui
