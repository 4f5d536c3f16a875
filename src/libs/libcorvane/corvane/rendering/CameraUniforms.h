#pragma once

#include <corvane/rendering/RhiContext.h>
#include <corvane/shader/SDFUniforms.h>

#include <QMatrix4x4>

namespace corvane::rendering {

/// Fills what a scene pass has to know of the view.
void setCameraUniforms(shader::SDFUniforms &uniforms, const RhiContext &context,
                       const QMatrix4x4 &model);

} // namespace corvane::rendering
