#include <rhi_widgets/RhiPresentWidget.h>

#include <QApplication>
#include <QRegularExpression>
#include <QSignalSpy>

using namespace Qt::StringLiterals;
using namespace rhi;

/// On a platform that cannot compose windows with a device.
class TstQRhiWidgetStandIn : public QObject
{
    Q_OBJECT

private slots:
    void withoutADeviceItSaysSoOnceAndStays()
    {
        QTest::ignoreMessage(QtWarningMsg, "QRhiWidget: QRhi is not supported on this platform.");
        RhiPresentWidget widget;
        const QSignalSpy failures(&widget, &QRhiWidget::renderFailed);
        QTest::failOnWarning(QRegularExpression(u"QRhiWidget"_s));
        widget.resize(40, 40);
        widget.show();
        widget.presentFrame({.size = {1, 1}, .sequence = 1, .pixels = "abcd"_ba});
        QTRY_VERIFY(!failures.isEmpty());
        widget.repaint();
        QVERIFY(widget.grabFramebuffer().isNull());
        QVERIFY(!widget.grab().isNull());
    }

    void anApiThatIsNotThereIsRefused()
    {
        QTest::ignoreMessage(QtWarningMsg, "QRhiWidget: QRhi is not supported on this platform.");
        RhiPresentWidget widget;
        widget.setApi(QRhiWidget::Api::Vulkan);
        QTest::ignoreMessage(QtWarningMsg,
                             "QRhiWidget: this version of Qt has no such graphics api");
        widget.setApi(QRhiWidget::Api::Direct3D12);
        QCOMPARE(widget.api(), QRhiWidget::Api::Vulkan);
    }
};

int main(int argc, char *argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qunsetenv("DISPLAY");
    const QApplication application(argc, argv);
    TstQRhiWidgetStandIn test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_QRhiWidgetStandIn.moc"
