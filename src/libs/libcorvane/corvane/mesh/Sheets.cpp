#include "Sheets.h"

#include <cmath>

namespace corvane::mesh {

namespace {

// Less than this between two normals is the bend of one sheet.
constexpr float creaseCosine = 0.839f; // 33 degrees
// The squared sine between two planes, or the squared volume of three normals, below which where
// they meet is a matter of rounding.
constexpr double leastSquaredVolume = 1e-3;

struct Group
{
    QVector3D normals, points;
    float slopes = 0.0f;
    int count = 0;

    void add(const HermiteSample &crossing)
    {
        normals += crossing.normal;
        points += crossing.point;
        slopes += crossing.slope;
        ++count;
    }
    Sheet sheet() const
    {
        const auto n = static_cast<float>(count);
        return {points / n, normals.normalized(), slopes / n};
    }
};

struct Grouping
{
    std::array<Group, Sheets::most> groups;
    size_t count = 0;

    /// What is like one of the first `closed` groups, or finds no room, changes nothing.
    void add(const HermiteSample &sample, size_t closed)
    {
        if (sample.normal.isNull())
            return;
        size_t nearest = 0;
        float cosine = -2.0f;
        for (size_t n = 0; n < count; ++n) {
            const float likeness =
                QVector3D::dotProduct(groups[n].normals.normalized(), sample.normal);
            if (likeness > cosine) {
                cosine = likeness;
                nearest = n;
            }
        }
        if (cosine < creaseCosine && count < groups.size())
            nearest = count++;
        if (nearest >= closed)
            groups[nearest].add(sample);
    }
};

double dot(const QVector3D &a, const QVector3D &b)
{
    return double(a.x()) * b.x() + double(a.y()) * b.y() + double(a.z()) * b.z();
}

std::optional<QVector3D> commonOfTwo(std::span<const TangentPlane> planes, const QVector3D &start)
{
    const TangentPlane &a = planes[0];
    const TangentPlane &b = planes[1];
    const double cosine = dot(a.normal, b.normal);
    const double volume = 1.0 - cosine * cosine;
    if (volume < leastSquaredVolume)
        return std::nullopt;
    const double toA = dot(a.normal, a.point - start);
    const double toB = dot(b.normal, b.point - start);
    return start + a.normal * float((toA - cosine * toB) / volume) +
           b.normal * float((toB - cosine * toA) / volume);
}

std::optional<QVector3D> commonOfThree(std::span<const TangentPlane> planes, const QVector3D &start)
{
    const QVector3D &a = planes[0].normal;
    const QVector3D &b = planes[1].normal;
    const QVector3D &c = planes[2].normal;
    const QVector3D bc = QVector3D::crossProduct(b, c);
    const double volume = dot(a, bc);
    if (volume * volume < leastSquaredVolume)
        return std::nullopt;
    const auto share = [&](size_t n) {
        return float(dot(planes[n].normal, planes[n].point - start) / volume);
    };
    return start + bc * share(0) + QVector3D::crossProduct(c, a) * share(1) +
           QVector3D::crossProduct(a, b) * share(2);
}

} // namespace

Sheets sheetsOf(std::span<const HermiteSample> crossings, std::span<const HermiteSample> nearby)
{
    Grouping grouping;
    for (const HermiteSample &crossing : crossings)
        grouping.add(crossing, 0);
    const size_t own = grouping.count;
    for (const HermiteSample &sample : nearby)
        grouping.add(sample, own);
    Sheets sheets;
    for (size_t n = 0; n < grouping.count; ++n)
        sheets.list[n] = grouping.groups[n].sheet();
    sheets.count = int(grouping.count);
    sheets.ownCount = int(own);
    return sheets;
}

std::optional<QVector3D> commonPoint(std::span<const TangentPlane> planes, const QVector3D &start)
{
    return planes.size() == 2 ? commonOfTwo(planes, start) : commonOfThree(planes, start);
}

} // namespace corvane::mesh
