#include <corvane/ui/fields/CompletionPopup.h>

#include <corvane/ui/look/IconSet.h>
#include <corvane/ui/look/Metrics.h>

#include <QKeyEvent>
#include <QLineEdit>

using namespace Qt::StringLiterals;

namespace corvane::ui {

namespace {

using Kind = CompletionEntry::Kind;

constexpr int mostRows = 8;
constexpr int widest = 320;

QString iconOf(Kind kind)
{
    switch (kind) {
    case Kind::Variable:
        return u"variable"_s;
    case Kind::Parameter:
        return u"box"_s;
    case Kind::Function:
        return u"code"_s;
    case Kind::Constant:
        return u"hash"_s;
    }
    return {};
}

QString shownText(const CompletionEntry &entry)
{
    return entry.kind == Kind::Function ? u"%1(%2)"_s.arg(entry.text, entry.detail)
                                        : u"%1   %2"_s.arg(entry.text, entry.detail);
}

} // namespace

// A child of the window and no popup of its own: a popup would take the keyboard from the edit.
CompletionPopup::CompletionPopup(QLineEdit *edit, const ExpressionScope *scope)
    : QListWidget(edit->window())
    , m_edit(edit)
    , m_scope(scope)
{
    setObjectName(u"completionPopup"_s);
    setAccessibleName(tr("Completions"));
    setFocusPolicy(Qt::NoFocus);
    setUniformItemSizes(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    hide();
    edit->installEventFilter(this);
    connect(edit, &QObject::destroyed, this, &QObject::deleteLater);
    connect(this, &QListWidget::itemClicked, this, &CompletionPopup::putIn);
}

void CompletionPopup::offer(bool isAsked)
{
    const QString before = nameBefore(m_edit->text(), m_edit->cursorPosition());
    clear();
    if (!m_scope || !m_edit->text().trimmed().startsWith(u'=') || (before.isEmpty() && !isAsked)) {
        hide();
        return;
    }
    const auto entries = m_scope->completions(before);
    for (const CompletionEntry &entry : entries) {
        auto *const item = new QListWidgetItem(icon(iconOf(entry.kind)), shownText(entry), this);
        item->setData(Qt::UserRole, entry.kind == Kind::Function ? entry.text + u'(' : entry.text);
    }
    const bool isTyped = entries.size() == 1 && entries.first().text == before;
    if (entries.isEmpty() || isTyped) {
        hide();
        return;
    }
    setCurrentRow(0);
    place();
    show();
    raise();
}

void CompletionPopup::place()
{
    const int row = qMax(sizeHintForRow(0), int(Metrics::rowHeight));
    const int rows = qMin(count(), mostRows);
    const QWidget *const window = m_edit->window();
    QRect box(
        m_edit->mapTo(window, QPoint(0, m_edit->height() + 1)),
        QSize(qMax(m_edit->width(), qMin(widest, window->width())), rows * row + 2 * frameWidth()));
    if (box.bottom() > window->height())
        box.moveBottom(m_edit->mapTo(window, QPoint(0, -1)).y());
    box.moveLeft(qBound(0, box.left(), qMax(0, window->width() - box.width())));
    setGeometry(box);
}

bool CompletionPopup::eventFilter(QObject *watched, QEvent *event)
{
    if (watched != m_edit)
        return QListWidget::eventFilter(watched, event);
    if (event->type() == QEvent::FocusOut || event->type() == QEvent::Hide)
        hide();
    if (event->type() == QEvent::ShortcutOverride && isVisible()) {
        event->accept(); // the keys below are ours, whatever else they mean
        return true;
    }
    if (event->type() != QEvent::KeyPress)
        return false;
    const auto *const key = static_cast<QKeyEvent *>(event);
    if (key->key() == Qt::Key_Space && key->modifiers() == Qt::ControlModifier) {
        offer(true);
        return true;
    }
    return isVisible() && takeKey(key->key());
}

bool CompletionPopup::takeKey(int key)
{
    switch (key) {
    case Qt::Key_Up:
        setCurrentRow((currentRow() + count() - 1) % count());
        return true;
    case Qt::Key_Down:
        setCurrentRow((currentRow() + 1) % count());
        return true;
    case Qt::Key_Tab:
    case Qt::Key_Return:
    case Qt::Key_Enter:
        putIn();
        return true;
    case Qt::Key_Escape:
        hide();
        return true;
    default:
        return false;
    }
}

void CompletionPopup::putIn()
{
    const QListWidgetItem *const chosen = currentItem();
    if (!chosen)
        return;
    const QString text = m_edit->text();
    const int end = m_edit->cursorPosition();
    const int begin = end - int(nameBefore(text, end).size());
    const QString name = chosen->data(Qt::UserRole).toString();
    hide();
    m_edit->setText(text.first(begin) + name + text.sliced(end));
    m_edit->setCursorPosition(begin + int(name.size()));
    emit m_edit->textEdited(m_edit->text());
    hide(); // the name that was put in is complete
}

} // namespace corvane::ui
