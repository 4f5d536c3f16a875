#include "CompileThread.h"

#include <QSemaphore>
#include <QTest>

#include <new>

using namespace Qt::StringLiterals;
using shader::runOnCompileThread;

class TstCompileThread : public QObject
{
    Q_OBJECT

private slots:
    void answers();
    void slowWorkIsLeftToItself();
    void memoryThatRunsOutIsSaid();
    void theStackIsLarge();
};

void TstCompileThread::answers()
{
    QString error;
    QCOMPARE(runOnCompileThread<QString>([] { return u"done"_s; }, error), u"done"_s);
    QCOMPARE(error, QString());
}

void TstCompileThread::slowWorkIsLeftToItself()
{
    const auto gate = std::make_shared<QSemaphore>();
    const auto ended = std::make_shared<QSemaphore>();
    const auto work = [gate, ended] {
        gate->acquire();
        ended->release();
        return 1;
    };
    QString error;
    QCOMPARE(runOnCompileThread<int>(work, error, std::chrono::milliseconds(1)), std::nullopt);
    QCOMPARE(error, u"The shader could not be compiled within 0 seconds"_s);
    gate->release();
    ended->acquire(); // it came to its end by itself
}

void TstCompileThread::memoryThatRunsOutIsSaid()
{
    QString error;
    const std::function<int()> work = []() -> int { throw std::bad_alloc(); };
    QCOMPARE(runOnCompileThread<int>(work, error), std::nullopt);
    QCOMPARE(error, u"The shader could not be compiled: out of memory"_s);
}

void TstCompileThread::theStackIsLarge()
{
    QString error;
    QVERIFY(runOnCompileThread<bool>(
                [] {
                    volatile char large[48 * 1024 * 1024];
                    large[0] = 1;
                    return large[0] == 1;
                },
                error)
                .value_or(false));
}

QTEST_APPLESS_MAIN(TstCompileThread)
#include "tst_CompileThread.moc"
