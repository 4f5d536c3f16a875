#include <corvane/zirn/LLMSession.h>

#include "PlanFixture.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;
using namespace corvane::zirn;

class TstPlanJson : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void planIsReadWhole();
    void formOfPlanIsForgiving_data();
    void formOfPlanIsForgiving();
    void faultIsNamed_data();
    void faultIsNamed();
    void resultIsToldLineByLine_data();
    void resultIsToldLineByLine();
    void sessionSubmitsInItsName();
};

void TstPlanJson::planIsReadWhole()
{
    const TaskPlan expected{
        .description = u"a gear"_s,
        .steps = {call(u"scene.build"_s, {{u"tree"_s, QVariantMap{{u"a"_s, 1.5}}}},
                       {{u"roots"_s, u"rootIds"_s}}),
                  call(u"sdf.set"_s, {{u"itemId"_s, u"${roots}"_s}, {u"on"_s, true}})}};
    TaskPlan plan;
    QString error;
    QVERIFY2(LLMSession::validatePlanJson(R"({"description": "a gear", "steps": [
        {"task": "scene.build", "args": {"tree": {"a": 1.5}}, "produces": {"roots": "rootIds"}},
        {"task": "sdf.set", "args": {"itemId": "${roots}", "on": true}}]})",
                                          plan, error),
             qPrintable(error));
    QCOMPARE(plan, expected);
}

void TstPlanJson::formOfPlanIsForgiving_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<TaskPlan>("expected");

    const auto row = [](const char *name, const QByteArray &json,
                        const QList<TaskPlanStep> &steps) {
        QTest::newRow(name) << json << TaskPlan{.description = {}, .steps = steps};
    };
    row("trailing commas", R"({"steps":[{"task":"a.b"},],})", {call(u"a.b"_s)});
    row("trailing commas before white space", "{\"steps\":[{\"task\":\"a.b\" ,\n\t}, \r\n],\v\f}",
        {call(u"a.b"_s)});
    row("a comma in a text goes too", R"({"steps":[{"task":"a.b","args":{"t":"{1, }"}}]})",
        {call(u"a.b"_s, {{u"t"_s, u"{1}"_s}})});
    row("tasks in place of steps", R"({"tasks":[{"task":"a.b"}]})", {call(u"a.b"_s)});
    row("steps before tasks", R"({"tasks":[{"task":"x.y"}],"steps":[{"task":"a.b"}]})",
        {call(u"a.b"_s)});
    row("every sort of name", R"({"steps":[{"task":"a.b-c_d.e9"}]})", {call(u"a.b-c_d.e9"_s)});
    row("arguments that are a list", R"({"steps":[{"task":"a.b","args":[1,2]}]})",
        {call(u"a.b"_s)});
    row("params and other keys", R"({"steps":[{"task":"a.b","params":{"x":1}}],"x":[]})",
        {call(u"a.b"_s)});
    row("wrong types where nothing must be",
        R"({"description":[1],"steps":[{"task":"a.b","args":7,"produces":"x"}]})",
        {call(u"a.b"_s)});
    row("products of any type", R"({"steps":[{"task":"a.b","produces":{"n":5,"l":[]}}]})",
        {call(u"a.b"_s, {}, {{u"n"_s, u"5"_s}, {u"l"_s, QString()}})});
}

void TstPlanJson::formOfPlanIsForgiving()
{
    QFETCH(QByteArray, json);
    QFETCH(TaskPlan, expected);
    TaskPlan plan;
    QString error;
    QVERIFY2(LLMSession::validatePlanJson(json, plan, error), qPrintable(error));
    QCOMPARE(plan, expected);
}

void TstPlanJson::faultIsNamed_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("expected"); ///< a regular expression

    const auto row = [](const char *name, const QByteArray &json, const QString &expected) {
        QTest::newRow(name) << json << expected;
    };
    const auto exactly = [&row](const char *name, const QByteArray &json, const QString &expected) {
        row(name, json, QRegularExpression::escape(expected));
    };
    const QString invalid = u"Invalid JSON: .+ at offset \\d+"_s;
    row("nothing", "", invalid);
    row("no JSON", "make me a gear", invalid);
    row("cut off", R"({"steps":[{"task":"a.b")", invalid);
    row("two trailing commas", R"({"steps":[{"task":"a.b"},,]})", invalid);
    row("no UTF-8", "{\"description\":\"\xff\xfe\",\"steps\":[{\"task\":\"a.b\"}]}", invalid);
    row("zero bytes", QByteArray(1000, '\0'), invalid);
    row("ten thousand levels", QByteArray(10000, '[') + QByteArray(10000, ']'), invalid);
    row("ten thousand levels of arguments",
        R"({"steps":[{"task":"a.b","args":)" + QByteArray("{\"a\":").repeated(10000) + "1" +
            QByteArray(10000, '}') + "}]}",
        invalid);
    exactly("a hundred megabytes", QByteArray(100'000'000, ' '),
            u"TaskPlan JSON is too long: at most 16777216 bytes are read"_s);
    row("blanks after each comma", QByteArray("[").append(QByteArray(",  ").repeated(1'000'000)),
        invalid);
    exactly("a list", "[1]", u"TaskPlan JSON must be an object"_s);
    exactly("no steps", R"({"step":[]})", u"TaskPlan JSON missing 'steps' array"_s);
    exactly("steps that are an object", R"({"steps":{}})", u"TaskPlan 'steps' must be an array"_s);
    exactly("steps that are null", R"({"steps":null})", u"TaskPlan 'steps' must be an array"_s);
    exactly("tasks that are a number", R"({"tasks":3})", u"TaskPlan 'steps' must be an array"_s);
    exactly("steps empty", R"({"steps":[]})", u"TaskPlan must have at least one step"_s);
    exactly("a step that is a text", R"({"steps":["a.b"]})", u"Step 0 must be an object"_s);
    exactly("no task", R"({"steps":[{"task":"a.b"},{}]})", u"Step 1 missing 'task' field"_s);
    exactly("empty task", R"({"steps":[{"task":""}]})", u"Step 0 has empty task name"_s);
    exactly("task that is a number", R"({"steps":[{"task":5}]})", u"Step 0 has empty task name"_s);

    const auto badName = [&exactly](const char *title, const QString &name) {
        exactly(title, "{\"steps\":[{\"task\":\"" + name.toUtf8() + "\"}]}",
                u"Step 0 task name '"_s + name +
                    u"' does not match pattern <domain>.<action> "
                    u"(lowercase, min 2 segments)"_s);
    };
    badName("upper case", u"Item.add"_s);
    badName("one segment", u"a"_s);
    badName("a digit first", u"a.9b"_s);
    badName("a dot at the end", u"a.b."_s);
    badName("blanks", u"a. b"_s);
    badName("place marks", u"%1.%2"_s);
    row("a name without end", "{\"steps\":[{\"task\":\"" + QByteArray(1 << 20, 'A') + "\"}]}",
        u"Step 0 task name 'A{200}\\.\\.\\.' does not match .*"_s);
}

void TstPlanJson::faultIsNamed()
{
    QFETCH(QByteArray, json);
    QFETCH(QString, expected);
    const TaskPlan before = planOf({call(u"x.y"_s)});
    TaskPlan plan = before;
    QString error;
    QVERIFY(!LLMSession::validatePlanJson(json, plan, error));
    QVERIFY2(
        QRegularExpression(QRegularExpression::anchoredPattern(expected)).match(error).hasMatch(),
        qPrintable(error));
    QCOMPARE(plan, before);
}

void TstPlanJson::resultIsToldLineByLine_data()
{
    QTest::addColumn<TaskPlanResult>("result");
    QTest::addColumn<QString>("expected");

    TaskPlanResult done{.success = true, .planDescription = u"p %1"_s};
    done.addStepResult(
        ZirnTaskResult::succeeded(u"Added %2"_s, {{u"b"_s, u"2"_s}, {u"a"_s, u"1"_s}}));
    done.addStepResult(ZirnTaskResult::succeeded(u"Moved"_s));
    QTest::newRow("success") << done
                             << u"Plan 'p %1' completed successfully.\n  [0] OK: Added %2\n"
                                u"      outputs: a=1, b=2\n  [1] OK: Moved"_s;
    TaskPlanResult failed{.planDescription = u"p"_s};
    failed.addStepResult(ZirnTaskResult::succeeded(u"one"_s));
    failed.addStepResult(ZirnTaskResult::failed(u"two"_s));
    failed.addStepResult(ZirnTaskResult::failed(u"three"_s));
    const QString lines = u"\n  [0] OK: one\n  [1] FAIL: two\n  [2] FAIL: three"_s;
    QTest::newRow("the first failure counts") << failed << u"Plan 'p' failed at step 2."_s + lines;
    failed.cancelled = true;
    QTest::newRow("cancelled") << failed << u"Plan 'p' was cancelled."_s + lines;
    QTest::newRow("rejected") << TaskPlanResult::rejected(u"no"_s)
                              << u"Plan '' failed at step 1.\n  [0] FAIL: no"_s;
}

void TstPlanJson::resultIsToldLineByLine()
{
    QFETCH(TaskPlanResult, result);
    QTEST(LLMSession::formatResultForLLM(result), "expected");
}

void TstPlanJson::sessionSubmitsInItsName()
{
    ZirnTaskRegistry registry;
    ZirnTaskRuntime runtime(&registry);
    QSharedPointer<PermissionStore> permissions;
    {
        LLMSession session(u"chat"_s);
        QString error;
        QVERIFY(!session.submitJsonPlan(R"({"steps":[{"task":"a.b"}]})", error));
        QCOMPARE(error, u"No runtime available for LLM session"_s);
        session.setRuntime(&runtime);
        QVERIFY(!session.submitJsonPlan("{}", error));
        QCOMPARE(error, u"TaskPlan JSON missing 'steps' array"_s);

        // A grant of the session lets the plan run without a question.
        addTask(registry, u"a.b"_s)->scopes = QStringList{u"x"_s};
        permissions = session.permissions();
        permissions->addGrant({.scope = u"x"_s, .lifetime = GrantLifetime::Session});
        permissions->addGrant({.scope = u"y"_s});
        QVERIFY2(session.submitJsonPlan(R"({"steps":[{"task":"a.b"}]})", error), qPrintable(error));
        QVERIFY(resultOf(runtime).success);
    }
    QCOMPARE(permissions->grants().size(), 1);
    QCOMPARE(permissions->grants().first().scope, u"y"_s);
}

QTEST_GUILESS_MAIN(TstPlanJson)
#include "tst_PlanJson.moc"
