#include "States.h"

#include <batch_widgets/BatchJobListWidget.h>
#include <batch_widgets/BatchStatusWidget.h>
#include <corvane/lifecycle/SceneSession.h>
#include <corvane/ui/fields/NumberField.h>
#include <corvane/ui/picker/PickerPopup.h>
#include <corvane/ui/properties/PropertiesPanel.h>
#include <corvane/ui/properties/SectionBox.h>
#include <corvane/ui/tree/SceneTreePanel.h>
#include <corvane/ui/variables/VariablesPanel.h>
#include <toast_widgets/NoticeBellButton.h>
#include <toast_widgets/NoticeHistoryPanel.h>
#include <toast_widgets/ToastHostOverlay.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QSlider>
#include <QSplitter>
#include <QTreeView>

using namespace Qt::StringLiterals;
using namespace corvane::ui;
using corvane::lifecycle::SceneSession;

namespace {

/// The three panels around a place for the picture, as they stand in the window.
class PanelsState : public QSplitter
{
public:
    explicit PanelsState(const QString &sample)
        : m_tree(new SceneTreePanel(&m_session))
        , m_variables(new VariablesPanel(&m_session, &m_scope))
        , m_properties(new PropertiesPanel(&m_session, &m_tree->panelModel(), &m_scope))
    {
        connect(&m_session, &SceneSession::expressionsChanged, &m_scope,
                &ExpressionScope::setManager);
        m_scope.setManager(m_session.expressions());
        auto *const left = new QSplitter(Qt::Vertical);
        left->addWidget(m_tree);
        left->addWidget(m_variables);
        addWidget(left);
        addWidget(new QWidget); // the picture
        addWidget(m_properties);
        setSizes({250, 500, 280});
        if (!sample.isEmpty())
            m_session.openScene(u"" CORVANE_SAMPLES "/"_s + sample);
        m_tree->view()->expandAll();
    }

    ~PanelsState() override
    {
        while (count() > 0) // before the session that they show
            delete widget(0);
    }

    SceneSession &session() { return m_session; }
    SceneTreePanel &tree() { return *m_tree; }
    PropertiesPanel &properties() { return *m_properties; }

    /// The node of a definition, the first in the tree's order.
    QUuid nodeOf(const QString &definitionId)
    {
        const auto nodes = m_session.tree()->nodesInOrder();
        for (const QUuid &id : nodes) {
            if (m_session.tree()->instance(id)->definitionId == definitionId)
                return id;
        }
        return {};
    }
    void select(const QUuid &id)
    {
        m_tree->panelModel().selectItem(id);
        m_properties->refresh();
    }

private:
    SceneSession m_session;
    ExpressionScope m_scope;
    SceneTreePanel *const m_tree;
    VariablesPanel *const m_variables;
    PropertiesPanel *const m_properties;
};

std::unique_ptr<QWidget> emptyScene()
{
    return std::make_unique<PanelsState>(QString());
}

std::unique_ptr<QWidget> sampleWithSelection()
{
    auto state = std::make_unique<PanelsState>(u"v2/gear.corvane"_s);
    state->select(state->nodeOf(u"involute_gear"_s));
    return state;
}

std::unique_ptr<QWidget> brokenExpression()
{
    auto state = std::make_unique<PanelsState>(u"v2/bracket.corvane"_s);
    const QUuid box = state->nodeOf(u"box"_s);
    state->select(box);
    state->session().executor()->apply(
        {u"sdf.set_parameter"_s,
         {{u"itemId"_s, box}, {u"paramName"_s, u"height"_s}, {u"value"_s, u"=wallThickness*2"_s}}});
    return state;
}

std::unique_ptr<QWidget> severalSelected()
{
    auto state = std::make_unique<PanelsState>(u"v2/bracket.corvane"_s);
    const auto nodes = state->session().tree()->nodesInOrder();
    int count = 0;
    for (const QUuid &id : nodes) {
        if (state->session().tree()->instance(id)->definitionId == u"box" && ++count <= 3)
            state->tree().panelModel().addToSelection(id);
    }
    state->properties().refresh();
    return state;
}

std::unique_ptr<QWidget> controls()
{
    auto page = std::make_unique<QWidget>();
    auto *const form = new QFormLayout(page.get());
    auto *const box = new QComboBox;
    box->addItems({u"Environment-lit PBR"_s, u"Normals"_s});
    auto *const line = new QLineEdit(u"Plate"_s);
    auto *const off = new QLineEdit(u"Not now"_s);
    off->setEnabled(false);
    auto *const check = new QCheckBox(u"Seal the box"_s);
    check->setChecked(true);
    auto *const radio = new QRadioButton(u"Fine"_s);
    radio->setChecked(true);
    auto *const slider = new QSlider(Qt::Horizontal);
    slider->setValue(40);
    auto *const bar = new QProgressBar;
    bar->setValue(60);
    auto *const first = new QPushButton(u"Export"_s);
    first->setDefault(true);
    form->addRow(u"Shading"_s, box);
    form->addRow(u"Name"_s, line);
    form->addRow(u"Disabled"_s, off);
    form->addRow(u"Box"_s, check);
    form->addRow(u"Quality"_s, radio);
    form->addRow(u"Level"_s, slider);
    form->addRow(u"Progress"_s, bar);
    form->addRow(first, new QPushButton(u"Cancel"_s));
    return page;
}

/// The picker in a widget of its own, as pop-ups are not drawn with their window.
template<int pickedBefore>
std::unique_ptr<QWidget> picker(const QString &query)
{
    static PickerUsage usage(nullptr);
    for (const QString &id : {u"box"_s, u"involute_gear"_s, u"union"_s}) {
        for (int i = 0; i < pickedBefore; ++i)
            usage.notePicked(id);
    }
    auto popup =
        std::make_unique<PickerPopup>(&corvane::registry::ThingsFacade::instance(), &usage);
    popup->openAt({0, 0});
    popup->searchField()->setText(query);
    return popup;
}

std::unique_ptr<QWidget> pickerAll()
{
    return picker<2>({});
}

std::unique_ptr<QWidget> pickerSearch()
{
    return picker<0>(u"rod"_s);
}

std::unique_ptr<QWidget> pickerNothing()
{
    return picker<0>(u"xyzzy"_s);
}

/// A queue with a job in every state.
class JobsState : public QWidget
{
public:
    JobsState()
    {
        auto *const column = new QVBoxLayout(this);
        auto *const status = new batch::BatchStatusWidget(this);
        column->addWidget(status);
        fill();
        column->addWidget(new batch::BatchJobListWidget(&m_queue, this));
        status->setQueue(&m_queue);
    }

    ~JobsState() override
    {
        qDeleteAll(findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly));
    }

private:
    quint64 add(const QString &label, bool runs)
    {
        const quint64 id = m_queue.submit({.type = u"corvane/mesh_export"_s,
                                           .source = u"shell"_s,
                                           .origin = u"manual"_s,
                                           .label = label});
        if (runs)
            m_queue.claim(id, u"corvane.mesh-export"_s);
        return id;
    }
    void fill()
    {
        m_queue.complete(add(u"Knob, draft"_s, true));
        m_queue.fail(add(u"Bracket, fine"_s, true), u"No space left on device"_s);
        m_queue.cancel(add(u"Voronoi lamp"_s, false));
        add(u"Thumbnails"_s, false);
        m_queue.setProgress(add(u"Gear, normal"_s, true), 37, 100);
        m_queue.setProgress(add(u"Bounds of Enclosure"_s, true), 1200, 0);
    }
    batch::BatchQueue m_queue;
};

std::unique_ptr<QWidget> jobs()
{
    return std::make_unique<JobsState>();
}

/// Cards on a picture, and the history beside it.
class NoticesState : public QWidget
{
public:
    NoticesState()
    {
        auto *const row = new QHBoxLayout(this);
        auto *const viewport = new QWidget(this);
        viewport->setMinimumSize(360, 300);
        row->addWidget(viewport, 1);
        auto *const side = new QVBoxLayout;
        side->addWidget(new toast::NoticeBellButton(&m_manager, this));
        side->addWidget(new toast::NoticeHistoryPanel(&m_manager, this));
        row->addLayout(side);
        new toast::ToastHostOverlay(viewport, &m_manager);
        using toast::Severity;
        m_manager.notify({Severity::Info, u"Read again"_s, u"gear.corvane was changed."_s, {}});
        m_manager.notify({Severity::Success,
                          u"Exported"_s,
                          u"gear.stl, 66080 triangles"_s,
                          {{u"Show file"_s, [] {}}}});
        for (int i = 0; i < 3; ++i)
            m_manager.notify({Severity::Warning,
                              u"The part is cut off"_s,
                              u"It goes on to x = 32.5, the box ends at 9."_s,
                              {}});
        m_manager.notify({Severity::Error,
                          u"Error"_s,
                          u"Failed to save scene to:\n/home/me/plate.corvane"_s,
                          {}});
    }

    ~NoticesState() override
    {
        qDeleteAll(findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly));
    }

private:
    toast::ToastManager m_manager;
};

std::unique_ptr<QWidget> notices()
{
    return std::make_unique<NoticesState>();
}

constexpr QSize windowSize(1280, 800);
constexpr QSize smallWindow(1024, 640);
constexpr QSize pickerSize(340, 420);

} // namespace

std::span<const State> states()
{
    static constexpr State all[] = {
        {"empty", windowSize, &emptyScene},
        {"selection", windowSize, &sampleWithSelection},
        {"small", smallWindow, &sampleWithSelection},
        {"several", windowSize, &severalSelected},
        {"broken", windowSize, &brokenExpression},
        {"controls", QSize(360, 300), &controls},
        {"picker", pickerSize, &pickerAll},
        {"picker-search", pickerSize, &pickerSearch},
        {"picker-nothing", pickerSize, &pickerNothing},
        {"jobs", QSize(900, 320), &jobs},
        {"notices", QSize(860, 380), &notices},
    };
    return all;
}
