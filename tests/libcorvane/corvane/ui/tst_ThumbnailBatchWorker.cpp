#include <corvane/registry/Registry.h>
#include <corvane/rendering/thumbnail/SDFThumbnailGenerator.h>
#include <corvane/ui/ThumbnailBatchWorker.h>
#include <support/JobRunner.h>
#include <support/VirtualDisplay.h>

#include <QGuiApplication>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;
using batch::BatchStatus;
using corvane::registry::Registry;
using corvane::rendering::SDFThumbnailGenerator;
using corvane::rendering::ThumbnailCache;
using corvane::ui::ThumbnailBatchWorker;

namespace {

const QString type = u"corvane/thumbnail_update"_s;
constexpr QSize size(32, 32);

void addBall(Registry &registry, const QString &id)
{
    const QString code = u"float sdf_%1(vec3 p) { return length(p) - 1.0; }"_s.arg(id);
    registry.registerFileScopedPrimitive(corvane::registry::Definition::fromVariantMap(
        {{u"id"_s, id}, {u"name"_s, id}, {u"shaderCode"_s, code}}));
}

} // namespace

class TstThumbnailBatchWorker : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void initTestCase()
    {
        addBall(m_registry, u"one"_s);
        addBall(m_registry, u"two"_s);
    }
    void saysWhatItIs();
    void allDefinitionsGetTheirThumbnail();
    void wrongSizesAreRefused_data();
    void wrongSizesAreRefused();
    void aCancelledJobStops();

private:
    Registry m_registry;
    QTemporaryDir m_folder;
    SDFThumbnailGenerator m_generator{&m_registry, QSharedPointer<ThumbnailCache>::create(
                                                       m_folder.path(), ThumbnailCache::Limits())};
    ThumbnailBatchWorker m_worker{&m_generator, &m_registry};
};

void TstThumbnailBatchWorker::saysWhatItIs()
{
    QCOMPARE(support::describe(m_worker), u"corvane/thumbnail_update_worker 1.0.0 "
                                          "corvane,thumbnail corvane/thumbnail_update"_s);
}

void TstThumbnailBatchWorker::allDefinitionsGetTheirThumbnail()
{
    support::JobRunner runner(&m_worker);
    const batch::BatchJob job = runner.run(type, {{u"thumbnailSize"_s, 32}});
    QCOMPARE(job.status, BatchStatus::Done);
    QCOMPARE(job.result, QVariantMap({{u"count"_s, 2}, {u"failed"_s, 0}}));
    QCOMPARE(runner.queue.progress(job.id), qMakePair(2, 2));
    QVERIFY(!m_generator.generateThumbnail(u"one"_s, size).isNull());

    // Those that are there are not drawn again, unless they should be.
    QSignalSpy drawn(&m_generator, &SDFThumbnailGenerator::thumbnailReady);
    QCOMPARE(runner.run(type, {{u"thumbnailSize"_s, 32}}).status, BatchStatus::Done);
    QCOMPARE(drawn.size(), 0);
    runner.run(type, {{u"thumbnailSize"_s, 32}, {u"force"_s, true}});
    QCOMPARE(drawn.size(), 2);
}

void TstThumbnailBatchWorker::wrongSizesAreRefused_data()
{
    QTest::addColumn<QVariantMap>("payload");
    QTest::newRow("none") << QVariantMap();
    QTest::newRow("no number") << QVariantMap{{u"thumbnailSize"_s, u"large"_s}};
    QTest::newRow("tiny") << QVariantMap{{u"thumbnailSize"_s, 15}};
    QTest::newRow("huge") << QVariantMap{{u"thumbnailSize"_s, 100'000}};
}

void TstThumbnailBatchWorker::wrongSizesAreRefused()
{
    QFETCH(QVariantMap, payload);
    support::JobRunner runner(&m_worker);
    const batch::BatchJob job = runner.run(type, payload);
    QCOMPARE(job.status, BatchStatus::Failed);
    QCOMPARE(job.error, u"thumbnailSize has to be a number from 16 to 1024"_s);
}

void TstThumbnailBatchWorker::aCancelledJobStops()
{
    support::JobRunner runner(&m_worker);
    const quint64 id = runner.start(type, {{u"thumbnailSize"_s, 48}});
    QVERIFY(!m_worker.canAccept());
    QVERIFY(runner.queue.cancel(id));
    QCOMPARE(runner.ended(id).status, BatchStatus::Cancelled);
    QCOMPARE(m_generator.queue().waiting(), 0);
}

int main(int argc, char **argv)
{
    const VirtualDisplay display;
    if (!display.isUp())
        return 1;
    QGuiApplication application(argc, argv);
    TstThumbnailBatchWorker test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_ThumbnailBatchWorker.moc"
