#include <corvane/rendering/environment/SunDriver.h>

#include <corvane/rendering/environment/AstronomicalSunDriver.h>
#include <corvane/rendering/environment/SunColor.h>

#include <QtMath>

#include <cmath>

using namespace Qt::StringLiterals;

namespace corvane::rendering {

namespace {

constexpr auto azimuthName = "azimuth"_L1;
constexpr auto elevationName = "elevation"_L1;
constexpr auto intensityName = "intensity"_L1;

QList<SettingRow> manualRows()
{
    return {
        SettingRow::number(azimuthName, u"Azimuth"_s, 135.0, 0.0, 360.0, 1.0)
            .inUnit(u"deg"_s)
            .described(u"Clockwise from north, which is -z"_s),
        SettingRow::number(elevationName, u"Elevation"_s, 40.0, -90.0, 90.0, 1.0)
            .inUnit(u"deg"_s)
            .described(u"Above the horizon"_s),
        SettingRow::number(intensityName, u"Intensity"_s, 3.0, 0.0, 20.0, 0.1)
            .described(u"Brightness of the sun"_s),
    };
}

} // namespace

float SunDriver::intensity() const
{
    return m_settings.number(intensityName);
}

QVariantMap SunDriver::values() const
{
    QVariantMap values;
    const QStringList names = m_settings.names();
    for (const QString &name : names)
        values.insert(name, m_settings.value(name));
    return values;
}

bool SunDriver::setValues(const QVariantMap &values)
{
    SettingsTable changed = m_settings;
    for (auto it = values.cbegin(); it != values.cend(); ++it)
        if (!changed.setValue(it.key(), it.value()))
            return false;
    m_settings = changed;
    return true;
}

QStringList SunDriver::ids()
{
    return {ManualSunDriver().id(), AstronomicalSunDriver().id()};
}

std::unique_ptr<SunDriver> SunDriver::create(const QString &id)
{
    std::unique_ptr<SunDriver> drivers[] = {std::make_unique<ManualSunDriver>(),
                                            std::make_unique<AstronomicalSunDriver>()};
    for (auto &driver : drivers)
        if (driver->id() == id)
            return std::move(driver);
    return nullptr;
}

QVector3D azElToDir(double azimuth, double elevation)
{
    const double az = qDegreesToRadians(azimuth);
    const double el = qDegreesToRadians(elevation);
    return {float(std::sin(az) * std::cos(el)), float(std::sin(el)),
            float(-std::cos(az) * std::cos(el))};
}

ManualSunDriver::ManualSunDriver()
    : SunDriver(SettingsTable(manualRows()))
{}

QString ManualSunDriver::id() const
{
    return u"manual"_s;
}

QString ManualSunDriver::displayName() const
{
    return u"By hand"_s;
}

QVector3D ManualSunDriver::direction() const
{
    return azElToDir(settings().number(azimuthName), settings().number(elevationName));
}

QColor ManualSunDriver::color() const
{
    return sunColorAt(settings().number(elevationName));
}

} // namespace corvane::rendering
