#include <corvane/rendering/environment/AstronomicalSunDriver.h>
#include <corvane/rendering/environment/SunColor.h>

#include <QRegularExpression>
#include <QTest>

#include <cmath>

using namespace Qt::StringLiterals;
using corvane::rendering::AstronomicalSunDriver;
using corvane::rendering::azElToDir;
using corvane::rendering::ManualSunDriver;
using corvane::rendering::SunDriver;

namespace {

constexpr double withinDegrees = 0.02;
constexpr double anyAzimuth = -1.0;

struct SunCase
{
    QString utc;
    double latitude = 0.0;
    double longitude = 0.0;
    double azimuth = anyAzimuth;
    double elevation = 0.0;
    double tolerance = withinDegrees;
};

} // namespace

Q_DECLARE_METATYPE(SunCase)

class TstSunDriver : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void sunStandsWhereTheAlmanacSays_data();
    void sunStandsWhereTheAlmanacSays();
    void refractionLiftsWhatIsAboveMinusTwoDegrees_data();
    void refractionLiftsWhatIsAboveMinusTwoDegrees();
    void directionsAreThoseOfAMap_data();
    void directionsAreThoseOfAMap();
    void sunWarmsTowardsTheHorizon();
    void timesAreReadAsUtc_data();
    void timesAreReadAsUtc();
    void driverFollowsItsSettings();
    void driversComeById();
};

void TstSunDriver::sunStandsWhereTheAlmanacSays_data()
{
    QTest::addColumn<SunCase>("sun");
    // Reda and Andreas 2004, the worked example: zenith angle 50.1279 without refraction, azimuth
    // 194.3402; refraction at sea level is 0.0198.
    QTest::newRow("Colorado, an autumn noon")
        << SunCase{u"2003-10-17T19:30:30Z"_s, 39.742476, -105.1786, 194.3402, 39.8918};
    // Meeus, examples 25.a and 28.a: declination -7.785, equation of time 3.4273 degrees.
    QTest::newRow("in the zenith of the Pacific")
        << SunCase{u"1992-10-13T00:00:00Z"_s, -7.785, 176.5727, anyAzimuth, 90.0};
    QTest::newRow("at midnight on the other side")
        << SunCase{u"1992-10-13T00:00:00Z"_s, 7.785, -3.4273, anyAzimuth, -90.0};
    QTest::newRow("equinox on the equator at noon")
        << SunCase{u"2024-03-20T12:07:20Z"_s, 0.0, 0.0, anyAzimuth, 90.0, 0.2};
    // Solstice of 2024-06-20 20:51: declination 23.436, lifted by 0.037 at the pole.
    QTest::newRow("solstice at the pole")
        << SunCase{u"2024-06-20T20:51:00Z"_s, 90.0, 0.0, anyAzimuth, 23.4735};
}

void TstSunDriver::sunStandsWhereTheAlmanacSays()
{
    QFETCH(SunCase, sun);
    double azimuth = -1.0;
    double elevation = -1.0;
    AstronomicalSunDriver::computeSunAzEl(QDateTime::fromString(sun.utc, Qt::ISODate), sun.latitude,
                                          sun.longitude, azimuth, elevation);
    QVERIFY2(std::abs(elevation - sun.elevation) < sun.tolerance,
             qPrintable(QString::number(elevation)));
    QVERIFY(azimuth >= 0.0 && azimuth < 360.0);
    if (sun.azimuth != anyAzimuth)
        QVERIFY2(std::abs(azimuth - sun.azimuth) < sun.tolerance,
                 qPrintable(QString::number(azimuth)));
}

void TstSunDriver::refractionLiftsWhatIsAboveMinusTwoDegrees_data()
{
    QTest::addColumn<double>("elevation");
    QTest::addColumn<double>("lift");
    QTest::newRow("far below") << -60.0 << 0.0;
    QTest::newRow("below") << -2.5 << 0.0;
    QTest::newRow("just below") << -2.0001 << 0.0;
    QTest::newRow("at the limit") << -2.0 << 0.7273;
    QTest::newRow("horizon") << 0.0 << 0.4735;
    QTest::newRow("half way") << 45.0 << 0.0165;
    QTest::newRow("zenith") << 90.0 << 0.0;
}

void TstSunDriver::refractionLiftsWhatIsAboveMinusTwoDegrees()
{
    QFETCH(double, elevation);
    QFETCH(double, lift);
    const double lifted = AstronomicalSunDriver::refracted(elevation) - elevation;
    QVERIFY2(std::abs(lifted - lift) < 5e-4, qPrintable(QString::number(lifted)));
}

void TstSunDriver::directionsAreThoseOfAMap_data()
{
    QTest::addColumn<double>("azimuth");
    QTest::addColumn<double>("elevation");
    QTest::addColumn<QVector3D>("direction");
    QTest::newRow("north") << 0.0 << 0.0 << QVector3D(0, 0, -1);
    QTest::newRow("east") << 90.0 << 0.0 << QVector3D(1, 0, 0);
    QTest::newRow("south, half way up") << 180.0 << 45.0 << QVector3D(0, 0.70711f, 0.70711f);
    QTest::newRow("below") << 30.0 << -90.0 << QVector3D(0, -1, 0);
}

void TstSunDriver::directionsAreThoseOfAMap()
{
    QFETCH(double, azimuth);
    QFETCH(double, elevation);
    QFETCH(QVector3D, direction);
    QVERIFY((azElToDir(azimuth, elevation) - direction).length() < 1e-5f);
    ManualSunDriver driver;
    QVERIFY(driver.setValues({{u"azimuth"_s, azimuth}, {u"elevation"_s, elevation}}));
    QVERIFY((driver.direction() - direction).length() < 1e-5f);
}

void TstSunDriver::sunWarmsTowardsTheHorizon()
{
    using corvane::rendering::sunColorAt;
    QCOMPARE(sunColorAt(90.0), QColor(255, 255, 255));
    QCOMPARE(sunColorAt(15.0), QColor(255, 255, 255));
    QCOMPARE(sunColorAt(7.5), QColor(255, 212, 183));
    QCOMPARE(sunColorAt(0.0), QColor(255, 168, 110));
    QCOMPARE(sunColorAt(-40.0), QColor(255, 168, 110));
}

void TstSunDriver::timesAreReadAsUtc_data()
{
    QTest::addColumn<QVariant>("given");
    QTest::addColumn<QString>("utc");
    QTest::newRow("UTC") << QVariant(u"2024-03-20T12:00:00Z"_s) << u"2024-03-20T12:00:00Z"_s;
    QTest::newRow("no zone") << QVariant(u"2024-03-20T12:00:00"_s) << u"2024-03-20T12:00:00Z"_s;
    QTest::newRow("offset") << QVariant(u"2024-03-20T12:00:00+02:00"_s)
                            << u"2024-03-20T10:00:00Z"_s;
    QTest::newRow("a date and time")
        << QVariant(QDateTime({2024, 3, 20}, {12, 0}, Qt::OffsetFromUTC, -3600))
        << u"2024-03-20T13:00:00Z"_s;
    QTest::newRow("no time at all") << QVariant(u"noon"_s) << QString();
    QTest::newRow("a number") << QVariant(5.0) << QString();
    QTest::newRow("before our years")
        << QVariant(QDateTime({-4000, 1, 1}, {0, 0}, Qt::UTC)) << QString();
}

void TstSunDriver::timesAreReadAsUtc()
{
    QFETCH(QVariant, given);
    QFETCH(QString, utc);
    AstronomicalSunDriver driver;
    const QDateTime before = driver.effectiveUtc();
    QCOMPARE(driver.setSetting(u"utc"_s, given), !utc.isEmpty());
    QCOMPARE(driver.effectiveUtc(),
             utc.isEmpty() ? before : QDateTime::fromString(utc, Qt::ISODate));
}

void TstSunDriver::driverFollowsItsSettings()
{
    AstronomicalSunDriver driver;
    QVERIFY(driver.setValues({{u"utc"_s, u"2003-10-17T19:30:30Z"_s},
                              {u"latitude"_s, 39.742476},
                              {u"longitude"_s, -105.1786},
                              {u"intensity"_s, 7.5}}));
    QVERIFY((driver.direction() - azElToDir(194.3402, 39.8918)).length() < 5e-4f);
    QCOMPARE(driver.intensity(), 7.5f);
    QCOMPARE(driver.color(), QColor(255, 255, 255));
    QVERIFY(driver.setSetting(u"altitude"_s, 4000.0));
    QVERIFY((driver.direction() - azElToDir(194.3402, 39.8918)).length() < 5e-4f);

    const QVariantMap before = driver.values();
    QVERIFY(!driver.setValues({{u"altitude"_s, 1.0}, {u"latitude"_s, 90.5}}));
    QCOMPARE(driver.values(), before);

    QVERIFY(driver.setSetting(u"useSystemClock"_s, true));
    QVERIFY(std::abs(driver.effectiveUtc().secsTo(QDateTime::currentDateTimeUtc())) < 60);
}

void TstSunDriver::driversComeById()
{
    QCOMPARE(SunDriver::ids(), QStringList({u"manual"_s, u"astronomical"_s}));
    const QStringList ids = SunDriver::ids();
    for (const QString &id : ids)
        QCOMPARE(SunDriver::create(id)->id(), id);
    QVERIFY(!SunDriver::create(u"lunar"_s));
}

QTEST_GUILESS_MAIN(TstSunDriver)
#include "tst_SunDriver.moc"
