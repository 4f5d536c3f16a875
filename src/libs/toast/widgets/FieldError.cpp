#include "FieldError.h"

#include <toast/ToastRecord.h>

#include <QEvent>
#include <QFormLayout>
#include <QLabel>
#include <QPointer>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace toast {

namespace {

constexpr auto labelProperty = "fieldErrorLabel";

/// The label; where no layout has a place for it, it follows its field by itself.
class ErrorLabel : public QLabel
{
public:
    explicit ErrorLabel(QWidget *field)
        : QLabel(field->parentWidget() ? field->parentWidget() : field)
        , m_field(field)
    {
        setObjectName(u"fieldError"_s);
        setTextFormat(Qt::PlainText);
        setWordWrap(true);
        setStyleSheet(u"color: %1; font-size: small;"_s.arg(borderColor(Severity::Error)));
        connect(field, &QObject::destroyed, this, &QObject::deleteLater);
        m_isPlaced = placeIn(field->parentWidget() ? field->parentWidget()->layout() : nullptr);
        if (!m_isPlaced)
            field->installEventFilter(this);
    }

    void follow()
    {
        if (m_isPlaced || !m_field)
            return;
        const int wide = qMax(m_field->width(), minimumSizeHint().width());
        resize(wide, heightForWidth(wide));
        const bool isInside = m_field == parentWidget(); // of a field without surroundings
        move(isInside ? QPoint(0, m_field->height() - height())
                      : m_field->geometry().bottomLeft() + QPoint(0, 1));
        raise();
    }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        switch (event->type()) {
        case QEvent::Move:
        case QEvent::Resize:
            follow();
            break;
        case QEvent::Hide:
            hide();
            break;
        case QEvent::Show:
            show();
            break;
        default:
            break;
        }
        return QLabel::eventFilter(watched, event);
    }

private:
    bool placeIn(QLayout *layout)
    {
        if (auto *const form = qobject_cast<QFormLayout *>(layout)) {
            int row = -1;
            QFormLayout::ItemRole role = QFormLayout::FieldRole;
            form->getWidgetPosition(m_field, &row, &role);
            if (row >= 0)
                form->insertRow(row + 1, QString(), this);
            return row >= 0;
        }
        auto *const column = qobject_cast<QVBoxLayout *>(layout);
        const int place = column ? column->indexOf(m_field) : -1;
        if (place >= 0)
            column->insertWidget(place + 1, this);
        return place >= 0;
    }

    const QPointer<QWidget> m_field;
    bool m_isPlaced = false;
};

ErrorLabel *labelOf(const QWidget *field)
{
    const auto label = field->property(labelProperty).value<QPointer<QLabel>>();
    return static_cast<ErrorLabel *>(label.data());
}

// A form keeps the row of a widget that is deleted; taken out by the form it goes whole.
void removeLabel(ErrorLabel *label)
{
    QWidget *const parent = label->parentWidget();
    auto *const form = qobject_cast<QFormLayout *>(parent ? parent->layout() : nullptr);
    int row = -1;
    QFormLayout::ItemRole role = QFormLayout::FieldRole;
    if (form)
        form->getWidgetPosition(label, &row, &role);
    if (row >= 0)
        form->removeRow(row);
    else
        delete label;
}

} // namespace

void setFieldError(QWidget *field, const QString &text)
{
    if (text.isEmpty())
        return clearFieldError(field);
    ErrorLabel *label = labelOf(field);
    if (!label) {
        label = new ErrorLabel(field);
        field->setProperty(labelProperty, QVariant::fromValue(QPointer<QLabel>(label)));
    }
    label->setText(text);
    label->follow();
    label->setVisible(!field->isHidden());
}

void clearFieldError(QWidget *field)
{
    if (ErrorLabel *const label = labelOf(field))
        removeLabel(label);
    field->setProperty(labelProperty, QVariant());
}

bool hasFieldError(const QWidget *field)
{
    return labelOf(field) != nullptr;
}

} // namespace toast
