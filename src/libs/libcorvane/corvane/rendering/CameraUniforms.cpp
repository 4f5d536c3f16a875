#include <corvane/rendering/CameraUniforms.h>

#include <algorithm>

namespace corvane::rendering {

namespace {

void copyMatrix(shader::SDFUniforms::Matrix &target, const QMatrix4x4 &matrix)
{
    std::copy_n(matrix.constData(), target.size(), target.begin());
}

} // namespace

void setCameraUniforms(shader::SDFUniforms &uniforms, const RhiContext &context,
                       const QMatrix4x4 &model)
{
    const QMatrix4x4 viewProjection = context.projection * context.view;
    copyMatrix(uniforms.mvp, viewProjection * model);
    copyMatrix(uniforms.viewMatrix, context.view);
    copyMatrix(uniforms.projMatrix, context.projection);
    copyMatrix(uniforms.invViewProjMatrix, viewProjection.inverted());
    uniforms.cameraPos = {context.eye.x(), context.eye.y(), context.eye.z(), 1.0f};
}

} // namespace corvane::rendering
