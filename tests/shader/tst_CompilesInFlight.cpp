#include <shader/CompilesInFlight.h>

#include <QSemaphore>

#include <new>
#include <thread>

using namespace Qt::StringLiterals;
using namespace shader;

class TstCompilesInFlight : public QObject
{
    Q_OBJECT

private slots:
    void whatIsAskedForAtATimeIsCompiledOnce()
    {
        CompilesInFlight flights;
        std::atomic<int> compiles = 0;
        QSemaphore isCompiling;
        QSemaphore go;
        std::array<CompileResult, 3> results;
        std::vector<std::thread> threads;
        threads.emplace_back([&] {
            results[0] = flights.compileOnce(u"a"_s, [&] {
                ++compiles;
                isCompiling.release();
                go.acquire();
                return CompileResult{.shader = {}, .errorMessage = u"of the first"_s};
            });
        });
        isCompiling.acquire();
        for (int i = 1; i < 3; ++i) {
            threads.emplace_back([&, i] {
                isCompiling.release();
                results[i] = flights.compileOnce(u"a"_s, [&] {
                    ++compiles;
                    return CompileResult{.shader = {}, .errorMessage = u"of the first"_s};
                });
            });
            isCompiling.acquire();
        }
        // Another key does not wait.
        QCOMPARE(flights.compileOnce(u"b"_s,
                                     [] {
                                         return CompileResult{{}, u"b"_s};
                                     })
                     .errorMessage,
                 u"b"_s);
        QTRY_COMPARE(flights.waitingCount(), 2);
        go.release();
        for (std::thread &thread : threads)
            thread.join();
        QCOMPARE(compiles, 1);
        for (const CompileResult &result : results)
            QCOMPARE(result.errorMessage, u"of the first"_s);
        // What is over is not remembered here.
        QCOMPARE(flights.compileOnce(u"a"_s,
                                     [] {
                                         return CompileResult{{}, u"new"_s};
                                     })
                     .errorMessage,
                 u"new"_s);
    }

    void aCompileThatBreaksOffLetsNobodyWait()
    {
        CompilesInFlight flights;
        const auto breakOff = []() -> CompileResult { throw std::bad_alloc(); };
        QVERIFY(flights.compileOnce(u"a"_s, breakOff)
                    .errorMessage.startsWith(u"The shader could not be compiled: "_s));
        QVERIFY(flights.compileOnce(u"a"_s, [] { return CompileResult(); }).errorMessage.isEmpty());
    }
};

QTEST_APPLESS_MAIN(TstCompilesInFlight)
#include "tst_CompilesInFlight.moc"
