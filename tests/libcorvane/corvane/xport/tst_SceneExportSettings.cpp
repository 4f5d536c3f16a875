#include <corvane/expr/ExpressionManager.h>
#include <corvane/model/Corvane.h>
#include <corvane/xport/ExportSettings.h>

#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using corvane::model::Corvane;
using corvane::xport::ExportSettings;

class TstSceneExportSettings : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void sizesMayBeExpressions_data();
    void sizesMayBeExpressions();
    void expressionsSurviveAFile();
};

void TstSceneExportSettings::sizesMayBeExpressions_data()
{
    QTest::addColumn<QVariant>("setting");
    QTest::addColumn<float>("maxX");
    QTest::addColumn<QString>("warning");
    const QString none;
    const auto told = [](const QString &text, const QString &error) {
        return u"Warning: settings.export.bounds.maxX: \"%1\" gives no number (%2), so 5 is used. "
               "Correct the expression, or write a number."_s.arg(text, error);
    };
    const auto row = [](const char *name, const QVariant &setting, float maxX, const QString &w) {
        QTest::newRow(name) << setting << maxX << w;
    };
    row("missing", QVariant(), 5, none);
    row("number", 7.5, 7.5f, none);
    row("over a variable", u"=width/2 + 1"_s, 11, none);
    row("over a derived variable and a constant", u"= twice * math.PI"_s, 125.663704f, none);
    row("without names", u"=3"_s, 3, none);
    row("no expression", u"wide"_s, 5, none);
    row("unknown name", u"=widht"_s, 5, told(u"=widht"_s, u"Unknown name: widht"_s));
    row("of several parts", u"=vec3(1.0)"_s, 5, told(u"=vec3(1.0)"_s, u"its value is no number"_s));
    row("no end", u"=1.0/(width - 20.0)"_s, 5,
        told(u"=1.0/(width - 20.0)"_s, u"division by zero"_s));
}

void TstSceneExportSettings::sizesMayBeExpressions()
{
    QFETCH(QVariant, setting);
    Corvane scene;
    corvane::model::VarsetEntry width;
    width.value = 20.0;
    scene.setVariableEntry(u"width"_s, width);
    corvane::model::VarsetEntry twice;
    twice.expression = u"width*2"_s;
    scene.setVariableEntry(u"twice"_s, twice);
    if (setting.isValid())
        scene.setSceneSetting(u"export.bounds.maxX"_s, setting);
    scene.setSceneSetting(u"export.cellSize"_s, u"=width/100"_s);
    corvane::expr::ExpressionManager expressions(&scene);
    expressions.evaluateAll();
    const ExportSettings settings = ExportSettings::of(scene, expressions);
    QTEST(settings.request.boundsMax.x(), "maxX");
    QCOMPARE(settings.request.cellSize, 0.2f);
    QTEST(settings.warnings.isEmpty() ? QString() : settings.warnings.first().toString(),
          "warning");
    QVERIFY(!settings.hasBox);
}

void TstSceneExportSettings::expressionsSurviveAFile()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"scene.corvane"_s);
    Corvane scene;
    scene.setSceneSetting(u"export.bounds.minY"_s, u"=-width/2"_s);
    QVERIFY(scene.saveToFile(path));
    const auto loaded = Corvane::loadFromFile(path);
    QVERIFY(loaded);
    QCOMPARE(loaded->sceneSetting(u"export.bounds.minY"_s), QVariant(u"=-width/2"_s));
}

QTEST_GUILESS_MAIN(TstSceneExportSettings)
#include "tst_SceneExportSettings.moc"
