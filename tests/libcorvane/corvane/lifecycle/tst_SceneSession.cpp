#include <corvane/lifecycle/RecoveryKeeper.h>
#include <corvane/lifecycle/SceneSession.h>
#include <corvane/registry/Registry.h>
#include <support/Files.h>
#include <toast/ToastManager.h>

#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QVector3D>

using namespace Qt::StringLiterals;
using namespace corvane::lifecycle;
using corvane::model::Corvane;
using corvane::ops::CorvaneOp;
using Answer = SceneSession::Answer;

namespace {

const QString plate = u"formatVersion: 2\ncorvane:\n  name: P\n  varset:\n    w: 4\n"
                      "  instances:\n    plate:\n      type: box\n      params:\n"
                      "        width: \"=w*2.0\"\n  roots:\n    - plate\n"_s;
/// A light beside the field: a document that no tree can hold.
const QString withCamera =
    u"formatVersion: 1\ncorvane:\n  name: C\n  instances:\n    b:\n"
    "      type: box\n    eye:\n      itemType: camera\n  roots:\n    - b\n"_s;

void write(const QString &path, const QString &text)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(text.toUtf8());
}

QUuid addBox(SceneSession &session)
{
    session.executor()->apply(
        {u"item.add"_s, {{u"itemType"_s, u"sdf"_s}, {u"definitionId"_s, u"box"_s}}});
    return session.executor()->lastCreatedId();
}

QString lastNotice()
{
    const auto records = toast::ToastManager::instance().records();
    return records.isEmpty() ? QString() : records.first().body;
}

} // namespace

class TstSceneSession : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void aFileIsOpenedWhole();
    void nothingOfAFileIsLost_data();
    void nothingOfAFileIsLost();
    void theSameDocumentIsUsedAgain();
    void aBadFileLeavesTheScene_data();
    void aBadFileLeavesTheScene();
    void theGuardAsks_data();
    void theGuardAsks();
    void whatIsSavedIsOpenedAgain();
    void theWindowsPartsRunInTheirSteps();
    void anotherProgramsVersionIsKept();
    void aChangedFileIsReadAgain();
    void unsavedWorkComesBack();
    void aCopyIsWrittenAfterAQuietTime();

private:
    QString path(const QString &name) const { return m_folder->filePath(name); }
    std::unique_ptr<QTemporaryDir> m_folder;
};

void TstSceneSession::init()
{
    QTest::failOnWarning(QRegularExpression(u".*"_s));
    m_folder = std::make_unique<QTemporaryDir>();
    write(path(u"plate.corvane"_s), plate);
    write(path(u"camera.corvane"_s), withCamera);
}

void TstSceneSession::aFileIsOpenedWhole()
{
    SceneSession session;
    QSignalSpy opened(&session, &SceneSession::sceneOpened);
    session.openScene(path(u"plate.corvane"_s));
    QCOMPARE(opened.size(), 1);
    QCOMPARE(session.displayName(), u"plate"_s);
    QCOMPARE(session.tree()->instances().size(), 1);
    const QUuid id = session.tree()->roots().first();
    const QUuid core = session.compiler()->mappings().value(id).coreId;
    QCOMPARE(session.document()->instance(core).parameter(u"width"_s).toDouble(), 8.0);
    QVERIFY(!session.isModified() && !session.undoStack()->canUndo());
    session.openScene(path(u"camera.corvane"_s));
    QVERIFY(session.document()->hasItemsOfType(u"camera"_s));
    QVERIFY(session.tree()->instances().isEmpty());
    QVERIFY(session.document()->variableNames().isEmpty());
}

void TstSceneSession::nothingOfAFileIsLost_data()
{
    QTest::addColumn<QString>("sample");
    for (const char *name : {"bracket", "heat_sink", "gear"}) // components, domains, variables
        QTest::newRow(name) << u"" CORVANE_SAMPLES "/v2/%1.corvane"_s.arg(QLatin1StringView(name));
}

void TstSceneSession::nothingOfAFileIsLost()
{
    QFETCH(const QString, sample);
    SceneSession session;
    session.openScene(sample);
    const auto parsed = readScene(sample);
    QCOMPARE(session.tree()->toVariantMap(), parsed.tree->toVariantMap());
    QVERIFY(session.saveSceneAs(path(u"again.corvane"_s)));
    QCOMPARE(readScene(path(u"again.corvane"_s)).tree->toVariantMap(), parsed.tree->toVariantMap());
}

void TstSceneSession::theSameDocumentIsUsedAgain()
{
    SceneSession session;
    const Corvane *const document = session.document().data();
    for (const QString &name : {u"plate.corvane"_s, u"camera.corvane"_s}) {
        session.openScene(path(name));
        session.setSoloRoot(QUuid::createUuid());
        QVERIFY(!session.sceneLifecycleViolations().isEmpty());
        session.newScene();
        QCOMPARE(session.lifecycle()->lastReport().violations, QStringList());
        QVERIFY(session.lifecycle()->lastReport().isClean());
        QCOMPARE(session.document().data(), document);
        QCOMPARE(session.displayName(), u"Untitled"_s);
        QVERIFY(session.filePath().isEmpty());
    }
    QStringList steps;
    for (const auto &step : session.lifecycle()->lastReport().teardownSteps)
        steps.append(step.name);
    QCOMPARE(steps.size(), 18);
    QCOMPARE(steps.first(), u"stop-animation-clock"_s);
    QCOMPARE(steps.last(), u"reset-camera"_s);
}

void TstSceneSession::aBadFileLeavesTheScene_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("error");
    QTest::newRow("no such file") << QString()
                                  << u"Failed to open file: No such file or directory"_s;
    QTest::newRow("no scene") << u"- 1\n- 2\n"_s << u"Failed to load scene from:"_s;
    QTest::newRow("no YAML") << u"formatVersion: 2\n\t- [\n"_s << u"Failed to load scene from:"_s;
}

void TstSceneSession::aBadFileLeavesTheScene()
{
    QFETCH(const QString, text);
    QFETCH(const QString, error);
    if (!text.isNull())
        write(path(u"bad.corvane"_s), text);
    SceneSession session;
    session.openScene(path(u"plate.corvane"_s));
    addBox(session);
    session.setQuestion([](const auto &answer) { answer(Answer::Discard); });
    const QString before = session.document()->stateFingerprint();
    QTest::ignoreMessage(QtCriticalMsg, QRegularExpression(u"\\[toast\\] Error: "_s + error));
    session.openScene(path(u"bad.corvane"_s));
    QVERIFY(lastNotice().startsWith(error));
    QCOMPARE(session.document()->stateFingerprint(), before);
    QCOMPARE(session.displayName(), u"plate"_s);
    QVERIFY(session.isModified());
    session.undo();
    QCOMPARE(session.tree()->instances().size(), 1);
}

void TstSceneSession::theGuardAsks_data()
{
    QTest::addColumn<bool>("isModified");
    QTest::addColumn<int>("answer");
    QTest::addColumn<bool>("canSave");
    QTest::addColumn<bool>("goesOn");
    QTest::newRow("nothing to ask") << false << int(Answer::Cancel) << true << true;
    QTest::newRow("cancel") << true << int(Answer::Cancel) << true << false;
    QTest::newRow("discard") << true << int(Answer::Discard) << true << true;
    QTest::newRow("save") << true << int(Answer::Save) << true << true;
    QTest::newRow("save, and no path is given") << true << int(Answer::Save) << false << false;
}

void TstSceneSession::theGuardAsks()
{
    QFETCH(const bool, isModified);
    QFETCH(const int, answer);
    QFETCH(const bool, canSave);
    SceneSession session;
    if (isModified)
        addBox(session);
    int asked = 0;
    session.setQuestion([&](const auto &give) {
        ++asked;
        give(Answer(answer));
    });
    session.setPathQuestion(
        [&](const QString &) { return canSave ? path(u"new.corvane"_s) : u""_s; });
    bool isDone = false;
    session.guardUnsavedScene([&] { isDone = true; });
    QTEST(isDone, "goesOn");
    QCOMPARE(asked, int(isModified));
    QCOMPARE(QFile::exists(path(u"new.corvane"_s)),
             isModified && answer == int(Answer::Save) && canSave);
}

void TstSceneSession::whatIsSavedIsOpenedAgain()
{
    SceneSession session;
    const QUuid id = addBox(session);
    QSignalSpy titles(&session, &SceneSession::titleChanged);
    QVERIFY(session.saveSceneAs(path(u"a.corvane"_s)));
    QVERIFY(!titles.isEmpty() && !session.isModified());
    QCOMPARE(session.displayName(), u"a"_s);
    session.executor()->apply({u"item.rename"_s, {{u"itemId"_s, id}, {u"newName"_s, u"B"_s}}});
    QVERIFY(session.isModified());
    session.setBeforeSave([&] { session.document()->setSceneSetting(u"camera.fov"_s, 30.0); });
    QVERIFY(session.saveScene());
    QVERIFY(!session.isModified());
    SceneSession other;
    other.openScene(path(u"a.corvane"_s));
    QCOMPARE(other.tree()->instances().first().name, u"B"_s);
    QCOMPARE(other.document()->sceneSetting(u"camera.fov"_s).toDouble(), 30.0);
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"cannot write"_s));
    QTest::ignoreMessage(QtCriticalMsg, QRegularExpression(u"Failed to save scene to:"_s));
    QVERIFY(!session.saveSceneAs(path(u"no/such/a.corvane"_s)));
    QCOMPARE(session.filePath(), path(u"a.corvane"_s));
}

void TstSceneSession::theWindowsPartsRunInTheirSteps()
{
    SceneSession session;
    addBox(session);
    QStringList ran;
    session.addToStep("clear-scene-tree"_L1, [&](QString *) {
        ran.append(u"tree %1"_s.arg(session.tree()->instances().size()));
        return true;
    });
    session.addToStep("restore-camera"_L1, [&](QString *error) {
        ran.append(u"camera"_s);
        *error = u"no camera"_s;
        return false;
    });
    bool isJobLeft = true;
    session.addSurvivorCheck(SceneSteps::Survivor::PendingJobs, [&] { return isJobLeft; });
    session.setQuestion([](const auto &answer) { answer(Answer::Discard); });
    QTest::ignoreMessage(QtWarningMsg,
                         "SceneLifecycle: INVARIANT VIOLATION — pending job tracking survived");
    QTest::ignoreMessage(
        QtWarningMsg, "SceneLifecycle: load step restore-camera failed: no camera — aborting load");
    session.newScene();
    QCOMPARE(ran,
             (QStringList{u"tree 1"_s, u"camera"_s})); // the tree still shows what is about to go
    QCOMPARE(session.lifecycle()->lastReport().failedStep, u"restore-camera"_s);
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"there is no step"_s));
    session.addToStep("restore-kamera"_L1, {});
}

void TstSceneSession::anotherProgramsVersionIsKept()
{
    SceneSession session;
    session.openScene(path(u"plate.corvane"_s));
    addBox(session);
    write(path(u"plate.corvane"_s), u"theirs"_s);
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"changed by another program"_s));
    QVERIFY(session.saveScene());
    QFile kept(path(u"plate.corvane.bak"_s));
    QVERIFY(kept.open(QIODevice::ReadOnly));
    QCOMPARE(kept.readAll(), "theirs");
}

void TstSceneSession::aChangedFileIsReadAgain()
{
    SceneSession session;
    session.openScene(path(u"plate.corvane"_s));
    QSignalSpy changed(&session, &SceneSession::fileChangedOutside);
    QString other = plate;
    write(path(u"plate.corvane"_s), other.replace(u"w: 4"_s, u"w: 5"_s));
    QTRY_COMPARE(session.document()->variableEntry(u"w"_s).value.toDouble(), 5.0);
    QCOMPARE(changed.size(), 0);
    const QUuid box = addBox(session);
    write(path(u"plate.corvane"_s), other.replace(u"w: 5"_s, u"w: 6"_s));
    QTRY_COMPARE(changed.size(), 1);
    QCOMPARE(session.document()->variableEntry(u"w"_s).value.toDouble(), 5.0);
    QVERIFY(session.tree()->contains(box));
}

void TstSceneSession::unsavedWorkComesBack()
{
    const QString folder = path(u"recovery"_s);
    RecoveryRecord left;
    {
        SceneSession session(folder);
        session.openScene(path(u"plate.corvane"_s));
        addBox(session);
        session.recovery()->copyNow();
        QVERIFY(RecoveryStore(folder).leftBehind().isEmpty()); // it still runs
    }
    {
        SceneSession next(folder);
        const auto found = next.recovery()->store().leftBehind();
        QCOMPARE(found.size(), 1);
        left = found.first();
        QCOMPARE(left.name, u"plate"_s);
        QCOMPARE(left.originalPath, path(u"plate.corvane"_s));
        next.openRecovered(left);
        QCOMPARE(next.tree()->instances().size(), 2);
        QVERIFY(next.isModified());
        QCOMPARE(next.filePath(), path(u"plate.corvane"_s));
        QVERIFY(next.recovery()->store().leftBehind().isEmpty());
        QVERIFY(next.saveScene());
        QVERIFY(!next.recovery()->store().hasCopy());
    }
    QVERIFY(RecoveryStore(folder).leftBehind().isEmpty());
    QVERIFY(QDir(folder).entryList(QDir::Files).isEmpty());
}

void TstSceneSession::aCopyIsWrittenAfterAQuietTime()
{
    SceneSession session(path(u"recovery"_s));
    session.recovery()->setIntervals(std::chrono::milliseconds(1), std::chrono::hours(1));
    QSignalSpy copied(session.recovery(), &RecoveryKeeper::copied);
    addBox(session);
    QTRY_COMPARE(copied.size(), 1);
    session.undo(); // clean again: nothing to copy
    session.recovery()->copyNow();
    QCoreApplication::processEvents();
    QCOMPARE(copied.size(), 1);
    session.recovery()->setIntervals(std::chrono::hours(1), std::chrono::milliseconds(1));
    addBox(session); // a day of edits without a pause
    QTRY_COMPARE(copied.size(), 2);
}

QTEST_GUILESS_MAIN(TstSceneSession)
#include "tst_SceneSession.moc"
