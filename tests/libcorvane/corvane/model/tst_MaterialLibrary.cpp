#include <corvane/model/Corvane.h>
#include <corvane/model/MaterialLibrary.h>
#include <corvane/model/MaterialListModel.h>

#include <store/FaultInjection.h>
#include <support/Files.h>

#include <QAbstractItemModelTester>
#include <QFile>
#include <QRegularExpression>
#include <QSignalSpy>

#include <thread>

using namespace Qt::StringLiterals;
using namespace corvane::model;

namespace {

CatalogMaterial named(const QString &name)
{
    CatalogMaterial material;
    material.name = name;
    material.setRoughness(0.25f);
    return material;
}

} // namespace

class TstMaterialLibrary : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        QTest::failOnWarning(QRegularExpression(u".*"_s));
        m_folder = std::make_unique<QTemporaryDir>();
    }

    void builtinsAreThere();
    void copiesCount_data();
    void copiesCount();
    void namesStayUnique();
    void aMaterialIsPutBackAsItWas();
    void userMaterialsSurviveARestart();
    void overridesSurviveARestart();
    void refusals();
    void removingTheActiveOnePicksTheDefault();
    void damagedFilesAreKept_data();
    void damagedFilesAreKept();
    void twoLibrariesShareAFolder();
    void additionsAtOnceAreAllKept();
    void whatCannotBeWrittenIsTriedAgain();
    void idsThatAreMissingStayTheSame();
    void listModelFollows();
    void listModelFilters();
    void savedScenesCarryTheirMaterials();

private:
    QString path(const QString &name) const { return m_folder->filePath(name); }

    std::unique_ptr<QTemporaryDir> m_folder;
};

void TstMaterialLibrary::builtinsAreThere()
{
    const MaterialLibrary library(m_folder->path());
    QCOMPARE(library.materials().size(), 19);
    const CatalogMaterial copper = *library.material(library.idByName(u"Copper"_s));
    QVERIFY(copper.isBuiltIn);
    QCOMPARE(copper.category, u"Metals"_s);
    QCOMPARE(copper.material.albedo, QVector4D(0.95f, 0.64f, 0.54f, 1.0f));
    QCOMPARE(copper.material.metallic, 1.0f);
    QCOMPARE(copper.material.roughness, 0.25f);
    QCOMPARE(library.material(library.idByName(u"Emissive orange"_s))->material.emission, 3.0f);
    QVERIFY(library.material(library.defaultMaterialId()));
    QVERIFY(!library.material(QUuid()));
    // Reading alone writes nothing.
    QVERIFY(QDir(m_folder->path()).isEmpty());
    const MaterialLibrary other(m_folder->path());
    QVERIFY(other.idByName(u"Copper"_s) != copper.id);
}

void TstMaterialLibrary::copiesCount_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("copy");
    QTest::newRow("plain") << u"Wood"_s << u"Wood (copy)"_s;
    QTest::newRow("copy") << u"Wood (copy)"_s << u"Wood (copy 2)"_s;
    QTest::newRow("second copy") << u"Wood (copy 2)"_s << u"Wood (copy 3)"_s;
    QTest::newRow("no number") << u"Wood (copy x)"_s << u"Wood (copy x) (copy)"_s;
    QTest::newRow("nothing but the suffix") << u" (copy)"_s << u" (copy) (copy)"_s;
    QTest::newRow("beyond counting")
        << u"W (copy 99999999999)"_s << u"W (copy 99999999999) (copy)"_s;
    QTest::newRow("last number") << u"W (copy 2147483647)"_s << u"W (copy 2147483647) (copy)"_s;
}

void TstMaterialLibrary::copiesCount()
{
    QFETCH(const QString, name);
    QTEST(MaterialLibrary::copyName(name), "copy");
}

void TstMaterialLibrary::namesStayUnique()
{
    MaterialLibrary library(m_folder->path());
    QStringList names;
    QSignalSpy added(&library, &MaterialLibrary::materialAdded);
    for (int i = 0; i < 4; ++i)
        names.append(library.material(library.addMaterial(named(u"Wood"_s)))->name);
    QCOMPARE(names,
             QStringList({u"Wood"_s, u"Wood (copy)"_s, u"Wood (copy 2)"_s, u"Wood (copy 3)"_s}));
    QCOMPARE(added.size(), 4);
    CatalogMaterial renamed = *library.material(library.idByName(u"Wood"_s));
    renamed.name = u"Gold"_s;
    QVERIFY(library.updateMaterial(renamed));
    QCOMPARE(library.material(renamed.id)->name, u"Gold (copy)"_s);
    QVERIFY(library.material(library.idByName(u"Gold"_s))->isBuiltIn);
    QVERIFY(library.idByName(u"Wood"_s).isNull());
    // An update under the same name is no copy.
    QVERIFY(library.updateMaterial(*library.material(renamed.id)));
    QCOMPARE(library.material(renamed.id)->name, u"Gold (copy)"_s);

    const QString byDefault = library.material(library.defaultMaterialId())->name;
    const QUuid nameless = library.addMaterial(named(QString()));
    QCOMPARE(library.material(nameless)->name, u"New material"_s);
    const MaterialLibrary restarted(m_folder->path());
    QCOMPARE(restarted.material(restarted.defaultMaterialId())->name, byDefault);
}

void TstMaterialLibrary::aMaterialIsPutBackAsItWas()
{
    MaterialLibrary library(m_folder->path());
    const QUuid id = library.addMaterial(named(u"Wood"_s));
    CatalogMaterial before = *library.material(id);
    before.lastModified = QDateTime::fromMSecsSinceEpoch(1'600'000'000'123, Qt::UTC);
    QVERIFY(library.restoreMaterial(before));
    QCOMPARE(*library.material(id), before);

    QVERIFY(library.removeMaterial(id));
    QSignalSpy added(&library, &MaterialLibrary::materialAdded);
    QVERIFY(library.restoreMaterial(before));
    QCOMPARE(added, QList<QVariantList>({{id}}));
    QCOMPARE(*library.material(id), before);
    QCOMPARE(*MaterialLibrary(m_folder->path()).material(id), before);

    QVERIFY(!library.restoreMaterial(*library.material(library.idByName(u"Gold"_s))));
}

void TstMaterialLibrary::userMaterialsSurviveARestart()
{
    CatalogMaterial wood = named(u"Wood \"\u00e4\""_s);
    wood.category = u"Mine"_s;
    wood.setAlbedo({0.1f, 0.2f, 0.3f, 0.4f});
    wood.isBuiltIn = true; // nobody gets one in that way
    {
        MaterialLibrary library(m_folder->path());
        QCOMPARE(library.addMaterial(wood), wood.id);
        QVERIFY(library.material(wood.id)->lastModified.isValid());
        QVERIFY(library.setDefaultMaterialId(wood.id));
        wood = *library.material(wood.id);
    }
    MaterialLibrary library(m_folder->path());
    QVERIFY(library.material(wood.id));
    QCOMPARE(*library.material(wood.id), wood);
    QVERIFY(!wood.isBuiltIn);
    QCOMPARE(library.defaultMaterialId(), wood.id);
    QVERIFY(!library.removeMaterial(wood.id));
    QVERIFY(library.setDefaultMaterialId(library.idByName(u"Iron"_s)));
    QVERIFY(library.removeMaterial(wood.id));
    QCOMPARE(MaterialLibrary(m_folder->path()).materials().size(), 19);
}

void TstMaterialLibrary::overridesSurviveARestart()
{
    MaterialLibrary first(m_folder->path());
    CatalogMaterial gold = *first.material(first.idByName(u"Gold"_s));
    const Material factory = gold.material;
    gold.setRoughness(0.9f);
    gold.name = u"Fool's gold"_s;
    QVERIFY(first.updateBuiltInMaterial(gold));
    {
        const MaterialLibrary second(m_folder->path());
        const CatalogMaterial *tuned = second.material(second.idByName(u"Gold"_s));
        QVERIFY(tuned && tuned->isBuiltIn);
        QCOMPARE(tuned->material.roughness, 0.9f);
        QCOMPARE(tuned->material.albedo, factory.albedo);
        QCOMPARE(second.materials().size(), 19);
    }
    gold.material = factory;
    QVERIFY(first.updateBuiltInMaterial(gold));
    const MaterialLibrary third(m_folder->path());
    QCOMPARE(third.material(third.idByName(u"Gold"_s))->material, factory);
}

void TstMaterialLibrary::refusals()
{
    MaterialLibrary library(m_folder->path());
    QSignalSpy updated(&library, &MaterialLibrary::materialUpdated);
    QSignalSpy removed(&library, &MaterialLibrary::materialRemoved);
    const CatalogMaterial gold = *library.material(library.idByName(u"Gold"_s));
    QVERIFY(!library.updateMaterial(gold));
    QVERIFY(!library.removeMaterial(gold.id));
    QVERIFY(!library.updateMaterial(named(u"Unknown"_s)));
    QVERIFY(!library.updateBuiltInMaterial(named(u"Unknown"_s)));
    QVERIFY(!library.removeMaterial(QUuid::createUuid()));
    QVERIFY(!library.setActiveMaterialId(QUuid()));
    QVERIFY(!library.setDefaultMaterialId(QUuid()));
    const QUuid wood = library.addMaterial(named(u"Wood"_s));
    QVERIFY(!library.updateBuiltInMaterial(*library.material(wood)));
    QVERIFY(updated.isEmpty());
    QVERIFY(removed.isEmpty());
}

void TstMaterialLibrary::removingTheActiveOnePicksTheDefault()
{
    MaterialLibrary library(m_folder->path());
    const QUuid wood = library.addMaterial(named(u"Wood"_s));
    QVERIFY(library.setActiveMaterialId(wood));
    QSignalSpy active(&library, &MaterialLibrary::activeMaterialChanged);
    QVERIFY(library.removeMaterial(wood));
    QCOMPARE(active, QList<QVariantList>({{library.defaultMaterialId()}}));
}

void TstMaterialLibrary::damagedFilesAreKept_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("no JSON") << QByteArray("{\"materials\": [");
    QTest::newRow("a list") << QByteArray("[1, 2]");
    QTest::newRow("empty") << QByteArray();
}

void TstMaterialLibrary::damagedFilesAreKept()
{
    QFETCH(const QByteArray, content);
    QFile file(path(u"materials.json"_s));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(content);
    file.close();
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^MaterialLibrary: Cannot read "_s));
    MaterialLibrary library(m_folder->path());
    QCOMPARE(library.materials().size(), 19);
    QTest::ignoreMessage(
        QtWarningMsg, QRegularExpression(u"^WARNING: '.*' was kept as '.*': it can't be read"_s));
    library.addMaterial(named(u"Wood"_s));
    const QStringList kept = QDir(m_folder->path()).entryList({u"materials.json.damaged-*"_s});
    QCOMPARE(kept.size(), 1);
    QCOMPARE(support::contentOf(path(kept.first())), content);
    QCOMPARE(MaterialLibrary(m_folder->path()).materials().size(), 20);
}

void TstMaterialLibrary::twoLibrariesShareAFolder()
{
    MaterialLibrary ours(m_folder->path());
    MaterialLibrary theirs(m_folder->path());
    const QUuid pine = theirs.addMaterial(named(u"Pine"_s));
    const QUuid oak = theirs.addMaterial(named(u"Oak"_s));
    CatalogMaterial gold = *theirs.material(theirs.idByName(u"Gold"_s));
    gold.setRoughness(0.7f);
    QVERIFY(theirs.updateBuiltInMaterial(gold));
    QVERIFY(theirs.setDefaultMaterialId(oak));

    QSignalSpy added(&ours, &MaterialLibrary::materialAdded);
    QSignalSpy updated(&ours, &MaterialLibrary::materialUpdated);
    const QUuid second = ours.addMaterial(named(u"Pine"_s));
    QCOMPARE(ours.material(second)->name, u"Pine (copy)"_s);
    QCOMPARE(added.size(), 3); // the two of theirs and this
    QCOMPARE(updated, QList<QVariantList>({{ours.idByName(u"Gold"_s)}}));
    QCOMPARE(ours.defaultMaterialId(), oak);

    QVERIFY(theirs.removeMaterial(pine));
    QVERIFY(theirs.setActiveMaterialId(second));
    QSignalSpy removed(&ours, &MaterialLibrary::materialRemoved);
    QVERIFY(!ours.updateMaterial(named(u"Unknown"_s)));
    QCOMPARE(removed, QList<QVariantList>({{pine}}));
    QVERIFY(ours.removeMaterial(second));
    QVERIFY(theirs.setDefaultMaterialId(theirs.idByName(u"Iron"_s)));
    QCOMPARE(theirs.activeMaterialId(), theirs.defaultMaterialId());
    for (const MaterialLibrary *library : {&ours, &theirs})
        QVERIFY(library->materials().size() == 20 && library->material(oak));
}

void TstMaterialLibrary::additionsAtOnceAreAllKept()
{
    constexpr int processes = 8;
    std::vector<std::thread> adding;
    for (int i = 0; i < processes; ++i) {
        adding.emplace_back([this, i] {
            MaterialLibrary library(m_folder->path());
            for (int j = 0; j < 3; ++j)
                library.addMaterial(named(u"%1 of %2"_s.arg(j).arg(i)));
        });
    }
    for (std::thread &thread : adding)
        thread.join();
    QCOMPARE(MaterialLibrary(m_folder->path()).materials().size(), 19 + 3 * processes);
}

void TstMaterialLibrary::whatCannotBeWrittenIsTriedAgain()
{
    MaterialLibrary library(m_folder->path());
    const QUuid wood = library.addMaterial(named(u"Wood"_s));
    {
        const store::FaultInjection fault(store::Operation::Rename, 1);
        QTest::ignoreMessage(QtWarningMsg,
                             QRegularExpression(u"^MaterialLibrary: Cannot write "_s));
        library.addMaterial(named(u"Pine"_s));
    }
    QVERIFY(library.updateMaterial(*library.material(wood)));
    QVERIFY(!MaterialLibrary(m_folder->path()).idByName(u"Pine"_s).isNull());
}

void TstMaterialLibrary::idsThatAreMissingStayTheSame()
{
    QVERIFY(support::put(path(u"materials.json"_s),
                         R"({"materials": [{"name": "A"}, {"name": "B"}, {"name": "B"}]})"));
    MaterialLibrary library(m_folder->path());
    const QUuid first = library.idByName(u"A"_s);
    const QUuid copy = library.idByName(u"B (copy)"_s);
    library.addMaterial(named(u"Wood"_s));
    QCOMPARE(library.materials().size(), 19 + 4);
    QCOMPARE(library.idByName(u"A"_s), first);
    QCOMPARE(library.idByName(u"B (copy)"_s), copy);
}

void TstMaterialLibrary::listModelFollows()
{
    MaterialLibrary library(m_folder->path());
    MaterialListModel model(&library);
    const QAbstractItemModelTester tester(&model,
                                          QAbstractItemModelTester::FailureReportingMode::QtTest);
    QCOMPARE(model.rowCount(), 19);
    QCOMPARE(model.data(model.index(0), MaterialListModel::NameRole).toString(), u"Ceramic"_s);
    CatalogMaterial wood = named(u"Aspen"_s);
    wood.category = u"A"_s;
    wood.id = library.addMaterial(wood);
    const QModelIndex index = model.index(model.rowOf(wood.id));
    QCOMPARE(index.row(), 0);
    const auto roles = model.roleNames();
    QCOMPARE(index.data(roles.key("name")).toString(), u"Aspen"_s);
    QCOMPARE(index.data(roles.key("roughness")).toFloat(), 0.25f);
    QVERIFY(index.data(roles.key("lastModified")).toDateTime().isValid());
    QCOMPARE(index.data(roles.key("materialPtr")).value<CatalogMaterial>().id, wood.id);
    wood.setMetallic(0.5f);
    wood.category = u"Z"_s;
    QVERIFY(library.updateMaterial(wood));
    QCOMPARE(model.rowOf(wood.id), 19);
    QCOMPARE(model.index(19).data(MaterialListModel::MetallicRole).toFloat(), 0.5f);
    QVERIFY(library.removeMaterial(wood.id));
    QCOMPARE(model.rowOf(wood.id), -1);
}

void TstMaterialLibrary::listModelFilters()
{
    MaterialLibrary library(m_folder->path());
    MaterialListModel model(&library);
    model.setCategoryFilter(u"Stone"_s);
    QCOMPARE(model.rowCount(), 3);
    model.setUserOnly(true);
    QCOMPARE(model.rowCount(), 0);
    CatalogMaterial slate = named(u"Slate"_s);
    slate.category = u"Stone"_s;
    library.addMaterial(slate);
    library.addMaterial(named(u"Wood"_s));
    QCOMPARE(model.rowCount(), 1);
    QCOMPARE(model.materialId(0), slate.id);
    model.setCategoryFilter({});
    QCOMPARE(model.rowCount(), 2);
    QVERIFY(model.materialId(2).isNull());
}

/// Ids of built-ins are others on the next run: what a file says must be enough.
void TstMaterialLibrary::savedScenesCarryTheirMaterials()
{
    const MaterialLibrary &library = MaterialLibrary::instance();
    const CatalogMaterial gold = *library.material(library.idByName(u"Gold"_s));
    Corvane document;
    SceneItem item;
    item.materialId = gold.id;
    document.addItem(item);
    const auto again = Corvane::fromVariantMap(document.toVariantMap());
    QVERIFY(again->material(gold.id));
    QCOMPARE(again->material(gold.id)->material, gold.material);
    QCOMPARE(again->items().first().material, gold.material);
}

QTEST_GUILESS_MAIN(TstMaterialLibrary)
#include "tst_MaterialLibrary.moc"
