#include "TaskFixture.h"

#include <QTest>
#include <QUndoStack>

using namespace Qt::StringLiterals;
using namespace corvane;
using namespace corvane::zirn;

class TstSceneBuildTreeTask : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { prepareTasks(m_home); }
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void treesPutParentsFirst_data();
    void treesPutParentsFirst();
    void brokenTrees_data();
    void brokenTrees();
    void failedTreesStayAsOneBatch_data();
    void failedTreesStayAsOneBatch();

private:
    QTemporaryDir m_home;
};

void TstSceneBuildTreeTask::treesPutParentsFirst_data()
{
    QTest::addColumn<QVariant>("tree");
    QTest::addColumn<QString>("childParent");
    QTest::addColumn<QString>("note");
    QTest::newRow("as a text")
        << QVariant(uR"({"instances": {"z": {"definition": "union", "children": ["a"]},)"
                    uR"("a": {"definition": "sphere"}}, "roots": ["z"]})"_s)
        << u"z"_s << QString();
    QTest::newRow("roots left out")
        << QVariant(mapOf(R"({"instances": {"z": {"definition": "union", "children": ["a"]},
                                            "a": {"definition": "sphere"}}})"))
        << u"z"_s << QString();
    QTest::newRow("a root that is a child")
        << QVariant(mapOf(R"({"instances": {"z": {"definition": "union", "children": ["a"]},
                                            "a": {"definition": "sphere"}}, "roots": ["a"]})"))
        << u"z"_s << QString();
    QTest::newRow("two parents: the later key")
        << QVariant(mapOf(R"({"instances": {"y": {"definition": "union", "children": ["a"]},
                                            "z": {"definition": "union", "children": ["a"]},
                                            "a": {"definition": "sphere"}}, "roots": ["y", "z"]})"))
        << u"z"_s
        << u" NOTE: 'a' is listed by 'y' and 'z'; it stands under 'z' alone. Give 'y' a copy of it "
           u"under another name."_s;
}

void TstSceneBuildTreeTask::treesPutParentsFirst()
{
    QFETCH(QVariant, tree);
    QFETCH(QString, childParent);
    QFETCH(QString, note);
    TaskFixture fixture;
    const ZirnTaskResult result = fixture.call(u"corvane.scene.build_tree"_s, {{u"tree"_s, tree}});
    QVERIFY2(result.success, qPrintable(result.message));
    QCOMPARE(result.message.section(u"created"_s, 1), note);
    QUuid child;
    for (const auto &node : fixture.tree.instances()) {
        if (node.name == "a"_L1)
            child = node.id;
    }
    QCOMPARE(fixture.tree.instance(fixture.tree.parentOf(child))->name, childParent);
    QVERIFY(!result.outputs.value(u"rootIds"_s).isEmpty());
    const QVariantMap batch{{u"batchId"_s, result.outputs.value(u"batchId"_s)}};
    QVERIFY(fixture.call(u"corvane.undo_batch"_s, batch).success);
    QVERIFY(fixture.tree.instances().isEmpty());
}

void TstSceneBuildTreeTask::brokenTrees_data()
{
    QTest::addColumn<QVariant>("tree");
    QTest::addColumn<QString>("cause");
    QTest::newRow("nothing") << QVariant() << u"'tree' parameter is required."_s;
    QTest::newRow("a number") << QVariant(3) << u"'tree' must be a valid JSON object."_s;
    QTest::newRow("no JSON") << QVariant(u"{"_s) << u"'tree' must be a valid JSON object."_s;
    QTest::newRow("no instances") << QVariant(mapOf(R"({"roots": []})"))
                                  << u"'instances' map is empty or missing."_s;
    QTest::newRow("children as one name")
        << QVariant(mapOf(R"({"instances": {"a": {"definition": "union", "children": "b"}}})"))
        << u"'children' of instance 'a' must be a list of names."_s;
    QTest::newRow("roots in a broken list")
        << QVariant(mapOf(R"({"instances": {"a": {"definition": "sphere"}}, "roots": "[a"})"))
        << u"'roots' must be a list of names."_s;
    QTest::newRow("parameters in a list")
        << QVariant(mapOf(R"({"instances": {"a": {"definition": "sphere", "params": [1]}}})"))
        << u"'params' of instance 'a' must be a JSON object."_s;
    QTest::newRow("a parameter that can't be saved")
        << QVariant(mapOf(R"({"instances": {"a": {"definition": "sphere", "params": {"x:": 1}}}})"))
        << u"'params' of instance 'a' has a key that a scene file can't hold: 'x:'."_s;
    QTest::newRow("a circle")
        << QVariant(mapOf(R"({"instances": {"a": {"definition": "union", "children": ["b"]},
                                            "b": {"definition": "union", "children": ["a"]}}})"))
        << u"cycle detected in children references."_s;
}

void TstSceneBuildTreeTask::brokenTrees()
{
    QFETCH(QVariant, tree);
    QFETCH(QString, cause);
    TaskFixture fixture;
    const ZirnTaskResult result = fixture.call(u"corvane.scene.build_tree"_s, {{u"tree"_s, tree}});
    QVERIFY2(result.message.startsWith(u"Failed to build tree: %1 State: unchanged. "_s.arg(cause)),
             qPrintable(result.message));
    QVERIFY(fixture.tree.instances().isEmpty());
    QCOMPARE(fixture.executor.undoStack()->count(), 0);
}

void TstSceneBuildTreeTask::failedTreesStayAsOneBatch_data()
{
    QTest::addColumn<QVariantMap>("tree");
    QTest::addColumn<QString>("cause");
    QTest::addColumn<int>("created");
    QTest::newRow("a child that is not described")
        << mapOf(R"({"instances": {"a": {"definition": "union", "children": ["b", "c"]},
                                   "b": {"definition": "sphere"}, "d": {"definition": "sphere"},
                                   "e": {"definition": "sphere"}}, "roots": ["a"]})")
        << u"2/5: Instance 'c' has no 'definition' field."_s << 2;
    QTest::newRow("a root that is not described")
        << mapOf(R"({"instances": {"a": {"definition": "sphere"}}, "roots": ["a", "b"]})")
        << u"1/2: Instance 'b' has no 'definition' field."_s << 1;
    QTest::newRow("an unknown definition")
        << mapOf(
               R"({"instances": {"a": {"definition": "sphere"}, "b": {"definition": "cylindr"}}})")
        << u"1/2: Failed to create instance 'b' (definition: cylindr). There is no definition of "
           "this name. Did you mean \"cylinder\"?"_s
        << 1;
    QTest::newRow("a parameter of another type")
        << mapOf(R"({"instances": {"a": {"definition": "sphere", "params": {"radius": "2.5"}},
                                   "b": {"definition": "sphere", "params": {"radius": "big"}},
                                   "c": {"definition": "sphere"}}})")
        << u"2/3: Failed to set parameters on 'b'. radius must be a number, not 'big'."_s << 2;
}

void TstSceneBuildTreeTask::failedTreesStayAsOneBatch()
{
    QFETCH(QVariantMap, tree);
    QFETCH(QString, cause);
    QFETCH(int, created);
    TaskFixture fixture;
    const ZirnTaskResult result = fixture.call(u"corvane.scene.build_tree"_s, {{u"tree"_s, tree}});
    QCOMPARE(result.message,
             u"Build tree failed at instance %1 State: %2 instances were created (undoable as "
             u"batch). Suggestion: fix the tree description and retry."_s.arg(
                 cause, QString::number(created)));
    QCOMPARE(fixture.tree.instances().size(), created);
    QCOMPARE(fixture.executor.undoStack()->count(), 1);
    QCOMPARE(fixture.executor.batches().size(), 1);
}

QTEST_MAIN(TstSceneBuildTreeTask)
#include "tst_SceneBuildTreeTask.moc"
