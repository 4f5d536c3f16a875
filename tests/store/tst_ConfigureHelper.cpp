#include <store/ConfigureHelper.h>
#include <store/MethodGate.h>

#include <QRegularExpression>

using namespace Qt::StringLiterals;
using store::ConfigureHelper;
using store::MethodGate;

class TstConfigureHelper : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void aSecondConfigurationIsToldByWhatIsAllowed()
    {
        ConfigureHelper once(u"Once"_s);
        QVERIFY(once.configure());
        QTest::ignoreMessage(QtWarningMsg,
                             "WARNING: Once was configured more than once when not set "
                             "to be multiconfigure.");
        QVERIFY(!once.configure());
        QVERIFY(once.isConfigured());

        ConfigureHelper often(u"Often"_s, {.multiConfigure = true, .verbose = true});
        QVERIFY(often.configure());
        QTest::ignoreMessage(QtInfoMsg, "NOTE: Often was multi-configured");
        QVERIFY(often.configure());
    }

    void activationComesAfterConfiguration()
    {
        ConfigureHelper helper(u"Store"_s, {.needsActivation = true, .verbose = true});
        QTest::ignoreMessage(QtWarningMsg,
                             "WARNING: Store had activation changed without being configured first "
                             "when set to need configuration.");
        QVERIFY(!helper.activate(true));
        QTest::ignoreMessage(QtWarningMsg,
                             "WARNING: Store is not configured, but save was called.");
        QVERIFY(!helper.isActivatedAsExpected("save"));
        helper.configure();
        QTest::ignoreMessage(QtWarningMsg, "WARNING: Store is not activated, but save was called.");
        QVERIFY(!helper.isActivatedAsExpected("save"));
        QTest::ignoreMessage(QtInfoMsg, "NOTE: Store activation went from false to true");
        QVERIFY(helper.activate(true));
        QVERIFY(helper.isActivatedAsExpected("save"));
        QTest::ignoreMessage(QtInfoMsg, "NOTE: Store activation went from true to false");
        QVERIFY(helper.activate(false));
        QVERIFY(!helper.isActivated());
    }

    void whatHasNoActivationIsNotActivated()
    {
        ConfigureHelper helper(u"Plain"_s);
        helper.configure();
        QTest::ignoreMessage(
            QtWarningMsg, "WARNING: Plain had activation changed when not set to need activation.");
        QVERIFY(!helper.activate(true));
        QVERIFY(helper.isActivatedAsExpected("save")); // none is needed
    }

    void aDeadOwnerIsNoticed()
    {
        alignas(ConfigureHelper) std::byte place[sizeof(ConfigureHelper)] = {};
        auto *const helper = new (place) ConfigureHelper(u"Gone"_s);
        QVERIFY(helper->expectConstructed("save"));
        helper->~ConfigureHelper();
        auto *const dead = std::launder(reinterpret_cast<ConfigureHelper *>(place));
        QTest::ignoreMessage(QtWarningMsg,
                             "WARNING: save was called on an object that is not there.");
        QVERIFY(!dead->expectConstructed("save"));
    }

    void aCallThroughNoObjectIsNoticed_data()
    {
        QTest::addColumn<quintptr>("self");
        QTest::addColumn<quintptr>("parent");
        QTest::addColumn<QByteArray>("warning");
        const auto bound = " < 0xd0000, which likely means dangling pointer or nullptr access"_ba;
        QTest::newRow("null") << quintptr(0) << quintptr(0) << "ERROR: this" + bound;
        QTest::newRow("a field of null") << quintptr(0x18) << quintptr(0) << "ERROR: this" + bound;
        QTest::newRow("a parent that cannot be")
            << quintptr(0xd0000) << quintptr(0xcffff) << "ERROR: parent-this" + bound;
        QTest::newRow("the lowest address")
            << quintptr(0xd0000) << quintptr(0xd0000) << QByteArray();
        QTest::newRow("no parent") << quintptr(0xd0000) << quintptr(0) << QByteArray();
    }

    void aCallThroughNoObjectIsNoticed()
    {
        QFETCH(const quintptr, self);
        QFETCH(const quintptr, parent);
        QFETCH(const QByteArray, warning);
        if (!warning.isEmpty())
            QTest::ignoreMessage(QtWarningMsg, warning.constData());
        const MethodGate gate(reinterpret_cast<const void *>(self),
                              reinterpret_cast<const void *>(parent));
        const MethodGate ownGate(this);
    }
};

QTEST_GUILESS_MAIN(TstConfigureHelper)
#include "tst_ConfigureHelper.moc"
