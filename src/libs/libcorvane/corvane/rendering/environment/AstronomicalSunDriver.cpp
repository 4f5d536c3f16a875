#include <corvane/rendering/environment/AstronomicalSunDriver.h>

#include <corvane/rendering/environment/SunColor.h>

#include <QtMath>

#include <algorithm>
#include <cmath>

// The sun's place on the ecliptic comes from the mean motion of the Earth and the equation of the
// centre; from there it is turned to the equator, and by sidereal time to the horizon. Planets,
// nutation and aberration are left out: together they are below 0.01 degrees.

using namespace Qt::StringLiterals;

namespace corvane::rendering {

namespace {

constexpr auto utcName = "utc"_L1;
constexpr auto latitudeName = "latitude"_L1;
constexpr auto longitudeName = "longitude"_L1;
constexpr auto altitudeName = "altitude"_L1;
constexpr auto intensityName = "intensity"_L1;
constexpr auto systemClockName = "useSystemClock"_L1;

constexpr double j2000 = 2451545.0;     ///< Julian date of 2000-01-01 12:00
constexpr double unixEpoch = 2440587.5; ///< Julian date of 1970-01-01 00:00
constexpr double millisecondsPerDay = 86'400'000.0;
constexpr double daysPerCentury = 36525.0;

/// Right ascension and declination in degrees.
struct Equatorial
{
    double rightAscension = 0.0;
    double declination = 0.0;
};

double wrapDeg(double degrees)
{
    const double rest = std::fmod(degrees, 360.0);
    const double wrapped = rest < 0.0 ? rest + 360.0 : rest;
    return wrapped < 360.0 ? wrapped : 0.0; // a tiny negative rest rounds up to 360
}

double sinDeg(double degrees)
{
    return std::sin(qDegreesToRadians(degrees));
}

double cosDeg(double degrees)
{
    return std::cos(qDegreesToRadians(degrees));
}

double tanDeg(double degrees)
{
    return std::tan(qDegreesToRadians(degrees));
}

/// @param t  Julian centuries since J2000
Equatorial sunOf(double t)
{
    const double meanLongitude = wrapDeg(280.46646 + t * (36000.76983 + 0.0003032 * t));
    const double anomaly = wrapDeg(357.52911 + t * (35999.05029 - 0.0001537 * t));
    const double centre = (1.914602 - t * (0.004817 + 0.000014 * t)) * sinDeg(anomaly) +
                          (0.019993 - 0.000101 * t) * sinDeg(2.0 * anomaly) +
                          0.000289 * sinDeg(3.0 * anomaly);
    const double longitude = meanLongitude + centre;
    const double obliquity = 23.439291 - 0.0130042 * t;
    return {qRadiansToDegrees(std::atan2(cosDeg(obliquity) * sinDeg(longitude), cosDeg(longitude))),
            qRadiansToDegrees(std::asin(sinDeg(obliquity) * sinDeg(longitude)))};
}

/// Of Greenwich, in degrees. @param d  days since J2000
double siderealTime(double d)
{
    const double t = d / daysPerCentury;
    return wrapDeg(280.46061837 + 360.98564736629 * d + 0.000387933 * t * t -
                   t * t * t / 38710000.0);
}

std::optional<QVariant> readUtc(const QVariant &value)
{
    QDateTime time = value.userType() == QMetaType::QString
                         ? QDateTime::fromString(value.toString(), Qt::ISODate)
                         : value.toDateTime();
    if (!time.isValid())
        return std::nullopt;
    if (time.timeSpec() == Qt::LocalTime && value.userType() == QMetaType::QString)
        time.setTimeSpec(Qt::UTC);
    time = time.toUTC();
    if (time.date().year() < 1 || time.date().year() > 9999)
        return std::nullopt;
    return time.toString(Qt::ISODate);
}

QList<SettingRow> astronomicalRows()
{
    return {
        SettingRow::text(utcName, u"Time (UTC)"_s, u"2025-06-21T14:00:00Z"_s)
            .readBy(&readUtc)
            .described(u"Date and time, such as 2025-06-21T14:00:00Z"_s),
        SettingRow::number(latitudeName, u"Latitude"_s, 48.0, -90.0, 90.0, 0.1)
            .inUnit(u"deg"_s)
            .described(u"North is positive"_s),
        SettingRow::number(longitudeName, u"Longitude"_s, 11.0, -180.0, 180.0, 0.1)
            .inUnit(u"deg"_s)
            .described(u"East is positive"_s),
        SettingRow::number(altitudeName, u"Altitude"_s, 0.0, -500.0, 9000.0, 1.0)
            .inUnit(u"m"_s)
            .described(u"For reference: it does not change where the sun stands"_s),
        SettingRow::number(intensityName, u"Intensity"_s, 3.0, 0.0, 20.0, 0.1)
            .described(u"Brightness of the sun"_s),
        SettingRow::flag(systemClockName, u"Use the system clock"_s, false)
            .described(u"Follows the time of the computer instead of the one given"_s),
    };
}

} // namespace

AstronomicalSunDriver::AstronomicalSunDriver()
    : SunDriver(SettingsTable(astronomicalRows()))
{}

QString AstronomicalSunDriver::id() const
{
    return u"astronomical"_s;
}

QString AstronomicalSunDriver::displayName() const
{
    return u"Place and time"_s;
}

QVector3D AstronomicalSunDriver::direction() const
{
    const Position sun = position();
    return azElToDir(sun.azimuth, sun.elevation);
}

QColor AstronomicalSunDriver::color() const
{
    return sunColorAt(position().elevation);
}

QDateTime AstronomicalSunDriver::effectiveUtc() const
{
    if (settings().value(systemClockName).toBool())
        return QDateTime::currentDateTimeUtc();
    return QDateTime::fromString(settings().value(utcName).toString(), Qt::ISODate);
}

void AstronomicalSunDriver::computeSunAzEl(const QDateTime &utc, double latitude, double longitude,
                                           double &azimuth, double &elevation)
{
    const double julianDate = unixEpoch + double(utc.toMSecsSinceEpoch()) / millisecondsPerDay;
    const double d = julianDate - j2000;
    const Equatorial sun = sunOf(d / daysPerCentury);
    const double hourAngle = wrapDeg(siderealTime(d) + longitude) - sun.rightAscension;

    const double sine = sinDeg(latitude) * sinDeg(sun.declination) +
                        cosDeg(latitude) * cosDeg(sun.declination) * cosDeg(hourAngle);
    const double southward =
        cosDeg(hourAngle) * sinDeg(latitude) - tanDeg(sun.declination) * cosDeg(latitude);
    azimuth = wrapDeg(qRadiansToDegrees(std::atan2(sinDeg(hourAngle), southward)) + 180.0);
    elevation = refracted(qRadiansToDegrees(std::asin(std::clamp(sine, -1.0, 1.0))));
}

double AstronomicalSunDriver::refracted(double elevation)
{
    if (elevation < -2.0)
        return elevation;
    return elevation + 1.0 / tanDeg(elevation + 10.3 / (elevation + 5.11)) / 60.0;
}

AstronomicalSunDriver::Position AstronomicalSunDriver::position() const
{
    Position sun;
    computeSunAzEl(effectiveUtc(), settings().value(latitudeName).toDouble(),
                   settings().value(longitudeName).toDouble(), sun.azimuth, sun.elevation);
    return sun;
}

} // namespace corvane::rendering
