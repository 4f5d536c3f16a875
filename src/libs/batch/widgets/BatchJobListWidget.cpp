#include <batch_widgets/BatchJobListWidget.h>

#include <batch_widgets/BatchJobDelegate.h>
#include <batch_widgets/BatchJobListModel.h>

#include <QComboBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QLabel>
#include <QPushButton>
#include <QTableView>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace batch {

namespace {

struct OriginRow
{
    const char *text;
    QLatin1StringView origin; ///< empty for all
};

constexpr OriginRow origins[] = {
    {QT_TRANSLATE_NOOP("batch::BatchJobListWidget", "All"), {}},
    {QT_TRANSLATE_NOOP("batch::BatchJobListWidget", "Directive"), "directive"_L1},
    {QT_TRANSLATE_NOOP("batch::BatchJobListWidget", "ZIRN"), "zirn"_L1},
    {QT_TRANSLATE_NOOP("batch::BatchJobListWidget", "Manual"), "manual"_L1},
    {QT_TRANSLATE_NOOP("batch::BatchJobListWidget", "System"), "system"_L1},
};

/// The first widths of the columns, in letters.
constexpr int columnLetters[jobColumnCount] = {4, 24, 16, 9, 18, 11, 11, 10, 24};

bool canRetry(BatchStatus status)
{
    return status == BatchStatus::Failed || status == BatchStatus::Hung;
}

bool canCancel(BatchStatus status)
{
    return !isTerminal(status);
}

} // namespace

BatchJobListWidget::BatchJobListWidget(BatchQueue *queue, QWidget *parent)
    : QWidget(parent)
    , m_queue(queue)
    , m_model(new BatchJobListModel(queue, this))
    , m_table(new QTableView(this))
{
    setObjectName(u"batchJobList"_s);
    setAccessibleName(tr("Jobs"));
    auto *const column = new QVBoxLayout(this);
    column->addWidget(makeOriginRow());
    column->addWidget(m_table, 1);
    column->addWidget(makeButtonRow());
    setUpTable();
    connectTable();
    updateButtons();
}

void BatchJobListWidget::setUpTable()
{
    m_table->setObjectName(u"batchJobTable"_s);
    m_table->setAccessibleName(tr("Jobs"));
    m_table->setModel(m_model);
    m_table->setItemDelegate(new BatchJobDelegate(m_table));
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_table->setShowGrid(false);
    m_table->setWordWrap(false);
    m_table->setTabKeyNavigation(false);
    m_table->verticalHeader()->hide();
    m_table->horizontalHeader()->setHighlightSections(false);
    m_table->horizontalHeader()->setStretchLastSection(true);
    m_table->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    const int letter = fontMetrics().averageCharWidth();
    for (int i = 0; i < jobColumnCount; ++i)
        m_table->setColumnWidth(i, columnLetters[i] * letter + 12);
}

QWidget *BatchJobListWidget::makeOriginRow()
{
    auto *const row = new QWidget(this);
    auto *const line = new QHBoxLayout(row);
    line->setContentsMargins({});
    auto *const label = new QLabel(tr("Origin:"), row);
    m_origin = new QComboBox(row);
    m_origin->setObjectName(u"batchOrigin"_s);
    m_origin->setAccessibleName(tr("Origin"));
    m_origin->setToolTip(tr("Filter jobs by origin type"));
    for (const OriginRow &origin : origins)
        m_origin->addItem(tr(origin.text), QString(origin.origin));
    label->setBuddy(m_origin);
    line->addWidget(label);
    line->addWidget(m_origin);
    line->addStretch();
    connect(m_origin, &QComboBox::currentIndexChanged, this, &BatchJobListWidget::setOrigin);
    return row;
}

QWidget *BatchJobListWidget::makeButtonRow()
{
    auto *const row = new QWidget(this);
    auto *const line = new QHBoxLayout(row);
    line->setContentsMargins({});
    const auto add = [&](const QString &text, void (BatchJobListWidget::*slot)()) {
        auto *const button = new QPushButton(text, row);
        button->setAutoDefault(false);
        connect(button, &QPushButton::clicked, this, slot);
        line->addWidget(button);
        return button;
    };
    m_retry = add(tr("Retry"), &BatchJobListWidget::onRetry);
    m_cancel = add(tr("Cancel"), &BatchJobListWidget::onCancel);
    line->addStretch();
    add(tr("Retry failed"), &BatchJobListWidget::onRetryFailed);
    add(tr("Clear done"), &BatchJobListWidget::onClearDone);
    add(tr("Clear all"), &BatchJobListWidget::onClearAll);
    return row;
}

void BatchJobListWidget::connectTable()
{
    connect(m_model, &QAbstractItemModel::modelAboutToBeReset, this,
            &BatchJobListWidget::saveSelection);
    connect(m_model, &QAbstractItemModel::modelReset, this, &BatchJobListWidget::restoreSelection);
    connect(m_model, &QAbstractItemModel::dataChanged, this, &BatchJobListWidget::updateButtons);
    connect(m_table->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &BatchJobListWidget::updateButtons);
    connect(m_table->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            [this](const QModelIndex &current) {
                if (const quint64 id = m_model->idAt(current.row()))
                    emit jobSelected(id);
            });
    connect(m_table, &QTableView::doubleClicked, this, [this](const QModelIndex &index) {
        emit jobDoubleClicked(m_model->idAt(index.row()));
    });
}

void BatchJobListWidget::setOrigin(int row)
{
    BatchJobFilter filter = m_model->filter();
    filter.origin = row > 0 ? std::optional(m_origin->itemData(row).toString()) : std::nullopt;
    m_model->setFilter(filter);
}

QSet<quint64> BatchJobListWidget::selectedJobs() const
{
    QSet<quint64> ids;
    const QModelIndexList rows = m_table->selectionModel()->selectedRows();
    for (const QModelIndex &row : rows)
        ids.insert(m_model->idAt(row.row()));
    return ids;
}

bool BatchJobListWidget::isAnySelected(bool (*fits)(BatchStatus)) const
{
    const QModelIndexList rows = m_table->selectionModel()->selectedRows();
    return std::any_of(rows.cbegin(), rows.cend(), [fits](const QModelIndex &row) {
        return fits(BatchStatus(row.data(BatchJobListModel::StatusRole).toInt()));
    });
}

void BatchJobListWidget::updateButtons()
{
    m_retry->setEnabled(isAnySelected(&canRetry));
    m_cancel->setEnabled(isAnySelected(&canCancel));
}

void BatchJobListWidget::onRetry()
{
    const QSet<quint64> ids = selectedJobs();
    for (const quint64 id : ids) {
        const auto job = m_queue->job(id);
        if (job && canRetry(job->status))
            m_queue->retry(id);
    }
}

void BatchJobListWidget::onCancel()
{
    const QSet<quint64> ids = selectedJobs();
    for (const quint64 id : ids) {
        const auto job = m_queue->job(id);
        if (job && canCancel(job->status))
            m_queue->cancel(id);
    }
}

void BatchJobListWidget::onRetryFailed()
{
    const auto failed = m_queue->jobs({.status = BatchStatus::Failed});
    for (const BatchJob &job : failed)
        m_queue->retry(job.id);
}

void BatchJobListWidget::onClearDone()
{
    m_queue->clearDone();
}

void BatchJobListWidget::onClearAll()
{
    m_queue->clearAll();
}

void BatchJobListWidget::saveSelection()
{
    m_savedSelection = selectedJobs();
    m_savedCurrent = m_model->idAt(m_table->currentIndex().row());
}

void BatchJobListWidget::restoreSelection()
{
    QItemSelection rows;
    for (const quint64 id : std::as_const(m_savedSelection)) {
        if (const int row = m_model->rowOf(id); row >= 0)
            rows.select(m_model->index(row, 0), m_model->index(row, jobColumnCount - 1));
    }
    QItemSelectionModel *const selection = m_table->selectionModel();
    selection->select(rows, QItemSelectionModel::ClearAndSelect);
    if (const int row = m_model->rowOf(m_savedCurrent); row >= 0)
        selection->setCurrentIndex(m_model->index(row, 0), QItemSelectionModel::NoUpdate);
    updateButtons();
}

} // namespace batch
