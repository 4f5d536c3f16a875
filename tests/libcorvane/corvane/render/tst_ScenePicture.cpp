// What the geometry and shading passes draw of solids whose pictures are known without them.
#include <corvane/registry/Registry.h>
#include <corvane/render/SDFLayer.h>
#include <corvane/shader/SDFShaderGenerator.h>
#include <corvane/shader/SDFUniforms.h>
#include <rhi/ItemIdTexel.h>
#include <rhi/OffscreenRhi.h>
#include <support/FieldPicture.h>
#include <support/NodeTree.h>

#include <QMatrix4x4>
#include <QRegularExpression>
#include <QTest>

#include <cmath>
#include <cstring>
#include <optional>

using namespace Qt::StringLiterals;
using namespace corvane;
using shader::SDFUniforms;

namespace {

constexpr int side = 64;
constexpr quint32 sdfLayer = 1;

struct View
{
    QMatrix4x4 projection;
    QMatrix4x4 view;
    QVector3D eye;

    QMatrix4x4 both() const { return projection * view; }
};

View camera(bool isPerspective)
{
    View made;
    made.eye = QVector3D(3, 4, 6);
    made.view.lookAt(made.eye, {0, 0, 0}, {0, 1, 0});
    if (isPerspective)
        made.projection.perspective(45, 1, 0.5f, 50);
    else
        made.projection.ortho(-3, 3, -3, 3, 0.5f, 50);
    return made;
}

SDFUniforms uniformsFor(const View &view, const support::NodeTree &tree, int root)
{
    SDFUniforms uniforms;
    const auto put = [](SDFUniforms::Matrix &to, const QMatrix4x4 &matrix) {
        std::copy_n(matrix.constData(), to.size(), to.begin());
    };
    put(uniforms.viewMatrix, view.view);
    put(uniforms.projMatrix, view.projection);
    put(uniforms.mvp, view.both());
    put(uniforms.invViewProjMatrix, view.both().inverted());
    uniforms.cameraPos = {view.eye.x(), view.eye.y(), view.eye.z(), 1};
    uniforms.nodeCount = qint32(tree.nodes.size());
    uniforms.rootNodeIndex = root;
    uniforms.maxDistance = 100.0f;
    return uniforms;
}

struct Ray
{
    QVector3D origin, direction;
};

/// Through the middle of a pixel, counted from the top left.
Ray rayThrough(const View &view, int x, int y)
{
    const QMatrix4x4 inverse = view.both().inverted();
    const float u = (float(x) + 0.5f) / side * 2 - 1;
    const float v = 1 - (float(y) + 0.5f) / side * 2;
    const QVector3D from = inverse.map(QVector3D(u, v, -1));
    return {from, (inverse.map(QVector3D(u, v, 1)) - from).normalized()};
}

/// Where a ray meets a ball first.
std::optional<QVector3D> ballHit(const Ray &ray, const QVector3D &center, float radius)
{
    const QVector3D offset = ray.origin - center;
    const float b = QVector3D::dotProduct(offset, ray.direction);
    const float q = b * b - offset.lengthSquared() + radius * radius;
    if (q < 0)
        return std::nullopt;
    return ray.origin + ray.direction * (-b - std::sqrt(q));
}

struct GBufferPixel
{
    QVector3D normal;
    float ao = 0;
    quint32 item = 0;
};

struct Geometry
{
    QByteArray normals, materials, items;

    GBufferPixel at(int x, int y) const
    {
        const int index = x + y * side;
        std::array<float, 4> normal{};
        std::memcpy(normal.data(), normals.constData() + index * int(sizeof normal), sizeof normal);
        const auto *const item = reinterpret_cast<const quint8 *>(items.constData()) + index * 4;
        return {.normal = {normal[0], normal[1], normal[2]},
                .ao = normal[3],
                .item = rhi::unpackItemId({item[0], item[1], item[2], item[3]})};
    }
};

} // namespace

class TstScenePicture : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void ballIsWhereItIs_data();
    void ballIsWhereItIs();
    void steepFieldHasNoHoles();

private:
    std::optional<Geometry> drawn(const support::NodeTree &tree, const SDFUniforms &uniforms,
                                  bool isSpecialised);

    rhi::RhiPointer m_rhi;
};

void TstScenePicture::initTestCase()
{
    registry::Registry::instance().loadBuiltinPrimitives();
    // Rises five times as fast as a distance.
    support::addShape(u"test_steep"_s,
                      u"float sdf_steep(vec3 p) { return 5.0 * (abs(length(p) - 1.5) - 0.02); }"_s);
    m_rhi = rhi::createOffscreenRhi(nullptr);
    QVERIFY2(m_rhi, "No Vulkan driver is installed: scripts/test.sh installs mesa-vulkan-drivers");
}

std::optional<Geometry> TstScenePicture::drawn(const support::NodeTree &tree,
                                               const SDFUniforms &uniforms, bool isSpecialised)
{
    shader::SDFShaderGenerator generator(&registry::Registry::instance());
    generator.setActiveDefinitionIds(render::SDFLayer::usedDefinitionIds(tree.nodes, generator));
    shader::SpecialisedScene own;
    if (isSpecialised)
        own = generator.specialisedScene(tree.nodes, {uniforms.rootNodeIndex});
    generator.setSpecialisedScene(own);
    QString error;
    support::FieldPicture picture(
        m_rhi.get(),
        {.fragmentSource = generator.generateGeometryShader(),
         .uniforms = QByteArray(reinterpret_cast<const char *>(&uniforms), sizeof uniforms),
         .nodes = tree.nodes,
         .size = {side, side},
         .formats = {QRhiTexture::RGBA32F, QRhiTexture::RGBA8, QRhiTexture::RGBA8,
                     QRhiTexture::RGBA8},
         .sceneParameters = own.parameterBytes(tree.nodes)},
        error);
    if (!error.isEmpty()) {
        qWarning().noquote() << error;
        return std::nullopt;
    }
    const QList<QByteArray> bytes = picture.draw();
    return Geometry{.normals = bytes.at(0), .materials = bytes.at(1), .items = bytes.at(2)};
}

void TstScenePicture::ballIsWhereItIs_data()
{
    QTest::addColumn<bool>("isPerspective");
    QTest::addColumn<int>("algorithm");
    QTest::addColumn<bool>("isInBox");
    QTest::addColumn<bool>("isSpecialised");

    const char *const algorithms[] = {"naive", "Lipschitz", "over-relaxed", "bisection"};
    for (int i = 0; i < 4; ++i)
        QTest::newRow(algorithms[i]) << true << i << false << false;
    QTest::newRow("cut to the box") << true << 0 << true << false;
    QTest::newRow("parallel rays") << false << 0 << true << false;
    QTest::newRow("specialised") << true << 2 << true << true;
}

void TstScenePicture::ballIsWhereItIs()
{
    QFETCH(const bool, isPerspective);
    QFETCH(const bool, isInBox);
    const QVector3D center(0.5f, 1.0f, 0.0f);
    const float radius = 1.2f;
    support::NodeTree tree;
    const int root = tree.read(u"(translate 0.5 1 0 (sphere 1.2))"_s);
    const View view = camera(isPerspective);
    SDFUniforms uniforms = uniformsFor(view, tree, root);
    QFETCH(const int, algorithm);
    uniforms.raymarchAlgorithm = algorithm;
    uniforms.setBounds({-0.7f, -0.2f, -1.2f}, {1.7f, 2.2f, 1.2f}, isInBox);
    QFETCH(const bool, isSpecialised);
    const auto geometry = drawn(tree, uniforms, isSpecialised);
    QVERIFY(geometry);

    int hits = 0;
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            const Ray ray = rayThrough(view, x, y);
            const GBufferPixel pixel = geometry->at(x, y);
            // The edge may be half a pixel off.
            const bool isInside = ballHit(ray, center, radius - 0.1f).has_value();
            const bool isOutside = !ballHit(ray, center, radius + 0.1f).has_value();
            if (isOutside) {
                QCOMPARE(pixel.item, 0u);
            } else if (isInside) {
                ++hits;
                QCOMPARE(pixel.item, sdfLayer << 28 | 0u); // the sphere is node 0
                const QVector3D normal = (*ballHit(ray, center, radius) - center) / radius;
                QVERIFY2((pixel.normal - normal).length() < 0.15f,
                         qPrintable(u"at %1, %2"_s.arg(x).arg(y)));
            }
        }
    }
    QVERIFY(hits > 300);
}

void TstScenePicture::steepFieldHasNoHoles()
{
    support::NodeTree tree;
    const int root = tree.read(u"(test_steep)"_s);
    const View view = camera(true);
    SDFUniforms uniforms = uniformsFor(view, tree, root);
    const auto holes = [&] {
        const auto geometry = drawn(tree, uniforms, true);
        int count = 0;
        for (int y = 0; geometry && y < side; ++y) {
            for (int x = 0; x < side; ++x) {
                const auto hit = ballHit(rayThrough(view, x, y), {}, 1.4f);
                // Behind a hole the far side of the shell shows, whose normal looks away.
                const QVector3D normal = geometry->at(x, y).normal;
                if (hit && QVector3D::dotProduct(normal, *hit) < 0.5f)
                    ++count;
            }
        }
        return count;
    };
    QVERIFY2(holes() > 100, "without its bound the field is passed through");
    uniforms.setSteepness(5.0f);
    QCOMPARE(holes(), 0);
}

QTEST_GUILESS_MAIN(TstScenePicture)
#include "tst_ScenePicture.moc"
