#include <corvane/model/Corvane.h>
#include <corvane/model/CorvaneSchemaExtractor.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>

using namespace Qt::StringLiterals;
using namespace corvane::model;

class TstCorvaneSchemaExtractor : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void entriesAreDescribed_data();
    void entriesAreDescribed();
    void derivedVariablesAreNoInputs();
    void hashCoversEveryVariable();
};

void TstCorvaneSchemaExtractor::entriesAreDescribed_data()
{
    QTest::addColumn<VarsetEntry>("entry");
    QTest::addColumn<QByteArray>("json");
    const auto row = [](const char *name, const VarsetEntry &entry, const char *json) {
        QTest::newRow(name) << entry << QByteArray(json);
    };
    row("whole number", {.value = 40ll}, R"({"default":40,"name":"v","type":"number"})");
    row("number", {.value = 0.5}, R"({"default":0.5,"name":"v","type":"number"})");
    row("float", {.value = 0.1f}, R"({"default":0.1,"name":"v","type":"number"})");
    row("bool", {.value = true}, R"({"default":true,"name":"v","type":"boolean"})");
    row("text", {.value = u"a"_s, .unit = u"mm"_s},
        R"({"default":"a","name":"v","type":"string","unit":"mm"})");
    row("nothing", {}, R"({"name":"v","type":"string"})");
    row("vector", {.value = QVector3D(1, 2, 3)},
        R"({"default":"[1,2,3]","name":"v","type":"vector"})");
    row("constraints",
        {.value = 2ll,
         .type = u"number"_s,
         .description = u"d"_s,
         .constraints = {.min = 1ll, .max = 2.5, .step = {}, .enumValues = {u"x"_s}}},
        R"({"default":2,"description":"d","max":2.5,"min":1,"name":"v",)"
        R"("type":"number","values":["x"]})");
}

void TstCorvaneSchemaExtractor::entriesAreDescribed()
{
    QFETCH(const VarsetEntry, entry);
    Corvane scene;
    scene.setVariableEntries({{u"v"_s, entry}});
    const QJsonObject schema = CorvaneSchemaExtractor::extractSchema(scene);
    QCOMPARE(schema.value("generator_type"_L1), QJsonValue(u"corvane"_s));
    QCOMPARE(schema.value("generator_version"_L1), QJsonValue(u"1.0"_s));
    const QJsonArray parameters = schema.value("parameters"_L1).toArray();
    QCOMPARE(parameters.size(), 1);
    QTEST(QJsonDocument(parameters.at(0).toObject()).toJson(QJsonDocument::Compact), "json");
}

void TstCorvaneSchemaExtractor::derivedVariablesAreNoInputs()
{
    Corvane scene;
    scene.setVariableEntries({{u"b"_s, {.value = 1}},
                              {u"a"_s, {.value = 2}},
                              {u"c"_s, {.value = 3, .expression = u"a+b"_s}}});
    const QJsonArray parameters =
        CorvaneSchemaExtractor::extractSchema(scene).value("parameters"_L1).toArray();
    QCOMPARE(parameters.size(), 2);
    QCOMPARE(parameters.at(0).toObject().value("name"_L1), QJsonValue(u"a"_s));
}

void TstCorvaneSchemaExtractor::hashCoversEveryVariable()
{
    const auto hashOf = [](const VarsetEntries &entries) {
        Corvane scene;
        scene.setVariableEntries(entries);
        return CorvaneSchemaExtractor::extractSchema(scene).value("source_hash"_L1).toString();
    };
    // SHA-256 of {"w":{"type":"number","value":"40"}}
    QCOMPARE(hashOf({{u"w"_s, {.value = 40ll, .type = u"number"_s}}}),
             u"6a349d8ec3b34f6883bd3dc04dbb3f7e241878dfa4b931d93c3c35ccb3313b7f"_s);
    QStringList hashes{
        hashOf({}),
        hashOf({{u"w"_s, {.value = 1}}}),
        hashOf({{u"w"_s, {.value = 2}}}),
        hashOf({{u"w"_s, {.value = 2, .type = u"number"_s}}}),
        hashOf({{u"w"_s, {.value = 2, .expression = u"1"_s}}, {u"x"_s, {.value = 1}}}),
        hashOf({{u"w"_s, {.value = QVariantList{1, 2}}}}),
        hashOf({{u"w"_s, {.value = QVariantList{1, 3}}}}),
    };
    QCOMPARE(hashes.removeDuplicates(), 0);
}

QTEST_GUILESS_MAIN(TstCorvaneSchemaExtractor)
#include "tst_CorvaneSchemaExtractor.moc"
