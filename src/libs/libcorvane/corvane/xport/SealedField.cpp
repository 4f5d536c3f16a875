#include <corvane/xport/SealedField.h>

namespace corvane::xport {

SealedField::SealedField(eval::IFieldEvaluator &field, const GridSeal &seal)
    : m_field(field)
    , m_seal(seal)
{}

void SealedField::takeApart(std::span<const QVector3D> points)
{
    for (std::vector<float> *coordinates : {&m_x, &m_y, &m_z})
        coordinates->resize(points.size());
    for (std::size_t i = 0; i < points.size(); ++i) {
        m_x[i] = points[i].x();
        m_y[i] = points[i].y();
        m_z[i] = points[i].z();
    }
}

void SealedField::distances(std::span<const QVector3D> points, std::span<float> out)
{
    takeApart(points);
    m_field.evaluatePoints(m_x, m_y, m_z, out);
    for (std::size_t i = 0; i < points.size(); ++i)
        out[i] = m_seal.distance(points[i], out[i]);
}

void SealedField::gradients(std::span<const QVector3D> points, std::span<QVector3D> out)
{
    takeApart(points);
    m_gradients.resize(points.size());
    m_field.evaluateWithGradients(m_x, m_y, m_z, m_gradients);
    for (std::size_t i = 0; i < points.size(); ++i)
        out[i] = m_seal.gradient(points[i], m_gradients[i]);
}

} // namespace corvane::xport
