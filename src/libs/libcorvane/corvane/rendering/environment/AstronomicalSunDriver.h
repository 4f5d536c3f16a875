#pragma once

#include <corvane/rendering/environment/SunDriver.h>

#include <QDateTime>

namespace corvane::rendering {

/// The sun of a place and time.
///
/// Settings: `utc` (ISO 8601; without a zone it is UTC), `latitude` and `longitude` in degrees
/// (north and east positive), `altitude` in metres, which is shown and changes nothing,
/// `intensity`, and `useSystemClock`, with which `utc` is left aside.
class AstronomicalSunDriver : public SunDriver
{
public:
    AstronomicalSunDriver();
    [[nodiscard]] QString id() const override;
    [[nodiscard]] QString displayName() const override;
    [[nodiscard]] QVector3D direction() const override;
    [[nodiscard]] QColor color() const override;

    /// Now, with `useSystemClock`, else the stored `utc`.
    [[nodiscard]] QDateTime effectiveUtc() const;

    /// Low-precision solar position (Meeus, "Astronomical Algorithms", chapter 25), good to about a
    /// hundredth of a degree from 1900 to 2100, with refraction at sea level. Angles in degrees;
    /// the azimuth is clockwise from north and from 0 to below 360.
    static void computeSunAzEl(const QDateTime &utc, double latitude, double longitude,
                               double &azimuth, double &elevation);
    /// An elevation lifted by refraction (Saemundsson's formula); below -2 degrees it stays.
    [[nodiscard]] static double refracted(double elevation);

private:
    struct Position
    {
        double azimuth = 0.0;
        double elevation = 0.0;
    };
    [[nodiscard]] Position position() const;
};

} // namespace corvane::rendering
