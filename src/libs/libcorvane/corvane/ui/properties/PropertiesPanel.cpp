#include <corvane/ui/properties/PropertiesPanel.h>

#include <corvane/model/MaterialLibrary.h>
#include <corvane/ui/fields/NumberField.h>
#include <corvane/ui/fields/SimpleFields.h>
#include <corvane/ui/fields/VectorField.h>
#include <corvane/ui/fields/makeField.h>
#include <corvane/ui/look/Fonts.h>
#include <corvane/ui/look/IconSet.h>
#include <corvane/ui/properties/SectionBox.h>
#include <corvane/ui/targets/NodeTargets.h>

#include <QLabel>
#include <QScrollArea>
#include <QToolButton>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace corvane::ui {

namespace {

/// A number between 0 and 1, as materials have them.
NumberSpec fraction(const QString &name, const QString &description)
{
    NumberSpec spec{.name = name, .description = description, .minimum = 0.0, .maximum = 1.0};
    spec.step = 0.05;
    spec.drag.bounded = true;
    spec.drag.signLock = false;
    return spec;
}

NumberSpec length(const QString &name)
{
    NumberSpec spec{.name = name, .unit = u"mm"_s};
    spec.drag.signLock = false;
    return spec;
}

} // namespace

PropertiesPanel::PropertiesPanel(lifecycle::SceneSession *session, item::IScenePanelModel *panel,
                                 const ExpressionScope *scope, QWidget *parent)
    : QWidget(parent)
    , m_session(session)
    , m_panel(panel)
    , m_scope(scope)
    , m_scroll(new QScrollArea(this))
{
    setObjectName(u"propertiesPanel"_s);
    setAccessibleName(tr("Properties"));
    m_scroll->setWidgetResizable(true);
    m_scroll->setFrameShape(QFrame::NoFrame);
    m_scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_scroll->setFocusPolicy(Qt::NoFocus);
    auto *const column = new QVBoxLayout(this);
    column->setContentsMargins({});
    column->addWidget(m_scroll);
    m_refreshTimer.setSingleShot(true);
    m_refreshTimer.setInterval(0); // many signals of one edit are one look
    const auto soon = [this] { m_refreshTimer.start(); };
    connect(&m_refreshTimer, &QTimer::timeout, this, &PropertiesPanel::refresh);
    connect(panel, &item::IScenePanelModel::selectionChanged, this, soon);
    connect(panel, &item::IScenePanelModel::structureChanged, this, soon);
    connect(session->tree(), &model::LogicalScene::structureChanged, this, soon);
    connect(session->tree(), &model::LogicalScene::wrapperParameterChanged, this, soon);
    connect(session, &lifecycle::SceneSession::sceneOpened, this, soon);
    rebuild();
}

void PropertiesPanel::refresh()
{
    m_refreshTimer.stop();
    auto content = PropertiesContent::of(*m_session->tree(), m_panel->selectedIds());
    content.title = content.nodes.size() == 1 ? QString() : content.title; // a field of its own
    if (content == m_content)
        return;
    m_content = content;
    rebuild();
}

void PropertiesPanel::clearContent()
{
    m_sections.clear();
    m_page = new QWidget;
    m_column = new QVBoxLayout(m_page);
    m_column->setContentsMargins(0, Metrics::margin, 0, Metrics::margin);
    m_column->setSpacing(0);
    m_scroll->setWidget(m_page); // the one before goes, and its targets with it
}

void PropertiesPanel::rebuild()
{
    clearContent();
    if (m_content.nodes.isEmpty()) {
        auto *const hint =
            new QLabel(tr("Select something in the picture or the tree to set it here."), m_page);
        hint->setWordWrap(true);
        hint->setAlignment(Qt::AlignCenter);
        hint->setForegroundRole(QPalette::PlaceholderText);
        hint->setMargin(2 * Metrics::margin);
        m_column->addStretch();
        m_column->addWidget(hint);
        m_column->addStretch();
        return;
    }
    buildHead();
    if (m_content.hasTransform)
        buildTransform();
    buildParameters();
    buildWrappers();
    if (m_content.hasMaterial)
        buildSurface();
    m_column->addStretch();
}

template<class Target, class... Args>
Target *PropertiesPanel::makeTarget(Args &&...args)
{
    return new Target(m_session, m_content.nodes, std::forward<Args>(args)..., m_page);
}

SectionBox *PropertiesPanel::addSection(const QString &title)
{
    auto *const box = new SectionBox(title, m_page);
    box->setFolded(m_folded.contains(title));
    connect(box, &SectionBox::folded, this, [this, title](bool on) {
        if (on)
            m_folded.insert(title);
        else
            m_folded.remove(title);
    });
    m_column->addWidget(box);
    m_sections.append(box);
    return box;
}

void PropertiesPanel::buildHead()
{
    auto *const head = new QVBoxLayout;
    head->setContentsMargins(Metrics::margin, 0, Metrics::margin, Metrics::margin);
    head->setSpacing(Metrics::grid);
    if (m_content.nodes.size() == 1) {
        auto *const name = new TextField({tr("Name"), tr("As the tree and expressions call it")},
                                         makeTarget<NameTarget>(), m_scope, m_page);
        head->addWidget(name);
    } else {
        auto *const title = new QLabel(m_content.title, m_page);
        title->setFont(applicationFont(TextSize::Large));
        head->addWidget(title);
    }
    auto *const kind = new QLabel(m_content.kind, m_page);
    kind->setTextFormat(Qt::PlainText);
    kind->setFont(applicationFont(TextSize::Small));
    kind->setForegroundRole(QPalette::PlaceholderText);
    kind->setToolTip(m_content.description);
    kind->setIndent(2 * Metrics::grid);
    head->addWidget(kind);
    m_column->addLayout(head);
}

void PropertiesPanel::buildTransform()
{
    using Part = TransformTarget::Part;
    SectionBox &box = *addSection(tr("Transform"));
    NumberSpec turn{.name = tr("Rotation"), .unit = u"°"_s, .step = 5.0};
    turn.drag = {.deltaAtMin = 0.2, .deltaAtMax = 0.2, .signLock = false};
    NumberSpec size{.name = tr("Scale"), .minimum = 0.001};
    size.drag.mapping = registry::DragSpec::Mapping::Multiplicative;
    box.addField(new VectorField(length(tr("Position")), 3,
                                 makeTarget<TransformTarget>(Part::Translate), m_scope, m_page));
    box.addField(
        new VectorField(turn, 3, makeTarget<TransformTarget>(Part::Rotate), m_scope, m_page));
    box.addField(new NumberField(size, makeTarget<TransformTarget>(Part::Scale), m_scope, m_page));
}

void PropertiesPanel::addParameters(SectionBox &box,
                                    const QList<registry::ParameterDef> &parameters,
                                    const QString &wrapperId)
{
    for (const registry::ParameterDef &parameter : parameters) {
        auto *const target = makeTarget<ParameterTarget>(parameter, wrapperId);
        if (FieldWidget *const field = makeField(parameter, target, m_scope, m_page))
            box.addField(field);
    }
}

void PropertiesPanel::buildParameters()
{
    for (const PropertiesContent::Section &section : std::as_const(m_content.sections))
        addParameters(*addSection(section.title), section.parameters, {});
}

void PropertiesPanel::buildWrappers()
{
    SectionBox &box = *addSection(tr("Wrappers"));
    auto *const add = new QToolButton(&box);
    add->setIcon(icon(u"plus"_s));
    add->setAutoRaise(true);
    add->setToolTip(tr("Add a modifier or transform around the selected items"));
    add->setAccessibleName(tr("Add a wrapper"));
    connect(add, &QToolButton::clicked, this, &PropertiesPanel::addWrapperRequested);
    box.addHeadButton(add);
    if (m_content.wrappers.isEmpty()) {
        auto *const none = new QLabel(tr("None. Modifiers such as rounding stand here."), &box);
        none->setForegroundRole(QPalette::PlaceholderText);
        none->setWordWrap(true);
        box.addWidget(none);
    }
    for (const PropertiesContent::Wrapper &wrapper : std::as_const(m_content.wrappers)) {
        auto *const name = new QLabel(wrapper.name, &box);
        name->setObjectName(u"wrapper-"_s + wrapper.id);
        box.addWidget(name);
        addParameters(box, wrapper.parameters, wrapper.id);
    }
}

void PropertiesPanel::buildSurface()
{
    SectionBox &box = *addSection(tr("Material"));
    QList<ChoiceField::Choice> choices{{tr("Its own"), QString()}};
    const auto materials = model::MaterialLibrary::instance().allMaterials();
    for (const auto &material : materials)
        choices.append({material.name, material.id.toString()});
    box.addField(new ChoiceField({tr("Material"), tr("One of the catalogue, or its own")}, choices,
                                 makeTarget<MaterialChoiceTarget>(), m_scope, m_page));
    box.addField(new ColorField({tr("Colour"), tr("Base colour")},
                                makeTarget<MaterialTarget>(u"albedo"_s), m_scope, m_page));
    box.addField(new NumberField(fraction(tr("Metal"), tr("0 for plastic, 1 for metal")),
                                 makeTarget<MaterialTarget>(u"metallic"_s), m_scope, m_page));
    box.addField(new NumberField(fraction(tr("Roughness"), tr("0 for a mirror, 1 for chalk")),
                                 makeTarget<MaterialTarget>(u"roughness"_s), m_scope, m_page));
    NumberSpec glow = fraction(tr("Glow"), tr("Light of its own"));
    glow.maximum.reset();
    glow.drag.bounded = false;
    box.addField(new NumberField(glow, makeTarget<MaterialTarget>(u"emission"_s), m_scope, m_page));
}

void PropertiesPanel::focusFirstParameter(const QString &wrapperId)
{
    refresh();
    const QString title = !wrapperId.isEmpty()           ? tr("Wrappers")
                          : m_content.sections.isEmpty() ? QString()
                                                         : m_content.sections.first().title;
    for (SectionBox *const box : std::as_const(m_sections)) {
        if (box->title() != title || box->fields().isEmpty())
            continue;
        FieldWidget *const field =
            wrapperId.isEmpty() ? box->fields().first() : box->fields().last();
        box->setFolded(false);
        m_scroll->ensureWidgetVisible(field);
        field->editor()->setFocus(Qt::TabFocusReason); // which selects what is there
        return;
    }
}

} // namespace corvane::ui
