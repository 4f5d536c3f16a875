#include <corvane/ui/fields/FieldMenu.h>

#include <corvane/expr/ExpressionManager.h>
#include <corvane/expr/NameScanner.h>
#include <corvane/model/ParameterValue.h>
#include <corvane/ui/fields/NamePrompt.h>
#include <corvane/ui/look/IconSet.h>

#include <QAction>
#include <QClipboard>
#include <QGuiApplication>
#include <QMenu>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace corvane::ui {

FieldMenu::FieldMenu(const Subject &subject, QWidget *field)
    : QObject(field)
    , m_subject(subject)
    , m_field(field)
{}

QMenu *FieldMenu::make()
{
    auto *const menu = new QMenu(m_field);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const FieldState state = m_subject.target ? m_subject.target->state() : FieldState{};
    const bool isEditable = m_subject.target && !state.isReadOnly;
    const auto add = [menu](const QString &iconName, const QString &text, bool isEnabled,
                            const std::function<void()> &run) {
        QAction *const action = menu->addAction(icon(iconName), text, menu, run);
        action->setEnabled(isEnabled);
    };
    add(u"rotate-ccw"_s, tr("Reset"), isEditable && (state.isChanged || state.isBound()),
        [this] { m_subject.target->reset(); });
    menu->addSeparator();
    add(u"copy"_s, tr("Copy"), bool(m_subject.copyText),
        [this] { QGuiApplication::clipboard()->setText(m_subject.copyText()); });
    add(u"clipboard-paste"_s, tr("Paste"),
        isEditable && m_subject.paste && !QGuiApplication::clipboard()->text().isEmpty(),
        [this] { m_subject.paste(QGuiApplication::clipboard()->text()); });
    if (m_subject.target && m_subject.target->canBeBound()) {
        menu->addSeparator();
        // A pop-up that opens over another goes with it: the line for the name waits for its end.
        add(u"variable"_s, tr("Make a variable of it..."), isEditable && !state.isBound(),
            [this, menu] {
                connect(menu, &QObject::destroyed, this, &FieldMenu::askForVariable,
                        Qt::QueuedConnection);
            });
        addBindings(*menu);
    }
    return menu;
}

void FieldMenu::addBindings(QMenu &menu)
{
    QMenu *const bindings = menu.addMenu(icon(u"link"_s), tr("Bind to"));
    const QStringList names =
        m_subject.scope ? m_subject.scope->variablesOfType(m_subject.type) : QStringList();
    for (const QString &name : names)
        bindings->addAction(name, this, [this, name] { bindTo(name); });
    bindings->setEnabled(!names.isEmpty() && !m_subject.target->state().isReadOnly);
}

void FieldMenu::bindTo(const QString &variable)
{
    const QVariant value = m_subject.scope ? m_subject.scope->compute(variable).value : QVariant();
    m_subject.target->write(
        QVariant::fromValue(model::ParameterValue::fromExpression(variable, value)));
}

void FieldMenu::askForVariable()
{
    const auto *const manager = m_subject.scope ? m_subject.scope->manager() : nullptr;
    const QStringList taken = manager ? manager->context().variables.keys() : QStringList();
    auto *const prompt = new NamePrompt(
        tr("Name of the variable"), variableNameFor(m_subject.suggestedName, taken),
        [this](const QString &name) { return m_subject.target->makeVariable(name); }, m_field);
    prompt->show();
}

QString variableNameFor(const QString &text, const QStringList &taken)
{
    static const QRegularExpression others(u"[^A-Za-z0-9]+"_s);
    QString base = text.toLower().replace(others, u"_"_s);
    while (base.startsWith(u'_') || (!base.isEmpty() && base.front().isDigit()))
        base.remove(0, 1);
    while (base.endsWith(u'_'))
        base.chop(1);
    if (!expr::isPlainIdentifier(base))
        base = base.isEmpty() ? u"value"_s : base + u"_value"_s;
    QString name = base;
    for (int i = 2; taken.contains(name); ++i)
        name = base + QString::number(i);
    return name;
}

} // namespace corvane::ui
