#pragma once

#include <corvane/rendering/environment/Environment.h>
#include <corvane/rendering/environment/SunDriver.h>

#include <memory>
#include <vector>

namespace corvane::rendering {

/// An analytic sky with one sun.
///
/// Settings: `turbidity` (1 clear, 10 hazy), `groundAlbedo`, `sunDriverId` (see SunDriver::ids())
/// and `sunDriverSettings`, a map of the driver's settings by name; each of them is also a setting
/// of its own, as "sunDriverSettings.azimuth". Each driver keeps its values while another is used.
///
/// The sun's light fades out while it sets, from 1 degree above the horizon to 1 below.
class PhysicalSkyEnvironment : public Environment
{
public:
    PhysicalSkyEnvironment();

    [[nodiscard]] const SunDriver &sunDriver() const { return *activeDriver(); }

    [[nodiscard]] QList<registry::ParameterDef> settings() const override;
    [[nodiscard]] QVariant setting(const QString &name) const override;
    bool setSetting(const QString &name, const QVariant &value) override;
    int fillLights(shader::Light *lights, int capacity) const override;

protected:
    [[nodiscard]] Parameters parameters() const override;

private:
    [[nodiscard]] SunDriver *activeDriver() const;
    bool setDriverValues(const QVariantMap &values);

    std::vector<std::unique_ptr<SunDriver>> m_drivers;
};

} // namespace corvane::rendering
