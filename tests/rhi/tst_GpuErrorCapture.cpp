#include <rhi/GpuErrorCapture.h>

#include <thread>

using namespace Qt::StringLiterals;
using namespace rhi;

namespace {

QStringList heard;
void hear(QtMsgType, const QMessageLogContext &, const QString &text)
{
    heard.append(text);
}

} // namespace

class TstGpuErrorCapture : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        heard.clear();
        m_before = qInstallMessageHandler(&hear);
    }
    void cleanup() { qInstallMessageHandler(m_before); }

    void theSummaryNamesTheFirstKnownCause_data()
    {
        QTest::addColumn<QStringList>("messages");
        QTest::addColumn<QString>("summary");
        QTest::newRow("nothing said")
            << QStringList()
            << u"GPU pipeline creation failed. Check driver compatibility and shader complexity."_s;
        QTest::newRow("unknown") << QStringList{u"no idea"_s, u"none at all"_s}
                                 << u"GPU pipeline creation failed: no idea\nnone at all"_s;
        QTest::newRow("resources")
            << QStringList{u"Failed to link"_s, u"error c5041: r"_s}
            << u"Shader exceeds GPU resource limits. The combined shader with all "
               "registered primitives is too complex for this GPU. Consider "
               "disabling complex lattice definitions. [Driver: Failed to "
               "link\nerror c5041: r]"_s;
        QTest::newRow("memory")
            << QStringList{u"GL_OUT_OF_MEMORY"_s}
            << u"GPU ran out of memory during shader compilation. [Driver: GL_OUT_OF_MEMORY]"_s;
        QTest::newRow("limit") << QStringList{u"value Exceeds Maximum"_s}
                               << u"Shader exceeds a GPU hardware limit (registers, uniforms, or "
                                  "temporaries). [Driver: value Exceeds Maximum]"_s;
        QTest::newRow("link")
            << QStringList{u"could not link program"_s}
            << u"GPU shader linking failed. The driver rejected the compiled shader "
               "program. [Driver: could not link program]"_s;
    }
    void theSummaryNamesTheFirstKnownCause()
    {
        QFETCH(QStringList, messages);
        QFETCH(QString, summary);
        const GpuErrorCapture capture;
        for (const QString &message : std::as_const(messages))
            qWarning().noquote() << message;
        QCOMPARE(capture.humanReadableSummary(), summary);
        QCOMPARE(heard, messages); // and everybody else hears it as before
    }

    void eachThreadAndScopeHasItsOwn()
    {
        const GpuErrorCapture outer;
        QStringList other;
        std::thread([&other] {
            const GpuErrorCapture capture;
            qWarning("of the other thread");
            other = capture.messages();
        }).join();
        {
            const GpuErrorCapture inner;
            qWarning("inner");
            QCOMPARE(inner.messages(), QStringList(u"inner"_s));
        }
        qWarning("outer");
        QCOMPARE(other, QStringList(u"of the other thread"_s));
        QCOMPARE(outer.messages(), QStringList(u"outer"_s));
        QCOMPARE(heard.size(), 3);
    }

    void aFloodIsCut()
    {
        const GpuErrorCapture capture;
        for (int i = 0; i < 100; ++i)
            qWarning().noquote() << QString(10'000, u'x');
        QVERIFY(capture.humanReadableSummary().size() < 100'000);
    }

    void theHandlerThatWasThereIsPutBack()
    {
        {
            const GpuErrorCapture capture;
        }
        QVERIFY(qInstallMessageHandler(&hear) == &hear);
    }

private:
    QtMessageHandler m_before = nullptr;
};

QTEST_APPLESS_MAIN(TstGpuErrorCapture)
#include "tst_GpuErrorCapture.moc"
