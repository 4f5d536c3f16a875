#include <corvane/model/Corvane.h>
#include <corvane/registry/Registry.h>
#include <corvane/render/SDFLayer.h>

#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;
using corvane::registry::Registry;

/// The scenes that ship for thumbnails are there, load, and show the definition they stand for.
class TstPreviewScenes : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void scenesShowTheirDefinition_data();
    void scenesShowTheirDefinition();
};

void TstPreviewScenes::scenesShowTheirDefinition_data()
{
    QTest::addColumn<QString>("id");
    QTest::addColumn<QString>("path");
    int count = 0;
    for (const auto &definition : Registry::instance().getAllPrimitives()) {
        if (definition->previewScene.isEmpty())
            continue;
        QTest::newRow(qPrintable(definition->id)) << definition->id << definition->previewScene;
        ++count;
    }
    QCOMPARE(count, 34); // every operator and every modifier
}

void TstPreviewScenes::scenesShowTheirDefinition()
{
    QFETCH(QString, id);
    QFETCH(QString, path);
    const auto scene = corvane::model::Corvane::loadFromFile(path);
    QVERIFY(scene);
    corvane::render::SDFLayer layer;
    layer.setScene(scene.data());
    QVERIFY(corvane::render::SDFLayer::usedDefinitionIds(layer.generatedNodes(), layer.generator())
                .contains(id));
}

QTEST_GUILESS_MAIN(TstPreviewScenes)
#include "tst_PreviewScenes.moc"
