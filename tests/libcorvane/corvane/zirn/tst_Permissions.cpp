#include <corvane/zirn/Operator.h>
#include <corvane/zirn/PermissionStore.h>

#include <support/Files.h>

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QSignalSpy>

using namespace Qt::StringLiterals;
using namespace corvane::zirn;

namespace {

const QDateTime noon(QDate(2026, 5, 1), QTime(12, 0), Qt::UTC);

} // namespace

class TstPermissions : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void patternCoversOneLevel_data();
    void patternCoversOneLevel();
    void answerFollowsGrants_data();
    void answerFollowsGrants();
    void grantsAreReplacedAndRemoved();
    void grantsOutliveTheProcess();
    void damagedFileIsSetAside_data();
    void damagedFileIsSetAside();
    void submittersHaveWords();
};

void TstPermissions::patternCoversOneLevel_data()
{
    QTest::addColumn<QString>("grant");
    QTest::addColumn<QString>("scope");
    QTest::addColumn<bool>("expected");

    QTest::newRow("equal") << u"a.b"_s << u"a.b"_s << true;
    QTest::newRow("equal patterns") << u"a.*"_s << u"a.*"_s << true;
    QTest::newRow("one level below") << u"a.*"_s << u"a.b"_s << true;
    QTest::newRow("two levels below") << u"a.*"_s << u"a.b.c"_s << false;
    QTest::newRow("the stem itself") << u"a.*"_s << u"a"_s << false;
    QTest::newRow("a longer word") << u"a.*"_s << u"ab.c"_s << false;
    QTest::newRow("a star alone") << u"*"_s << u"a"_s << false;
    QTest::newRow("longer scope") << u"a.b"_s << u"a.b.c"_s << false;
}

void TstPermissions::patternCoversOneLevel()
{
    QFETCH(QString, grant);
    QFETCH(QString, scope);
    QTEST(PermissionGrant{.scope = grant}.matches(scope), "expected");
}

void TstPermissions::answerFollowsGrants_data()
{
    QTest::addColumn<QList<PermissionGrant>>("grants");
    QTest::addColumn<PermissionAnswer>("expected");

    const PermissionGrant yes{.scope = u"a.b"_s};
    const PermissionGrant no{.scope = u"a.*"_s, .allowed = false};
    const auto until = [](bool allowed, const QDateTime &end) {
        return PermissionGrant{.scope = u"a.b"_s,
                               .lifetime = GrantLifetime::Timed,
                               .allowed = allowed,
                               .expiresAt = end};
    };
    const auto row = [](const char *name, const QList<PermissionGrant> &grants,
                        PermissionAnswer expected) { QTest::newRow(name) << grants << expected; };
    row("none", {}, PermissionAnswer::Ask);
    row("another scope", {{.scope = u"a.c"_s}}, PermissionAnswer::Ask);
    row("allowed", {yes}, PermissionAnswer::Allowed);
    row("denied after allowed", {yes, no}, PermissionAnswer::Denied);
    row("denied before allowed", {no, yes}, PermissionAnswer::Denied);
    row("before its end", {until(true, noon.addMSecs(1))}, PermissionAnswer::Allowed);
    row("at its end", {until(true, noon)}, PermissionAnswer::Ask);
    row("a denial that ran out", {yes, until(false, noon)}, PermissionAnswer::Allowed);
    row("timed without an end", {until(true, {})}, PermissionAnswer::Ask);
}

void TstPermissions::answerFollowsGrants()
{
    QFETCH(QList<PermissionGrant>, grants);
    const auto store = PermissionStore::create();
    for (const PermissionGrant &grant : std::as_const(grants))
        store->addGrant(grant);
    QTEST(store->check(u"a.b"_s, noon), "expected");
}

void TstPermissions::grantsAreReplacedAndRemoved()
{
    const auto store = PermissionStore::create();
    QSignalSpy changed(store.data(), &PermissionStore::grantsChanged);
    store->addGrant({.scope = u"a"_s});
    store->addGrant({.scope = u"a"_s, .grantedAt = noon});
    store->addGrant({.scope = u"a"_s, .lifetime = GrantLifetime::Session});
    store->addGrant({.scope = u"b"_s, .lifetime = GrantLifetime::Session});
    QCOMPARE(store->grants().size(), 3);
    QCOMPARE(changed.size(), 4);

    QVERIFY(store->removeGrants(GrantLifetime::Session));
    QCOMPARE(store->grants(), (QList<PermissionGrant>{{.scope = u"a"_s, .grantedAt = noon}}));
    QVERIFY(!store->removeGrants(GrantLifetime::Session));
    QVERIFY(!store->removeGrants(u"b"_s));
    QCOMPARE(changed.size(), 5);
    QVERIFY(store->removeGrants(u"a"_s));
    QVERIFY(store->grants().isEmpty());
}

void TstPermissions::grantsOutliveTheProcess()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(u"grants.json"_s);
    const QDateTime later = QDateTime::currentDateTimeUtc().addDays(1);
    const PermissionGrant kept{.scope = u"a.*"_s, .allowed = false, .grantedAt = noon};
    const auto store = PermissionStore::create();
    QVERIFY(store->load(path)); // there is no file yet
    store->addGrant(kept);
    store->addGrant({.scope = u"b"_s, .lifetime = GrantLifetime::Timed, .expiresAt = later});
    store->addGrant(
        {.scope = u"c"_s, .lifetime = GrantLifetime::Timed, .expiresAt = noon.addYears(-9)});
    store->addGrant({.scope = u"d"_s, .lifetime = GrantLifetime::Session});
    QString error;
    QVERIFY2(store->save(path, &error), qPrintable(error));

    const auto again = PermissionStore::create();
    const PermissionGrant ofSession{.scope = u"e"_s, .lifetime = GrantLifetime::Session};
    again->addGrant(ofSession);
    again->addGrant({.scope = u"gone"_s});
    QVERIFY(again->load(path));
    QCOMPARE(again->grants(),
             (QList<PermissionGrant>{
                 ofSession,
                 kept,
                 {.scope = u"b"_s, .lifetime = GrantLifetime::Timed, .expiresAt = later}}));
    QTest::ignoreMessage(QtWarningMsg, qPrintable(u"PermissionStore: cannot read %1 - it is a "
                                                  u"folder, not a regular file"_s.arg(dir.path())));
    QVERIFY(!again->load(dir.path()));
    QCOMPARE(again->grants().size(), 3);
    QVERIFY(!store->save(dir.path(), &error));
    QVERIFY(!error.isEmpty());
}

void TstPermissions::damagedFileIsSetAside_data()
{
    QTest::addColumn<QByteArray>("content");

    QTest::newRow("no JSON") << QByteArray("\x01\x02");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("cut off") << QByteArray(R"({"grants":[{"scope":"a","allowed":true})");
    QTest::newRow("no list") << QByteArray(R"({"grants":{}})");
    QTest::newRow("an entry that is a number") << QByteArray(R"({"grants":[1]})");
    QTest::newRow("allowed by a text")
        << QByteArray(R"({"grants":[{"scope":"a","allowed":"yes"}]})");
    QTest::newRow("no scope") << QByteArray(R"({"grants":[{"allowed":true}]})");
    QTest::newRow("an end that is no time")
        << QByteArray(R"({"grants":[{"scope":"a","allowed":true,"expiresAt":"soon"}]})");
}

void TstPermissions::damagedFileIsSetAside()
{
    QFETCH(QByteArray, content);
    QTemporaryDir dir;
    const QString path = dir.filePath(u"grants.json"_s);
    QVERIFY(support::put(path, content));
    const auto store = PermissionStore::create();
    QTest::ignoreMessage(QtWarningMsg,
                         QRegularExpression(u"^WARNING: '.*' was kept as .*none of them hold$"_s));
    QVERIFY(!store->load(path));
    QVERIFY(store->grants().isEmpty());
    QVERIFY(!QFile::exists(path));
    const QStringList kept = QDir(dir.path()).entryList({u"grants.json.damaged-*"_s});
    QCOMPARE(kept.size(), 1);
    QCOMPARE(support::contentOf(dir.filePath(kept.first())), content);
}

void TstPermissions::submittersHaveWords()
{
    QStringList words;
    for (const int type : {0, 1, 2, 3, -1})
        words.append(operatorTypeWord(OperatorType(type)));
    QCOMPARE(words.join(u' '), u"steward directive llm unknown unknown"_s);
}

QTEST_GUILESS_MAIN(TstPermissions)
#include "tst_Permissions.moc"
