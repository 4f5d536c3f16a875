#include <corvane/rendering/layers/SurfaceLighting.h>

#include <corvane/shader/IEnvironment.h>
#include <eval/Graph.h>

#include <QLoggingCategory>

using namespace Qt::StringLiterals;

namespace corvane::rendering {

Q_LOGGING_CATEGORY(lcSurfaceLighting, "ondrel.rendering.lighting", QtWarningMsg)

namespace {

constexpr int parameterCount = 4;
constexpr std::array<QVector3D, 6> axes{QVector3D(1, 0, 0), QVector3D(-1, 0, 0),
                                        QVector3D(0, 1, 0), QVector3D(0, -1, 0),
                                        QVector3D(0, 0, 1), QVector3D(0, 0, -1)};

QString literal(const float *values)
{
    QStringList numbers;
    for (int i = 0; i < 4; ++i)
        numbers.append(QString::number(double(values[i]), 'f', 9));
    return u"vec4(%1)"_s.arg(numbers.join(u", "_s));
}

/// The environment's function with its parameters written into it.
QString filledSnippet(const shader::IEnvironment &environment)
{
    std::array<float, 4 * parameterCount> values{};
    environment.fillUniforms(values.data(), int(values.size()));
    QString text = environment.sampleSnippet();
    for (int i = 0; i < parameterCount; ++i)
        text.replace(u"envParam%1"_s.arg(i), literal(values.data() + 4 * i));
    return text;
}

} // namespace

// The environments are written once, in GLSL; here the same text runs in the field language.
std::array<QVector3D, 6> SurfaceLighting::seenAlongAxes(const shader::IEnvironment &environment)
{
    std::array<QVector3D, 6> seen{};
    eval::Graph graph;
    const eval::Handle dir = graph.declareInput(u"dir"_s, eval::Type::Vec3);
    const eval::Handle color =
        graph.declareOutput(u"color"_s, filledSnippet(environment) + u"\nsampleEnvironment(dir)"_s);
    const auto program = graph.compile(eval::Backend::Interpreted);
    if (!program) {
        qCWarning(lcSurfaceLighting).noquote() << "SurfaceLighting: environment" << environment.id()
                                               << "gives no light:" << program.firstError().message;
        return seen;
    }
    eval::ThreadCopy copy = program.value().threadCopy();
    for (std::size_t i = 0; i < axes.size(); ++i) {
        copy.set(dir, axes[i]);
        if (copy.evaluateQuick())
            seen[i] = copy.get(color).value<QVector3D>();
    }
    return seen;
}

SurfaceLighting SurfaceLighting::of(const shader::IEnvironment *background,
                                    const shader::IEnvironment *lighting, Ambient ambient)
{
    SurfaceLighting result;
    result.ambient = ambient;
    result.environmentAxes = background ? seenAlongAxes(*background) : std::array<QVector3D, 6>{};
    std::array<shader::Light, maxLights> lights{};
    result.lightCount = lighting ? lighting->fillLights(lights.data(), maxLights) : 0;
    for (std::size_t i = 0; i < lights.size(); ++i) {
        const shader::Light &light = lights[i];
        result.lights[i] = {
            .direction = {light.direction[0], light.direction[1], light.direction[2]},
            .color = {light.color[0], light.color[1], light.color[2]},
            .intensity = light.color[3]};
    }
    return result;
}

} // namespace corvane::rendering
