#include <corvane/check/SceneCheck.h>
#include <corvane/compile/CorvaneDSLParser.h>
#include <corvane/expr/ExpressionManager.h>
#include <corvane/model/DocumentBlock.h>
#include <corvane/registry/Registry.h>

#include <QRegularExpression>

#include <span>

#include <optional>

using namespace Qt::StringLiterals;
using namespace corvane;
using check::SceneCheck;

namespace {

/// A sound scene, which each mistake changes in one place.
constexpr auto plate = R"(formatVersion: 1
corvane:
  units: mm
  varset:
    width: 40.0
    half:
      expression: "width/2"
  settings:
    export:
      bounds:
        minX: -21.0
        maxX: 21.0
      cellSize: 0.4
      postprocess: ["weld"]
  instances:
    plate:
      type: box
      params:
        width: "=half"
        height: 2.0
    drill:
      type: cylinder
      params:
        radius: 4.0
    moved:
      type: translate
      params:
        offset: [1.0, 0.0, 0.0]
        children: ["@drill"]
    part:
      type: subtract
      params:
        children: ["@plate", "@moved"]
  roots:
    - part
)";

constexpr auto tree = R"(formatVersion: 2
corvane:
  varset:
    bore: 5.0
  instances:
    Part:
      type: subtract
      children: [Plate, Holes]
    Plate:
      type: box
      params: {width: 30.0}
      wrappers:
        round: {radius: 1.0}
    Holes:
      children: [Left hole]
    Left hole:
      component: hole
      params: {radius: 4.0}
      translate: [-22.0, 0, 0]
  components:
    hole:
      name: Hole
      root: drill
      instances:
        drill:
          type: cylinder
          params:
            radius: {expr: bore/2, fallback: 2.5}
      interface:
        - alias: radius
          target: {item: drill, param: radius}
          binding: passthrough
  roots: [Part]
)";

/// A slip of somebody who writes a scene, and what is told of it, less "Warning: ".
struct Mistake
{
    const char *name;
    const char *find; ///< in the sound scene; nothing for that scene itself
    const char *replace;
    QList<const char *> warnings;
};

const Mistake plateMistakes[] = {
    {"sound", "", "", {}},
    {"setting in other case",
     "cellSize",
     "cellsize",
     {R"(line 13, settings.export.cellsize: nothing reads this setting. Did you mean "cellSize"?)"}},
    {"setting one level too high",
     R"(      bounds:
        minX: -21.0
        maxX: 21.0
)",
     R"(      minX: -21.0
)",
     {R"(line 10, settings.export.minX: nothing reads this setting. It belongs under "settings.export.bounds".)"}},
    {"settings that are none",
     R"(  settings:
    export:)",
     R"(  setting:
    export:)",
     {R"(line 8, setting: nothing reads this key. Did you mean "settings"?)"}},
    {"misspelt parameter",
     "height: 2.0",
     "heigth: 2.0",
     {R"(line 20, plate.heigth: nothing reads this parameter. Did you mean "height"?)"}},
    {"parameter of another solid",
     "height: 2.0",
     "radius: 2.0",
     {"line 20, plate.radius: nothing reads this parameter. box reads width, height and depth."}},
    {"parameter beside params",
     R"(      params:
        radius: 4.0)",
     "      radius: 4.0",
     {R"(line 23, drill.radius: nothing reads this key. Move it into "params".)"}},
    {"older words",
     R"(      type: box
      params:)",
     R"(      definition: box
      parameters:)",
     {R"(line 16, plate: it has no type, so nothing is made of it. Give it a "type", such as box.)",
      R"(line 17, plate.definition: nothing reads this key. Did you mean "type"?)",
      R"(line 18, plate.parameters: nothing reads this key. Did you mean "params"?)"}},
    {"children beside params",
     R"(      params:
        children: ["@plate", "@moved"])",
     R"(      children: ["@plate", "@moved"])",
     {R"(line 32, part.children: nothing reads this key. Move it into "params": in version 1 children stand there.)"}},
    {"key of version 2",
     R"(      type: cylinder
)",
     R"(      type: cylinder
      wrappers: {round: {radius: 1.0}}
)",
     {"line 23, drill.wrappers: nothing reads this key. Only a file of formatVersion 2 has it."}},
    {"translate that moves nothing",
     R"(      type: cylinder
)",
     R"(      type: cylinder
      translate: [1, 0, 0]
)",
     {"line 23, drill.translate: in a file of version 1 this key moves nothing. Make an instance "
      "of type translate with this one as its child."}},
    {"block outside its block",
     R"(  roots:
    - part)",
     R"(roots:
    - part)",
     {R"(line 2, roots: there are none, so every instance is drawn, also what others cut away. Write "roots: [part]".)",
      R"(line 34, roots: beside the "corvane" block nothing reads this key. Move it into the "corvane" block: indent it by 2 blanks.)"}},
    {"unknown block",
     "  units: mm",
     "  unit: mm",
     {R"(line 3, unit: nothing reads this key. Did you mean "units"?)"}},
    {"unit nobody knows",
     "units: mm",
     "units: millimetres",
     {R"(line 3, units: "millimetres" is no known unit of length. Write mm, cm, m or in.)"}},
    {"unknown definition",
     "type: cylinder",
     "type: cylindre",
     {R"(line 22, drill.type: there is no definition "cylindre". Did you mean "cylinder"?)"}},
    {"no type",
     R"(      type: box
)",
     "",
     {R"(line 16, plate: it has no type, so nothing is made of it. Give it a "type", such as box.)"}},
    {"child without its mark",
     R"(["@drill"])",
     "[drill]",
     {R"(line 29, moved.children: child "drill" names no instance, so it is left out. Did you mean "@drill"?)"}},
    {"misspelt child",
     R"("@moved"])",
     R"("@move"])",
     {R"(line 33, part.children: child "@move" names no instance, so it is left out. Did you mean "@moved"?)"}},
    {"child with a hyphen",
     "    drill:",
     "    drill-1:",
     {R"(line 21, drill-1: no root leads to it, so it is not drawn. List it under "roots" or in the children of another, or remove it.)",
      R"(line 29, moved.children: child "@drill" names no instance, so it is left out. In version 1 a key with "-" is no name: call it "drill_1".)"}},
    {"misspelt root",
     "    - part",
     "    - prat",
     {R"(line 34, roots: root "prat" names no instance, so it is left out. Did you mean "part"?)",
      "line 34, roots: no root is left, so nothing is drawn. List the instance that is the whole "
      "part."}},
    {"no roots",
     R"(  roots:
    - part
)",
     "",
     {R"(line 2, roots: there are none, so every instance is drawn, also what others cut away. Write "roots: [part]".)"}},
    {"instance forgotten in the roots",
     "  roots:",
     R"(    knob:
      type: sphere
  roots:)",
     {R"(line 34, knob: no root leads to it, so it is not drawn. List it under "roots" or in the children of another, or remove it.)"}},
    {"operator with one child",
     R"("@plate", "@moved")",
     R"("@plate")",
     {R"(line 25, moved: no root leads to it, so it is not drawn. List it under "roots" or in the children of another, or remove it.)",
      R"(line 30, part: it has 1 child, but subtract needs 2. List the others under "children" as well.)"}},
    {"transform of two parts",
     R"(["@drill"])",
     R"(["@drill", "@plate"])",
     {"line 25, moved: it has 2 children, but translate takes 1. Put a union around the "
      "children."}},
    {"solid with children",
     "        radius: 4.0",
     R"(        radius: 4.0
        children: ["@plate"])",
     {"line 21, drill: cylinder takes no children, so they are not drawn. Make an instance of an "
      "operator, such as union, of them."}},
    {"circle of children",
     R"(["@drill"])",
     R"(["@part"])",
     {R"(line 21, drill: no root leads to it, so it is not drawn. List it under "roots" or in the children of another, or remove it.)",
      "line 29, moved.children: it lists part, which stands above it (part > moved > part): that "
      "place is left out. Take part out of the children of moved."}},
    {"text for a number",
     "radius: 4.0",
     "radius: big",
     {R"(line 24, drill.radius: "big" is not a number. Write a number.)"}},
    {"number with its unit",
     "radius: 4.0",
     "radius: 4mm",
     {R"(line 24, drill.radius: "4mm" is not a number. Write the number alone: 4.)"}},
    {"decimal comma",
     "radius: 4.0",
     R"(radius: "4,5")",
     {R"(line 24, drill.radius: "4,5" is not a number. Write it with a decimal point: 4.5.)"}},
    {"expression without its sign",
     "radius: 4.0",
     "radius: width/10",
     {R"(line 24, drill.radius: "width/10" is not a number. An expression begins with "=": "=width/10".)"}},
    {"no value",
     "radius: 4.0",
     "radius:",
     {"line 24, drill.radius: it has no value, so its default, 10, is used. Write a value behind "
      "the colon, or remove the key."}},
    {"negative radius",
     "radius: 4.0",
     "radius: -4.0",
     {"line 24, drill.radius: -4 is not above 0. Write a number above 0."}},
    {"negative by expression",
     "radius: 4.0",
     R"(radius: "=4 - width")",
     {R"(line 24, drill.radius: "=4 - width": -36 is not above 0. Correct the expression or what it reads.)"}},
    {"one number for three",
     "[1.0, 0.0, 0.0]",
     "1.0",
     {"line 28, moved.offset: 1 is not a list of 3 numbers. Write it as [0.0, 0.0, 0.0]."}},
    {"list that does not end",
     R"(["@drill"])",
     R"(["@drill")",
     {R"(line 21, drill: no root leads to it, so it is not drawn. List it under "roots" or in the children of another, or remove it.)",
      R"(line 29, value: "["@drill"" does not end on its line, so it is taken as a text. Close it with "]", or write the entries below as "- entry".)",
      R"(line 29, moved.children: child "["@drill"" names no instance, so it is left out. Name one of the instances.)"}},
    {"unknown extractor",
     "cellSize: 0.4",
     "extractor: dc",
     {R"(line 13, settings.export.extractor: "dc" is not known, so MC, marching cubes, is used. Did you mean "DC"?)"}},
    {"unknown step",
     R"(["weld"])",
     R"(["weld", "decimate"])",
     {R"(line 14, settings.export.postprocess: "decimate" is no step. Did you mean "qemDecimate"?)"}},
    {"format by its word",
     "cellSize: 0.4",
     "format: obj",
     {R"(line 13, settings.export.format: "obj" is not known, so STL is used. Write 1 for OBJ.)"}},
    {"misspelt variable",
     R"("=half")",
     R"("=hlaf")",
     {R"(line 19, plate.width: "=hlaf" gives no value (Unknown name: hlaf), so its default, 10, is used. Did you mean "half"?)"}},
    {"unknown function",
     R"("=half")",
     R"x("=squareroot(half)")x",
     {R"x(line 19, plate.width: "=squareroot(half)" gives no value (unknown function 'squareroot'), so its default, 10, is used. Correct the expression.)x"}},
    {"expression that ends too early",
     R"("=half")",
     R"("=half +")",
     {R"(line 19, plate.width: "=half +" gives no value (the expression ends too early), so its default, 10, is used. Correct the expression.)"}},
    {"vector for a number",
     R"("=half")",
     R"x("=vec3(half)")x",
     {R"x(line 19, plate.width: "=vec3(half)": [20, 20, 20] is not a number. Correct the expression or what it reads.)x"}},
    {"derived variable that fails",
     R"("width/2")",
     R"("widht/2")",
     {R"(line 6, varset.half: "=widht/2" gives no value (Unknown name: widht), so it has none. Did you mean "width"?)",
      R"(line 19, plate.width: "=half" gives no value ('half' has no value here), so its default, 10, is used. Read what has a value.)"}},
    {"variables that read each other",
     "width: 40.0",
     R"(width: {expression: "2*half"})",
     {R"(line 6, varset.half: "=width/2" reads itself in a circle (half > width > half), so it has none. Let one of them be a plain value.)",
      R"(line 19, plate.width: "=half" reads what goes round in a circle, so its default, 10, is used. Break the circle first.)"}},
    {"expression as the value of a variable",
     "width: 40.0",
     R"(width: "=20*2")",
     {R"(line 5, varset.width: "=20*2" is a text here, and no expression. Write {expression: "20*2"}.)",
      R"(line 19, plate.width: "=half": 0 is not above 0. Correct the expression or what it reads.)"}},
    {"variable without a value",
     "width: 40.0",
     "width: {unit: mm}",
     {R"(line 5, varset.width: it has neither a value nor an expression. Give it a "value".)",
      R"(line 19, plate.width: "=half": 0 is not above 0. Correct the expression or what it reads.)"}},
    {"variable outside its constraints",
     "width: 40.0",
     "width: {value: 40.0, constraints: {max: 30.0}}",
     {"line 5, varset.width.value: 40 is above the greatest value, 30. Give 30 or less."}},
    {"range without values",
     "width: 40.0",
     "width: {value: 40.0, constraints: {min: 50, max: 30}}",
     {"line 5, varset.width.constraints: the least value, 50, is above the greatest, 30. Exchange "
      "the two, or correct one.",
      "line 5, varset.width.value: 40 is below the least value, 50. Give 50 or more."}},
    {"unit of its own",
     "width: 40.0",
     "width: {value: 4.0, unit: cm}",
     {"line 5, varset.width.unit: cm is not the unit of the scene, mm, and values are not "
      "converted. Give the value in mm."}},
    {"misspelt key of a variable",
     "width: 40.0",
     "width: {value: 40.0, units: mm}",
     {R"(line 5, varset.width.units: nothing reads this key. Did you mean "unit"?)"}},
    {"params one column too deep",
     R"(      params:
        radius: 4.0)",
     R"(       params:
         radius: 4.0)",
     {R"(line 23, indentation: 2 lines from "params:" on begin in the column of no block, so they are left out. Align it with the keys that it belongs to.)"}},
    {"params one column too high",
     R"(      params:
        radius: 4.0)",
     R"(     params:
        radius: 4.0)",
     {R"(line 23, indentation: 2 lines from "params:" on begin in the column of no block, so they are left out. Align it with the keys that it belongs to.)"}},
    {"params one level too high",
     R"(      params:
        radius: 4.0)",
     R"(    params:
        radius: 4.0)",
     {"line 23, params: it has no type, so nothing is made of it. It looks like a key of its "
      "neighbour: correct its indentation."}},
    {"parameters as deep as params",
     R"(      params:
        radius: 4.0)",
     R"(      params:
      radius: 4.0)",
     {R"(line 23, drill.params: there is nothing below it. Indent the parameters deeper than "params".)",
      R"(line 24, drill.radius: nothing reads this key. Move it into "params".)"}},
    {"instance as a list",
     R"(    drill:
      type: cylinder)",
     R"(    drill: cylinder
    ignored:
      type: cylinder)",
     {R"(line 21, drill: "cylinder" is no instance, so it is dropped. Write its keys (type, params) below it, indented.)",
      R"(line 22, ignored: no root leads to it, so it is not drawn. List it under "roots" or in the children of another, or remove it.)",
      R"(line 30, moved.children: child "@drill" names no instance, so it is left out. Did you mean "@drill"?)"}},
    {"tab",
     R"(      params:
        radius)",
     R"(			params:
        radius)",
     {"line 23, indentation: this line begins with a tab, which counts as 2 blanks. Indent with "
      "blanks alone."}},
    {"two instances of one name",
     "    moved:",
     "    plate:",
     {"line 25, plate: the key stands twice in its block, so what the first one gave is lost. Give "
      "one of them another name.",
      R"(line 33, part.children: child "@moved" names no instance, so it is left out. Name one of the instances.)"}},
    {"roots among the instances",
     R"(  roots:
    - part)",
     R"(    roots:
      - part)",
     {R"(line 2, roots: there are none, so every instance is drawn, also what others cut away. Write "roots: [part]".)",
      R"(line 34, roots: ["part"] is no instance, so it is dropped. Begin it in the column of "instances".)"}},
    {"flow map without a colon",
     R"(      params:
        radius: 4.0)",
     "      params: {radius 4.0}",
     {R"(line 23, value: "radius 4.0" in braces is no "key: value", so it is left out. Put a colon between key and value.)"}},
    {"every instance a root",
     "    - part",
     R"(    - part
    - moved)",
     {"line 34, roots: moved is drawn by itself as well as in part, which is of type subtract. "
      "Take moved out of the roots."}},
    {"constant without its scope",
     R"("=half")",
     R"("=half*pi")",
     {R"(line 19, plate.width: "=half*pi" gives no value (Unknown name: pi), so its default, 10, is used. Did you mean "math.PI"?)"}},
    {"power",
     R"("=half")",
     R"("=half^2")",
     {R"(line 19, plate.width: "=half^2" gives no value (bitwise operator requires integer operands), so its default, 10, is used. A power is pow(base, exponent).)"}},
    {"other instance misspelt",
     R"("=half")",
     R"("=dril.radius")",
     {R"(line 19, plate.width: "=dril.radius" gives no value (Unknown name: dril), so its default, 10, is used. Did you mean "drill"?)"}},
    {"version in the block",
     R"(formatVersion: 1
corvane:)",
     R"(corvane:
  formatVersion: 2)",
     {R"(line 2, formatVersion: within the "corvane" block nothing reads this key. Write it in the first column, above "corvane".)"}},
    {"newer version",
     R"(formatVersion: 1
)",
     R"(formatVersion: 3
)",
     {"line 1, formatVersion: 3 is newer than what this program knows, and is read as 2. Use a "
      "newer program, or write 2.",
      R"(line 9, settings.export: the settings of a version 2 file are not read, so the box is the default one, -5 to 5. Save the scene as version 1 with "corvane zirn".)", R"(line 19, plate.width: "half" is 20, but the variables of a version 2 file are not read, so 10 is used. Write 20 as its fallback, or save the scene as version 1.)"}},
    {"definition that lacks its code",
     "  instances:",
     R"(  definitions:
    - id: blob
      nam: Blob
      parameters:
        - name: size
          type: flaot
  instances:)",
     {R"(line 16, definitions.blob: it has no "name" and "shaderCode", so it is not used. Give it "name" and "shaderCode".)",
      R"(line 17, definitions[0].nam: nothing reads this key. Did you mean "name"?)",
      R"(line 20, definitions[0].parameters[0].type: "flaot" is no type of a parameter, so decimal is used. Did you mean "float"?)"}},
    {"parameter in braces",
     "  instances:",
     R"(  definitions:
    - id: blob
      name: Blob
      shaderCode: "float sdf_blob(vec3 p, float size) { return length(p) - size; }"
      parameters:
        - {name: size, type: float}
  instances:)",
     {R"(line 20, definitions.blob: parameter 1 stands in braces, which an entry of a list can't, so it has no name and the definition is not used. Write "- name: its_name", and its other keys below, each on a line.)"}},
};

const Mistake treeMistakes[] = {
    {"sound tree", "", "", {}},
    {"misspelt child of a tree",
     "Holes]",
     "Hole]",
     {R"(line 8, Part.children: child "Hole" names no instance, so it is left out. Did you mean "Holes"?)"}},
    {"unknown component",
     "component: hole",
     "component: hoole",
     {R"(line 17, Left hole.component: there is no component "hoole". Did you mean "hole"?)"}},
    {"parameter that no interface has",
     "params: {radius: 4.0}",
     "params: {diameter: 4.0}",
     {"line 18, Left hole.diameter: nothing reads this parameter. Its interface has radius."}},
    {"unknown wrapper",
     "round: {",
     "rounded: {",
     {R"(line 13, Plate.wrappers.rounded: there is no definition "rounded". Did you mean "round"?)"}},
    {"misspelt parameter of a wrapper",
     "round: {radius",
     "round: {raduis",
     {R"(line 13, Plate.wrappers.round.raduis: nothing reads this parameter. Did you mean "radius"?)"}},
    {"fallback that is not the value",
     "params: {width: 30.0}",
     "params: {width: {expr: bore*4, fallback: 30.0}}",
     {R"(line 11, Plate.width: "bore*4" is 20, but the variables of a version 2 file are not read, so 30 is used. Write 20 as its fallback, or save the scene as version 1.)"}},
    {"settings of a tree",
     "  varset:",
     R"(  settings: {export: {cellSize: 0.4}}
  varset:)",
     {R"(line 3, settings.export: the settings of a version 2 file are not read, so the box is the default one, -5 to 5. Save the scene as version 1 with "corvane zirn".)"}},
    {"node of nothing",
     "      children: [Left hole]",
     "      tags: [x]",
     {R"(line 14, Holes: it has neither type, component nor children, so nothing is made of it. Give it a "type", such as box.)"}},
    {"target that is none",
     "item: drill",
     "item: dril",
     {R"(scene: Component hole: promotion "radius" targets unknown item "dril" — dropped. Name one of its own instances under "item".)"}},
};

void addRows(const char *sound, std::span<const Mistake> mistakes)
{
    for (const Mistake &mistake : mistakes) {
        QString text = QString::fromUtf8(sound);
        const QString find = QString::fromUtf8(mistake.find);
        if (!find.isEmpty())
            text.replace(text.indexOf(find), find.size(), QString::fromUtf8(mistake.replace));
        QStringList warnings;
        for (const char *warning : mistake.warnings)
            warnings.append(u"Warning: "_s + QString::fromUtf8(warning));
        QTest::newRow(mistake.name) << text << warnings;
    }
}

QStringList told(const SceneCheck &check)
{
    QStringList lines;
    const auto warnings = check.warnings();
    for (const auto &warning : warnings)
        lines.append(warning.toString());
    return lines;
}

/// A file as it is read, with its check; none for a file with errors.
struct CheckedFile
{
    model::ParseResult file;
    std::optional<SceneCheck> check;
};

CheckedFile readChecked(const QString &text, SceneCheck::Reader reader)
{
    CheckedFile checked;
    const auto definitions = model::Corvane::create();
    checked.file =
        model::CorvaneDSLParser::parseText(text, nullptr, [&](const model::ParseResult &file) {
            const QVariantMap block = file.rawMap.value(u"corvane"_s).toMap();
            model::DocumentBlock::applyDefinitions(block, *definitions);
            definitions->registerFileScopedDefinitions();
            checked.check.emplace(file, reader);
        });
    definitions->unregisterFileScopedDefinitions();
    if (checked.check)
        checked.check->addReaderWarnings(checked.file.warnings);
    return checked;
}

/// What a command tells of a file.
QStringList warningsOf(const QString &text, const QVariantMap &overrides = {})
{
    auto [file, check] = readChecked(text, SceneCheck::Reader::Command);
    if (!file.ok())
        return {u"not read"_s};
    file.scene->registerFileScopedDefinitions();
    check->checkOverrides(*file.scene, overrides);
    expr::ExpressionManager expressions(file.scene.data());
    expressions.evaluateAll();
    check->checkExpressions(*file.scene, expressions);
    file.scene->unregisterFileScopedDefinitions();
    return told(*check);
}

} // namespace

class TstSceneCheck : public QObject
{
    Q_OBJECT

private slots:
    void mistakesAreTold_data();
    void mistakesAreTold();
    void rangesAreThoseThatAreMeant_data();
    void rangesAreThoseThatAreMeant();
    void overridesAreCompared_data();
    void overridesAreCompared();
    void whatIsNoSceneIsSaid_data();
    void whatIsNoSceneIsSaid();
    void editorsHearNothingOfWhatTheyRead();
    void hostileNamesStayOnOneShortLine();
    void manyMistakesAreCounted();
};

void TstSceneCheck::mistakesAreTold_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("warnings");
    addRows(plate, plateMistakes);
    addRows(tree, treeMistakes);
}

void TstSceneCheck::mistakesAreTold()
{
    QFETCH(const QString, text);
    QTEST(warningsOf(text), "warnings");
}

void TstSceneCheck::rangesAreThoseThatAreMeant_data()
{
    QTest::addColumn<QString>("parameter");
    QTest::addColumn<QString>("flaw");
    // An unbounded drag: the sign alone counts.
    QTest::newRow("huge radius") << u"sphere: {radius: 1000000.0}"_s << QString();
    QTest::newRow("zero radius") << u"sphere: {radius: 0}"_s << u"0 is not above 0"_s;
    // No drag: a slider that large parts go beyond.
    QTest::newRow("large rounding") << u"round: {radius: 6}"_s << QString();
    QTest::newRow("no rounding") << u"round: {radius: 0}"_s << QString();
    QTest::newRow("negative rounding") << u"round: {radius: -1}"_s << u"-1 is below 0"_s;
    QTest::newRow("either sign") << u"twist: {amount: -20}"_s << QString();
    // A bounded drag, a choice, a count.
    QTest::newRow("thick airfoil") << u"naca_4series_airfoil: {max_thickness: 0.4}"_s
                                   << u"0.4 is above the greatest value, 0.3"_s;
    QTest::newRow("fourth axis") << u"radial_repeat: {axis: 3}"_s
                                 << u"3 is above the greatest value, 2"_s;
    QTest::newRow("many copies") << u"radial_repeat: {count: 100}"_s << QString();
    QTest::newRow("no copies") << u"radial_repeat: {count: 0}"_s
                               << u"0 is below the least value, 1"_s;
    QTest::newRow("half a copy") << u"radial_repeat: {count: 2.5}"_s
                                 << u"2.5 is not a whole number"_s;
    QTest::newRow("truth for a number") << u"sphere: {radius: yes}"_s << u"true is not a number"_s;
}

void TstSceneCheck::rangesAreThoseThatAreMeant()
{
    QFETCH(const QString, parameter);
    QFETCH(const QString, flaw);
    const QString scene = u"corvane:\n  instances:\n    ball:\n      type: sphere\n"
                          "    x:\n      type: %1\n      params: %2\n"_s;
    const QStringList warnings =
        warningsOf(scene.arg(parameter.section(u": "_s, 0, 0), parameter.section(u": "_s, 1)));
    const QStringList own = warnings.filter(u"line 7, x."_s);
    QCOMPARE(own.size(), flaw.isEmpty() ? 0 : 1);
    QVERIFY2(flaw.isEmpty() || own.first().contains(u": "_s + flaw + u". "_s),
             qPrintable(own.join(u'\n')));
}

void TstSceneCheck::overridesAreCompared_data()
{
    QTest::addColumn<QVariantMap>("values");
    QTest::addColumn<QStringList>("warnings");
    const auto row = [](const char *name, const QString &key, const QVariant &value,
                        const QString &warning) {
        const QString line = u"Warning: --params, %1: %2"_s.arg(key, warning);
        QTest::newRow(name) << QVariantMap{{key, value}}
                            << (warning.isEmpty() ? QStringList() : QStringList(line));
    };
    row("right", u"width"_s, 30.0, {});
    row("misspelt", u"wdith"_s, 30.0,
        u"the scene has no variable of this name. Did you mean \"width\"?"_s);
    row("text for a number", u"width"_s, u"30"_s, u"\"30\" is not a number. Give a number."_s);
    row("null", u"width"_s, QVariant(), u"nothing is not a number. Give a number."_s);
    row("derived", u"half"_s, 30.0,
        u"the variable is derived by \"=width/2\", so this value does nothing. Give the variables "
        "that it reads."_s);
    row("too large", u"size.depth"_s, 30.0,
        u"30 is above the greatest value, 20. Give 20 or less."_s);
    row("none of its words", u"size.grade"_s, u"fnie"_s,
        u"\"fnie\" is none of its values. Did you mean \"fine\"?"_s);
}

void TstSceneCheck::overridesAreCompared()
{
    QFETCH(const QVariantMap, values);
    const QString text = QString::fromUtf8(plate).replace(
        u"  settings:\n"_s,
        u"  varsets:\n    size:\n      depth: {value: 5, constraints: {max: 20}}\n"
        "      grade: {value: coarse, constraints: {enum: [coarse, fine]}}\n"
        "  settings:\n"_s);
    QTEST(warningsOf(text, values), "warnings");
}

void TstSceneCheck::whatIsNoSceneIsSaid_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("warning");
    const QString remedy = u"A scene has \"instances\" in a \"corvane\" block."_s;
    QTest::newRow("nothing") << QString()
                             << u"Warning: file: it holds nothing, so nothing is drawn. "_s +
                                    remedy;
    QTest::newRow("a list of users")
        << u"root:x:0:0:root:/root:/bin/bash\nbin:x:1:1::/bin:/sbin/nologin\n"_s
        << u"Warning: file: it is no scene, so nothing is drawn. "_s + remedy;
    QTest::newRow("a scene of nothing")
        << u"corvane:\n  name: Empty\n"_s
        << u"Warning: line 1, scene: it has no instances, so nothing is drawn. List them under "
           "\"instances\" in the \"corvane\" block."_s;
}

void TstSceneCheck::whatIsNoSceneIsSaid()
{
    QFETCH(const QString, text);
    QFETCH(const QString, warning);
    QCOMPARE(warningsOf(text), QStringList(warning));
}

void TstSceneCheck::editorsHearNothingOfWhatTheyRead()
{
    QString text = QString::fromUtf8(tree);
    text.replace(u"{width: 30.0}"_s, u"{width: {expr: bore*4, fallback: 3}, height: \"=no\"}"_s);
    text.replace(u"  varset:"_s, u"  settings: {export: {cellSize: 0.4}}\n  varset:"_s);
    auto [file, check] = readChecked(text, SceneCheck::Reader::Editor);
    check->checkExpressions(*file.scene);
    QCOMPARE(told(*check).size(), 1);
    QVERIFY(told(*check).first().contains(u"Plate.height: \"=no\" gives no value"_s));
    QCOMPARE(warningsOf(text).size(), 3);
}

void TstSceneCheck::hostileNamesStayOnOneShortLine()
{
    const QString name = u"a\x1b[2J\u202e\u2028"_s + QString(100000, u'x');
    const QStringList warnings = warningsOf(
        u"corvane:\n  instances:\n    %1:\n      type: \"%1\"\n  %1: 1\n  roots: [\"%1\"]\n"_s.arg(
            name));
    QCOMPARE(warnings.size(), 2);
    static const QRegularExpression unseen(u"[\\p{Cc}\\p{Cf}\\x{2028}]"_s);
    for (const QString &warning : warnings) {
        QVERIFY(warning.size() < 500);
        QVERIFY(!warning.contains(unseen));
    }
}

void TstSceneCheck::manyMistakesAreCounted()
{
    QString text = u"corvane:\n  instances: {a: {type: box}}\n  settings:\n    export:\n"_s;
    for (int i = 0; i < 50000; ++i)
        text += u"      key%1: 1\n"_s.arg(i);
    const QStringList warnings = warningsOf(text);
    QCOMPARE(warnings.size(), 101);
    QCOMPARE(warnings.last(),
             u"Warning: scene: 49900 more warnings are not shown. Mend what is told first."_s);
}

QTEST_GUILESS_MAIN(TstSceneCheck)
#include "tst_SceneCheck.moc"
