#include "CompileThread.h"

#include <QSemaphore>
#include <QTest>

using namespace Qt::StringLiterals;
using shader::runOnCompileThread;

class TstCompileThread : public QObject
{
    Q_OBJECT

private slots:
    void answers();
    void slowWorkIsLeftToItself();
    void theStackIsLarge();
};

void TstCompileThread::answers()
{
    QCOMPARE(runOnCompileThread<QString>([] { return u"done"_s; }), u"done"_s);
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
    QCOMPARE(runOnCompileThread<int>(work, std::chrono::milliseconds(1)), std::nullopt);
    QCOMPARE(shader::compileThreadError(), u"The shader could not be compiled within 60 seconds"_s);
    gate->release();
    ended->acquire(); // it came to its end by itself
}

void TstCompileThread::theStackIsLarge()
{
    QVERIFY(runOnCompileThread<bool>([] {
                volatile char large[48 * 1024 * 1024];
                large[0] = 1;
                return large[0] == 1;
            }).value_or(false));
}

QTEST_APPLESS_MAIN(TstCompileThread)
#include "tst_CompileThread.moc"
