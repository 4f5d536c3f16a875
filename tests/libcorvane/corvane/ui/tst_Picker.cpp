#include <corvane/registry/ThingsFacade.h>
#include <corvane/ui/picker/FuzzyMatch.h>
#include <corvane/ui/picker/NodeAdder.h>
#include <corvane/ui/picker/PickerPopup.h>
#include <corvane/ui/tree/SceneTreePanel.h>
#include <support/Person.h>

#include <QLineEdit>
#include <QListView>
#include <QSignalSpy>
#include <QStandardPaths>

using namespace Qt::StringLiterals;
using namespace corvane::ui;
using namespace support;
using corvane::lifecycle::SceneSession;
using corvane::registry::ThingsFacade;

namespace {

QStringList rows(const QAbstractItemModel &model, bool headings)
{
    QStringList texts;
    for (int row = 0; row < model.rowCount(); ++row) {
        const QModelIndex index = model.index(row, 0);
        if (index.data(PickerModel::IsHeadingRole).toBool() == headings)
            texts.append(index.data().toString());
    }
    return texts;
}

store::Settings::Names names()
{
    return {.group = u"PickerTest"_s, .organisation = u"Ondrel"_s, .application = u"PickerTest"_s};
}

} // namespace

class TstPicker : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnWarnings(); }
    void theBestFitComesFirst_data();
    void theBestFitComesFirst();
    void whatIsUsedIsRemembered();
    void theListHasSections();
    void theKeyboardIsEnough();
    void whatIsAddedFollowsTheSelection_data();
    void whatIsAddedFollowsTheSelection();
};

void TstPicker::theBestFitComesFirst_data()
{
    QTest::addColumn<QString>("query");
    QTest::addColumn<QString>("better");
    QTest::addColumn<QString>("worse");
    QTest::newRow("the whole") << u"box"_s << u"Box"_s << u"Box Frame"_s;
    QTest::newRow("the beginning") << u"rod"_s << u"Rod end"_s << u"Threaded rod"_s;
    QTest::newRow("a word's beginning") << u"rod"_s << u"Threaded rod"_s << u"Corroded"_s;
    QTest::newRow("letters behind each other") << u"tor"_s << u"Torus"_s << u"Threaded rod"_s;
    QTest::newRow("initials") << u"su"_s << u"Smooth Union"_s << u"Transposed"_s;
    QTest::newRow("shorter") << u"sp"_s << u"Sphere"_s << u"Sphere with a long name"_s;
}

void TstPicker::theBestFitComesFirst()
{
    QFETCH(const QString, query);
    QFETCH(const QString, better);
    QFETCH(const QString, worse);
    const auto first = fuzzyScore(query, better);
    QVERIFY(first);
    const auto second = fuzzyScore(query, worse);
    QVERIFY(!second || *first > *second);
    QVERIFY(!fuzzyScore(query + u"q"_s, better));
}

void TstPicker::whatIsUsedIsRemembered()
{
    {
        store::Settings settings(names());
        settings.setCustomSetting(u"defpicker/recent"_s, u"[1, \"box\", oops"_s);
        settings.setCustomSetting(u"defpicker/usage"_s, QString());
        PickerUsage usage(&settings);
        QVERIFY(usage.recent().isEmpty()); // damaged
        for (const char *id : {"a", "b", "b", "b", "c", "d", "e", "f", "g", "a"})
            usage.notePicked(QLatin1StringView(id));
    }
    store::Settings settings(names());
    const PickerUsage usage(&settings);
    QCOMPARE(usage.recent(), (QStringList{u"a"_s, u"g"_s, u"f"_s, u"e"_s, u"d"_s, u"c"_s}));
    QCOMPARE(usage.often(), QStringList{u"b"_s});
    QCOMPARE(usage.count(u"b"_s), 3);
}

void TstPicker::theListHasSections()
{
    PickerUsage usage(nullptr);
    usage.notePicked(u"torus"_s);
    PickerModel model(&ThingsFacade::instance(), &usage);
    QCOMPARE(rows(model, true).mid(0, 2), (QStringList{u"Recent"_s, u"Advanced"_s}));
    QCOMPARE(rows(model, false).first(), u"Torus"_s);
    QCOMPARE(model.nextRow(0, 1), 1);
    QVERIFY(!(model.index(0).flags() & Qt::ItemIsSelectable));
    model.setQuery(u"gear"_s);
    QCOMPARE(rows(model, true), QStringList());
    QCOMPARE(rows(model, false).first(), u"Involute Gear"_s);
    model.setQuery(u"mechanical"_s); // a tag
    QVERIFY(rows(model, false).contains(u"Involute Gear"_s));
    model.setQuery(u"xyzzy"_s);
    QCOMPARE(model.rowCount(), 0);
}

void TstPicker::theKeyboardIsEnough()
{
    QWidget window;
    window.resize(600, 500);
    QVERIFY(show(window));
    PickerUsage usage(nullptr);
    PickerPopup picker(&ThingsFacade::instance(), &usage, nullptr, &window);
    QSignalSpy picked(&picker, &PickerPopup::picked);
    picker.openAt({10, 10});
    QWindow *const popup = picker.windowHandle();
    for (const char letter : {'t', 'o', 'r', 'u', 's'})
        QTest::keyClick(popup, letter);
    QTest::keyClick(popup, Qt::Key_Down);
    QTest::keyClick(popup, Qt::Key_Up);
    QTest::keyClick(popup, Qt::Key_Up); // no further
    QTest::keyClick(popup, Qt::Key_Return);
    QCOMPARE(picked.size(), 1);
    QCOMPARE(picked.first(), (QVariantList{u"torus"_s, u"primitive"_s}));
    QVERIFY(!picker.isVisible());
    QCOMPARE(usage.recent(), QStringList{u"torus"_s});
    picker.openAt({10, 10});
    QVERIFY(picker.searchField()->text().isEmpty());
    QTest::keyClick(popup, Qt::Key_Down);
    QVERIFY(!picker.list()->currentIndex().data(PickerModel::IsHeadingRole).toBool());
    QTest::keyClick(popup, Qt::Key_Escape);
    QVERIFY(!picker.isVisible());
    QCOMPARE(picked.size(), 1);
}

void TstPicker::whatIsAddedFollowsTheSelection_data()
{
    QTest::addColumn<QStringList>("selected"); // of a group with a box, and a sphere beside it
    QTest::addColumn<QString>("id");
    QTest::addColumn<QString>("tree"); // names by depth
    QTest::newRow("a shape, with nothing selected")
        << QStringList{} << u"torus"_s << u"Group 1(Box 1) Sphere 1 Torus 1"_s;
    QTest::newRow("a shape into a group")
        << QStringList{u"Group 1"_s} << u"torus"_s << u"Group 1(Box 1 Torus 1) Sphere 1"_s;
    QTest::newRow("a shape beside a shape")
        << QStringList{u"Box 1"_s} << u"torus"_s << u"Group 1(Box 1 Torus 1) Sphere 1"_s;
    QTest::newRow("an operator around several")
        << QStringList{u"Group 1"_s, u"Sphere 1"_s} << u"union"_s
        << u"Union 1(Group 1(Box 1) Sphere 1)"_s;
    QTest::newRow("a modifier around a shape")
        << QStringList{u"Box 1"_s} << u"round"_s << u"Group 1(Box 1+round) Sphere 1"_s;
    QTest::newRow("and around several") << QStringList{u"Box 1"_s, u"Sphere 1"_s} << u"round"_s
                                        << u"Group 1(Box 1+round) Sphere 1+round"_s;
}

void TstPicker::whatIsAddedFollowsTheSelection()
{
    QFETCH(const QStringList, selected);
    QFETCH(const QString, id);
    SceneSession session;
    corvane::item::ScenePanelModelAdapter panel;
    panel.setExecutor(session.executor(), session.compiler());
    const QUuid group = panel.createGroupItem({}, {});
    panel.createSdfInstance(u"box"_s, group);
    panel.createSdfInstance(u"sphere"_s, {});
    const auto &tree = *session.tree();
    const std::function<QString(const QList<QUuid> &)> text = [&](const QList<QUuid> &ids) {
        QStringList texts;
        for (const QUuid &node : ids) {
            const auto *const made = std::as_const(tree).instance(node);
            QString name = made->name;
            for (const auto &wrapper : made->wrappers) {
                if (wrapper.definitionId == id)
                    name += u'+' + id;
            }
            if (!made->children.isEmpty())
                name += u'(' + text(made->children) + u')';
            texts.append(name);
        }
        return texts.join(u' ');
    };
    const QString before = text(tree.roots());
    for (const auto &node : tree.instances()) {
        if (selected.contains(node.name))
            panel.addToSelection(node.id);
    }
    const int steps = session.undoStack()->index();
    NodeAdder adder(&session, &panel);
    QSignalSpy added(&adder, &NodeAdder::added);
    QVERIFY(adder.add(id, u"primitive"_s));
    QTEST(text(tree.roots()), "tree");
    QCOMPARE(added.size(), 1);
    QCOMPARE(session.undoStack()->index(), steps + 1);
    session.undo();
    QCOMPARE(text(tree.roots()), before);
}

CORVANE_WIDGETS_MAIN(TstPicker)
#include "tst_Picker.moc"
