#include <shader/ArtifactCache.h>
#include <shader/CompileMark.h>
#include <shader/compileShader.h>
#include <store/SafeFile.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <csignal>
#include <functional>

#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace shader;

namespace {

/// Another process that does something, and is then still there until kill().
class Process
{
public:
    explicit Process(const std::function<void()> &work)
    {
        int ends[2] = {-1, -1};
        if (::pipe(ends) != 0)
            return;
        m_id = ::fork();
        if (m_id == 0) {
            work();
            [[maybe_unused]] const auto told = ::write(ends[1], "x", 1);
            ::pause();
            ::_exit(0);
        }
        ::close(ends[1]);
        char byte = 0;
        m_isReady = ::read(ends[0], &byte, 1) == 1;
        ::close(ends[0]);
    }
    ~Process() { kill(); }
    Q_DISABLE_COPY_MOVE(Process)

    bool isReady() const { return m_isReady; }
    void kill()
    {
        if (m_id > 0 && ::kill(m_id, SIGKILL) == 0)
            ::waitpid(std::exchange(m_id, -1), nullptr, 0);
    }

private:
    pid_t m_id = -1;
    bool m_isReady = false;
};

const QString key = u"0123456789abcdef0123456789abcdef"_s;

} // namespace

class TstCompileMark : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY(qputenv("XDG_DATA_HOME", QFile::encodeName(m_home.path()))); }
    void init();
    void cleanup() { QCoreApplication::setApplicationVersion(u"1"_s); }

    void aMarkIsThereWhileItLives();
    void theMarkOfADeadProcessRefuses_data();
    void theMarkOfADeadProcessRefuses();
    void theMarkOfALivingProcessIsItsOwn();
    void whatEndsARefusal_data();
    void whatEndsARefusal();
    void anInterruptedProgramLeavesNone();
    void withoutAPlaceNothingIsRefused();
    void aRefusedShaderIsNotCompiled();

private:
    QStringList marks() const { return QDir(m_folder->path()).entryList(QDir::Files); }
    void leaveMark(Compiler compiler = Compiler::Glsl);

    QTemporaryDir m_home;
    std::unique_ptr<QTemporaryDir> m_folder;
};

void TstCompileMark::init()
{
    QTest::failOnWarning(QRegularExpression(u".*"_s));
    QCoreApplication::setApplicationVersion(u"1"_s);
    m_folder = std::make_unique<QTemporaryDir>();
}

void TstCompileMark::leaveMark(Compiler compiler)
{
    const Process dying([&] { new CompileMark(compiler, key, u"gear"_s, m_folder->path()); });
    QVERIFY(dying.isReady());
}

void TstCompileMark::aMarkIsThereWhileItLives()
{
    {
        const CompileMark first(Compiler::Glsl, key, u"gear"_s, m_folder->path());
        QCOMPARE(first.refusal(), QString());
        QCOMPARE(marks(), QStringList{u"glsl-"_s + key});
        const CompileMark second(Compiler::Glsl, key, u"gear"_s, m_folder->path());
        QCOMPARE(second.refusal(), QString()); // another thread's, say
    }
    QCOMPARE(marks(), QStringList());
}

void TstCompileMark::theMarkOfADeadProcessRefuses_data()
{
    QTest::addColumn<Compiler>("compiler");
    QTest::addColumn<QString>("who");
    QTest::addColumn<QString>("file");
    QTest::newRow("compiler") << Compiler::Glsl << u"The shader compiler"_s << u"glsl-"_s + key;
    QTest::newRow("driver") << Compiler::Driver << u"The graphics driver"_s << u"driver-"_s + key;
}

void TstCompileMark::theMarkOfADeadProcessRefuses()
{
    QFETCH(const Compiler, compiler);
    QFETCH(const QString, who);
    QFETCH(const QString, file);
    leaveMark(compiler);
    for (int i = 0; i < 2; ++i) {
        const CompileMark mark(compiler, key, u"gear"_s, m_folder->path());
        const QRegularExpression text(
            u"^%1 was at work on \"gear\" when the program died \\(\\d{4}-\\d\\d-\\d\\d "
            "\\d\\d:\\d\\d\\), so it is not given that shader again by this version of the "
            "program\\. Change what the shader is made of, or remove the file %2 to try it once "
            "more$"_s.arg(who, m_folder->filePath(file)));
        QVERIFY2(text.match(mark.refusal()).hasMatch(), qPrintable(mark.refusal()));
    }
    const CompileMark other(compiler, u"f"_s + key, u"gear"_s, m_folder->path());
    QCOMPARE(other.refusal(), QString());
}

void TstCompileMark::theMarkOfALivingProcessIsItsOwn()
{
    Process other([&] { new CompileMark(Compiler::Glsl, key, u"gear"_s, m_folder->path()); });
    QVERIFY(other.isReady());
    QCOMPARE(CompileMark(Compiler::Glsl, key, u"gear"_s, m_folder->path()).refusal(), QString());
    QCOMPARE(forgetRefusals(m_folder->path()), 0);
    QCOMPARE(marks().size(), 1);
    other.kill();
    QVERIFY(!CompileMark(Compiler::Glsl, key, u"gear"_s, m_folder->path()).refusal().isEmpty());
}

void TstCompileMark::whatEndsARefusal_data()
{
    using Action = std::function<void(const QString &)>;
    QTest::addColumn<Action>("action");
    QTest::newRow("another version")
        << Action([](const QString &) { QCoreApplication::setApplicationVersion(u"2"_s); });
    QTest::newRow("the file is removed")
        << Action([](const QString &path) { QFile::remove(path); });
    QTest::newRow("the file is emptied")
        << Action([](const QString &path) { QVERIFY(QFile::resize(path, 0)); });
    QTest::newRow("the user asks")
        << Action([](const QString &path) { QCOMPARE(forgetRefusals(QFileInfo(path).path()), 1); });
}

void TstCompileMark::whatEndsARefusal()
{
    QFETCH(const std::function<void(const QString &)>, action);
    leaveMark();
    action(m_folder->filePath(u"glsl-"_s + key));
    QCOMPARE(CompileMark(Compiler::Glsl, key, u"gear"_s, m_folder->path()).refusal(), QString());
    QCOMPARE(marks(), QStringList());
}

void TstCompileMark::anInterruptedProgramLeavesNone()
{
    const CompileMark mark(Compiler::Glsl, key, u"gear"_s, m_folder->path());
    store::SafeFile::removeAllPending();
    QCOMPARE(marks(), QStringList());
}

void TstCompileMark::withoutAPlaceNothingIsRefused()
{
    QFile blocker(m_folder->filePath(u"blocked"_s));
    QVERIFY(blocker.open(QIODevice::WriteOnly));
    QCOMPARE(CompileMark(Compiler::Glsl, key, u"gear"_s, blocker.fileName()).refusal(), QString());
    QVERIFY(QDir().mkpath(m_folder->filePath(u"glsl-"_s + key))); // a folder in its place
    QCOMPARE(CompileMark(Compiler::Glsl, key, u"gear"_s, m_folder->path()).refusal(), QString());
}

void TstCompileMark::aRefusedShaderIsNotCompiled()
{
    const auto sourceOf = [](int number) {
        return u"#version 450\nlayout(location = 0) out vec4 color;\n"
               "void main() { color = vec4(%1.0); }\n"_s.arg(number);
    };
    QVERIFY(compileShader(sourceOf(1), QShader::FragmentStage, u"known"_s).shader.isValid());
    QCOMPARE(QDir(CompileMark::defaultFolder()).entryList(QDir::Files), QStringList());
    for (const int number : {1, 2}) {
        const Process dying([&] {
            new CompileMark(Compiler::Glsl,
                            ArtifactCache::shaderKey(sourceOf(number), QShader::FragmentStage),
                            u"known"_s);
        });
        QVERIFY(dying.isReady());
    }
    QVERIFY(compileShader(sourceOf(1), QShader::FragmentStage, u"known"_s).shader.isValid());
    QTest::ignoreMessage(QtWarningMsg,
                         QRegularExpression(u"^Failed to compile shader: The shader compiler "_s));
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^Source "_s));
    const CompileResult refused = compileShader(sourceOf(2), QShader::FragmentStage, u"new"_s);
    QVERIFY(!refused.shader.isValid());
    QVERIFY(refused.errorMessage.startsWith(u"The shader compiler was at work on \"new\" "_s));
    QCOMPARE(forgetRefusals(), 2);
    QVERIFY(compileShader(sourceOf(2), QShader::FragmentStage, u"new"_s).shader.isValid());
}

QTEST_GUILESS_MAIN(TstCompileMark)
#include "tst_CompileMark.moc"
