// Solids put together at random, and fields of pure noise, on the grid of FormulaFields.h: sheets
// meet in cells and on faces in every way there is.
#pragma once

#include <support/FormulaFields.h>

#include <QMatrix4x4>

#include <random>

namespace support {

class RandomSolid
{
public:
    explicit RandomSolid(unsigned seed)
        : m_random(seed)
    {}

    Field make()
    {
        Field solid = part();
        const int count = 2 + int(number(0, 6));
        for (int i = 0; i < count; ++i) {
            const float choice = number(0, 1);
            solid = choice < 0.45f  ? unite(solid, part())
                    : choice < 0.9f ? cut(solid, part())
                                    : intersect(solid, part());
        }
        // Well within the grid.
        return intersect(solid, box({1.4f, 1.4f, 1.4f}));
    }

private:
    float number(float low, float high)
    {
        return low + (high - low) * float(m_random() & 0xffffff) / float(0x1000000);
    }

    QVector3D point(float reach)
    {
        return {number(-reach, reach), number(-reach, reach), number(-reach, reach)};
    }

    // On nodes of the grid, where every tie is.
    QVector3D nodePoint()
    {
        QVector3D p;
        for (int axis = 0; axis < 3; ++axis)
            p[axis] =
                corvane::mesh::nodeCoordinate(gridOrigin[axis], gridCell, qint64(number(4, 28)));
        return p;
    }

    Field moved(const Field &field, const QVector3D &to, const QVector3D &axis, float degrees)
    {
        QMatrix4x4 place;
        place.translate(to);
        place.rotate(degrees, axis);
        const QMatrix4x4 back = place.inverted();
        return [=](const QVector3D &p) { return field(back.map(p)); };
    }

    Field part()
    {
        const float choice = number(0, 1);
        if (choice < 0.25f)
            return ball(point(1), number(0.15f, 1));
        if (choice < 0.4f)
            return moved(box(QVector3D(0.1f, 0.1f, 0.1f) * std::round(number(1, 9))), nodePoint(),
                         {0, 0, 1}, 0);
        if (choice < 0.55f)
            return moved(box(point(0.4f) + QVector3D(0.5f, 0.5f, 0.5f)), point(1), {0, 0, 1}, 45);
        if (choice < 0.8f)
            return moved(box(point(0.4f) + QVector3D(0.5f, 0.5f, 0.5f)), point(1),
                         point(1) + QVector3D(0, 0, 1.1f), number(0, 360));
        const float wide = number(0.2f, 0.8f);
        const float thin = number(0.05f, 0.3f);
        const Field ring = [=](const QVector3D &p) {
            return std::hypot(std::hypot(p.x(), p.z()) - wide, p.y()) - thin;
        };
        return moved(ring, point(1), point(1) + QVector3D(0, 0, 1.1f), number(0, 360));
    }

    std::mt19937 m_random;
};

// A value at each node, at random, and linear between: every one of the 256 cells beside every
// other.
inline Field noise(unsigned seed)
{
    return [seed](const QVector3D &p) {
        const auto valueAt = [seed](const int(&node)[3]) {
            unsigned bits = seed * 2654435769u ^ unsigned(node[0]) * 73856093u ^
                            unsigned(node[1]) * 19349663u ^ unsigned(node[2]) * 83492791u;
            for (int round = 0; round < 3; ++round)
                bits = (bits ^ bits >> 15) * 2246822519u;
            bool inner = true;
            for (const int n : node)
                inner = inner && n > 1 && n < gridNodes - 2;
            const float value = float(bits >> 16) / 65536.0f - 0.5f;
            return inner ? value : 0.5f;
        };
        int low[3];
        float share[3];
        for (int axis = 0; axis < 3; ++axis) {
            const float at = (p[axis] - gridOrigin[axis]) / gridCell;
            // A node's own place must give the node's own value, rounded as it may be.
            const float nearest = std::round(at);
            const float exact = std::fabs(at - nearest) < 1e-4f ? nearest : at;
            low[axis] = int(std::floor(exact));
            share[axis] = exact - float(low[axis]);
        }
        float sum = 0;
        for (int corner = 0; corner < 8; ++corner) {
            const int bits[3] = {corner & 1, corner >> 1 & 1, corner >> 2};
            float weight = 1;
            int node[3];
            for (int axis = 0; axis < 3; ++axis) {
                node[axis] = low[axis] + bits[axis];
                weight *= bits[axis] ? share[axis] : 1 - share[axis];
            }
            if (weight > 0)
                sum += weight * valueAt(node);
        }
        return sum;
    };
}

// By points between the nodes of the grid, so that a face on nodes is not counted to one side.
inline double insideVolume(const Field &field)
{
    constexpr int perAxis = 48;
    constexpr float reach = 1.43f;
    constexpr float spacing = 2 * reach / float(perAxis);
    const auto at = [](int i) { return -reach + (float(i) + 0.5f) * spacing; };
    qint64 count = 0;
    for (int k = 0; k < perAxis; ++k)
        for (int j = 0; j < perAxis; ++j)
            for (int i = 0; i < perAxis; ++i)
                count += field({at(i), at(j), at(k)}) < 0.0f ? 1 : 0;
    return double(count) * std::pow(double(spacing), 3.0);
}

} // namespace support
