#include <corvane/eval/FieldCompiler.h>

namespace corvane::eval {

using namespace Qt::StringLiterals;

CompiledField compileField(SdfSceneGraphBuilder::Result &scene, ::eval::Backend backend)
{
    CompiledField field{.program = {},
                        .positionHandle = scene.positionHandle,
                        .distanceHandle = scene.distanceHandle,
                        .error = {}};
    const auto compiled = scene.graph.compile(backend);
    if (compiled)
        field.program = QSharedPointer<const ::eval::Program>::create(compiled.value());
    else if (compiled.diagnostics().isEmpty())
        field.error = u"<no diag>"_s;
    else
        field.error = compiled.firstError().message;
    return field;
}

CompiledField compileFieldNativeFirst(SdfSceneGraphBuilder::Result &scene)
{
    CompiledField field = compileField(scene, ::eval::Backend::Native);
    return field.program ? field : compileField(scene, ::eval::Backend::Interpreted);
}

} // namespace corvane::eval
