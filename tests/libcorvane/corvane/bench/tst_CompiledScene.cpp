#include <corvane/bench/CompiledScene.h>

#include <corvane/eval/CPUFieldEvaluator.h>
#include <corvane/registry/Registry.h>

#include <support/Files.h>

#include <QFile>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

using namespace Qt::StringLiterals;
using namespace corvane;
using bench::compileSceneFile;

class TstCompiledScene : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        QTest::failOnWarning(QRegularExpression(u".*"_s));
        m_folder.reset(new QTemporaryDir);
    }

    void bothVersionsAreTheSameScene_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("bracket") << u"bracket"_s;
        QTest::newRow("enclosure driven by expressions") << u"enclosure"_s;
    }
    void bothVersionsAreTheSameScene()
    {
        QFETCH(QString, name);
        const QString samples = QStringLiteral(CORVANE_SAMPLES "/");
        QString error;
        const auto one = compileSceneFile(samples + name + u".corvane"_s, error);
        QVERIFY2(one, qPrintable(error));
        const auto two = compileSceneFile(samples + u"v2/"_s + name + u".corvane"_s, error);
        QVERIFY2(two, qPrintable(error));
        QCOMPARE(two->boundsMin, one->boundsMin);
        QCOMPARE(two->boundsMax, one->boundsMax);
        QCOMPARE(two->cellSize, one->cellSize);
        QVERIFY(one->autoBounds && two->autoBounds);
        corvane::eval::CPUFieldEvaluator a(one->nodes, one->rootIndex, one->definitions);
        corvane::eval::CPUFieldEvaluator b(two->nodes, two->rootIndex, two->definitions);
        QVERIFY(a.isValid() && b.isValid());
        int inside = 0;
        for (int i = 0; i < 1000; ++i) {
            const QVector3D share(float(i % 10) / 9, float(i / 10 % 10) / 9, float(i / 100) / 9);
            const QVector3D p = one->boundsMin + share * (one->boundsMax - one->boundsMin);
            const float d = a.evaluate(p.x(), p.y(), p.z());
            inside += d < 0 ? 1 : 0;
            QVERIFY(std::abs(d - b.evaluate(p.x(), p.y(), p.z())) < 1e-3f);
        }
        QVERIFY(inside > 0 && inside < 1000);
    }

    void whatIsNoFileIsRefused()
    {
        const QString pipe = m_folder->filePath(u"pipe"_s);
        QVERIFY(::mkfifo(QFile::encodeName(pipe).constData(), 0600) == 0);
        QString error;
        QVERIFY(!compileSceneFile(pipe, error));
        QVERIFY2(error.contains(u"it is a FIFO, not a regular file"_s), qPrintable(error));
    }

    void sceneWithoutABoxFindsItsOwn()
    {
        QString error;
        const auto scene = compileSceneFile(written("corvane:\n"
                                                    "  settings:\n"
                                                    "    export:\n"
                                                    "      bounds:\n"
                                                    "        minX: -2.0\n"
                                                    "  instances:\n"
                                                    "    ball:\n"
                                                    "      type: sphere\n"),
                                            error);
        QVERIFY2(scene, qPrintable(error));
        QVERIFY(scene->autoBounds);
        QCOMPARE(scene->cellSize, 0.1f);
    }

    void definitionsOfTheFileAreItsOwn_data()
    {
        QTest::addColumn<QByteArray>("definition");
        QTest::newRow("new") << QByteArray("dice");
        QTest::newRow("in place of a built-in") << QByteArray("sphere");
        QTest::newRow("as another open scene has one") << QByteArray("elsewhere");
    }
    void definitionsOfTheFileAreItsOwn()
    {
        QFETCH(QByteArray, definition);
        auto &registry = registry::Registry::instance();
        const auto other = registry::DefinitionPtr::create();
        other->id = u"elsewhere"_s;
        other->shaderCode = u"float sdf_elsewhere(vec3 p) { return length(p) - 9.0; }"_s;
        registry.registerFileScopedPrimitive(other);
        const auto leave = qScopeGuard([&] { registry.unregisterPrimitive(other->id); });
        const auto before = registry.getAllPrimitives();
        QSignalSpy registered(&registry, &registry::Registry::primitiveRegistered);
        QSignalSpy unregistered(&registry, &registry::Registry::primitiveUnregistered);
        QString error;
        const auto scene =
            compileSceneFile(written("corvane:\n"
                                     "  definitions:\n"
                                     "    - id: dice\n"
                                     "      name: Dice\n"
                                     "      category: Mine\n"
                                     "      shaderCode: \"float sdf_dice(vec3 p) { return "
                                     "max(abs(p.x), max(abs(p.y), abs(p.z))) - 1.5; }\"\n"
                                     "  instances:\n"
                                     "    one:\n"
                                     "      type: dice\n"_ba.replace("dice", definition)),
                             error);
        QVERIFY2(scene, qPrintable(error));
        QVERIFY(registered.isEmpty() && unregistered.isEmpty());
        QCOMPARE(registry.getAllPrimitives(), before);
        corvane::eval::CPUFieldEvaluator field(scene->nodes, scene->rootIndex, scene->definitions);
        QCOMPARE(field.evaluate(2, 0, 0), 0.5f);
    }

    void whatIsNoSceneIsAnError_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("error");
        QTest::newRow("empty picture")
            << QByteArray("corvane:\n  instances:\n    ball:\n      type: sphere\n  roots: []\n")
            << u"scene has no geometry"_s;
        QTest::newRow("binary") << QByteArray("\x00\x01\xff\xfe", 4) << u"cannot load scene: "_s;
    }
    void whatIsNoSceneIsAnError()
    {
        QFETCH(QByteArray, text);
        QFETCH(QString, error);
        QString said;
        QVERIFY(!compileSceneFile(written(text), said));
        QVERIFY2(said.startsWith(error), qPrintable(said));
        QVERIFY(!compileSceneFile(m_folder->filePath(u"gone.corvane"_s), said));
        QVERIFY2(said.startsWith(u"cannot load scene: "_s), qPrintable(said));
    }

private:
    QString written(const QByteArray &text) const
    {
        const QString path = m_folder->filePath(u"scene.corvane"_s);
        return support::put(path, text) ? path : QString();
    }

    QScopedPointer<QTemporaryDir> m_folder;
};

QTEST_GUILESS_MAIN(TstCompiledScene)
#include "tst_CompiledScene.moc"
