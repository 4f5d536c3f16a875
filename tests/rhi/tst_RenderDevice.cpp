#include <rhi/RenderDevice.h>

#include <QRegularExpression>

using namespace Qt::StringLiterals;
using namespace rhi;

namespace {

AdapterRecord adapter(const char *name, quint64 device, QRhiDriverInfo::DeviceType type)
{
    return {.name = name, .vendorId = 1, .deviceId = device, .type = type};
}

const AdapterRecord discrete = adapter("discrete", 1, QRhiDriverInfo::DiscreteDevice);
const AdapterRecord second = adapter("second", 2, QRhiDriverInfo::DiscreteDevice);
const AdapterRecord external = adapter("external", 3, QRhiDriverInfo::ExternalDevice);
const AdapterRecord integrated = adapter("integrated", 4, QRhiDriverInfo::IntegratedDevice);
const AdapterRecord virtualOne = adapter("virtual", 5, QRhiDriverInfo::VirtualDevice);
const AdapterRecord cpu = adapter("cpu", 6, QRhiDriverInfo::CpuDevice);
const AdapterRecord unknown = adapter("unknown", 7, QRhiDriverInfo::UnknownDevice);

} // namespace

class TstRenderDevice : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void theBestAdapterWins_data()
    {
        QTest::addColumn<QList<AdapterRecord>>("adapters");
        QTest::addColumn<QByteArray>("winner");
        // Each row lacks the winner of the one before.
        QList<AdapterRecord> left{unknown, cpu, virtualOne, integrated, external, second, discrete};
        for (const char *winner :
             {"second", "discrete", "external", "integrated", "virtual", "cpu", "unknown", ""}) {
            QTest::addRow("%lld adapters", static_cast<long long>(left.size()))
                << left << QByteArray(winner);
            left.removeIf([winner](const AdapterRecord &each) { return each.name == winner; });
        }
    }
    void theBestAdapterWins()
    {
        QFETCH(QList<AdapterRecord>, adapters);
        QFETCH(QByteArray, winner);
        const qsizetype best = bestAdapter(adapters);
        QCOMPARE(best < 0 ? QByteArray() : adapters.at(best).name, winner);
    }

    void aGpuThatTwoDriversListCountsOnce()
    {
        AdapterRecord again = integrated;
        again.name = "integrated by another driver";
        AdapterRecord otherVendor = integrated;
        otherVendor.vendorId = 2;
        QTest::ignoreMessage(QtInfoMsg, "enumerateOffscreenAdapters: duplicate ICD skipped for "
                                        "integrated by another driver");
        QCOMPARE(withoutDuplicates({integrated, discrete, again, otherVendor}),
                 QList({integrated, discrete, otherVendor}));
    }

    void withoutAnInstanceQtChooses()
    {
        QTest::ignoreMessage(
            QtInfoMsg, "selectOffscreenRenderDevice: no adapters enumerated — letting Qt choose");
        QCOMPARE(selectOffscreenRenderDevice(nullptr), VkPhysicalDevice(VK_NULL_HANDLE));
    }
};

QTEST_APPLESS_MAIN(TstRenderDevice)
#include "tst_RenderDevice.moc"
