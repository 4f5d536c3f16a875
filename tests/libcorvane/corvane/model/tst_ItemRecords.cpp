#include <corvane/model/CatalogMaterial.h>
#include <corvane/model/Instance.h>
#include <corvane/model/ParameterValue.h>
#include <corvane/model/PlainValue.h>
#include <corvane/model/SceneItemView.h>

#include <QColor>
#include <QRegularExpression>
#include <QVector2D>

using namespace Qt::StringLiterals;
using namespace corvane::model;

class TstItemRecords : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void parameterReadsEveryForm_data();
    void parameterReadsEveryForm();
    void modifierAtItsDefaultIsNotStored();
    void itemMapReadsBack();
    void itemTakesOnlyWellFormedVectors_data();
    void itemTakesOnlyWellFormedVectors();
    void modelMatrixTurnsBeforeItScales();
    void materialsCompareTheirScalarsFuzzily();
    void catalogMaterialStaysInRange();
    void plainValuesAreNumbersAndLists_data();
    void plainValuesAreNumbersAndLists();
    void cameraEditorRefusesWhatIsNoCamera();
};

void TstItemRecords::parameterReadsEveryForm_data()
{
    QTest::addColumn<QVariant>("stored");
    QTest::addColumn<QString>("expression"); // null for a literal
    QTest::addColumn<QVariant>("value");

    const QVariantMap expr{{u"expr"_s, u"x*2"_s}, {u"fallback"_s, 3}};
    QTest::newRow("number") << QVariant(1.5) << QString() << QVariant(1.5);
    QTest::newRow("text") << QVariant(u"a+1"_s) << QString() << QVariant(u"a+1"_s);
    QTest::newRow("equals sign") << QVariant(u"=a+1"_s) << u"a+1"_s << QVariant();
    QTest::newRow("dollar sign") << QVariant(u"$a"_s) << u"a"_s << QVariant();
    QTest::newRow("expression map") << QVariant(expr) << u"x*2"_s << QVariant(3);
    QTest::newRow("value map") << QVariant(QVariantMap{{u"value"_s, u"=a"_s}}) << QString()
                               << QVariant(u"=a"_s);
    QTest::newRow("other map") << QVariant(QVariantMap{{u"a"_s, 1}}) << QString()
                               << QVariant(QVariantMap{{u"a"_s, 1}});
    QTest::newRow("parameter") << QVariant::fromValue(ParameterValue::fromExpression(u"b"_s, 7))
                               << u"b"_s << QVariant(7);
    QTest::newRow("nothing") << QVariant() << QString() << QVariant();
}

void TstItemRecords::parameterReadsEveryForm()
{
    QFETCH(const QVariant, stored);
    QFETCH(const QString, expression);
    QFETCH(const QVariant, value);
    const auto parameter = ParameterValue::fromVariant(stored);
    QCOMPARE(parameter.isExpression(), !expression.isNull());
    QCOMPARE(parameter.expression, expression);
    QCOMPARE(parameter.value(), value);
    QCOMPARE(plainParamValue(stored), expression.isNull() ? value : QVariant());
}

void TstItemRecords::modifierAtItsDefaultIsNotStored()
{
    Instance instance(u"sphere"_s);
    const QVariantMap untouched = instance.typeData;
    const NodeModifiers modifiers{
        .densityScale = 2.0f, .shellThickness = 0.25f, .blendSharpness = 0.5f, .materialMode = 1};
    instance.setModifiers(modifiers);
    QCOMPARE(instance.typeData.size(), untouched.size() + 4);
    QCOMPARE(instance.modifiers(), modifiers);
    instance.setModifiers({});
    QCOMPARE(instance.typeData, untouched);
}

void TstItemRecords::itemMapReadsBack()
{
    SceneItem item;
    item.itemType = ItemTypes::Mesh;
    item.name = u"a part"_s;
    item.tags = {ItemTags::Locked, ItemTags::Hidden};
    item.capabilities = 0xffffffffu;
    item.material = {.albedo = {0.1f, 0.2f, 0.3f, 0.4f}, .metallic = 0.9f};
    item.materialId = QUuid::createUuid();
    item.translate = {0.1f, -2.0f, 3.0f};
    item.rotate = {90.0f, 0.0f, 0.0f};
    item.scale = {1.0f, 2.0f, 1.0f};
    item.parentId = QUuid::createUuid();
    item.sortOrder = -4;
    item.typeData = {{u"sourcePath"_s, u"part.stl"_s}, {u"anything"_s, 1}};

    const QVariantMap map = item.toVariantMap();
    QCOMPARE(SceneItem::fromVariantMap(map), item);
    QCOMPARE(map.value(u"tags"_s), QVariant(QVariantList{u"hidden"_s, u"locked"_s}));
    QVERIFY(map.value(u"materialId"_s).toString().startsWith(u'{'));
    QVERIFY(!map.value(u"parentId"_s).toString().startsWith(u'{'));
    QCOMPARE(MeshItemView(item).sourcePath(), u"part.stl"_s);
}

void TstItemRecords::itemTakesOnlyWellFormedVectors_data()
{
    QTest::addColumn<QVariantMap>("map");
    QTest::addColumn<QVector3D>("translate");

    QVariantList matrix(16, 0.0);
    matrix[12] = 1;
    matrix[13] = 2;
    matrix[14] = 3;
    const QVector3D fromMatrix(1, 2, 3);
    QTest::newRow("three numbers")
        << QVariantMap{{u"translate"_s, QVariantList{1, 2.5, 3}}} << QVector3D(1, 2.5f, 3);
    QTest::newRow("two numbers") << QVariantMap{{u"translate"_s, QVariantList{1, 2}}}
                                 << QVector3D();
    QTest::newRow("a word among them")
        << QVariantMap{{u"translate"_s, QVariantList{1, u"x"_s, 3}}} << QVector3D();
    QTest::newRow("not finite") << QVariantMap{{u"translate"_s, QVariantList{1, u"nan"_s, 3}}}
                                << QVector3D();
    QTest::newRow("matrix") << QVariantMap{{u"transform"_s, matrix}} << fromMatrix;
    QTest::newRow("matrix and translation")
        << QVariantMap{{u"transform"_s, matrix}, {u"translate"_s, QVariantList{0, 5, 0}}}
        << QVector3D(0, 5, 0);
    QTest::newRow("matrix of fifteen")
        << QVariantMap{{u"transform"_s, matrix.mid(0, 15)}} << QVector3D();
}

void TstItemRecords::itemTakesOnlyWellFormedVectors()
{
    QFETCH(const QVariantMap, map);
    QFETCH(const QVector3D, translate);
    const SceneItem item = SceneItem::fromVariantMap(map);
    QCOMPARE(item.translate, translate);
    QVERIFY(item.typeData.isEmpty());
}

void TstItemRecords::modelMatrixTurnsBeforeItScales()
{
    SceneItem item;
    item.translate = {10, 0, 0};
    item.rotate = {90, 0, 90};
    item.scale = {2, 3, 4};
    // Scaled to (0, 3, 0), turned about Z to (-3, 0, 0), left alone by the turn about X, then
    // moved.
    const QVector3D moved = item.modelMatrix().map(QVector3D(0, 1, 0));
    QVERIFY((moved - QVector3D(7, 0, 0)).length() < 1e-5f);
}

void TstItemRecords::materialsCompareTheirScalarsFuzzily()
{
    Material material;
    material.roughness = 0.5f + 1e-7f;
    QCOMPARE(material, Material());
    material.albedo.setX(std::nextafter(0.8f, 1.0f));
    QVERIFY(material != Material());
    QCOMPARE(Material::fromVariantMap(material.toVariantMap()), material);
    QCOMPARE(Material::fromVariantMap({{u"albedo"_s, QVariantList{1, 0, 0}}}).albedo,
             QVector4D(1, 0, 0, 1));
}

void TstItemRecords::catalogMaterialStaysInRange()
{
    CatalogMaterial material;
    QCOMPARE(material.name, u"Unnamed"_s);
    QCOMPARE(material.category, u"Custom"_s);
    material.setMetallic(2.0f);
    material.setRoughness(-1.0f);
    material.setEmission(-3.0f);
    QCOMPARE(material.material.metallic, 1.0f);
    QCOMPARE(material.material.roughness, 0.0f);
    QCOMPARE(material.material.emission, 0.0f);
    material.touchModified();

    QVariantMap map = material.toVariantMap();
    map.insert(u"id"_s, material.id.toString());
    QCOMPARE(CatalogMaterial::fromVariantMap(map), material);
}

void TstItemRecords::plainValuesAreNumbersAndLists_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QVariant>("plain");
    QTest::newRow("float") << QVariant(0.1f) << QVariant(0.1);
    QTest::newRow("vector") << QVariant(QVector3D(0.1f, 2, 3))
                            << QVariant(QVariantList{0.1, 2.0, 3.0});
    QTest::newRow("short vector") << QVariant(QVector2D(1, 2)) << QVariant(QVariantList{1.0, 2.0});
    QTest::newRow("colour") << QVariant(QColor(255, 0, 0))
                            << QVariant(QVariantList{1.0, 0.0, 0.0, 1.0});
    QTest::newRow("flags") << QVariant(4000000000u) << QVariant(4000000000ll);
    QTest::newRow("vector in a map")
        << QVariant(QVariantMap{{u"a"_s, QVariantList{QVector2D(1, 2)}}})
        << QVariant(QVariantMap{{u"a"_s, QVariantList{QVariantList{1.0, 2.0}}}});
    QTest::newRow("text") << QVariant(u"a"_s) << QVariant(u"a"_s);
}

void TstItemRecords::plainValuesAreNumbersAndLists()
{
    QFETCH(const QVariant, value);
    QFETCH(const QVariant, plain);
    const QVariant result = plainForFile(value);
    QCOMPARE(result, plain);
    QCOMPARE(result.typeId(), plain.typeId());
}

void TstItemRecords::cameraEditorRefusesWhatIsNoCamera()
{
    SceneItem item;
    item.itemType = ItemTypes::Camera;
    CameraItemEditor editor(item);
    QVERIFY(!editor.setFovDegrees(180.0f));
    QVERIFY(!editor.setPlanes(2.0f, 1.0f));
    QVERIFY(!editor.setOrthoSize(0.0f));
    QCOMPARE(editor.item(), item);
    QVERIFY(editor.setFovDegrees(60.0f) && editor.setPlanes(1.0f, 2.0f) &&
            editor.setOrthoSize(3.0f));
    const CameraItemView view(editor.item());
    QCOMPARE(view.fovDegrees(), 60.0f);
    QCOMPARE(view.nearPlane(), 1.0f);
    QCOMPARE(view.farPlane(), 2.0f);
    QCOMPARE(view.orthoSize(), 3.0f);
}

QTEST_GUILESS_MAIN(TstItemRecords)
#include "tst_ItemRecords.moc"
