#pragma once

#include <corvane/rendering/environment/SettingsTable.h>

#include <QColor>
#include <QString>
#include <QVariantMap>
#include <QVector3D>

#include <memory>

namespace corvane::rendering {

/// Says where the sun stands and how it shines.
///
/// In the scene y is up, north is -z and east is +x: a view from above with -z upwards is a map.
class SunDriver
{
public:
    virtual ~SunDriver() = default;

    [[nodiscard]] virtual QString id() const = 0;
    [[nodiscard]] virtual QString displayName() const = 0;
    /// A unit vector towards the sun, below the horizon at night.
    [[nodiscard]] virtual QVector3D direction() const = 0;
    [[nodiscard]] virtual QColor color() const = 0;
    /// As set; what is below the horizon is for who lights with it to leave out.
    [[nodiscard]] float intensity() const;

    [[nodiscard]] const SettingsTable &settings() const { return m_settings; }
    bool setSetting(const QString &name, const QVariant &value)
    {
        return m_settings.setValue(name, value);
    }
    [[nodiscard]] QVariantMap values() const; ///< all settings by name
    /// All of them or, when one is refused, none.
    bool setValues(const QVariantMap &values);

    /// The ids "manual" and "astronomical", in this order.
    [[nodiscard]] static QStringList ids();
    /// Null for an unknown id.
    [[nodiscard]] static std::unique_ptr<SunDriver> create(const QString &id);

protected:
    explicit SunDriver(const SettingsTable &settings)
        : m_settings(settings)
    {}

private:
    SettingsTable m_settings;
};

/// The direction of an azimuth, clockwise from north, and an elevation, both in degrees.
[[nodiscard]] QVector3D azElToDir(double azimuth, double elevation);

/// The sun where the user puts it: `azimuth` and `elevation` in degrees, and `intensity`.
class ManualSunDriver : public SunDriver
{
public:
    ManualSunDriver();
    [[nodiscard]] QString id() const override;
    [[nodiscard]] QString displayName() const override;
    [[nodiscard]] QVector3D direction() const override;
    [[nodiscard]] QColor color() const override;
};

} // namespace corvane::rendering
