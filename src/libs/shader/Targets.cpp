#include <shader/Targets.h>

#include <algorithm>
#include <atomic>

namespace shader {

namespace {

struct Row
{
    Target target;
    QShader::Source language;
    int version;
    QShaderVersion::Flags flags{};
};

constexpr Row table[] = {
    {Target::Spirv, QShader::SpirvShader, 100},
    {Target::DesktopGlsl, QShader::GlslShader, 450},
    {Target::DesktopGlsl, QShader::GlslShader, 430},
    {Target::EsGlsl, QShader::GlslShader, 320, QShaderVersion::GlslEs},
    {Target::EsGlsl, QShader::GlslShader, 310, QShaderVersion::GlslEs},
    {Target::Hlsl, QShader::HlslShader, 50},
    {Target::Msl, QShader::MslShader, 12},
};

std::atomic<int> running = 0;

} // namespace

void addRunningTargets(Targets targets)
{
    running |= targets.toInt();
}

Targets runningTargets()
{
    const int targets = running;
    return targets == 0 ? allTargets : Targets::fromInt(targets);
}

QList<TargetCode> codesOf(Targets targets)
{
    QList<TargetCode> codes;
    for (const Row &row : table) {
        if (targets.testFlag(row.target))
            codes.append({row.language, QShaderVersion(row.version, row.flags)});
    }
    return codes;
}

bool covers(const QShader &shader, Targets targets, bool batchable)
{
    const QList<QShaderKey> held = shader.availableShaders();
    const auto holds = [&held](const TargetCode &code, QShader::Variant variant) {
        return held.contains(QShaderKey(code.language, code.version, variant));
    };
    const bool needsBatchable = batchable && shader.stage() == QShader::VertexStage;
    const QList<TargetCode> codes = codesOf(targets);
    return std::all_of(codes.cbegin(), codes.cend(), [&](const TargetCode &code) {
        return holds(code, QShader::StandardShader) &&
               (!needsBatchable || holds(code, QShader::BatchableVertexShader));
    });
}

} // namespace shader
