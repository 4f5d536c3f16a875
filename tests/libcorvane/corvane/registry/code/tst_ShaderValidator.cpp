#include <corvane/registry/code/ShaderValidator.h>
#include <shader/ArtifactCache.h>

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QUuid>

using namespace Qt::StringLiterals;
using corvane::shader::ShaderValidator;
using corvane::shader::ValidationResult;
using Severity = ::shader::Diagnostic::Severity;

class TstShaderValidator : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void acceptsAndDescribes();
    void answersFromTheCache();
    void refusesAnEmptySource();
    void reportsErrorsByLine();
    void refusesHostileSource();

private:
    QTemporaryDir m_dataHome; ///< where this run keeps its artifact cache
};

namespace {

QString body()
{
    return u"// %1\nlayout(location = 0) out vec4 fragColor;\n"
           "layout(std140, binding = 0) uniform Block { float size; };\n"
           "void main() { fragColor = vec4(size); }\n"_s.arg(QUuid::createUuid().toString());
}

qsizetype cachedFiles()
{
    return QDir(::shader::ArtifactCache::instance().shaderDir())
        .entryList({u"*.spv"_s}, QDir::Files)
        .size();
}

} // namespace

void TstShaderValidator::initTestCase()
{
    QVERIFY(qputenv("XDG_DATA_HOME", QFile::encodeName(m_dataHome.path())));
}

void TstShaderValidator::acceptsAndDescribes()
{
    const ValidationResult result =
        ShaderValidator::validate(body(), QShader::FragmentStage, u"block"_s, u"#version 450"_s);
    QVERIFY(result.success);
    QVERIFY(!result.spirv.isEmpty());
    QVERIFY(result.diagnostics.isEmpty());
    QCOMPARE(result.description().uniformBlocks().size(), 1);
}

void TstShaderValidator::answersFromTheCache()
{
    const QString source = u"#version 450\n"_s + body();
    const qsizetype before = cachedFiles();
    const ValidationResult first =
        ShaderValidator::validate(source, QShader::FragmentStage, u"a"_s);
    QCOMPARE(cachedFiles(), before + 1);
    const ValidationResult second =
        ShaderValidator::validate(source, QShader::FragmentStage, u"a"_s);
    QCOMPARE(cachedFiles(), before + 1);
    QVERIFY(second.success);
    QCOMPARE(second.spirv, first.spirv);
    QCOMPARE(second.description().uniformBlocks().size(), 1);
}

void TstShaderValidator::refusesAnEmptySource()
{
    const ValidationResult result =
        ShaderValidator::validate({}, QShader::FragmentStage, u"empty"_s, u"#version 450"_s);
    QVERIFY(!result.success);
    QCOMPARE(result.diagnostics.size(), 1);
    QCOMPARE(result.diagnostics[0].line, -1);
    QCOMPARE(result.diagnostics[0].message, u"Empty shader source"_s);
    QCOMPARE(result.diagnostics[0].filename, u"empty"_s);
}

void TstShaderValidator::reportsErrorsByLine()
{
    const qsizetype before = cachedFiles();
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^QSpirvCompiler: Failed to parse"_s));
    const ValidationResult result =
        ShaderValidator::validate(u"void main() {\n  gl_Position = nothing;\n}"_s,
                                  QShader::VertexStage, u"bad"_s, u"#version 450\n"_s);
    QVERIFY(!result.success);
    QVERIFY(result.spirv.isEmpty());
    QVERIFY(result.diagnostics.size() >= 1);
    QCOMPARE(result.diagnostics[0].line, 3);
    QCOMPARE(result.diagnostics[0].severity, Severity::Error);
    QCOMPARE(result.diagnostics[0].filename, u"bad.vert"_s);
    QVERIFY(result.diagnostics[0].message.contains(u"'nothing'"_s));
    QCOMPARE(cachedFiles(), before);
    QVERIFY(result.description().uniformBlocks().isEmpty());
}

void TstShaderValidator::refusesHostileSource()
{
    const ValidationResult result = ShaderValidator::validate(
        u"\nfloat x = "_s + u"("_s.repeated(100000), QShader::FragmentStage, u"hostile.frag"_s);
    QVERIFY(!result.success);
    QCOMPARE(result.diagnostics.size(), 1);
    QCOMPARE(result.diagnostics[0].line, 2);
    QCOMPARE(result.diagnostics[0].message, u"More than 200 brackets in one another"_s);
}

QTEST_GUILESS_MAIN(TstShaderValidator)
#include "tst_ShaderValidator.moc"
