#pragma once

#include <corvane/eval/IFieldEvaluator.h>
#include <corvane/xport/GridSeal.h>

#include <QVector3D>

#include <span>
#include <vector>

namespace corvane::xport {

/// The field of one thread, cut off by a seal, as dual contouring asks for it: at many points at a
/// time. Both are borrowed.
class SealedField
{
public:
    SealedField(eval::IFieldEvaluator &field, const GridSeal &seal);

    void distances(std::span<const QVector3D> points, std::span<float> out);
    void gradients(std::span<const QVector3D> points, std::span<QVector3D> out);

private:
    void takeApart(std::span<const QVector3D> points);

    eval::IFieldEvaluator &m_field;
    const GridSeal &m_seal;
    std::vector<float> m_x, m_y, m_z;
    std::vector<eval::DistanceGradient> m_gradients;
};

} // namespace corvane::xport
