#pragma once

#include <eval/gpu/GlslUnit.h>
#include <eval/internal/codegen/CodeWriter.h>

namespace eval::gpu {

/// The lines of one GLSL function that a reader can lay beside the source: an expression stays one.
class GlslWriter : public internal::CodeWriter
{
public:
    GlslWriter(GlslUnit &unit, internal::CodeFunction *function)
        : CodeWriter(unit, function)
        , m_glsl(unit)
    {}

    /// A value that may be written several times.
    internal::CodeValue atom(const internal::CodeValue &value);

    internal::CodeValue made(const QByteArray &text, Type type,
                             const QList<internal::CodeValue> &operands,
                             const QString &structName = {}) override;
    bool isLaneType(Type type) const override;
    QByteArray literalText(const QVariant &value, Type type) const override;
    QByteArray defaultText(Type type, const QString &structName) override;
    QByteArray laneText(const internal::CodeValue &value, int lane) const override;
    QByteArray castText(const QByteArray &scalar, Type from, Type to) const override;
    std::optional<QByteArray> retagText(const internal::CodeValue &value, Type type) const override;
    QByteArray composeText(Type type, const QList<QByteArray> &lanes) const override;
    QByteArray structText(const QByteArray &type, const QList<QByteArray> &fields) const override;
    QByteArray choiceText(const QByteArray &condition, const QByteArray &yes,
                          const QByteArray &no) const override;

private:
    GlslUnit &m_glsl;
};

} // namespace eval::gpu
