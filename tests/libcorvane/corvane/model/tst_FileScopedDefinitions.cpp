#include <corvane/compile/CorvaneDSLParser.h>
#include <corvane/model/Corvane.h>
#include <corvane/registry/Registry.h>

#include <QFile>
#include <QRegularExpression>

using namespace Qt::StringLiterals;
using namespace corvane;
using namespace corvane::model;

namespace {

const QString blobScene = uR"(corvane:
  definitions:
    - id: blob
      name: Blob
      category: Mine
      shaderCode: |
        float sdf_blob(vec3 p, float r) {
            return length(p) - r;
        }
  instances:
    a:
      type: blob
      params:
        r: 1.0
)"_s;

} // namespace

class TstFileScopedDefinitions : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void cleanup() { QVERIFY(!registry::Registry::instance().contains(u"blob"_s)); }

    void readingAloneRegistersNothing();
    void loadingRegistersAndClosingTakesBack();
    void overrideStandsInForTheBuiltin();
    void equalContentIsLeftAlone();
    void invalidDefinitionIsNotRegistered();
    void usedBuiltinsAreEmbedded();

private:
    QString write(const QString &text)
    {
        QFile file(m_folder.filePath(u"scene.corvane"_s));
        return file.open(QIODevice::WriteOnly) && file.write(text.toUtf8()) > 0 ? file.fileName()
                                                                                : QString();
    }

    QTemporaryDir m_folder;
};

void TstFileScopedDefinitions::readingAloneRegistersNothing()
{
    const auto result = CorvaneDSLParser::parseText(blobScene);
    QVERIFY(result.ok());
    QVERIFY(result.scene->hasCustomDefinition(u"blob"_s));
    QVERIFY(!registry::Registry::instance().contains(u"blob"_s));
}

void TstFileScopedDefinitions::loadingRegistersAndClosingTakesBack()
{
    const auto scene = Corvane::loadFromFile(write(blobScene));
    QVERIFY(scene);
    const auto blob = registry::Registry::instance().getDefinition(u"blob"_s);
    QVERIFY(blob);
    QCOMPARE(blob->nodeType, registry::NodeType::Primitive);
    QCOMPARE(blob->primaryFunctionName, u"sdf_blob"_s);
    scene->unregisterFileScopedDefinitions();
}

void TstFileScopedDefinitions::overrideStandsInForTheBuiltin()
{
    auto &registry = registry::Registry::instance();
    const auto builtin = registry.getDefinition(u"sphere"_s);
    QVERIFY(builtin);
    QString text = blobScene;
    text.replace(u"sdf_blob"_s, u"sdf_sphere"_s).replace(u"id: blob"_s, u"id: sphere"_s);
    const auto scene = Corvane::loadFromFile(write(text));
    QVERIFY(scene);
    QCOMPARE(registry.getDefinition(u"sphere"_s)->name, u"Blob"_s);
    registry.loadBuiltinPrimitives();
    QCOMPARE(registry.getDefinition(u"sphere"_s)->name, u"Blob"_s);
    scene->reset();
    QCOMPARE(registry.getDefinition(u"sphere"_s)->contentHash(), builtin->contentHash());
}

void TstFileScopedDefinitions::equalContentIsLeftAlone()
{
    auto &registry = registry::Registry::instance();
    const auto builtin = registry.getDefinition(u"box"_s);
    Corvane scene;
    scene.addCustomDefinition(registry::Definition::fromVariantMap(builtin->toVariantMap()));
    scene.registerFileScopedDefinitions();
    QCOMPARE(registry.getDefinition(u"box"_s), builtin);
}

void TstFileScopedDefinitions::invalidDefinitionIsNotRegistered()
{
    QTest::ignoreMessage(QtWarningMsg,
                         "Corvane: Invalid file-scoped definition: \"blob\" has no shaderCode");
    const auto scene = Corvane::loadFromFile(write(u"definitions:\n  - id: blob\n    name: B\n"_s));
    QVERIFY(scene);
    QVERIFY(scene->hasCustomDefinition(u"blob"_s));
    const auto result = CorvaneDSLParser::parseText(
        u"definitions:\n  - name: B\n  - id: blob\n    name: B\n  - id: blob\n    name: C\n"_s);
    QCOMPARE(result.warnings.size(), 2);
    QCOMPARE(result.scene->customDefinitions().size(), 1);
}

void TstFileScopedDefinitions::usedBuiltinsAreEmbedded()
{
    const auto scene =
        CorvaneDSLParser::parseText(
            u"embed_builtins: true\ninstances:\n  a: {type: box}\n  b: {type: box}\n  c: {type: nowhere}\n"_s)
            .scene;
    const QVariantMap block = scene->toVariantMap().value(u"corvane"_s).toMap();
    const QVariantList definitions = block.value(u"definitions"_s).toList();
    QCOMPARE(definitions.size(), 1);
    QCOMPARE(definitions.first().toMap().value(u"id"_s), QVariant(u"box"_s));
    QCOMPARE(block.value(u"embed_builtins"_s), QVariant(true));
    const auto again = Corvane::fromVariantMap(scene->toVariantMap());
    again->registerFileScopedDefinitions();
    QVERIFY(registry::Registry::instance().getDefinition(u"box"_s)->isFromResources());
    const auto embedded = again->customDefinitions();
    QCOMPARE(embedded.size(), 1);
    QCOMPARE(embedded.first()->contentHash(),
             registry::Registry::instance().getDefinition(u"box"_s)->contentHash());
    QCOMPARE(Corvane::fromVariantMap(again->toVariantMap())->toVariantMap(), again->toVariantMap());
}

QTEST_GUILESS_MAIN(TstFileScopedDefinitions)
#include "tst_FileScopedDefinitions.moc"
