#include <corvane/rendering/environment/PhysicalSkyEnvironment.h>

#include <QtMath>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace corvane::rendering {

namespace {

constexpr auto turbidityName = "turbidity"_L1;
constexpr auto albedoName = "groundAlbedo"_L1;
constexpr auto driverName = "sunDriverId"_L1;
constexpr auto driverSettingsName = "sunDriverSettings"_L1;
constexpr auto driverSettingsPrefix = "sunDriverSettings."_L1;

QList<SettingRow> skyRows()
{
    return {
        SettingRow::number(turbidityName, u"Turbidity"_s, 2.5, 1.0, 10.0, 0.1)
            .described(u"1 is clear air, 10 is haze"_s),
        SettingRow::number(albedoName, u"Ground albedo"_s, 0.3, 0.0, 1.0, 0.01)
            .described(u"Share of the light that the ground gives back"_s),
        SettingRow::text(driverName, u"Sun"_s, SunDriver::ids().constFirst(), SunDriver::ids())
            .described(u"What says where the sun stands"_s),
    };
}

/// 0 below the horizon, 1 above, without a jump in between.
float shareAboveHorizon(const QVector3D &direction)
{
    const float elevation = qRadiansToDegrees(std::asin(std::clamp(direction.y(), -1.0f, 1.0f)));
    const float t = std::clamp(0.5f * (elevation + 1.0f), 0.0f, 1.0f);
    return t * t * (3.0f - 2.0f * t);
}

} // namespace

PhysicalSkyEnvironment::PhysicalSkyEnvironment()
    : Environment({u"physical-sky"_s, u"Physical sky"_s, u"Sky and sun of a time of day"_s,
                   u"weather-clear"_s, u"env_physical_sky.glsl"_s},
                  skyRows())
{
    const QStringList ids = SunDriver::ids();
    for (const QString &driverId : ids)
        m_drivers.push_back(SunDriver::create(driverId));
}

QList<registry::ParameterDef> PhysicalSkyEnvironment::settings() const
{
    QList<registry::ParameterDef> all = Environment::settings();
    const auto ofDriver = activeDriver()->settings().definitions();
    for (registry::ParameterDef definition : ofDriver) {
        definition.name.prepend(driverSettingsPrefix);
        definition.section = u"Sun"_s;
        all.append(definition);
    }
    return all;
}

QVariant PhysicalSkyEnvironment::setting(const QString &name) const
{
    if (name == driverSettingsName)
        return activeDriver()->values();
    if (name.startsWith(driverSettingsPrefix))
        return activeDriver()->settings().value(name.mid(driverSettingsPrefix.size()));
    return Environment::setting(name);
}

bool PhysicalSkyEnvironment::setSetting(const QString &name, const QVariant &value)
{
    if (name == driverSettingsName)
        return value.userType() == QMetaType::QVariantMap && setDriverValues(value.toMap());
    if (name.startsWith(driverSettingsPrefix))
        return setDriverValues({{name.mid(driverSettingsPrefix.size()), value}});
    const SunDriver *driver = activeDriver();
    const bool set = Environment::setSetting(name, value);
    if (activeDriver() != driver)
        invokeSettingsRefresh();
    return set;
}

int PhysicalSkyEnvironment::fillLights(shader::Light *lights, int capacity) const
{
    if (capacity < 1)
        return 0;
    const SunDriver &sun = sunDriver();
    const QVector3D direction = sun.direction();
    const QColor color = sun.color();
    lights[0].direction = {direction.x(), direction.y(), direction.z(), 0.0f};
    lights[0].color = {float(color.redF()), float(color.greenF()), float(color.blueF()),
                       sun.intensity() * shareAboveHorizon(direction)};
    return 1;
}

Environment::Parameters PhysicalSkyEnvironment::parameters() const
{
    const QVector3D direction = sunDriver().direction();
    Parameters values{direction.x(), direction.y(), direction.z(), sunDriver().intensity()};
    values[4] = table().number(turbidityName);
    values[5] = table().number(albedoName);
    return values;
}

SunDriver *PhysicalSkyEnvironment::activeDriver() const
{
    const QString active = table().value(driverName).toString();
    const auto found =
        std::find_if(m_drivers.cbegin(), m_drivers.cend(),
                     [&active](const auto &driver) { return driver->id() == active; });
    return found->get(); // the table takes no id but theirs
}

bool PhysicalSkyEnvironment::setDriverValues(const QVariantMap &values)
{
    SunDriver *driver = activeDriver();
    const QVariantMap before = driver->values();
    if (!driver->setValues(values))
        return false;
    if (driver->values() != before)
        invokeSettingsChanged();
    return true;
}

} // namespace corvane::rendering
