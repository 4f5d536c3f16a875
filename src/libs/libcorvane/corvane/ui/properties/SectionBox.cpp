#include <corvane/ui/properties/SectionBox.h>

#include <corvane/ui/fields/NumberField.h>
#include <corvane/ui/look/Fonts.h>
#include <corvane/ui/look/IconSet.h>

#include <QLabel>
#include <QToolButton>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace corvane::ui {

SectionBox::SectionBox(const QString &title, QWidget *parent)
    : QWidget(parent)
    , m_head(new QToolButton(this))
    , m_body(new QWidget(this))
    , m_rows(new QVBoxLayout(m_body))
{
    setAccessibleName(title);
    QFont bold = applicationFont();
    bold.setBold(true);
    m_head->setFont(bold);
    m_head->setText(title);
    m_head->setAutoRaise(true);
    m_head->setCheckable(true);
    m_head->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    m_head->setAccessibleName(tr("%1, section").arg(title));
    m_rows->setContentsMargins(Metrics::margin, 0, Metrics::margin, Metrics::margin);
    m_rows->setSpacing(Metrics::grid);
    auto *const column = new QVBoxLayout(this);
    column->setContentsMargins({});
    column->setSpacing(0);
    m_headRow = new QHBoxLayout;
    m_headRow->setContentsMargins(0, 0, Metrics::margin, 0);
    m_headRow->addWidget(m_head);
    m_headRow->addStretch();
    column->addLayout(m_headRow);
    column->addWidget(m_body);
    connect(m_head, &QToolButton::clicked, this, [this] {
        setFolded(!isFolded());
        emit folded(isFolded());
    });
    setFolded(false);
}

QString SectionBox::title() const
{
    return m_head->text();
}

bool SectionBox::isFolded() const
{
    return m_body->isHidden();
}

void SectionBox::setFolded(bool folded)
{
    m_body->setVisible(!folded);
    m_head->setChecked(false); // the chevron says it
    m_head->setIcon(icon(folded ? u"chevron-right"_s : u"chevron-down"_s));
}

void SectionBox::addField(FieldWidget *field)
{
    auto *const row = new QHBoxLayout;
    row->setSpacing(0);
    auto *const label = new QLabel(field->name(), m_body);
    label->setFixedWidth(Metrics::labelWidth);
    label->setMinimumHeight(Metrics::controlHeight);
    label->setToolTip(field->toolTip());
    label->setBuddy(field->editor());
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    row->addWidget(label, 0, Qt::AlignTop);
    row->addWidget(field, 1, Qt::AlignTop);
    m_rows->addLayout(row);
    m_fields.append(field);
    if (auto *const number = qobject_cast<NumberField *>(field))
        number->setLabel(label);
}

void SectionBox::addWidget(QWidget *widget)
{
    m_rows->addWidget(widget);
}

void SectionBox::addHeadButton(QToolButton *button)
{
    m_headRow->addWidget(button);
}

} // namespace corvane::ui
