#include <corvane/input/NavigationPreset.h>
#include <corvane/input/ViewportInteraction.h>

#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace corvane::input;
using Type = ViewportEvent::Type;

namespace {

ViewportEvent enter()
{
    return {.type = Type::Enter};
}

ViewportEvent press(bool pan = false, bool orbit = false)
{
    return {.type = Type::Press,
            .position = {10, 10},
            .buttons = Qt::LeftButton,
            .panButton = pan,
            .orbitButton = orbit};
}

ViewportEvent move(double dx, double dy)
{
    return {.type = Type::Move, .position = {10 + dx, 10 + dy}};
}

ViewportEvent release(Qt::MouseButton button = Qt::LeftButton)
{
    return {.type = Type::Release, .position = {12, 10}, .buttons = button};
}

ViewportEvent leave()
{
    return {.type = Type::Leave};
}

struct StoryCase
{
    QList<ViewportEvent> events;
    QList<int> results;
    int state = 0;
};

} // namespace

Q_DECLARE_METATYPE(StoryCase)

class TstViewportInteraction : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void eventsLeadFromStateToState_data();
    void eventsLeadFromStateToState();
    void leavingClearsThePress();
    void presetsBindEachButtonOnce();
};

void TstViewportInteraction::eventsLeadFromStateToState_data()
{
    QTest::addColumn<StoryCase>("story");
    QTest::newRow("hover") << StoryCase{{enter(), move(5, 5), leave()}, {8, 0, 9}, 0};
    QTest::newRow("click") << StoryCase{{enter(), press(), release()}, {8, 0, 1}, 1};
    QTest::newRow("trembling click")
        << StoryCase{{enter(), press(), move(2.8, 2.8), release()}, {8, 0, 0, 1}, 1};
    QTest::newRow("box") << StoryCase{
        {enter(), press(), move(2.9, 2.9), move(9, 9), release()}, {8, 0, 2, 0, 5}, 1};
    QTest::newRow("at the threshold") << StoryCase{{enter(), press(), move(4, 0)}, {8, 0, 2}, 3};
    QTest::newRow("pan") << StoryCase{
        {enter(), press(true), move(0, -4), release()}, {8, 0, 3, 6}, 1};
    QTest::newRow("orbit") << StoryCase{
        {enter(), press(false, true), move(-4, 0), release()}, {8, 0, 4, 7}, 1};
    QTest::newRow("both flags pan")
        << StoryCase{{enter(), press(true, true), move(4, 0)}, {8, 0, 3}, 4};
    QTest::newRow("left while pressed") << StoryCase{{enter(), press(), leave()}, {8, 0, 9}, 0};
    QTest::newRow("left in a box")
        << StoryCase{{enter(), press(), move(9, 0), leave()}, {8, 0, 2, 5}, 0};
    QTest::newRow("left in a pan")
        << StoryCase{{enter(), press(true), move(9, 0), leave()}, {8, 0, 3, 6}, 0};
    QTest::newRow("left in an orbit")
        << StoryCase{{enter(), press(false, true), move(9, 0), leave()}, {8, 0, 4, 7}, 0};
    QTest::newRow("another button's release")
        << StoryCase{{enter(), press(), move(9, 0), release(Qt::RightButton)}, {8, 0, 2, 0}, 3};
    QTest::newRow("another button's press")
        << StoryCase{{enter(), press(), press(true), move(9, 0)}, {8, 0, 0, 2}, 3};
    QTest::newRow("nothing outside")
        << StoryCase{{press(), move(50, 0), release(), leave()}, {0, 0, 0, 0}, 0};
    QTest::newRow("entered twice") << StoryCase{{enter(), enter(), release()}, {8, 0, 0}, 1};
}

void TstViewportInteraction::eventsLeadFromStateToState()
{
    QFETCH(StoryCase, story);
    ViewportInteraction interaction;
    QList<int> results;
    for (const ViewportEvent &event : story.events)
        results.append(int(applyEvent(interaction, event)));
    QCOMPARE(results, story.results);
    QCOMPARE(int(interaction.state), story.state);
}

void TstViewportInteraction::leavingClearsThePress()
{
    ViewportInteraction interaction;
    applyEvent(interaction, enter());
    applyEvent(interaction, press(true, true));
    QCOMPARE(interaction.pressPosition, QPointF(10, 10));
    QCOMPARE(interaction.pressButtons, Qt::MouseButtons(Qt::LeftButton));
    QVERIFY(interaction.panButton && interaction.orbitButton);
    applyEvent(interaction, leave());
    QVERIFY(!interaction.panButton && !interaction.orbitButton);
    QCOMPARE(interaction.pressButtons, Qt::MouseButtons(Qt::NoButton));

    applyEvent(interaction, enter());
    applyEvent(interaction, press());
    applyEvent(interaction, move(-8, 6));
    applyEvent(interaction, leave());
    QCOMPARE(interaction.selectionRect(), QRectF(2, 10, 8, 6));
}

void TstViewportInteraction::presetsBindEachButtonOnce()
{
    const auto &presets = navigationPresets();
    QCOMPARE(presets.size(), 3);
    for (const NavigationPreset &preset : presets) {
        QSet<qint64> bound;
        for (const ButtonBinding &binding : preset.buttons)
            bound.insert(qint64(binding.button) << 32 | qint64(binding.modifiers));
        QCOMPARE(bound.size(), preset.buttons.size());
        QCOMPARE(preset.binding(Qt::LeftButton, Qt::NoModifier).click, ClickAction::Kind::Select);
        QCOMPARE(preset.binding(Qt::RightButton, Qt::NoModifier).click, ClickAction::Kind::Menu);
        QCOMPARE(&navigationPreset(preset.id), &preset);
    }
    QCOMPARE(&navigationPreset("none"_L1), &presets.constFirst());
    using enum NavigationAction;
    const auto &standard = presets.constFirst();
    QCOMPARE(standard.binding(Qt::MiddleButton, Qt::NoModifier).drag, Orbit);
    QCOMPARE(standard.binding(Qt::LeftButton, Qt::AltModifier | Qt::KeypadModifier).drag, Orbit);
    QCOMPARE(standard.binding(Qt::MiddleButton, Qt::ShiftModifier).drag, Pan);
    QCOMPARE(standard.binding(Qt::BackButton, Qt::NoModifier).drag, None);
    QCOMPARE(navigationPreset("trackpad"_L1).scroll(Qt::NoModifier), Pan);
    QCOMPARE(standard.scroll(Qt::NoModifier), Dolly);
    QCOMPARE(standard.scroll(Qt::MetaModifier), Dolly);
}

QTEST_GUILESS_MAIN(TstViewportInteraction)
#include "tst_ViewportInteraction.moc"
