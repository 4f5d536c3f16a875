# The generated half of corvane/shader: index tables, texts and their templates.
set(CORVANE_SHADER_SOURCES
    corvane/shader/DefinitionCheck.cpp
    corvane/shader/DefinitionCodeMangler.cpp
    corvane/shader/DefinitionFault.cpp
    corvane/shader/SDFShaderGenerator.cpp
    corvane/shader/ShaderCodeAnalyzer.cpp
    corvane/shader/ShaderDispatchGenerator.cpp
    corvane/shader/ShaderFunctionGenerator.cpp
    corvane/shader/ShaderIndexManager.cpp
    corvane/shader/ShaderNodeKinds.cpp
    corvane/shader/ShaderSourceMap.cpp
    corvane/shader/ShaderTemplates.cpp
    corvane/shader/ShaderWrapperGenerator.cpp
    corvane/shader/getShader.cpp)
# Under resources/templates of the source tree, embedded as ":/templates/<name>".
set(CORVANE_SHADER_TEMPLATES
    resources/templates/sdf_brdf.glsl
    resources/templates/sdf_cross_section.frag.in
    resources/templates/sdf_csg_ops.glsl
    resources/templates/sdf_debug.glsl
    resources/templates/sdf_field_sampling.frag.in
    resources/templates/sdf_forward.frag.in
    resources/templates/sdf_geometry.frag.in
    resources/templates/sdf_materials.glsl
    resources/templates/sdf_nodes.glsl
    resources/templates/sdf_raymarch.glsl
    resources/templates/sdf_scene.glsl
    resources/templates/sdf_scene_distance.glsl
    resources/templates/sdf_shading.frag.in
    resources/templates/sdf_surface.glsl
    resources/templates/sdf_tree_evaluator.glsl
    resources/templates/sdf_uniforms.glsl)
list(TRANSFORM CORVANE_SHADER_TEMPLATES PREPEND ${CMAKE_SOURCE_DIR}/)
