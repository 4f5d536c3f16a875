#include <rhi/ItemIdTexel.h>
#include <rhi/OffscreenRhi.h>
#include <shader/compileShader.h>
#include <support/VirtualDisplay.h>

#include <QApplication>
#include <QFile>
#include <QOffscreenSurface>
#include <QRegularExpression>

using namespace Qt::StringLiterals;
using namespace rhi;

namespace {

constexpr int side = 1024;

// One triangle over the target.
const QString vertexSource = uR"(#version 450
void main()
{
    gl_Position = vec4(vec2((gl_VertexIndex << 1) & 2, gl_VertexIndex & 2) * 2.0 - 1.0, 0.0, 1.0);
}
)"_s;

// The pixel (x, y) draws the id of number n = x + 1024 y: below 2^19 both halves of it run through
// all values, one after the other, with the other half inverted; the rest is scattered over all
// 2^32.
const QString idSource = uR"(#version 450
layout(location = 0) out vec4 texel;
%1
void main()
{
    uint n = uint(gl_FragCoord.x) + 1024u * uint(gl_FragCoord.y);
    uint id = n < 65536u ? n : n < 131072u ? n << 16 : n < 196608u ? ~n : n * 2654435761u;
    texel = packItemId(%2);
}
)"_s;

quint32 idOfNumber(quint32 n)
{
    return n < 65536u ? n : n < 131072u ? n << 16 : n < 196608u ? ~n : n * 2654435761u;
}

QString glslFunctions()
{
    QFile file(u":/shaders/item_id.glsl"_s);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

QShader bake(const QString &source, QShader::Stage stage)
{
    const shader::CompileResult result = shader::compileShader(source, stage, u"item_id"_s);
    if (!result.shader.isValid())
        qWarning().noquote() << result.errorMessage;
    return result.shader;
}

/// Draws a fragment shader over a picture of RGBA8 and answers its bytes; empty when a step fails.
QByteArray drawn(QRhi *rhi, const QString &fragmentSource)
{
    const std::unique_ptr<QRhiTexture> picture(
        rhi->newTexture(QRhiTexture::RGBA8, {side, side}, 1,
                        QRhiTexture::RenderTarget | QRhiTexture::UsedAsTransferSource));
    picture->create();
    const std::unique_ptr<QRhiTextureRenderTarget> target(
        rhi->newTextureRenderTarget({{picture.get()}}));
    const std::unique_ptr<QRhiRenderPassDescriptor> pass(
        target->newCompatibleRenderPassDescriptor());
    target->setRenderPassDescriptor(pass.get());
    const std::unique_ptr<QRhiShaderResourceBindings> bindings(rhi->newShaderResourceBindings());
    const std::unique_ptr<QRhiGraphicsPipeline> pipeline(rhi->newGraphicsPipeline());
    pipeline->setShaderStages(
        {{QRhiShaderStage::Vertex, bake(vertexSource, QShader::VertexStage)},
         {QRhiShaderStage::Fragment, bake(fragmentSource, QShader::FragmentStage)}});
    pipeline->setShaderResourceBindings(bindings.get());
    pipeline->setRenderPassDescriptor(pass.get());
    if (!target->create() || !bindings->create() || !pipeline->create())
        return {};
    QRhiCommandBuffer *commands = nullptr;
    rhi->beginOffscreenFrame(&commands);
    commands->beginPass(target.get(), Qt::black, {1.0f, 0});
    commands->setGraphicsPipeline(pipeline.get());
    commands->setViewport({0, 0, side, side});
    commands->setShaderResources();
    commands->draw(3);
    QRhiReadbackResult result;
    QRhiResourceUpdateBatch *const updates = rhi->nextResourceUpdateBatch();
    updates->readBackTexture({picture.get()}, &result);
    commands->endPass(updates);
    rhi->endOffscreenFrame();
    return result.data;
}

} // namespace

class TstItemIdTexel : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void shadersAndReadBacksAgreeOnEachId_data()
    {
        QTest::addColumn<int>("api");
        QTest::addColumn<QString>("drawnId");
        const std::pair<const char *, QRhi::Implementation> apis[] = {{"Vulkan", QRhi::Vulkan},
                                                                      {"OpenGL", QRhi::OpenGLES2}};
        for (const auto &[name, api] : apis) {
            QTest::addRow("%s, packed", name) << int(api) << u"id"_s;
            QTest::addRow("%s, there and back", name)
                << int(api) << u"unpackItemId(packItemId(id))"_s;
        }
    }
    void shadersAndReadBacksAgreeOnEachId()
    {
        QFETCH(int, api);
        QFETCH(QString, drawnId);
        QOffscreenSurface surface;
        surface.setFormat(preferredOffscreenSurfaceFormat());
        surface.create();
        const RhiPointer rhi =
            api == QRhi::Vulkan ? createOffscreenRhi(nullptr) : createOpenGLRhi(&surface);
        QVERIFY2(rhi, "no device: scripts/test.sh installs Mesa's software drivers");
        QCOMPARE(int(rhi->backend()), api);
        const QByteArray bytes = drawn(rhi.get(), idSource.arg(glslFunctions(), drawnId));
        QCOMPARE(bytes.size(), qsizetype(side) * side * 4);
        for (quint32 n = 0; n < side * side; ++n) {
            const auto *const texel = reinterpret_cast<const quint8 *>(bytes.constData()) + n * 4;
            const quint32 id = unpackItemId({texel[0], texel[1], texel[2], texel[3]});
            if (id != idOfNumber(n))
                QCOMPARE(QByteArray::number(id, 16), QByteArray::number(idOfNumber(n), 16));
            if (packItemId(id) != ItemIdTexel{texel[0], texel[1], texel[2], texel[3]})
                QFAIL("packItemId is not the inverse of unpackItemId");
        }
    }
};

CORVANE_DISPLAY_MAIN(TstItemIdTexel)
#include "tst_ItemIdTexel.moc"
