#include <corvane/rendering/thumbnail/ThumbnailSubjects.h>

#include <corvane/compile/CorvaneDSLParser.h>
#include <corvane/model/Corvane.h>
#include <corvane/model/Instance.h>
#include <corvane/registry/Registry.h>
#include <corvane/render/SDFLayer.h>
#include <corvane/render/SDFNodeBuilder.h>
#include <corvane/shader/ShaderTemplates.h>

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QLoggingCategory>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace corvane::rendering {

Q_LOGGING_CATEGORY(lcThumbnailSubjects, "ondrel.corvane.thumbnail.subjects", QtWarningMsg)

using model::Corvane;
using model::Instance;
using registry::Definition;
using registry::NodeType;

namespace {

/// Raised when what is drawn looks different: pictures of before are not found any more.
constexpr int lookVersion = 1;

Instance named(const QString &definitionId, const QString &name, const model::Material &material)
{
    Instance instance(definitionId);
    instance.name = name;
    instance.material = material;
    return instance;
}

model::Material steel()
{
    model::Material material;
    material.albedo = {0.75f, 0.77f, 0.80f, 1.0f};
    material.metallic = 0.1f;
    material.roughness = 0.5f;
    return material;
}

model::Material orange()
{
    model::Material material;
    material.albedo = {0.91f, 0.42f, 0.11f, 1.0f};
    material.roughness = 0.5f;
    return material;
}

Instance exampleBox()
{
    Instance box = named(u"box"_s, u"box"_s, steel());
    box.setParameters({{u"width"_s, 0.8}, {u"height"_s, 0.5}, {u"depth"_s, 0.6}});
    return box;
}

Instance exampleBall()
{
    Instance ball = named(u"sphere"_s, u"ball"_s, orange());
    ball.setParameter(u"radius"_s, 0.55);
    return ball;
}

Instance movedBall()
{
    Instance moved = named(u"translate"_s, u"moved"_s, orange());
    moved.setParameters(
        {{u"offset"_s, QVariantList{0.6, 0.5, 0.5}}, {u"children"_s, QVariantList{u"@ball"_s}}});
    return moved;
}

void setKnownParameters(Instance &instance, const Definition &definition,
                        const QVariantMap &parameters)
{
    for (auto it = parameters.cbegin(); it != parameters.cend(); ++it)
        if (definition.parameter(it.key()))
            instance.setParameter(it.key(), it.value());
}

bool takesTwoParts(const Definition &definition)
{
    return definition.minChildren() > 1 || definition.nodeType == NodeType::CSGOperator;
}

} // namespace

ThumbnailSubjects::ThumbnailSubjects(const registry::Registry *registry)
    : m_registry(registry)
    , m_generator(registry)
{}

ThumbnailSubjects::Subject ThumbnailSubjects::make(const Definition &definition,
                                                   const QVariantMap &parameters)
{
    if (!definition.previewScene.isEmpty() && parameters.isEmpty())
        return fromPreviewScene(definition);
    return fromExample(definition, parameters);
}

QByteArray ThumbnailSubjects::content(const Definition &definition)
{
    const auto known = m_contents.constFind(definition.id);
    if (known != m_contents.cend())
        return *known;
    return *m_contents.insert(definition.id, contentOf(make(definition, {})));
}

void ThumbnailSubjects::addShader(ThumbnailRenderRequest &request)
{
    m_generator.setActiveDefinitionIds(
        render::SDFLayer::usedDefinitionIds(request.nodes, m_generator));
    request.definitions =
        eval::DefinitionTable::collect(request.nodes, *m_registry, m_generator.indices());
    if (request.section) {
        request.shaderSource = m_generator.generateCrossSectionShader();
        return;
    }
    request.shaderSource = shader::ShaderTemplates::fill(
        shader::ShaderTemplates::load(u"thumbnail.frag.in"_s),
        {{"// {{SDF_FUNCTIONS}}"_L1, m_generator.generateSDFFunctions()},
         {"// {{DISPATCH_FUNCTION}}"_L1, m_generator.generateAllDispatchFunctions()}});
}

void ThumbnailSubjects::registryChanged()
{
    m_generator.rebuildIndices();
    m_contents.clear();
}

ThumbnailSubjects::Subject ThumbnailSubjects::fromPreviewScene(const Definition &definition)
{
    const model::ParseResult parsed =
        model::CorvaneDSLParser::parseRegularFile(definition.previewScene);
    if (!parsed.ok()) {
        qCWarning(lcThumbnailSubjects).noquote()
            << "SDFThumbnailGenerator: Failed to parse operator preview scene"
            << definition.previewScene << "of" << definition.id;
        return {};
    }
    render::SDFNodeBuilder builder(&m_generator);
    const int root = builder.buildWithoutDomains(parsed.scene.data());
    if (root < 0)
        qCWarning(lcThumbnailSubjects).noquote()
            << "SDFThumbnailGenerator: No renderable primitives in preview scene"
            << definition.previewScene << "of" << definition.id;
    return {builder.nodes(), root};
}

ThumbnailSubjects::Subject ThumbnailSubjects::fromExample(const Definition &definition,
                                                          const QVariantMap &parameters)
{
    Corvane scene;
    Instance subject = named(definition.id, u"subject"_s, steel());
    setKnownParameters(subject, definition, parameters);
    if (definition.isOperator) {
        QVariantList children{u"@box"_s};
        scene.addItem(exampleBox());
        if (takesTwoParts(definition)) {
            scene.addItem(exampleBall());
            scene.addItem(movedBall());
            children.append(u"@moved"_s);
        }
        subject.setParameter(u"children"_s, children);
    }
    scene.addItem(subject);
    scene.setRoots({subject.id});
    render::SDFNodeBuilder builder(&m_generator);
    const int root = builder.buildWithoutDomains(&scene);
    return {builder.nodes(), root};
}

QByteArray ThumbnailSubjects::contentOf(const Subject &subject)
{
    QCryptographicHash hash(QCryptographicHash::Sha256);
    hash.addData(QByteArray::number(lookVersion));
    hash.addData(QCoreApplication::applicationVersion().toUtf8());
    auto ids = render::SDFLayer::usedDefinitionIds(subject.nodes, m_generator).values();
    std::sort(ids.begin(), ids.end());
    for (const QString &id : std::as_const(ids))
        if (const auto used = m_registry->getDefinition(id))
            hash.addData(used->contentHash());
    // Indices of definitions are those of this registry, and say nothing in the next one.
    for (shader::SDFNode node : subject.nodes) {
        node.definitionIndex = 0;
        hash.addData(QByteArrayView(reinterpret_cast<const char *>(&node), sizeof(node)));
    }
    return hash.result();
}

} // namespace corvane::rendering
