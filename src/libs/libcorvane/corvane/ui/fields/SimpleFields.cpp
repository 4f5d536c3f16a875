#include <corvane/ui/fields/SimpleFields.h>

#include <corvane/ui/fields/ComponentTarget.h>
#include <corvane/ui/look/Metrics.h>
#include <corvane/ui/look/Theme.h>

#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>

using namespace Qt::StringLiterals;

namespace corvane::ui {

namespace {

constexpr int swatchWidth = 32;

QPixmap swatch(const QColor &color, qreal scale)
{
    QPixmap pixmap(QSize(swatchWidth, Metrics::iconSize) * scale);
    pixmap.setDevicePixelRatio(scale);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(SemanticPalette::current().border);
    painter.setBrush(color);
    painter.drawRoundedRect(QRectF(0.5, 0.5, swatchWidth - 1, Metrics::iconSize - 1), 3, 3);
    return pixmap;
}

} // namespace

// BoolField

BoolField::BoolField(const FieldLabel &label, FieldTarget *target, const ExpressionScope *scope,
                     QWidget *parent)
    : FieldWidget(label, target, scope, parent)
    , m_box(new QCheckBox(this))
{
    m_box->setFixedHeight(Metrics::controlHeight);
    setEditor(m_box);
    connect(m_box, &QCheckBox::clicked, this, [this](bool on) {
        if (this->target())
            this->target()->write(on);
        refresh();
    });
    refresh();
}

QWidget *BoolField::editor() const
{
    return m_box;
}

void BoolField::refresh()
{
    const FieldState state = target() ? target()->state() : FieldState{.isReadOnly = true};
    m_box->setTristate(state.isMixed);
    m_box->setCheckState(state.isMixed          ? Qt::PartiallyChecked
                         : state.value.toBool() ? Qt::Checked
                                                : Qt::Unchecked);
    m_box->setEnabled(!state.isReadOnly && !state.isBound());
    m_box->setText(state.isBound() ? u'=' + state.expression : QString());
    setErrorText(state.failure);
    FieldWidget::refresh();
}

QString BoolField::copyText() const
{
    return m_box->isChecked() ? u"true"_s : u"false"_s;
}

bool BoolField::paste(const QString &text)
{
    const QString word = text.trimmed().toLower();
    const bool isKnown = word == "true"_L1 || word == "false"_L1;
    return isKnown && target() && target()->write(word == "true"_L1);
}

// TextField

TextField::TextField(const FieldLabel &label, FieldTarget *target, const ExpressionScope *scope,
                     QWidget *parent)
    : FieldWidget(label, target, scope, parent)
    , m_edit(new QLineEdit(this))
{
    m_edit->setContextMenuPolicy(Qt::NoContextMenu);
    setEditor(m_edit);
    m_edit->installEventFilter(this);
    connect(m_edit, &QLineEdit::editingFinished, this, &TextField::commit);
    refresh();
}

QWidget *TextField::editor() const
{
    return m_edit;
}

void TextField::refresh()
{
    const FieldState state = target() ? target()->state() : FieldState{.isReadOnly = true};
    const QString text = state.isMixed ? QString() : state.value.toString();
    if (!m_edit->isModified() && m_edit->text() != text)
        m_edit->setText(text);
    m_edit->setPlaceholderText(state.isMixed ? tr("several") : QString());
    m_edit->setReadOnly(state.isReadOnly);
    setErrorText(state.failure);
    FieldWidget::refresh();
}

void TextField::commit()
{
    if (!m_edit->isModified())
        return;
    m_edit->setModified(false);
    if (target() && m_edit->text() != target()->state().value.toString())
        target()->write(m_edit->text());
    refresh();
}

bool TextField::eventFilter(QObject *watched, QEvent *event)
{
    const bool isEscape = event->type() == QEvent::KeyPress &&
                          static_cast<QKeyEvent *>(event)->key() == Qt::Key_Escape;
    if (watched != m_edit || !isEscape || !m_edit->isModified())
        return FieldWidget::eventFilter(watched, event);
    m_edit->setModified(false);
    refresh();
    return true;
}

QString TextField::copyText() const
{
    return m_edit->text();
}

bool TextField::paste(const QString &text)
{
    return target() && target()->write(text);
}

// ChoiceField

ChoiceField::ChoiceField(const FieldLabel &label, const QList<Choice> &choices, FieldTarget *target,
                         const ExpressionScope *scope, QWidget *parent)
    : FieldWidget(label, target, scope, parent)
    , m_choices(choices)
    , m_box(new QComboBox(this))
{
    for (const Choice &choice : choices)
        m_box->addItem(choice.text);
    m_box->setFocusPolicy(Qt::StrongFocus); // the wheel scrolls the panel
    setEditor(m_box);
    connect(m_box, &QComboBox::activated, this, [this](int row) {
        if (this->target())
            this->target()->write(m_choices.at(row).value);
        refresh();
    });
    refresh();
}

QWidget *ChoiceField::editor() const
{
    return m_box;
}

void ChoiceField::refresh()
{
    const FieldState state = target() ? target()->state() : FieldState{.isReadOnly = true};
    const auto it = std::find_if(m_choices.cbegin(), m_choices.cend(),
                                 [&](const Choice &choice) { return choice.value == state.value; });
    const bool isKnown = !state.isMixed && it != m_choices.cend();
    m_box->setCurrentIndex(isKnown ? int(it - m_choices.cbegin()) : -1);
    m_box->setEnabled(!state.isReadOnly);
    setErrorText(state.failure);
    FieldWidget::refresh();
}

QString ChoiceField::copyText() const
{
    return m_box->currentText();
}

bool ChoiceField::paste(const QString &text)
{
    const int row = m_box->findText(text.trimmed(), Qt::MatchFixedString);
    return row >= 0 && target() && target()->write(m_choices.at(row).value);
}

// ColorField

ColorField::ColorField(const FieldLabel &label, FieldTarget *target, const ExpressionScope *scope,
                       QWidget *parent)
    : FieldWidget(label, target, scope, parent)
    , m_button(new QPushButton(this))
{
    m_button->setAutoDefault(false);
    m_button->setIconSize(QSize(swatchWidth, Metrics::iconSize));
    setEditor(m_button);
    connect(m_button, &QPushButton::clicked, this, &ColorField::choose);
    refresh();
}

QWidget *ColorField::editor() const
{
    return m_button;
}

QColor ColorField::color() const
{
    const FieldState state = target() ? target()->state() : FieldState{};
    const QList<double> parts = components(state.value, 3);
    const auto channel = [&parts](int i) { return float(qBound(0.0, parts.at(i), 1.0)); };
    return QColor::fromRgbF(channel(0), channel(1), channel(2));
}

bool ColorField::setColor(const QColor &color)
{
    const FieldState state = target() ? target()->state() : FieldState{};
    QVariantList parts{double(color.redF()), double(color.greenF()), double(color.blueF())};
    if (state.value.toList().size() == 4 || state.value.typeId() == QMetaType::QVector4D)
        parts.append(components(state.value, 4).last());
    return target() && target()->write(parts);
}

void ColorField::refresh()
{
    const FieldState state = target() ? target()->state() : FieldState{.isReadOnly = true};
    m_button->setIcon(QIcon(swatch(color(), devicePixelRatioF())));
    m_button->setText(state.isMixed ? tr("several") : color().name());
    m_button->setEnabled(!state.isReadOnly && !state.isBound());
    setErrorText(state.failure);
    FieldWidget::refresh();
}

void ColorField::choose()
{
    auto *const dialog = new QColorDialog(color(), this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowTitle(name());
    connect(dialog, &QColorDialog::colorSelected, this, [this](const QColor &chosen) {
        setColor(chosen);
        refresh();
    });
    dialog->open();
}

QString ColorField::copyText() const
{
    return color().name();
}

bool ColorField::paste(const QString &text)
{
    const QColor pasted(text.trimmed());
    return pasted.isValid() && setColor(pasted);
}

} // namespace corvane::ui
