#include <corvane/zirn/TaskPlan.h>
#include <corvane/zirn/ZirnAuthContext.h>

#include "PlanFixture.h"

#include <QRegularExpression>

#include <limits>

using namespace Qt::StringLiterals;
using namespace corvane::zirn;

class TstTaskModel : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void argumentsAreRead_data();
    void argumentsAreRead();
    void listsComeInThreeForms_data();
    void listsComeInThreeForms();
    void dangerFollowsTheFlags_data();
    void dangerFollowsTheFlags();
    void tierNamesCapabilities_data();
    void tierNamesCapabilities();
    void missingCapabilityIsTold_data();
    void missingCapabilityIsTold();
    void placeholdersAreFilled_data();
    void placeholdersAreFilled();
    void placeholdersEnd_data();
    void placeholdersEnd();
    void fillingIsBoundedForAWholeStep();
    void firstRegistrationStands();
    void badRegistrationIsRefused();
};

void TstTaskModel::argumentsAreRead_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("asString");
    QTest::addColumn<int>("asInt");
    QTest::addColumn<double>("asFloat");
    QTest::addColumn<bool>("asBool");

    // The defaults asked for are "d", 7, 7.5 and true.
    QTest::newRow("absent") << QVariant() << u"d"_s << 7 << 7.5 << true;
    QTest::newRow("null") << QVariant::fromValue(nullptr) << u"d"_s << 7 << 7.5 << true;
    QTest::newRow("whole number") << QVariant(3.0) << u"3"_s << 3 << 3.0 << true;
    QTest::newRow("fraction") << QVariant(2.6) << u"2.6"_s << 3 << 2.6 << true;
    QTest::newRow("number as text") << QVariant(u"-4"_s) << u"-4"_s << -4 << -4.0 << true;
    QTest::newRow("no number") << QVariant(u"abc"_s) << u"abc"_s << 7 << 7.5 << true;
    QTest::newRow("false as text") << QVariant(u"False"_s) << u"False"_s << 7 << 7.5 << false;
    QTest::newRow("empty text") << QVariant(u""_s) << u""_s << 7 << 7.5 << false;
    QTest::newRow("bool") << QVariant(false) << u"false"_s << 0 << 0.0 << false;
    QTest::newRow("beyond an int")
        << QVariant(3'000'000'000ll) << u"3000000000"_s << 7 << 3e9 << true;
    QTest::newRow("infinite") << QVariant(std::numeric_limits<double>::infinity()) << u"inf"_s << 7
                              << 7.5 << true;
    QTest::newRow("map") << QVariant(QVariantMap{{u"a"_s, 1}}) << u"d"_s << 7 << 7.5 << true;
    QTest::newRow("list") << QVariant(QVariantList{1, 2}) << u"d"_s << 7 << 7.5 << true;
}

void TstTaskModel::argumentsAreRead()
{
    QFETCH(QVariant, value);
    const ZirnTaskParams params(value.isValid() ? QVariantMap{{u"k"_s, value}} : QVariantMap());
    QTEST(params.getString(u"k"_s, u"d"_s), "asString");
    QTEST(params.getInt(u"k"_s, 7), "asInt");
    QTEST(params.getFloat(u"k"_s, 7.5), "asFloat");
    QTEST(params.getBool(u"k"_s, true), "asBool");
    QCOMPARE(params.getMap(u"k"_s).isEmpty(), value.typeId() != QMetaType::QVariantMap);
}

void TstTaskModel::listsComeInThreeForms_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QVariantList>("expected");

    QTest::newRow("list") << QVariant(QVariantList{1, u"a"_s}) << QVariantList{1, u"a"_s};
    QTest::newRow("strings") << QVariant(QStringList{u"a"_s, u"b"_s})
                             << QVariantList{u"a"_s, u"b"_s};
    QTest::newRow("JSON text") << QVariant(u"[1, \"a\", [2]]"_s)
                               << QVariantList{1.0, u"a"_s, QVariantList{2.0}};
    QTest::newRow("broken JSON") << QVariant(u"[1, "_s) << QVariantList();
    QTest::newRow("other text") << QVariant(u"a,b"_s) << QVariantList();
    QTest::newRow("number") << QVariant(4) << QVariantList();
}

void TstTaskModel::listsComeInThreeForms()
{
    QFETCH(QVariant, value);
    QTEST(ZirnTaskParams({{u"k"_s, value}}).getList(u"k"_s), "expected");
}

void TstTaskModel::dangerFollowsTheFlags_data()
{
    QTest::addColumn<bool>("readOnly");
    QTest::addColumn<bool>("idempotent");
    QTest::addColumn<ConfirmationPolicy>("policy");
    QTest::addColumn<QString>("word");

    const auto usual = ConfirmationPolicy::WithPlan;
    QTest::newRow("neither") << false << false << usual << u"unsafe"_s;
    QTest::newRow("read only") << true << false << usual << u"unsafe"_s;
    QTest::newRow("idempotent") << false << true << usual << u"unsafe"_s;
    QTest::newRow("both") << true << true << usual << u"safe"_s;
    QTest::newRow("confirmed") << true << true << ConfirmationPolicy::EveryCall << u"critical"_s;
}

void TstTaskModel::dangerFollowsTheFlags()
{
    FunctionTask task(u"a.b"_s);
    QFETCH(bool, readOnly);
    QFETCH(bool, idempotent);
    QFETCH(ConfirmationPolicy, policy);
    task.readOnly = readOnly;
    task.idempotent = idempotent;
    task.confirmationPolicy = policy;
    QTEST(QString(dangerWord(dangerOf(&task))), "word");
    QCOMPARE(dangerOf(nullptr), TaskDanger::Safe);
}

void TstTaskModel::tierNamesCapabilities_data()
{
    QTest::addColumn<QString>("tier");
    QTest::addColumn<QSet<QString>>("expected");

    const auto row = [](const char *tier, const QSet<QString> &capabilities) {
        QTest::newRow(tier) << QString::fromLatin1(tier) << capabilities;
    };
    row("bootstrap", {u"open"_s});
    row("cad-editing", {u"cad-editing"_s});
    row("identified", {u"sid-active"_s});
    row("operational", {u"sid-active"_s, u"node-active"_s});
    row("connected", {u"sid-active"_s, u"node-paired"_s});
    row("secured", {u"fsid-active"_s});
    row("owner", {u"owner-active"_s});
    row("no such tier", {u"before"_s});
}

void TstTaskModel::tierNamesCapabilities()
{
    QFETCH(QString, tier);
    FunctionTask task(u"a.b"_s);
    task.requiredCaps = {u"before"_s};
    task.setTier(tier);
    QTEST(task.requiredCaps, "expected");
}

void TstTaskModel::missingCapabilityIsTold_data()
{
    QTest::addColumn<QSet<QString>>("capabilities");
    QTest::addColumn<QString>("failure"); ///< its first sentence; empty for none

    const auto row = [](const char *name, const QSet<QString> &capabilities, const QString &text) {
        QTest::newRow(name) << capabilities << text;
    };
    row("what a file gives", {u"open"_s, u"cad-editing"_s, u"file-scoped"_s, u"local-only"_s}, {});
    row("an unknown word", {u"moon"_s}, {});
    row("an identity", {u"sid-active"_s}, u"Failed to a.b: no SID active."_s);
    row("a password", {u"fsid-active"_s},
        u"Failed to a.b: requires password-protected identity."_s);
    row("the owner", {u"owner-active"_s}, u"Failed to a.b: requires device owner."_s);
    row("a node", {u"node-active"_s}, u"Failed to a.b: no NID active."_s);
    row("a peer", {u"node-paired"_s}, u"Failed to a.b: no trusted peers."_s);
    row("the first of two", {u"node-paired"_s, u"sid-active"_s},
        u"Failed to a.b: no SID active."_s);
}

void TstTaskModel::missingCapabilityIsTold()
{
    QFETCH(QSet<QString>, capabilities);
    QFETCH(QString, failure);
    FunctionTask task(u"a.b"_s);
    task.requiredCaps = capabilities;
    const auto missing = missingCapability(task, FileScopedAuthContext());
    QCOMPARE(missing.has_value(), !failure.isEmpty());
    if (missing)
        QVERIFY2(missing->startsWith(failure + u" State: no changes. Suggestion: "_s),
                 qPrintable(*missing));
}

void TstTaskModel::placeholdersAreFilled_data()
{
    QTest::addColumn<QVariant>("argument");
    QTest::addColumn<QVariant>("expected");

    const auto row = [](const char *name, const QVariant &argument, const QVariant &expected) {
        QTest::newRow(name) << argument << expected;
    };
    // a = 1, b = "<${a}>", brace = "{a}", odd name "${" = "!", "x y" = "two words"
    row("none", u"$a {a}"_s, u"$a {a}"_s);
    row("alone", u"${a}"_s, u"1"_s);
    row("several", u"${a}+${a}=${x y}"_s, u"1+1=two words"_s);
    row("a value is searched in turn", u"${b}${b}"_s, u"<1><1>"_s);
    row("a dollar before a brace that comes", u"$${brace}"_s, u"1"_s);
    row("an opening inside", u"${${}"_s, u"!"_s);
    row("without a name", u"${} ${a}"_s, u"${} 1"_s);
    row("without an end", u"${a} ${a"_s, u"1 ${a"_s);
    row("inside of a list", QVariantList{u"${a}"_s}, QVariantList{u"${a}"_s});
    row("inside of a map", QVariantMap{{u"k"_s, u"${no}"_s}}, QVariantMap{{u"k"_s, u"${no}"_s}});
    row("number", 5, 5);
}

void TstTaskModel::placeholdersAreFilled()
{
    QFETCH(QVariant, argument);
    QFETCH(QVariant, expected);
    const QHash<QString, QString> variables{{u"a"_s, u"1"_s},
                                            {u"b"_s, u"<${a}>"_s},
                                            {u"brace"_s, u"{a}"_s},
                                            {u"${"_s, u"!"_s},
                                            {u"x y"_s, u"two words"_s}};
    QString error;
    const auto args =
        TaskPlan::resolvePlaceholders(call(u"a.b"_s, {{u"k"_s, argument}}), variables, error);
    QVERIFY2(args, qPrintable(error));
    QCOMPARE(*args, (QVariantMap{{u"k"_s, expected}}));
}

void TstTaskModel::placeholdersEnd_data()
{
    QTest::addColumn<QString>("argument");
    QTest::addColumn<QString>("error"); ///< empty when it is filled

    const QString many = QString(u"${a}"_s).repeated(1000);
    const QString endless =
        u"Placeholders in argument 'k' do not end after 1000 replacements. State: "
        u"no changes. Suggestion: check that no output leads back to its own "
        u"placeholder."_s;
    const QString tooLong = u"Argument 'k' grows beyond 1048576 characters by its placeholders. "
                            u"State: no changes. Suggestion: pass less text from step to step, or "
                            u"check that no output repeats its own placeholder."_s;
    QTest::newRow("a thousand") << many << QString();
    QTest::newRow("a thousand and one") << many + u"${a}"_s << endless;
    QTest::newRow("its own value") << u"${self}"_s << endless;
    QTest::newRow("in a circle") << u"${ping}"_s << endless;
    QTest::newRow("growing") << u"${grow}"_s << tooLong;
    QTest::newRow("doubling") << u"${d0}"_s << tooLong;
    QTest::newRow("of just that size") << u"${mib}"_s << QString();
    QTest::newRow("one more") << u"${mib}."_s << tooLong;
    QTest::newRow("long without placeholders") << QString(2 << 20, u'x') << QString();
    QTest::newRow("unknown") << u"${no %1}"_s
                             << u"Unresolved placeholder '${no %1}' in argument 'k'. State: no "
                                u"changes. Suggestion: check that a prior step produces 'no %1'."_s;
}

void TstTaskModel::placeholdersEnd()
{
    QFETCH(QString, argument);
    QHash<QString, QString> variables{{u"a"_s, u"1"_s},
                                      {u"self"_s, u"${self}"_s},
                                      {u"ping"_s, u"${pong}"_s},
                                      {u"pong"_s, u"${ping}"_s},
                                      {u"grow"_s, QString(5000, u'x') + u"${grow}"_s},
                                      {u"mib"_s, QString(1 << 20, u'x')},
                                      {u"d25"_s, QString(8192, u'x')}};
    for (int i = 0; i < 25; ++i)
        variables.insert(u"d%1"_s.arg(i), u"${d%1}${d%1}"_s.arg(i + 1));
    QString error;
    const auto args =
        TaskPlan::resolvePlaceholders(call(u"a.b"_s, {{u"k"_s, argument}}), variables, error);
    QTEST(error, "error");
    QCOMPARE(args.has_value(), error.isEmpty());
}

void TstTaskModel::fillingIsBoundedForAWholeStep()
{
    QVariantMap args;
    for (int i = 0; i < 1000; ++i)
        args.insert(u"k%1"_s.arg(i), u"${mib}"_s);
    QString error;
    QVERIFY(!TaskPlan::resolvePlaceholders(call(u"a.b"_s, args),
                                           {{u"mib"_s, QString(1 << 20, u'x')}}, error));
    QVERIFY2(error.contains(u"beyond 16777216 characters"_s), qPrintable(error));
}

void TstTaskModel::firstRegistrationStands()
{
    ZirnTaskRegistry registry;
    QSignalSpy registered(&registry, &ZirnTaskRegistry::taskRegistered);
    QSignalSpy unregistered(&registry, &ZirnTaskRegistry::taskUnregistered);
    QSignalSpy ready(&registry, &ZirnTaskRegistry::readyChanged);
    const auto first = addTask(registry, u"b.b"_s);
    addTask(registry, u"a.a"_s);
    QTest::ignoreMessage(QtWarningMsg, "ZirnTaskRegistry::registerTask: duplicate task name b.b — "
                                       "second registration rejected");
    addTask(registry, u"b.b"_s);
    QCOMPARE(registry.task(u"b.b"_s), first);
    QCOMPARE(registry.taskNames(), (QStringList{u"a.a"_s, u"b.b"_s}));
    QCOMPARE(registered.size(), 2);
    QVERIFY(!registry.task(u"c.c"_s));

    QVERIFY(registry.unregisterTask(u"b.b"_s));
    QVERIFY(!registry.unregisterTask(u"b.b"_s));
    QCOMPARE(unregistered.size(), 1);
    registry.setReady(true);
    registry.setReady(true);
    QCOMPARE(ready.size(), 1);
}

void TstTaskModel::badRegistrationIsRefused()
{
    ZirnTaskRegistry registry;
    QTest::ignoreMessage(QtWarningMsg, "ZirnTaskRegistry::registerTask: null task");
    QVERIFY(!registry.registerTask({}));
    QTest::ignoreMessage(QtWarningMsg, "ZirnTaskRegistry::registerTask: empty task name");
    QVERIFY(!registry.registerTask(QSharedPointer<FunctionTask>::create(QString())));
    QCOMPARE(registry.count(), 0);
}

QTEST_GUILESS_MAIN(TstTaskModel)
#include "tst_TaskModel.moc"
