#include <corvane/ui/tree/SceneActions.h>

#include <corvane/ui/look/IconSet.h>
#include <corvane/ui/tree/treeOrder.h>

using namespace Qt::StringLiterals;

namespace corvane::ui {

namespace {

using Command = SceneActions::Command;

struct CommandRow
{
    Command command;
    const char *text;
    const char *toolTip;
    QLatin1StringView icon;
    QKeyCombination key{};
};

// Along Command.
constexpr CommandRow commandRows[] = {
    {Command::AddInside, QT_TRANSLATE_NOOP("corvane::ui::SceneActions", "Add inside..."),
     QT_TRANSLATE_NOOP("corvane::ui::SceneActions",
                       "Choose something to put into the selected item, or beside it"),
     "plus"_L1, Qt::Key_A},
    {Command::Group, QT_TRANSLATE_NOOP("corvane::ui::SceneActions", "Group"),
     QT_TRANSLATE_NOOP("corvane::ui::SceneActions", "Put the selected items into a new group"),
     "group"_L1, Qt::CTRL | Qt::Key_G},
    {Command::Duplicate, QT_TRANSLATE_NOOP("corvane::ui::SceneActions", "Duplicate"),
     QT_TRANSLATE_NOOP("corvane::ui::SceneActions",
                       "Copy the selected items with all below them, behind their siblings"),
     "copy"_L1, Qt::CTRL | Qt::Key_D},
    {Command::Rename, QT_TRANSLATE_NOOP("corvane::ui::SceneActions", "Rename"),
     QT_TRANSLATE_NOOP("corvane::ui::SceneActions",
                       "Give the selected item another name; expressions follow"),
     "pencil"_L1, Qt::Key_F2},
    {Command::Hide, QT_TRANSLATE_NOOP("corvane::ui::SceneActions", "Hide"),
     QT_TRANSLATE_NOOP("corvane::ui::SceneActions",
                       "Leave the selected items out of the model, or put them back"),
     "eye-off"_L1, Qt::Key_H},
    {Command::ShowAll, QT_TRANSLATE_NOOP("corvane::ui::SceneActions", "Show all"),
     QT_TRANSLATE_NOOP("corvane::ui::SceneActions", "Put all hidden items back"), "eye"_L1,
     Qt::SHIFT | Qt::Key_H},
    {Command::Isolate, QT_TRANSLATE_NOOP("corvane::ui::SceneActions", "Isolate"),
     QT_TRANSLATE_NOOP("corvane::ui::SceneActions",
                       "Show the selected item alone, or everything again"),
     "focus"_L1, Qt::Key_I},
    {Command::SelectAll,
     QT_TRANSLATE_NOOP("corvane::ui::SceneActions", "Select all"),
     QT_TRANSLATE_NOOP("corvane::ui::SceneActions", "Select every item at the top of the scene"),
     {},
     Qt::CTRL | Qt::Key_A},
    {Command::NestIntoComponent,
     QT_TRANSLATE_NOOP("corvane::ui::SceneActions", "Nest into component"),
     QT_TRANSLATE_NOOP("corvane::ui::SceneActions",
                       "Make a component of the selected items, to be placed more than once"),
     "component"_L1},
    {Command::MakeProxy, QT_TRANSLATE_NOOP("corvane::ui::SceneActions", "Make a proxy"),
     QT_TRANSLATE_NOOP("corvane::ui::SceneActions",
                       "Draw the selected branch as a mesh, which is faster, or as a field again"),
     "boxes"_L1},
    {Command::ExportThis, QT_TRANSLATE_NOOP("corvane::ui::SceneActions", "Export this..."),
     QT_TRANSLATE_NOOP("corvane::ui::SceneActions", "Write a mesh of the selected branch alone"),
     "download"_L1},
    {Command::Remove, QT_TRANSLATE_NOOP("corvane::ui::SceneActions", "Remove"),
     QT_TRANSLATE_NOOP("corvane::ui::SceneActions",
                       "Take the selected items with all below them out of the scene"),
     "trash-2"_L1, Qt::Key_Delete},
};
static_assert(std::size(commandRows) == SceneActions::commandCount);

} // namespace

SceneActions::SceneActions(lifecycle::SceneSession *session, item::IScenePanelModel *panel,
                           QObject *parent)
    : QObject(parent)
    , m_session(session)
    , m_panel(panel)
{
    for (const CommandRow &row : commandRows) {
        auto *const action = new QAction(tr(row.text), this);
        if (!row.icon.isEmpty())
            action->setIcon(icon(row.icon));
        action->setToolTip(tr(row.toolTip));
        action->setStatusTip(tr(row.toolTip));
        if (row.key.key() != Qt::Key(0))
            action->setShortcut(row.key);
        action->setShortcutContext(
            Qt::WidgetWithChildrenShortcut); // not while a field is typed into
        connect(action, &QAction::triggered, this, [this, command = row.command] { run(command); });
        m_actions.append(action);
    }
    connect(panel, &item::IScenePanelModel::selectionChanged, this, &SceneActions::updateEnabled);
    connect(panel, &item::IScenePanelModel::structureChanged, this, &SceneActions::updateEnabled);
    updateEnabled();
}

QList<QUuid> SceneActions::selected() const
{
    return inTreeOrder(*m_session->tree(), m_panel->selectedIds());
}

QList<QUuid> SceneActions::editable() const
{
    QList<QUuid> ids = selected();
    ids.removeIf([this](const QUuid &id) { return m_panel->isReadOnly(id); });
    return ids;
}

void SceneActions::updateEnabled()
{
    const QList<QUuid> ids = editable();
    const bool isAny = !ids.isEmpty();
    const bool isOne = ids.size() == 1;
    const bool isNode = isAny && std::all_of(ids.cbegin(), ids.cend(), [this](const QUuid &id) {
                            return m_session->tree()->contains(id);
                        });
    for (const Command command : {Group, Duplicate, Hide, Remove})
        action(command)->setEnabled(isAny);
    for (const Command command : {Rename, ExportThis})
        action(command)->setEnabled(isOne);
    action(Isolate)->setEnabled(isOne);
    action(NestIntoComponent)->setEnabled(isNode);
    action(MakeProxy)->setEnabled(isOne && isNode);
}

void SceneActions::run(Command command)
{
    switch (command) {
    case AddInside:
        return emit addRequested();
    case Group:
        return group();
    case Duplicate:
        return duplicate();
    case Rename:
        return emit renameRequested(m_panel->selectedId());
    case Hide:
        return toggleHidden();
    case ShowAll:
        return showAll();
    case Isolate:
        return toggleIsolated();
    case SelectAll:
        return selectAll();
    case NestIntoComponent:
        return nest();
    case MakeProxy:
        return makeProxy();
    case ExportThis:
        return emit exportRequested(m_panel->selectedId());
    case Remove:
        return remove();
    case commandCount:
        break;
    }
}

bool SceneActions::inOneStep(const QString &label, const std::function<void()> &edit)
{
    const int before = m_session->undoStack()->index();
    m_session->executor()->beginBatch(label);
    edit();
    m_session->executor()->endBatch();
    return m_session->undoStack()->index() > before;
}

void SceneActions::group()
{
    const QList<QUuid> ids = editable();
    QUuid made;
    inOneStep(tr("Group"), [&] {
        const QUuid parent = m_session->tree()->parentOf(ids.first());
        const int place = int(m_session->tree()->indexOf(ids.first()));
        made = m_panel->createGroupItem({}, parent);
        if (!made.isNull() && m_panel->moveItems(ids, made, -1))
            m_panel->moveItem(made, parent, place);
    });
    m_panel->selectItem(made);
}

void SceneActions::duplicate()
{
    const QList<QUuid> ids = editable();
    QList<QUuid> copies;
    inOneStep(tr("Duplicate"), [&] {
        for (const QUuid &id : ids)
            copies.append(m_panel->duplicateItem(id));
    });
    copies.removeAll(QUuid());
    if (copies.isEmpty())
        return;
    m_panel->selectItem(copies.first());
    for (const QUuid &copy : std::as_const(copies))
        m_panel->addToSelection(copy);
}

// One that is shown hides them all; with all hidden they are shown.
void SceneActions::toggleHidden()
{
    const QList<QUuid> ids = editable();
    const bool isAllHidden = std::all_of(ids.cbegin(), ids.cend(), [this](const QUuid &id) {
        const auto view = m_panel->itemFor(id);
        return view && view->isHidden();
    });
    inOneStep(isAllHidden ? tr("Show") : tr("Hide"), [&] {
        for (const QUuid &id : ids)
            m_panel->setItemHidden(id, !isAllHidden);
    });
}

void SceneActions::showAll()
{
    const auto nodes = m_session->tree()->instances();
    inOneStep(tr("Show all"), [&] {
        for (const auto &node : nodes) {
            if (node.hasTag(model::ItemTags::Hidden))
                m_panel->setItemHidden(node.id, false);
        }
    });
}

void SceneActions::toggleIsolated()
{
    const QUuid id = m_panel->selectedId();
    const bool isAlone = m_session->compiler()->soloRootId() == id;
    m_session->setSoloRoot(isAlone ? QUuid() : id);
}

void SceneActions::selectAll()
{
    const auto roots = m_panel->rootItems();
    for (const auto &view : roots)
        m_panel->addToSelection(view.id());
}

void SceneActions::nest()
{
    QVariantList ids;
    const QList<QUuid> nodes = editable();
    for (const QUuid &id : nodes)
        ids.append(id);
    const QString name = tr("Component");
    ops::CorvaneOpExecutor &executor = *m_session->executor();
    const bool isDone = ids.size() == 1
                            ? executor.apply({ops::OpKind::ComponentNest,
                                              {{u"itemId"_s, ids.first()}, {u"name"_s, name}}})
                            : executor.apply({ops::OpKind::ComponentNestMulti,
                                              {{u"itemIds"_s, ids}, {u"name"_s, name}}});
    if (isDone)
        m_panel->selectItem(executor.lastCreatedId());
}

void SceneActions::makeProxy()
{
    const QUuid id = m_panel->selectedId();
    const auto view = m_panel->itemFor(id);
    const bool isProxied = view && view->tags().contains(model::ItemTags::Proxied);
    m_session->executor()->apply(
        {ops::OpKind::ItemSetProxy, {{u"itemId"_s, id}, {u"proxied"_s, !isProxied}}});
}

void SceneActions::remove()
{
    const QList<QUuid> ids = editable();
    inOneStep(tr("Remove"), [&] {
        for (const QUuid &id : ids) {
            if (m_panel->itemFor(id)) // one below another went with it
                m_panel->deleteItem(id);
        }
    });
}

} // namespace corvane::ui
