#include <corvane/registry/code/ShaderValidator.h>
#include <support/Files.h>
#include <support/SampleShaders.h>

#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

/// What a tool says that does not end well.
QString complaintOf(const QString &program, const QStringList &arguments)
{
    constexpr int limitMs = 120'000;
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    if (!process.waitForFinished(limitMs))
        return program + u": "_s + process.errorString();
    return process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0
               ? QString()
               : QString::fromUtf8(process.readAll()) + u" (%1)"_s.arg(process.exitCode());
}

} // namespace

/// The compiler that is linked in accepts more than others do, and drivers take its output on
/// trust. So the texts go through the reference compiler, and the output through the validator.
class TstSampleShaders : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void theReferenceCompilerAcceptsTheTexts_data()
    {
        m_known.clear();
        samples();
    }
    void theReferenceCompilerAcceptsTheTexts();
    void theValidatorAcceptsTheOutput_data()
    {
        m_known.clear();
        samples();
    }
    void theValidatorAcceptsTheOutput();

private:
    static void samples();
    bool isKnown(const QString &source)
    {
        const qsizetype before = m_known.size();
        m_known.insert(source);
        return m_known.size() == before;
    }

    QSet<QString> m_known; ///< texts that were looked at
    QTemporaryDir m_folder;
    QString m_home = m_folder.filePath(u"home"_s);
};

void TstSampleShaders::initTestCase()
{
    QVERIFY(qputenv("XDG_DATA_HOME", QFile::encodeName(m_home)));
}

void TstSampleShaders::samples()
{
    QTest::addColumn<QString>("sample");
    const QStringList names = support::sampleNames();
    for (const QString &name : names)
        QTest::newRow(qPrintable(name)) << name;
    QVERIFY(names.size() > 10);
}

void TstSampleShaders::theReferenceCompilerAcceptsTheTexts()
{
    QFETCH(const QString, sample);
    const QString compiler = QStandardPaths::findExecutable(u"glslangValidator"_s);
    if (compiler.isEmpty())
        QSKIP("glslangValidator is not installed (package glslang-tools)");
    const QString text = m_folder.filePath(u"text.frag"_s);
    QVERIFY(support::withGeneratorOf(sample, [&](const auto &generator) {
        for (const support::ShaderTemplate &shader : support::shaderTemplates) {
            const QString source = (generator.*shader.generate)();
            if (isKnown(source)) // some depend on no sample
                continue;
            QVERIFY(support::put(text, source.toUtf8()));
            const QString complaint =
                complaintOf(compiler, {u"-V"_s, text, u"-o"_s, m_folder.filePath(u"text.spv"_s)});
            QVERIFY2(complaint.isEmpty(),
                     qPrintable(QLatin1StringView(shader.name) + u": "_s + complaint));
        }
    }));
}

void TstSampleShaders::theValidatorAcceptsTheOutput()
{
    QFETCH(const QString, sample);
    const QString validator = QStandardPaths::findExecutable(u"spirv-val"_s);
    if (validator.isEmpty())
        QSKIP("spirv-val is not installed (package spirv-tools)");
    const QString binary = m_folder.filePath(u"output.spv"_s);
    QVERIFY(support::withGeneratorOf(sample, [&](const auto &generator) {
        for (const support::ShaderTemplate &shader : support::shaderTemplates) {
            const QString source = (generator.*shader.generate)();
            if (isKnown(source))
                continue;
            const auto result = corvane::shader::ShaderValidator::validate(
                source, QShader::FragmentStage, u"sample"_s);
            QVERIFY2(result.success, shader.name);
            QVERIFY(support::put(binary, result.spirv));
            const QString complaint =
                complaintOf(validator, {u"--target-env"_s, u"vulkan1.0"_s, binary});
            QVERIFY2(complaint.isEmpty(),
                     qPrintable(QLatin1StringView(shader.name) + u": "_s + complaint));
        }
    }));
}

QTEST_GUILESS_MAIN(TstSampleShaders)
#include "tst_SampleShaders.moc"
