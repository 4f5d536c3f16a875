#include <corvane/compile/CorvaneDSLParser.h>
#include <corvane/model/CorvaneDSLSerializer.h>
#include <corvane/model/SceneMigrator.h>
#include <corvane/registry/Registry.h>
#include <support/LogicalSceneMaker.h>

#include <QDir>
#include <QRegularExpression>

using namespace Qt::StringLiterals;
using namespace corvane::model;

namespace {

QVariantMap parsed(const QString &text)
{
    QList<corvane::yaml::YamlParser::ParseError> errors;
    return corvane::yaml::YamlParser().parseToVariantMap(text, errors);
}

QVariantMap migratedInstances(const QString &text, QStringList &warnings)
{
    return SceneMigrator::migrateV1toV2(parsed(text), warnings).value(u"instances"_s).toMap();
}

/// Node names and stacks, indented by depth: what a user sees of the tree.
QString outline(const LogicalScene &scene, const QList<QUuid> &ids, int depth = 0)
{
    QString text;
    for (const QUuid &id : ids) {
        const LogicalInstance &node = *scene.instance(id);
        text += QString(depth, u'.') + node.name;
        for (const WrapperValues &wrapper : node.wrappers) {
            if (!wrapper.values.isEmpty())
                text += u' ' + wrapper.definitionId;
        }
        text += u'\n' + outline(scene, node.children, depth + 1);
    }
    return text;
}

} // namespace

class TstSceneMigrator : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void olderKeysAreRenamed();
    void wrappersAreAbsorbed_data();
    void wrappersAreAbsorbed();
    void absorbedWrapperMovesTheNode();
    void secondWrapperOfAKindStays();
    void withoutDefinitionsNothingIsAbsorbed();
    void fileWithoutInstancesIsMarkedOnly();
    void sharedPartsThatDoubleAreRefused();
    void otherItemsAreLeftToTheDocument();
    void samplesMigrate_data();
    void samplesMigrate();
};

void TstSceneMigrator::olderKeysAreRenamed()
{
    QStringList warnings;
    const QVariantMap instances = migratedInstances(uR"(instances:
  a:
    definition: box
    parameters: {width: 2}
    transform: {translate: [1, 2, 3], rotate: [0, 90, 0], scale: 2.0}
)"_s,
                                                    warnings);
    const QVariantMap a = instances.value(u"a"_s).toMap();
    QCOMPARE(a.keys(), QStringList({u"params"_s, u"type"_s, u"wrappers"_s}));
    QCOMPARE(a.value(u"type"_s), QVariant(u"box"_s));
    QCOMPARE(a.value(u"params"_s).toMap(), QVariantMap({{u"width"_s, 2}}));
    const QVariantMap expected{{u"translate"_s, QVariantMap{{u"offset"_s, QVariantList{1, 2, 3}}}},
                               {u"rotate"_s, QVariantMap{{u"angles"_s, QVariantList{0, 90, 0}}}},
                               {u"scale"_s, QVariantMap{{u"factor"_s, 2.0}}}};
    QCOMPARE(a.value(u"wrappers"_s).toMap(), expected);
    QVERIFY(warnings.isEmpty());
}

void TstSceneMigrator::wrappersAreAbsorbed_data()
{
    QTest::addColumn<QString>("instances");
    QTest::addColumn<QString>("tree");
    const QString box = u"  b: {type: box}\n"_s;
    const QString moved =
        u"  t: {type: translate, params: {offset: [1, 2, 3], children: [\"@b\"]}}\n"_s;
    QTest::newRow("one") << box + moved + u"roots: [t]\n"_s << u"b translate\n"_s;
    QTest::newRow("no roots key") << box + moved << u"b translate\n"_s;
    QTest::newRow("below an operator")
        << box + moved + u"  u: {type: union, params: {children: [\"@t\"]}}\nroots: [u]\n"_s
        << u"u\n.b translate\n"_s;
    QTest::newRow("usual order")
        << box +
               u"  r: {type: rotate, params: {angles: [1, 0, 0], children: [\"@b\"]}}\n"
               "  t: {type: translate, params: {offset: [1, 0, 0], children: [\"@r\"]}}\nroots: [t]\n"_s
        << u"b translate rotate\n"_s;
    QTest::newRow("other order")
        << box + moved +
               u"  r: {type: rotate, params: {angles: [1, 0, 0], children: [\"@t\"]}}\nroots: [r]\n"_s
        << u"b rotate translate\n"_s;
    QTest::newRow("shared part")
        << box + moved + u"  u: {type: union, params: {children: [\"@t\", \"@b\"]}}\nroots: [u]\n"_s
        << u"u\n.b translate\n.b_2\n"_s;
    QTest::newRow("shared wrapper")
        << box + moved + u"  u: {type: union, params: {children: [\"@t\", \"@t\"]}}\nroots: [u]\n"_s
        << u"u\n.b translate\n.b_2 translate\n"_s;
    QTest::newRow("root and operand")
        << box + moved + u"roots: [t, b]\n"_s << u"b translate\nb_2\n"_s;
    QTest::newRow("computed")
        << box +
               u"  t: {type: translate, params: {offset: \"=vec3(a)\", children: [\"@b\"]}}\nroots: [t]\n"_s
        << u"t\n.b\n"_s;
    QTest::newRow("no factor")
        << box + u"  t: {type: scale, params: {factor: 0, children: [\"@b\"]}}\nroots: [t]\n"_s
        << u"t\n.b\n"_s;
    QTest::newRow("with more to it")
        << box +
               u"  t: {type: translate, shellThickness: 1, params: {children: [\"@b\"]}}\nroots: [t]\n"_s
        << u"t\n.b\n"_s;
    QTest::newRow("of two")
        << box +
               u"  c: {type: box}\n  t: {type: translate, params: {children: [\"@b\", \"@c\"]}}\nroots: [t]\n"_s
        << u"t\n.b\n.c\n"_s;
    QTest::newRow("compiled")
        << u"  b: {type: box, tags: [compiled], __provenance: {role: 1, sourceItemName: Lid}}\n"
           "  t: {type: translate, tags: [compiled, selected], __provenance: {role: 2}, "
           "params: {children: [\"@b\"]}}\nroots: [t]\n"_s
        << u"Lid\n"_s;
    QTest::newRow("not offered") << u"  b: {type: onion}\n"_s + moved + u"roots: [t]\n"_s
                                 << u"t\n.b\n"_s;
}

void TstSceneMigrator::wrappersAreAbsorbed()
{
    QFETCH(const QString, instances);
    const auto result = CorvaneDSLParser::parseLogical(u"instances:\n"_s + instances);
    QCOMPARE(result.warnings, QStringList());
    const LogicalScene &scene = *result.logicalScene;
    QTEST(outline(scene, scene.roots()), "tree");
    QCOMPARE(support::treeFaults(scene), QStringList());
}

void TstSceneMigrator::absorbedWrapperMovesTheNode()
{
    const auto scene = CorvaneDSLParser::parseLogical(uR"(instances:
  b: {type: box}
  s: {type: scale, params: {factor: 1.5, children: ["@b"]}}
  t: {type: translate, params: {offset: [1.0, 2.0, 20.3], children: ["@s"]}}
roots: [t]
)"_s)
                           .logicalScene;
    const LogicalInstance &b = *scene->instance(scene->roots().first());
    QCOMPARE(b.translate, QVector3D(1, 2, 20.3f));
    QCOMPARE(b.scale, QVector3D(1.5f, 1.5f, 1.5f));
    QVERIFY(b.params.isEmpty());
}

void TstSceneMigrator::secondWrapperOfAKindStays()
{
    QStringList warnings;
    const QVariantMap instances = migratedInstances(uR"(instances:
  b: {type: box}
  t: {type: translate, params: {children: ["@b"]}}
  v: {type: translate, params: {children: ["@t"]}}
roots: [v]
)"_s,
                                                    warnings);
    QCOMPARE(
        warnings,
        QStringList{u"Instance 'b' already has 'translate' wrapper, skipping absorption of 'v'"_s});
    QCOMPARE(instances.keys(), QStringList({u"b"_s, u"v"_s}));
    QCOMPARE(instances.value(u"v"_s)
                 .toMap()
                 .value(u"params"_s)
                 .toMap()
                 .value(u"children"_s)
                 .toStringList(),
             QStringList{u"@b"_s});
}

void TstSceneMigrator::withoutDefinitionsNothingIsAbsorbed()
{
    const corvane::registry::Registry empty;
    QStringList warnings;
    const QVariantMap file = parsed(
        u"corvane:\n  instances:\n    b: {type: box}\n    t: {type: translate, params: {children: [\"@b\"]}}\n"_s);
    const QVariantMap migrated = SceneMigrator::migrateV1toV2(file, warnings, empty);
    QCOMPARE(warnings, QStringList{u"Registry not loaded, skipping wrapper absorption"_s});
    QCOMPARE(SceneMigrator::detectVersion(migrated), 2);
    QCOMPARE(migrated.value(u"corvane"_s).toMap().value(u"instances"_s).toMap().size(), 2);
}

void TstSceneMigrator::fileWithoutInstancesIsMarkedOnly()
{
    QStringList warnings;
    const QVariantMap migrated = SceneMigrator::migrateV1toV2({{u"name"_s, u"x"_s}}, warnings);
    QCOMPARE(migrated,
             QVariantMap({{u"name"_s, u"x"_s}, {u"version"_s, 2}, {u"formatVersion"_s, 2}}));
}

void TstSceneMigrator::sharedPartsThatDoubleAreRefused()
{
    QString text = u"roots: [n0]\ninstances:\n  n40: {type: box}\n"_s;
    for (int i = 0; i < 40; ++i)
        text += u"  n%1: {type: union, params: {children: [\"@n%2\", \"@n%2\"]}}\n"_s.arg(
            QString::number(i), QString::number(i + 1));
    const auto result = CorvaneDSLParser::parseLogical(text);
    QVERIFY(!result.logicalScene);
    QCOMPARE(result.errors.size(), 1);
    QCOMPARE(result.errors.first().message,
             u"The scene has more than 65536 places of shared parts"_s);

    const auto cycle = CorvaneDSLParser::parseLogical(
        u"instances:\n  a: {type: union, params: {children: [\"@b\"]}}\n  b: {type: union, params: {children: [\"@a\"]}}\n"_s);
    QCOMPARE(cycle.warnings,
             QStringList{u"Instance 'a' stands below itself; that place was dropped"_s});
    QCOMPARE(cycle.logicalScene->instances().size(), 2);
}

void TstSceneMigrator::otherItemsAreLeftToTheDocument()
{
    for (const QString &text : {u"items:\n  a: {itemType: mesh}\n"_s,
                                u"instances:\n  a: {itemType: camera}\n  b: {type: box}\n"_s}) {
        const auto result = CorvaneDSLParser::parseLogical(text);
        QVERIFY(!result.logicalScene);
        QVERIFY(result.errors.isEmpty());
    }
}

void TstSceneMigrator::samplesMigrate_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("warnings");
    const QDir samples(QStringLiteral(CORVANE_SAMPLES));
    const auto files = samples.entryInfoList({u"*.corvane"_s});
    for (const auto &file : files) // the blades of the propeller are turned twice
        QTest::newRow(qPrintable(file.baseName()))
            << file.filePath() << (file.baseName() == "propeller"_L1 ? 1 : 0);
}

void TstSceneMigrator::samplesMigrate()
{
    QFETCH(const QString, path);
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const auto result = CorvaneDSLParser::parseLogical(QString::fromUtf8(file.readAll()));
    QTEST(int(result.warnings.size()), "warnings");
    QCOMPARE(support::treeFaults(*result.logicalScene), QStringList());
    const QString text = CorvaneDSLSerializer::serializeLogical(*result.logicalScene);
    const auto again = CorvaneDSLParser::parseLogical(text);
    QCOMPARE(again.warnings, QStringList());
    QCOMPARE(CorvaneDSLSerializer::serializeLogical(*again.logicalScene), text);
}

QTEST_GUILESS_MAIN(TstSceneMigrator)
#include "tst_SceneMigrator.moc"
