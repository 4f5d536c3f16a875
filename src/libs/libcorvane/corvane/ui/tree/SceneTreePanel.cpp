#include <corvane/ui/tree/SceneTreePanel.h>

#include <corvane/ui/look/IconSet.h>
#include <corvane/ui/look/Metrics.h>
#include <corvane/ui/look/Theme.h>
#include <corvane/ui/tree/SceneTreeDelegate.h>

#include <QItemSelectionModel>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QScopedValueRollback>
#include <QStackedLayout>
#include <QTreeView>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace corvane::ui {

namespace {

constexpr int searchDelayMs = 60; ///< of typing without a pause one search is enough

} // namespace

SceneTreePanel::SceneTreePanel(lifecycle::SceneSession *session, QWidget *parent)
    : QWidget(parent)
    , m_session(session)
    , m_search(new QLineEdit(this))
    , m_view(new QTreeView(this))
{
    setObjectName(u"sceneTreePanel"_s);
    setAccessibleName(tr("Scene"));
    m_adapter.setExecutor(session->executor(), session->compiler());
    m_model.setPanel(&m_adapter);
    m_actions = new SceneActions(session, &m_adapter, this);
    m_delegate = new SceneTreeDelegate(m_view);
    setUpView();
    setUpEmptyState();
    connectSelection();
    connect(session, &lifecycle::SceneSession::sceneOpened, this, [this] {
        m_adapter.setExecutor(m_session->executor(), m_session->compiler());
        m_model.setPanel(&m_adapter);
        m_view->expandToDepth(0);
        updateProblems();
        updateEmptyState();
    });
    connect(session, &lifecycle::SceneSession::expressionsChanged, this,
            [this](expr::ExpressionManager *expressions) {
                if (expressions)
                    connect(expressions, &expr::ExpressionManager::errorsChanged, this,
                            &SceneTreePanel::updateProblems);
            });
    if (session->expressions())
        connect(session->expressions(), &expr::ExpressionManager::errorsChanged, this,
                &SceneTreePanel::updateProblems);
    updateProblems();
    updateEmptyState();
}

SceneTreePanel::~SceneTreePanel() = default;

void SceneTreePanel::setUpView()
{
    m_search->setPlaceholderText(tr("Search"));
    m_search->setAccessibleName(tr("Search the scene"));
    m_search->setClearButtonEnabled(true);
    m_search->addAction(icon(u"search"_s), QLineEdit::LeadingPosition);
    m_searchTimer.setSingleShot(true);
    m_searchTimer.setInterval(searchDelayMs);
    connect(m_search, &QLineEdit::textChanged, this, [this] { m_searchTimer.start(); });
    connect(m_search, &QLineEdit::returnPressed, this, &SceneTreePanel::applySearch);
    connect(&m_searchTimer, &QTimer::timeout, this, &SceneTreePanel::applySearch);

    m_view->setObjectName(u"sceneTree"_s);
    m_view->setAccessibleName(tr("Scene tree"));
    m_view->setModel(&m_model);
    m_view->setItemDelegate(m_delegate);
    m_view->setHeaderHidden(true);
    m_view->setUniformRowHeights(true); // ten thousand rows
    m_view->setMouseTracking(true);
    m_view->setFrameShape(QFrame::NoFrame);
    m_view->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_view->setEditTriggers(QAbstractItemView::SelectedClicked);
    m_view->setDragDropMode(QAbstractItemView::DragDrop);
    m_view->setDefaultDropAction(Qt::MoveAction);
    m_view->setDropIndicatorShown(true);
    m_view->setExpandsOnDoubleClick(true);
    m_view->setContextMenuPolicy(Qt::CustomContextMenu);
    m_view->addActions(m_actions->actions());
    connect(m_view, &QWidget::customContextMenuRequested, this, &SceneTreePanel::showMenu);
    connect(m_actions, &SceneActions::renameRequested, this, &SceneTreePanel::editName);
    connect(m_delegate, &SceneTreeDelegate::hideClicked, this,
            [this](const QUuid &id, bool hide) { m_adapter.setItemHidden(id, hide); });
    connect(m_delegate, &SceneTreeDelegate::soloClicked, this, [this](const QUuid &id) {
        const bool isAlone = m_session->compiler()->soloRootId() == id;
        m_session->setSoloRoot(isAlone ? QUuid() : id);
    });
    connect(m_session->compiler(), &model::LogicalSceneCompiler::compiled, this, [this] {
        m_delegate->setSoloRoot(m_session->compiler()->soloRootId());
        m_view->viewport()->update();
    });
}

void SceneTreePanel::setUpEmptyState()
{
    m_empty = new QWidget(this);
    auto *const middle = new QVBoxLayout(m_empty);
    auto *const text =
        new QLabel(tr("Nothing here yet: what you add stands in this tree."), m_empty);
    text->setWordWrap(true);
    text->setAlignment(Qt::AlignCenter);
    text->setForegroundRole(QPalette::PlaceholderText);
    auto *const add = new QPushButton(icon(u"plus"_s), tr("Add a shape"), m_empty);
    connect(add, &QPushButton::clicked, m_actions->action(SceneActions::AddInside),
            &QAction::trigger);
    middle->addStretch();
    middle->addWidget(text);
    middle->addWidget(add, 0, Qt::AlignHCenter);
    middle->addStretch();

    auto *const column = new QVBoxLayout(this);
    column->setContentsMargins({});
    auto *const head = new QVBoxLayout;
    head->setContentsMargins(Metrics::margin, Metrics::margin, Metrics::margin, 0);
    head->addWidget(m_search);
    column->addLayout(head);
    m_pages = new QStackedLayout;
    m_pages->addWidget(m_view);
    m_pages->addWidget(m_empty);
    column->addLayout(m_pages, 1);
    connect(&m_model, &QAbstractItemModel::rowsInserted, this, [this] {
        updateEmptyState();
        if (!m_query.isEmpty()) // what is new may not fit
            m_searchTimer.start();
    });
    connect(&m_model, &QAbstractItemModel::rowsRemoved, this, &SceneTreePanel::updateEmptyState);
    connect(&m_model, &QAbstractItemModel::modelReset, this, &SceneTreePanel::updateEmptyState);
}

void SceneTreePanel::updateEmptyState()
{
    const bool isEmpty = m_model.rowCount() == 0;
    m_pages->setCurrentWidget(isEmpty ? m_empty : static_cast<QWidget *>(m_view));
    m_search->setEnabled(!isEmpty);
}

// Rows are hidden in the view, which keeps what is folded as it is. A row stays for its own name,
// and for what stands below it.
void SceneTreePanel::applySearch()
{
    m_searchTimer.stop();
    const QString query = m_search->text().trimmed();
    const bool isChanged = query != m_query;
    m_query = query;
    showFitting({});
    if (!query.isEmpty())
        m_view->expandAll();
    if (isChanged)
        showSelectionOfScene();
}

// Of a node at once: a view of an item is a copy of all that it has.
QString SceneTreePanel::nameAt(const QModelIndex &index) const
{
    const auto *const node = std::as_const(*m_session->tree()).instance(m_model.idAt(index));
    return node ? node->name : index.data().toString();
}

bool SceneTreePanel::showFitting(const QModelIndex &parent)
{
    bool isAny = false;
    for (int row = 0; row < m_model.rowCount(parent); ++row) {
        const QModelIndex index = m_model.index(row, 0, parent);
        const bool isBelow = showFitting(index);
        const bool fits =
            m_query.isEmpty() || isBelow || nameAt(index).contains(m_query, Qt::CaseInsensitive);
        if (m_view->isRowHidden(row, parent) == fits)
            m_view->setRowHidden(row, parent, !fits);
        isAny = isAny || fits;
    }
    return isAny;
}

void SceneTreePanel::connectSelection()
{
    connect(m_view->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &SceneTreePanel::takeSelectionOfView);
    connect(&m_adapter, &item::IScenePanelModel::selectionChanged, this,
            &SceneTreePanel::showSelectionOfScene);
}

void SceneTreePanel::takeSelectionOfView()
{
    if (m_isSyncing)
        return;
    const QScopedValueRollback<bool> syncing(m_isSyncing, true);
    QList<QUuid> chosen;
    const QModelIndexList rows = m_view->selectionModel()->selectedRows();
    for (const QModelIndex &row : rows)
        chosen.append(m_model.idAt(row));
    const QList<QUuid> before = m_adapter.selectedIds();
    for (const QUuid &id : before) {
        if (!chosen.contains(id))
            m_adapter.removeFromSelection(id);
    }
    for (const QUuid &id : std::as_const(chosen)) {
        if (!before.contains(id))
            m_adapter.addToSelection(id);
    }
}

void SceneTreePanel::showSelectionOfScene()
{
    if (m_isSyncing)
        return;
    const QScopedValueRollback<bool> syncing(m_isSyncing, true);
    QItemSelection rows;
    const QList<QUuid> ids = m_adapter.selectedIds();
    for (const QUuid &id : ids) {
        if (const QModelIndex index = m_model.indexOf(id); index.isValid())
            rows.select(index, index);
    }
    m_view->selectionModel()->select(rows, QItemSelectionModel::ClearAndSelect);
    const QModelIndex last = m_model.indexOf(m_adapter.selectedId());
    if (!last.isValid())
        return;
    m_view->selectionModel()->setCurrentIndex(last, QItemSelectionModel::NoUpdate);
    m_view->scrollTo(last);
}

void SceneTreePanel::editName(const QUuid &id)
{
    const QModelIndex index = m_model.indexOf(id);
    if (!index.isValid())
        return;
    m_view->scrollTo(index);
    m_view->edit(index);
}

void SceneTreePanel::showMenu(const QPoint &position)
{
    auto *const menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    using enum SceneActions::Command;
    for (const auto command : {AddInside, Group, Duplicate, Rename})
        menu->addAction(m_actions->action(command));
    menu->addSeparator();
    for (const auto command : {Hide, ShowAll, Isolate})
        menu->addAction(m_actions->action(command));
    menu->addSeparator();
    for (const auto command : {NestIntoComponent, MakeProxy, ExportThis})
        menu->addAction(m_actions->action(command));
    menu->addSeparator();
    menu->addAction(m_actions->action(Remove));
    menu->popup(m_view->viewport()->mapToGlobal(position));
}

// Failing expressions, at the node that the user sees.
void SceneTreePanel::updateProblems()
{
    QHash<QUuid, QString> problems;
    const auto *const expressions = m_session->expressions();
    const auto failures = expressions ? expressions->failures() : QList<expr::ExpressionFailure>();
    for (const auto &failure : failures) {
        const QUuid node =
            m_session->compiler()->compiledToSource().value(failure.instanceId, failure.instanceId);
        if (!node.isNull() && !problems.contains(node))
            problems.insert(node, tr("%1: %2").arg(failure.name, failure.message));
    }
    m_delegate->setProblems(problems);
    m_view->viewport()->update();
}

} // namespace corvane::ui
