#include <corvane/rendering/SpecialisedField.h>

#include <corvane/render/SDFLayer.h>
#include <corvane/rendering/GBuffer.h>

#include <QLoggingCategory>

#include <utility>

namespace corvane::rendering {

using namespace Qt::StringLiterals;

Q_LOGGING_CATEGORY(lcSpecialised, "ondrel.rendering.specialised", QtWarningMsg)

namespace {

QList<int> rootsOf(const render::SDFLayer &field)
{
    QList<int> roots;
    for (const auto &domain : field.domains())
        roots.append(domain.rootIndex);
    return roots;
}

} // namespace

SpecialisedField::SpecialisedField(render::SDFLayer &field)
    : m_field(field)
{
    m_still.setSingleShot(true);
    m_still.setInterval(stillMs);
    QObject::connect(&m_still, &QTimer::timeout, &m_still, [this] { start(); });
}

void SpecialisedField::setJobs(const ShaderJobs &jobs)
{
    m_hasJobs = jobs.queue != nullptr;
    m_compile.setJobs(jobs, [this] { finish(); });
}

void SpecialisedField::setPolicy(Policy policy)
{
    if (std::exchange(m_policy, policy) == policy)
        return;
    m_isPresent = policy != Policy::Never && !m_field.generatedNodes().isEmpty();
    m_still.stop();
    if (policy == Policy::WhenStill && m_hasJobs && m_isPresent && !fits())
        m_still.start();
}

void SpecialisedField::setHost(const Host &host)
{
    const bool isOther = host.rhi != m_host.rhi;
    m_host = host;
    if (isOther && host.rhi && m_shader.isValid())
        build();
    else if (m_policy == Policy::AtOnce && m_isPresent && !fits() && !isCompiling())
        start();
}

bool SpecialisedField::followNodes()
{
    const auto &nodes = m_field.generatedNodes();
    m_isPresent = !nodes.isEmpty() && m_policy != Policy::Never;
    const quint64 key =
        nodes.isEmpty() ? 0 : shader::SpecialisedScene::structureKey(nodes, rootsOf(m_field));
    if (std::exchange(m_key, key) == key)
        return false;
    m_still.stop();
    if (!m_isPresent || fits())
        return true;
    m_compile.cancel();
    if (m_policy == Policy::WhenStill && m_hasJobs)
        m_still.start();
    return true;
}

void SpecialisedField::invalidate()
{
    m_compile.cancel();
    m_scene = {};
    m_shader = {};
    m_pass.release();
    m_key = 0;
    followNodes();
}

void SpecialisedField::start()
{
    if (!m_isPresent || fits() || !m_host.rhi)
        return;
    auto &generator = m_field.generator();
    const auto scene = generator.specialisedScene(m_field.generatedNodes(), rootsOf(m_field));
    if (scene.isNull())
        return;
    generator.setSpecialisedScene(scene);
    const QString source = generator.generateGeometryShader();
    generator.setSpecialisedScene({});
    m_compiling = scene;
    m_compile.start(source, u"specialised"_s, {.name = u"sdf_specialised"_s});
    finish();
}

void SpecialisedField::finish()
{
    const auto state = m_compile.poll();
    if (state == ShaderCompile::State::Failed) {
        // The walk draws what there is, and says what is wrong with it.
        qCWarning(lcSpecialised).noquote()
            << "SpecialisedField: the scene has no shader of its own:" << m_compile.takeError();
    } else if (state == ShaderCompile::State::Done) {
        m_shader = m_compile.takeShader();
        m_scene = m_compiling;
        build();
    }
}

bool SpecialisedField::build()
{
    if (!m_host.rhi || !m_host.renderPass)
        return false;
    const QByteArray bytes = m_scene.parameterBytes(m_field.generatedNodes());
    m_uploaded.clear();
    m_parameters.reset(m_host.rhi->newBuffer(QRhiBuffer::Dynamic, QRhiBuffer::UniformBuffer,
                                             quint32(bytes.size())));
    if (!m_parameters->create())
        return false;
    auto bindings = m_host.bindings;
    bindings.append(QRhiShaderResourceBinding::uniformBuffer(
        shader::SpecialisedScene::parameterBinding, QRhiShaderResourceBinding::FragmentStage,
        m_parameters.get()));
    QString error;
    ++m_builtPasses;
    const bool isBuilt = m_pass.build(m_host.rhi,
                                      {.vertex = m_host.vertex,
                                       .fragment = m_shader,
                                       .renderPass = m_host.renderPass,
                                       .colorAttachments = GBuffer::colorAttachmentCount,
                                       .bindings = bindings},
                                      &error);
    if (!isBuilt)
        qCWarning(lcSpecialised).noquote() << "SpecialisedField:" << error;
    return isBuilt;
}

qint64 SpecialisedField::upload(QRhiResourceUpdateBatch *updates)
{
    if (!fits())
        return 0;
    const QByteArray bytes = m_scene.parameterBytes(m_field.generatedNodes());
    if (bytes == m_uploaded || bytes.size() > qsizetype(m_parameters->size()))
        return 0;
    updates->updateDynamicBuffer(m_parameters.get(), 0, quint32(bytes.size()), bytes.constData());
    m_uploaded = bytes;
    return bytes.size();
}

void SpecialisedField::reset()
{
    m_pass.release();
    m_parameters.reset();
    m_uploaded.clear();
    m_host = {};
}

} // namespace corvane::rendering
