#include <corvane/bench/CompiledScene.h>

#include <corvane/compile/CorvaneDSLParser.h>
#include <corvane/expr/ExpressionManager.h>
#include <corvane/model/Corvane.h>
#include <corvane/model/DocumentBlock.h>
#include <corvane/registry/Registry.h>
#include <corvane/render/SDFLayer.h>
#include <corvane/shader/ShaderIndexManager.h>
#include <corvane/xport/ExportSettings.h>

namespace corvane::bench {

using namespace Qt::StringLiterals;
using model::Corvane;
using model::CorvaneDSLParser;

namespace {

QSharedPointer<Corvane> load(const QString &path, QString &error)
{
    const model::ParseResult result = CorvaneDSLParser::parseRegularFile(path);
    if (!result.ok()) {
        error = result.errors.isEmpty() ? u"no scene"_s : result.errors.first().toString();
        return {};
    }
    // Of a version 2 file the parser compiles the tree alone: variables and settings are here.
    if (result.logicalScene) {
        const QVariantMap block = result.rawMap.value(u"corvane"_s).toMap();
        model::DocumentBlock::apply(block.isEmpty() ? result.rawMap : block, *result.scene);
    }
    result.scene->registerFileScopedDefinitions();
    return result.scene;
}

void readSettings(const xport::ExportSettings &settings, CompiledScene &compiled)
{
    compiled.boundsMin = settings.request.boundsMin;
    compiled.boundsMax = settings.request.boundsMax;
    compiled.autoBounds = !settings.hasBox || settings.request.autoBounds;
    compiled.cellSize = settings.request.cellSize;
}

} // namespace

std::optional<CompiledScene> compileSceneFile(const QString &path, QString &error)
{
    const auto registry = registry::Registry::instance().withoutFileScoped();
    const registry::RegistryScope scope(*registry);
    const QSharedPointer<Corvane> scene = load(path, error);
    if (!scene) {
        error = u"cannot load scene: %1"_s.arg(error);
        return std::nullopt;
    }
    expr::ExpressionManager expressions(scene.data());
    expressions.evaluateAll();
    render::SDFLayer layer(registry.get());
    layer.setScene(scene.data());
    const render::SDFLayer::FieldNodes field = layer.nodesAsOneField();
    if (!layer.buildError().isEmpty() || field.nodes.isEmpty()) {
        error = layer.buildError().isEmpty() ? u"scene has no geometry"_s : layer.buildError();
        return std::nullopt;
    }
    shader::ShaderIndexManager indices;
    indices.rebuildIndices(registry.get());
    CompiledScene compiled;
    compiled.path = path;
    compiled.nodes = field.nodes;
    compiled.rootIndex = field.rootIndex;
    compiled.definitions = eval::DefinitionTable::collect(field.nodes, *registry, indices);
    readSettings(xport::ExportSettings::of(*scene, expressions), compiled);
    return compiled;
}

} // namespace corvane::bench
