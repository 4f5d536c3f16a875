#include <corvane/ui/fields/NumberField.h>
#include <corvane/ui/look/Theme.h>
#include <corvane/ui/properties/PropertiesPanel.h>
#include <corvane/ui/properties/SectionBox.h>
#include <corvane/ui/tree/SceneTreeDelegate.h>
#include <corvane/ui/tree/SceneTreePanel.h>
#include <corvane/ui/variables/VariableWidget.h>
#include <corvane/ui/variables/VariablesPanel.h>
#include <support/Person.h>

#include <QLabel>
#include <QLineEdit>
#include <QMimeData>
#include <QSignalSpy>
#include <QSlider>
#include <QSplitter>
#include <QTreeView>

using namespace Qt::StringLiterals;
using namespace corvane::ui;
using namespace support;
using corvane::lifecycle::SceneSession;
using corvane::model::VarsetEntry;

namespace {

/// The panels beside each other over a scene: a group with a box and a sphere in it, and a torus.
struct Window
{
    Window()
    {
        QObject::connect(&session, &SceneSession::expressionsChanged, &scope,
                         &ExpressionScope::setManager);
        scope.setManager(session.expressions());
        panels = std::make_unique<QSplitter>();
        tree = new SceneTreePanel(&session, panels.get());
        variables = new VariablesPanel(&session, &scope, panels.get());
        properties = new PropertiesPanel(&session, &tree->panelModel(), &scope, panels.get());
        panels->resize(900, 600);
        auto &model = tree->panelModel();
        group = model.createGroupItem({}, {});
        box = model.createSdfInstance(u"box"_s, group);
        sphere = model.createSdfInstance(u"sphere"_s, group);
        torus = model.createSdfInstance(u"torus"_s, {});
        session.executor()->clearHistory();
        QVERIFY(show(*panels));
        tree->view()->expandAll();
    }

    QModelIndex row(const QString &name) const
    {
        const QAbstractItemModel &model = *tree->view()->model();
        const auto found = model.match(model.index(0, 0), Qt::DisplayRole, name, 1,
                                       Qt::MatchExactly | Qt::MatchRecursive);
        return found.value(0);
    }
    NumberField *field(const QString &name) const
    {
        properties->refresh();
        QCoreApplication::processEvents(); // until the fields are in their places
        const auto fields = properties->findChildren<NumberField *>();
        for (NumberField *field : fields) {
            if (field->name() == name)
                return field;
        }
        return nullptr;
    }
    QVariant param(const QUuid &id, const QString &name)
    {
        return std::as_const(*session.tree()).instance(id)->params.value(name);
    }
    QString names() const // by depth
    {
        return text({});
    }
    QString text(const QModelIndex &parent) const
    {
        QStringList texts;
        const QAbstractItemModel &model = *tree->view()->model();
        for (int i = 0; i < model.rowCount(parent); ++i) {
            const QModelIndex index = model.index(i, 0, parent);
            if (tree->view()->isRowHidden(i, parent))
                continue;
            const QString name = index.data().toString();
            const QString below = text(index);
            texts.append(below.isEmpty() ? name : name + u'(' + below + u')');
        }
        return texts.join(u' ');
    }

    SceneSession session;
    ExpressionScope scope;
    std::unique_ptr<QSplitter> panels;
    SceneTreePanel *tree = nullptr;
    VariablesPanel *variables = nullptr;
    PropertiesPanel *properties = nullptr;
    QUuid group, box, sphere, torus;
};

} // namespace

class TstPanels : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { applyAppearance(Appearance::Dark); }
    void init() { failOnWarnings(); }
    void rowsAreSelectedRenamedAndRemoved();
    void searchKeepsAncestors();
    void theSignsHideAndIsolate();
    void rowsAreDraggedTogether();
    void actionsAreOneStepEach_data();
    void actionsAreOneStepEach();
    void aParameterIsEdited();
    void severalNodesAreEditedTogether();
    void aWrapperStandsInTheStack();
    void aDragIsOneStepAndEscapeNone();
    void aVariableIsMadeUsedAndRenamed();
    void aSliderMovesItsVariable();
    void variablesChangeTheirPlaces();
    void aBrokenExpressionIsToldOf();
    void whatComponentsReadIsUsed();
};

void TstPanels::rowsAreSelectedRenamedAndRemoved()
{
    Window window;
    click(*window.tree->view(), window.row(u"Box 1"_s));
    QCOMPARE(window.session.tree()->selectedInstances(), QList<QUuid>{window.box});
    click(*window.tree->view(), window.row(u"Torus 1"_s), Qt::ControlModifier);
    QCOMPARE(window.session.tree()->selectedInstances().size(), 2);
    window.tree->panelModel().selectItem(window.sphere); // as a click in the picture does
    QCOMPARE(window.tree->view()->currentIndex().data().toString(), u"Sphere 1"_s);
    QCOMPARE(window.tree->view()->selectionModel()->selectedRows().size(), 1);
    window.tree->view()->setFocus();
    press(Qt::Key_F2);
    auto *const editor = window.tree->view()->viewport()->findChild<QLineEdit *>();
    QVERIFY(editor && editor->hasFocus());
    editor->setText(u"Ball"_s);
    press(Qt::Key_Return);
    QTRY_VERIFY(window.row(u"Ball"_s).isValid());
    QCOMPARE(window.session.undoStack()->undoText(), u"Rename to \"Ball\""_s);
    window.tree->view()->setFocus();
    press(Qt::Key_Delete);
    QTRY_COMPARE(window.names(), u"Group 1(Box 1) Torus 1"_s);
    window.session.undo();
    QTRY_COMPARE(window.names(), u"Group 1(Box 1 Ball) Torus 1"_s);
}

void TstPanels::searchKeepsAncestors()
{
    Window window;
    click(*window.tree->searchField());
    type(u"sPH"_s);
    QTRY_COMPARE(window.names(), u"Group 1(Sphere 1)"_s);
    QVERIFY(window.tree->view()->isExpanded(window.row(u"Group 1"_s)));
    window.tree->searchField()->clear();
    QTRY_COMPARE(window.names(), u"Group 1(Box 1 Sphere 1) Torus 1"_s);
}

void TstPanels::theSignsHideAndIsolate()
{
    Window window;
    const QRect row = window.tree->view()->visualRect(window.row(u"Box 1"_s));
    click(*window.tree->view()->viewport(), SceneTreeDelegate::eyeRect(row).center());
    const auto &tree = std::as_const(*window.session.tree());
    QVERIFY(tree.instance(window.box)->hasTag(u"hidden"_s));
    click(*window.tree->view()->viewport(), SceneTreeDelegate::eyeRect(row).center());
    QVERIFY(!tree.instance(window.box)->hasTag(u"hidden"_s));
    click(*window.tree->view()->viewport(), SceneTreeDelegate::soloRect(row).center());
    QCOMPARE(window.session.compiler()->soloRootId(), window.box);
    QCOMPARE(window.session.document()->roots().size(), 1);
    click(*window.tree->view()->viewport(), SceneTreeDelegate::soloRect(row).center());
    QVERIFY(window.session.compiler()->soloRootId().isNull());
}

void TstPanels::rowsAreDraggedTogether()
{
    Window window;
    QAbstractItemModel &model = *window.tree->view()->model();
    const std::unique_ptr<QMimeData> rows(
        model.mimeData({window.row(u"Box 1"_s), window.row(u"Sphere 1"_s)}));
    QVERIFY(model.dropMimeData(rows.get(), Qt::MoveAction, 1, 0, {}));
    QTRY_COMPARE(window.names(), u"Group 1 Box 1 Sphere 1 Torus 1"_s);
    QCOMPARE(window.session.undoStack()->index(), 1);
    window.session.undo();
    QTRY_COMPARE(window.names(), u"Group 1(Box 1 Sphere 1) Torus 1"_s);
}

void TstPanels::actionsAreOneStepEach_data()
{
    QTest::addColumn<int>("command");
    QTest::addColumn<QStringList>("selected");
    QTest::addColumn<QString>("names");
    using A = SceneActions;
    QTest::newRow("group") << int(A::Group) << QStringList{u"Box 1"_s, u"Sphere 1"_s}
                           << u"Group 1(Group 2(Box 1 Sphere 1)) Torus 1"_s;
    QTest::newRow("duplicate")
        << int(A::Duplicate) << QStringList{u"Group 1"_s, u"Torus 1"_s}
        << u"Group 1(Box 1 Sphere 1) Torus 1 Group 2(Box 2 Sphere 2) Torus 2"_s;
    QTest::newRow("remove what stands below each other")
        << int(A::Remove) << QStringList{u"Group 1"_s, u"Box 1"_s} << u"Torus 1"_s;
    QTest::newRow("hide") << int(A::Hide) << QStringList{u"Box 1"_s, u"Torus 1"_s}
                          << u"Group 1(Box 1 Sphere 1) Torus 1"_s;
    QTest::newRow("nest") << int(A::NestIntoComponent) << QStringList{u"Group 1"_s}
                          << u"Component 1(Group 1(Box 1 Sphere 1)) Torus 1"_s;
}

void TstPanels::actionsAreOneStepEach()
{
    QFETCH(const int, command);
    QFETCH(const QStringList, selected);
    Window window;
    const QString before = window.names();
    QAction *const action = window.tree->actions().action(SceneActions::Command(command));
    QVERIFY(!action->isEnabled());
    QVERIFY(!action->toolTip().isEmpty() && action->toolTip() != action->text());
    for (const QString &name : selected)
        window.tree->panelModel().addToSelection(
            QUuid(window.row(name).data(corvane::item::ScenePanelItemModel::UuidRole).toString()));
    QVERIFY(action->isEnabled());
    action->trigger();
    window.tree->view()->expandAll();
    QFETCH(const QString, names);
    QTRY_COMPARE(window.names(), names);
    QCOMPARE(window.session.undoStack()->index(), 1);
    window.session.undo();
    QTRY_COMPARE(window.names(), before);
}

void TstPanels::aParameterIsEdited()
{
    Window window;
    QVERIFY(window.properties->sections().isEmpty());
    window.tree->panelModel().selectItem(window.box);
    NumberField *const field = window.field(u"Width"_s);
    QVERIFY(field);
    const double before = field->controller().value();
    window.properties->focusFirstParameter();
    QVERIFY(field->lineEdit()->hasFocus());
    type(u"2*21"_s);
    press(Qt::Key_Return);
    QCOMPARE(window.param(window.box, u"width"_s).toDouble(), 42.0);
    QCOMPARE(window.session.undoStack()->undoText(), u"Set width"_s);
    window.session.undo();
    QCOMPARE(field->lineEdit()->text().toDouble(), before);
    NumberField *const x = window.field(u"Position X"_s);
    click(*x->lineEdit());
    type(u"7"_s);
    press(Qt::Key_Return);
    QCOMPARE(window.session.tree()->instance(window.box)->translate.x(), 7.0f);
}

void TstPanels::severalNodesAreEditedTogether()
{
    Window window;
    window.tree->panelModel().selectItem(window.sphere);
    click(*window.field(u"Radius"_s)->lineEdit());
    type(u"3"_s);
    press(Qt::Key_Return);
    const QUuid other = window.tree->panelModel().createSdfInstance(u"sphere"_s, {});
    window.tree->panelModel().selectItem(window.sphere);
    window.tree->panelModel().addToSelection(other);
    NumberField *const field = window.field(u"Radius"_s);
    QVERIFY(field->lineEdit()->text().isEmpty());
    QCOMPARE(field->lineEdit()->placeholderText(), u"several"_s);
    const int steps = window.session.undoStack()->index();
    click(*field->lineEdit());
    type(u"5"_s);
    press(Qt::Key_Return);
    QCOMPARE(window.param(window.sphere, u"radius"_s).toDouble(), 5.0);
    QCOMPARE(window.param(other, u"radius"_s).toDouble(), 5.0);
    QCOMPARE(window.session.undoStack()->index(), steps + 1);
    window.session.undo();
    QCOMPARE(window.param(window.sphere, u"radius"_s).toDouble(), 3.0);
    window.tree->panelModel().addToSelection(window.box); // shares none of its parameters
    QVERIFY(!window.field(u"Radius"_s) && !window.field(u"Width"_s));
    QVERIFY(window.field(u"Position X"_s));
}

void TstPanels::aWrapperStandsInTheStack()
{
    Window window;
    window.tree->panelModel().selectItem(window.box);
    window.session.executor()->apply({u"sdf.set_parameter"_s,
                                      {{u"itemId"_s, window.box},
                                       {u"wrapperId"_s, u"round"_s},
                                       {u"paramName"_s, u"radius"_s},
                                       {u"value"_s, 1.0}}});
    NumberField *const field = window.field(u"Radius"_s);
    QVERIFY(field);
    QVERIFY(window.properties->findChild<QLabel *>(u"wrapper-round"_s));
    click(*field->lineEdit());
    type(u"0.5"_s);
    press(Qt::Key_Return);
    const auto *const node = std::as_const(*window.session.tree()).instance(window.box);
    QCOMPARE(node->wrapper(u"round"_s)->values.value(u"radius"_s).toDouble(), 0.5);
    window.session.undo();
    window.session.undo();
    QVERIFY(!window.field(u"Radius"_s));
}

void TstPanels::aDragIsOneStepAndEscapeNone()
{
    Window window;
    window.tree->panelModel().selectItem(window.sphere);
    NumberField *const field = window.field(u"Radius"_s);
    const double before = field->controller().value();
    const auto *const label =
        field->parentWidget()->findChild<QLabel *>(QString(), Qt::FindDirectChildrenOnly);
    QCOMPARE(label->text(), u"Radius"_s);
    drag(*label, {4, 8}, {120, 0}, 30);
    QVERIFY(window.param(window.sphere, u"radius"_s).toDouble() > before);
    window.session.undo(); // not in the middle of a drag
    release(*label, {124, 8});
    QCOMPARE(window.session.undoStack()->index(), 1);
    QCOMPARE(window.session.undoStack()->undoText(), u"Drag Radius"_s);
    window.session.undo();
    QCOMPARE(field->controller().value(), before);
    drag(*label, {4, 8}, {120, 0}, 30);
    press(Qt::Key_Escape);
    release(*label, {124, 8});
    QCOMPARE(field->controller().value(), before);
    QVERIFY(!window.session.undoStack()->canUndo());
}

void TstPanels::aVariableIsMadeUsedAndRenamed()
{
    Window window;
    VariableList &list = window.variables->list();
    QCOMPARE(list.add(u"2 x"_s).left(30), u"A name begins with a letter, a"_s);
    QCOMPARE(list.add(u"time"_s), u"time has a meaning of its own in expressions."_s);
    QCOMPARE(list.add(u"width"_s), QString());
    QCOMPARE(list.add(u"width"_s), u"There is a variable width already."_s);
    QTRY_COMPARE(window.variables->widgets().size(), 1);
    QVERIFY(!list.rows().first().isUsed);

    window.tree->panelModel().selectItem(window.box);
    click(*window.field(u"Width"_s)->lineEdit());
    type(u"=width+1.0"_s);
    press(Qt::Key_Return);
    QVERIFY(list.rows().first().isUsed);
    const auto *const widget = window.variables->widgets().first();
    const auto *const name = widget->findChild<QLabel *>(u"variableName"_s);
    click(*widget->field()->editor());
    type(u"4"_s);
    QTRY_COMPARE(name->foregroundRole(), QPalette::WindowText); // while it is typed into
    press(Qt::Key_Return);
    QCOMPARE(window.field(u"Width"_s)->controller().value(), 5.0);
    QCOMPARE(list.rename(list.rows().first(), u"wide"_s), QString());
    QTRY_COMPARE(window.variables->widgets().first()->row().name, u"wide"_s);
    QCOMPARE(window.field(u"Width"_s)->lineEdit()->text(), u"=wide+1.0"_s);

    // And the other way round: of a field, with its unit, in one step.
    const int steps = window.session.undoStack()->index();
    QCOMPARE(window.field(u"Height"_s)->target()->makeVariable(u"tall"_s), QString());
    QCOMPARE(window.session.undoStack()->index(), steps + 1);
    QCOMPARE(list.rows().last().entry.unit, u"mm"_s);
    QCOMPARE(window.field(u"Height"_s)->lineEdit()->text(), u"=tall"_s);
    window.session.undo();
    QCOMPARE(list.rows().size(), 1);
}

void TstPanels::aSliderMovesItsVariable()
{
    Window window;
    VarsetEntry entry{.value = 10.0, .type = u"number"_s};
    entry.constraints.min = 0.0;
    entry.constraints.max = 50.0;
    window.session.document()->setVariableEntry(u"w"_s, entry);
    QTRY_COMPARE(window.variables->widgets().size(), 1);
    QSlider *const slider = window.variables->widgets().first()->slider();
    QVERIFY(slider);
    QCOMPARE(slider->value(), 200);
    QTRY_VERIFY(slider->width() > 40);
    const int y = slider->height() / 2;
    drag(*slider, {slider->width() / 5, y}, {slider->width() * 3 / 5, 0}, 20);
    release(*slider, {slider->width() * 4 / 5, y});
    const double value = window.session.document()->variableEntry(u"w"_s).value.toDouble();
    QVERIFY2(qAbs(value - 40.0) < 3.0, qPrintable(QString::number(value)));
    QCOMPARE(window.session.undoStack()->index(), 1);
    window.session.undo();
    QCOMPARE(slider->value(), 200);
}

void TstPanels::variablesChangeTheirPlaces()
{
    Window window;
    for (const QString &name : {u"a"_s, u"b"_s, u"c"_s})
        QCOMPARE(window.variables->list().add(name), QString());
    QTRY_COMPARE(window.variables->widgets().size(), 3);
    const auto order = [&window] { return window.session.document()->varsetOrder().join(u' '); };
    const auto *const last = window.variables->widgets().last();
    const auto *const first = window.variables->widgets().first();
    const QPoint handle(8, 12);
    drag(*last, handle, first->pos() - last->pos() - QPoint(0, 4));
    release(*last, handle + first->pos() - last->pos() - QPoint(0, 4));
    QTRY_COMPARE(order(), u"c a b"_s);
    window.session.undo();
    QTRY_COMPARE(order(), u"a b c"_s);
}

void TstPanels::aBrokenExpressionIsToldOf()
{
    Window window;
    window.tree->panelModel().selectItem(window.box);
    window.session.executor()->apply(
        {u"sdf.set_parameter"_s,
         {{u"itemId"_s, window.box}, {u"paramName"_s, u"width"_s}, {u"value"_s, u"=gone*2.0"_s}}});
    NumberField *const field = window.field(u"Width"_s);
    QTRY_COMPARE(field->errorText(), u"Unknown name: gone"_s);
    QCOMPARE(field->lineEdit()->text(), u"=gone*2.0"_s);
    QCOMPARE(window.variables->list().add(u"gone"_s), QString());
    QTRY_COMPARE(field->errorText(), QString());
}

void TstPanels::whatComponentsReadIsUsed()
{
    SceneSession session;
    session.openScene(u"" CORVANE_SAMPLES "/v2/bracket.corvane"_s);
    const VariableList list(&session);
    const QList<VariableRow> rows = list.rows();
    QCOMPARE(rows.size(), 4);
    for (const VariableRow &row : rows)
        QVERIFY2(row.isUsed, qPrintable(row.name));
}

CORVANE_WIDGETS_MAIN(TstPanels)
#include "tst_Panels.moc"
