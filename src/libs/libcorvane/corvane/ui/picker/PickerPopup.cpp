#include <corvane/ui/picker/PickerPopup.h>

#include <corvane/ui/look/Fonts.h>
#include <corvane/ui/look/IconSet.h>
#include <corvane/ui/look/Theme.h>

#include <QGuiApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPainter>
#include <QScreen>
#include <QStyledItemDelegate>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace corvane::ui {

namespace {

constexpr QSize popupSize(340, 420);
constexpr int entryHeight = 36;
constexpr int pageRows = 8;

/// A heading in small letters, or a picture, a name and its category.
class PickerDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QSize sizeHint(const QStyleOptionViewItem &, const QModelIndex &index) const override
    {
        const bool isHeading = index.data(PickerModel::IsHeadingRole).toBool();
        return {0, isHeading ? Metrics::rowHeight : entryHeight};
    }

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override
    {
        painter->save();
        if (index.data(PickerModel::IsHeadingRole).toBool())
            paintHeading(*painter, option, index);
        else
            paintEntry(*painter, option, index);
        painter->restore();
    }

private:
    static void paintHeading(QPainter &painter, const QStyleOptionViewItem &option,
                             const QModelIndex &index)
    {
        painter.setFont(applicationFont(TextSize::Small));
        painter.setPen(SemanticPalette::current().muted);
        painter.drawText(option.rect.adjusted(Metrics::margin, 0, 0, -2),
                         Qt::AlignLeft | Qt::AlignBottom, index.data().toString());
    }

    static void paintEntry(QPainter &painter, const QStyleOptionViewItem &option,
                           const QModelIndex &index)
    {
        option.widget->style()->drawPrimitive(QStyle::PE_PanelItemViewItem, &option, &painter,
                                              option.widget);
        const bool isChosen = option.state.testFlag(QStyle::State_Selected);
        const QColor text =
            option.palette.color(isChosen ? QPalette::HighlightedText : QPalette::Text);
        QRect place(option.rect.left() + Metrics::margin, 0, PickerModel::thumbnailSize,
                    PickerModel::thumbnailSize);
        place.moveCenter({place.center().x(), option.rect.center().y()});
        const QVariant picture = index.data(Qt::DecorationRole);
        if (picture.typeId() == QMetaType::QPixmap) {
            painter.drawPixmap(place, picture.value<QPixmap>());
        } else {
            constexpr int around = (PickerModel::thumbnailSize - 20) / 2;
            picture.value<QIcon>().paint(&painter, place.adjusted(around, around, -around, -around),
                                         Qt::AlignCenter,
                                         isChosen ? QIcon::Selected : QIcon::Normal);
        }
        const QRect words =
            option.rect.adjusted(place.right() + Metrics::margin, 0, -Metrics::margin, 0);
        painter.setPen(text);
        painter.drawText(words, Qt::AlignLeft | Qt::AlignVCenter, index.data().toString());
        painter.setFont(applicationFont(TextSize::Small));
        painter.setPen(isChosen ? text : SemanticPalette::current().muted);
        painter.drawText(words, Qt::AlignRight | Qt::AlignVCenter,
                         index.data(PickerModel::CategoryRole).toString());
    }
};

} // namespace

PickerPopup::PickerPopup(const registry::ThingsFacade *things, PickerUsage *usage,
                         ThumbnailSource *thumbnails, QWidget *parent)
    : QFrame(parent, Qt::Popup)
    , m_usage(usage)
    , m_model(new PickerModel(things, usage, thumbnails, this))
    , m_search(new QLineEdit(this))
    , m_list(new QListView(this))
    , m_description(new QLabel(this))
{
    setObjectName(u"definitionPicker"_s);
    setAccessibleName(tr("Add"));
    setFrameShape(QFrame::StyledPanel);
    m_search->setPlaceholderText(tr("Search shapes, operators and modifiers"));
    m_search->setAccessibleName(tr("Search what to add"));
    m_search->addAction(icon(u"search"_s), QLineEdit::LeadingPosition);
    m_search->installEventFilter(this);
    m_list->setAccessibleName(tr("What can be added"));
    m_list->setFocusPolicy(Qt::NoFocus);
    m_list->setFrameShape(QFrame::NoFrame);
    m_list->setMouseTracking(true);
    m_list->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    m_list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_list->setItemDelegate(new PickerDelegate(m_list));
    m_list->setModel(m_model);
    m_description->setFont(applicationFont(TextSize::Small));
    m_description->setTextFormat(Qt::PlainText);
    m_description->setWordWrap(true);
    m_description->setMinimumHeight(2 * m_description->fontMetrics().height());
    auto *const column = new QVBoxLayout(this);
    column->addWidget(m_search);
    column->addWidget(m_list, 1);
    column->addWidget(m_description);
    connect(m_search, &QLineEdit::textChanged, this, &PickerPopup::search);
    connect(m_list, &QListView::clicked, this, &PickerPopup::pick);
    connect(m_list->selectionModel(), &QItemSelectionModel::currentChanged, this,
            &PickerPopup::describe);
}

void PickerPopup::openAt(const QPoint &globalPosition)
{
    m_model->reload();
    m_search->clear();
    search({});
    resize(popupSize);
    const QScreen *const screen = QGuiApplication::screenAt(globalPosition);
    const QRect room = (screen ? screen : QGuiApplication::primaryScreen())->availableGeometry();
    QRect box(globalPosition, popupSize);
    box.moveRight(qMin(box.right(), room.right()));
    box.moveBottom(qMin(box.bottom(), room.bottom()));
    move(qMax(room.left(), box.left()), qMax(room.top(), box.top()));
    show();
    m_search->setFocus(Qt::PopupFocusReason);
}

void PickerPopup::search(const QString &text)
{
    m_model->setQuery(text);
    choose(m_model->nextRow(0, 1));
    m_list->scrollToTop();
}

void PickerPopup::choose(int row)
{
    if (row >= 0)
        m_list->setCurrentIndex(m_model->index(row));
    else
        describe();
}

void PickerPopup::describe()
{
    const QModelIndex chosen = m_list->currentIndex();
    m_description->setText(m_model->rowCount() == 0
                               ? tr("Nothing fits. Try another word, or fewer letters.")
                               : chosen.data(PickerModel::DescriptionRole).toString());
}

bool PickerPopup::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_search && event->type() == QEvent::KeyPress)
        return takeKey(static_cast<QKeyEvent *>(event)->key());
    return QFrame::eventFilter(watched, event);
}

bool PickerPopup::takeKey(int key)
{
    switch (key) {
    case Qt::Key_Down:
        moveBy(1);
        return true;
    case Qt::Key_Up:
        moveBy(-1);
        return true;
    case Qt::Key_PageDown:
        moveBy(pageRows);
        return true;
    case Qt::Key_PageUp:
        moveBy(-pageRows);
        return true;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        pick(m_list->currentIndex());
        return true;
    case Qt::Key_Escape:
        close();
        return true;
    default:
        return false;
    }
}

// Over headings, and no further than the ends.
void PickerPopup::moveBy(int rows)
{
    const int direction = rows > 0 ? 1 : -1;
    const int last = m_model->rowCount() - 1;
    const int wanted = qBound(0, m_list->currentIndex().row() + rows, last);
    const int row = m_model->nextRow(wanted, direction);
    choose(row >= 0 ? row : m_model->nextRow(wanted, -direction));
}

void PickerPopup::pick(const QModelIndex &index)
{
    const QString id = index.data(PickerModel::IdRole).toString();
    const QString kind = index.data(PickerModel::KindRole).toString();
    if (id.isEmpty())
        return;
    if (m_usage)
        m_usage->notePicked(id);
    close();
    emit picked(id, kind);
}

} // namespace corvane::ui
