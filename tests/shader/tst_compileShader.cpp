#include <shader/ArtifactCache.h>
#include <shader/SpirvCompiler.h>
#include <shader/compileShader.h>
#include <support/Files.h>

#include <QFile>
#include <QLoggingCategory>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QUuid>

#include <atomic>
#include <thread>

using namespace Qt::StringLiterals;
using namespace shader;

class TstCompileShader : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void cleanup() { QLoggingCategory::setFilterRules({}); }

    void bakesForEveryBackEnd();
    void bakesFirstWhatRuns();
    void keepsWhatAnotherDeviceMade();
    void bakesOnce();
    void bakesTheBatchableVariant();
    void replacesADamagedFile();
    void reportsErrors();
    void refusesHostileSource();
    void compilesOnSeveralThreads();

private:
    QTemporaryDir m_dataHome; ///< where this run keeps its artifact cache
};

namespace {

// Never the same text twice, so that no earlier run has it in the cache.
QString freshFragment()
{
    return u"#version 450\n// %1\nlayout(location = 0) out vec4 fragColor;\n"
           "void main() { fragColor = vec4(1.0); }\n"_s.arg(QUuid::createUuid().toString());
}

QString cacheFile(const QString &source, QShader::Stage stage)
{
    return ArtifactCache::instance().shaderDir() + u'/' + ArtifactCache::shaderKey(source, stage) +
           u".qsb"_s;
}

void showRoutineLines()
{
    QLoggingCategory::setFilterRules(u"ondrel.shader.*.info=true"_s);
}

void expectLine(const QString &pattern)
{
    QTest::ignoreMessage(QtInfoMsg, QRegularExpression(pattern));
}

} // namespace

void TstCompileShader::initTestCase()
{
    QVERIFY(qputenv("XDG_DATA_HOME", QFile::encodeName(m_dataHome.path())));
}

void TstCompileShader::bakesForEveryBackEnd()
{
    const CompileResult result = compileShader(freshFragment(), QShader::FragmentStage, u"plain"_s);
    QVERIFY2(result.shader.isValid(), qPrintable(result.errorMessage));
    QVERIFY(result.errorMessage.isEmpty());
    QCOMPARE(result.shader.availableShaders().size(), 7);
    const QShaderKey es(QShader::GlslShader, QShaderVersion(310, QShaderVersion::GlslEs));
    QVERIFY(result.shader.availableShaders().contains(es));
}

void TstCompileShader::bakesFirstWhatRuns()
{
    const QString source = freshFragment();
    const QShaderKey spirv(QShader::SpirvShader, QShaderVersion(100));
    addRunningTargets(Target::Spirv);
    const auto running = qScopeGuard([] { addRunningTargets(allTargets); });
    const auto compiled = [&source] {
        return compileShader(source, QShader::FragmentStage, u"first"_s).shader.availableShaders();
    };
    QCOMPARE(compiled(), QList<QShaderKey>{spirv});
    // A process that ends now leaves this, and the next one makes the rest of it.
    QFile file(cacheFile(source, QShader::FragmentStage));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray begun = file.readAll();
    QCOMPARE(QShader::fromSerialized(begun).availableShaders(), QList<QShaderKey>{spirv});
    QVERIFY(finishCompiles(std::chrono::seconds(30)));
    QCOMPARE(compiled().size(), 7);
    QVERIFY(support::put(file.fileName(), begun));
    QCOMPARE(compiled(), QList<QShaderKey>{spirv});
    QVERIFY(finishCompiles(std::chrono::seconds(30)));
    QCOMPARE(compiled().size(), 7);
}

void TstCompileShader::keepsWhatAnotherDeviceMade()
{
    const QString source = freshFragment();
    const auto sizeFor = [&source](Targets targets) {
        const CompileResult result =
            compileFor(targets, source, QShader::FragmentStage, u"kernel"_s);
        return result.shader.availableShaders().size();
    };
    QCOMPARE(sizeFor(Target::Spirv), 1);
    QVERIFY(finishCompiles(std::chrono::seconds(30)));
    QCOMPARE(sizeFor(Target::Spirv), 1); // nobody else needs it
    QCOMPARE(sizeFor(Target::DesktopGlsl), 3);
    QCOMPARE(sizeFor(Target::Spirv), 3);
}

void TstCompileShader::bakesOnce()
{
    const QString source = freshFragment();
    const QString key = ArtifactCache::shaderKey(source, QShader::FragmentStage);
    showRoutineLines();
    expectLine(u"^Successfully compiled shader: once$"_s);
    expectLine(u"^shader::ArtifactCache: saved shader "_s + key + u'$');
    const CompileResult first = compileShader(source, QShader::FragmentStage, u"once"_s);
    expectLine(u"^shader::ArtifactCache: cache hit for "_s + key + u'$');
    const CompileResult second = compileShader(source, QShader::FragmentStage, u"once"_s);
    QCOMPARE(second.shader, first.shader);
}

void TstCompileShader::bakesTheBatchableVariant()
{
    const QString source =
        u"#version 450\n// %1\nlayout(location = 0) in vec4 position;\n"
        "out gl_PerVertex { vec4 gl_Position; };\n"
        "void main() { gl_Position = position; }\n"_s.arg(QUuid::createUuid().toString());
    const CompileResult plain = compileShader(source, QShader::VertexStage, u"v"_s);
    QVERIFY2(plain.shader.isValid(), qPrintable(plain.errorMessage));
    const CompileResult batchable = compileShader(source, QShader::VertexStage, u"v"_s, true);
    QCOMPARE(plain.shader.availableShaders().size(), 7);
    QCOMPARE(batchable.shader.availableShaders().size(), 14);
}

void TstCompileShader::replacesADamagedFile()
{
    const QString source = freshFragment();
    QFile file(cacheFile(source, QShader::FragmentStage));
    QVERIFY(compileShader(source, QShader::FragmentStage, u"a"_s).shader.isValid());
    QVERIFY(file.resize(0));
    QVERIFY(compileShader(source, QShader::FragmentStage, u"a"_s).shader.isValid());
    QVERIFY(file.size() > 0);
}

void TstCompileShader::reportsErrors()
{
    const QString source = freshFragment() + u"oops"_s;
    for (const QString &pattern : {u"^QSpirvCompiler: Failed to parse shader"_s,
                                   u"^Failed to compile shader: .*ERROR: generated:5: "_s,
                                   u"^Source \\(first 500 chars\\): #version 450"_s})
        QTest::ignoreMessage(
            QtWarningMsg,
            QRegularExpression(pattern, QRegularExpression::DotMatchesEverythingOption));
    const CompileResult result = compileShader(source, QShader::FragmentStage, {});
    QVERIFY(!result.shader.isValid());
    QVERIFY(result.errorMessage.contains(u"ERROR: generated:5:"_s));
    QVERIFY(!QFile::exists(cacheFile(source, QShader::FragmentStage)));
}

void TstCompileShader::refusesHostileSource()
{
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^Failed to compile shader: "_s));
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^Source \\(first 500 chars\\): "_s));
    const CompileResult result =
        compileShader(u"void main() {\nfloat x = "_s + u"1.0 + "_s.repeated(100000) + u"1.0; }"_s,
                      QShader::FragmentStage, u"hostile"_s);
    QVERIFY(!result.shader.isValid());
    QCOMPARE(result.errorMessage,
             u"ERROR: hostile:2: More than 10000 operators in one expression"_s);
}

void TstCompileShader::compilesOnSeveralThreads()
{
    std::atomic<int> compiled = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&compiled] {
            for (int j = 0; j < 5; ++j) {
                if (!compileToSpirv(freshFragment(), QShader::FragmentStage, u"t"_s)
                         .spirv.isEmpty())
                    ++compiled;
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    QCOMPARE(compiled.load(), 20);
}

QTEST_GUILESS_MAIN(TstCompileShader)
#include "tst_compileShader.moc"
