#include "TestDefinitions.h"

#include <corvane/registry/Registry.h>
#include <corvane/registry/ThingsFacade.h>

#include <QRegularExpression>

using namespace Qt::StringLiterals;
using namespace corvane::registry;

class TstThingsFacade : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void listsEnabledDefinitionsByType();
    void listsComponentsOfItsSource();
};

void TstThingsFacade::listsEnabledDefinitionsByType()
{
    Registry registry;
    registry.registerFileScopedPrimitive(
        makeDefinition(u"turn"_s, u"vec3 op_turn(vec3 p) { return p.zyx; }"_s));
    const DefinitionPtr ball =
        makeDefinition(u"ball"_s, u"float sdf_ball(vec3 p, float r) { return length(p) - r; }"_s);
    ball->parameters.resize(3);
    ball->parameters[0].name = u"r"_s;
    ball->parameters[1].name = u"k"_s;
    ball->parameters[1].displayName = u"Softness"_s;
    ball->parameters[2].type = SDFParameterType::SDFChildren;
    registry.registerFileScopedPrimitive(ball);
    const DefinitionPtr hidden =
        makeDefinition(u"hidden"_s, u"float sdf_hidden(vec3 p) { return p.x; }"_s);
    hidden->enabled = false;
    registry.registerFileScopedPrimitive(hidden);

    const QList<ThingDescriptor> things = ThingsFacade(&registry).things();
    QCOMPARE(things.size(), 2);
    QCOMPARE(things[0].id, u"ball"_s);
    QCOMPARE(things[0].kind, QString(ThingKind::Primitive));
    QCOMPARE(things[0].parameterNames, (QStringList{u"r"_s, u"Softness"_s}));
    QCOMPARE(things[1].id, u"turn"_s);
}

void TstThingsFacade::listsComponentsOfItsSource()
{
    const Registry registry;
    ThingsFacade facade(&registry);
    QVERIFY(facade.thingsOfKind(ThingKind::Component).isEmpty());
    facade.components().setSource([] {
        ThingDescriptor bracket;
        bracket.id = u"bracket"_s;
        return QList<ThingDescriptor>{bracket};
    });
    const QList<ThingDescriptor> components = facade.thingsOfKind(ThingKind::Component);
    QCOMPARE(components.size(), 1);
    QCOMPARE(components[0].category, u"Component"_s);
    QCOMPARE(components[0].kind, u"component"_s);
    QCOMPARE(facade.things(), components);
}

QTEST_APPLESS_MAIN(TstThingsFacade)
#include "tst_ThingsFacade.moc"
