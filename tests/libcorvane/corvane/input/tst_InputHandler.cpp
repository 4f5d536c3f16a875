#include <corvane/input/InputHandler.h>

#include <QFocusEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QRegularExpression>
#include <QTest>
#include <QWheelEvent>

#include <memory>

using namespace Qt::StringLiterals;
using corvane::input::HoverIntent;
using corvane::input::InputHandler;

namespace {

using Event = std::shared_ptr<QEvent>;

Event mouse(QEvent::Type type, const QPointF &at, Qt::MouseButton button,
            Qt::KeyboardModifiers modifiers = Qt::NoModifier)
{
    return std::make_shared<QMouseEvent>(type, at, at, button, button, modifiers);
}

Event press(const QPointF &at, Qt::MouseButton button,
            Qt::KeyboardModifiers modifiers = Qt::NoModifier)
{
    return mouse(QEvent::MouseButtonPress, at, button, modifiers);
}

Event move(const QPointF &at)
{
    return mouse(QEvent::MouseMove, at, Qt::NoButton);
}

Event release(const QPointF &at, Qt::MouseButton button)
{
    return mouse(QEvent::MouseButtonRelease, at, button);
}

Event wheel(const QPoint &angle, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
{
    return std::make_shared<QWheelEvent>(QPointF(5, 5), QPointF(5, 5), QPoint(), angle,
                                         Qt::NoButton, modifiers, Qt::NoScrollPhase, false);
}

Event key(QEvent::Type type, int code, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
{
    return std::make_shared<QKeyEvent>(type, code, modifiers);
}

QString textOf(const QPointF &point)
{
    return u"%1,%2"_s.arg(point.x()).arg(point.y());
}

/// What a handler tells, a word a signal.
QStringList told(InputHandler &handler, const QList<Event> &events)
{
    QStringList words;
    const auto context = std::make_unique<QObject>();
    const auto note = [&words](const char *word) {
        return [&words, word](const QPointF &at) {
            words.append(QLatin1String(word) + u' ' + textOf(at));
        };
    };
    const auto listen = [&](auto signal, auto slot) {
        QObject::connect(&handler, signal, context.get(), slot);
    };
    listen(&InputHandler::orbitTriggered, note("orbit"));
    listen(&InputHandler::panTriggered, note("pan"));
    listen(&InputHandler::rotateTriggered, note("look"));
    listen(&InputHandler::selectTriggered, note("select"));
    listen(&InputHandler::toggleSelectionTriggered, note("toggle"));
    listen(&InputHandler::menuTriggered, note("menu"));
    listen(&InputHandler::navigationBegins, note("begin"));
    listen(&InputHandler::navigationEnds, [&words] { words.append(u"end"_s); });
    listen(&InputHandler::resetViewTriggered, [&words] { words.append(u"reset"_s); });
    listen(&InputHandler::dollyTriggered,
           [&words](double amount) { words.append(u"dolly %1"_s.arg(amount)); });
    listen(&InputHandler::multiSelectTriggered, [&words](const QRectF &rect) {
        words.append(u"box %1 %2"_s.arg(textOf(rect.topLeft()), textOf(rect.bottomRight())));
    });
    listen(&InputHandler::keyMovementTriggered, [&words](const QVector3D &way) {
        words.append(u"key %1,%2,%3"_s.arg(way.x()).arg(way.y()).arg(way.z()));
    });
    for (const Event &event : events)
        handler.handle(event.get());
    return words;
}

struct GestureCase
{
    const char *preset;
    QList<Event> events;
    QStringList words;
};

} // namespace

Q_DECLARE_METATYPE(GestureCase)

class TstInputHandler : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void gesturesAreTold_data();
    void gesturesAreTold();
    void heldKeysMoveUntilReleased();
    void hoverEndsWhileAButtonIsHeld();
};

void TstInputHandler::gesturesAreTold_data()
{
    QTest::addColumn<GestureCase>("gesture");
    const auto left = Qt::LeftButton;
    const auto middle = Qt::MiddleButton;
    const auto right = Qt::RightButton;
    QTest::newRow("click") << GestureCase{
        "standard", {press({3, 4}, left), move({4, 4}), release({4, 4}, left)}, {u"select 3,4"_s}};
    QTest::newRow("toggle") << GestureCase{
        "standard",
        {press({3, 4}, left, Qt::ControlModifier), release({3, 4}, left)},
        {u"toggle 3,4"_s}};
    QTest::newRow("box") << GestureCase{
        "standard",
        {press({30, 40}, left), move({20, 45}), move({10, 60}), release({10, 60}, left)},
        {u"box 10,40 30,60"_s}};
    QTest::newRow("orbit from the press on")
        << GestureCase{"standard",
                       {press({0, 0}, middle), move({3, 0}), move({10, 2}), move({11, 0}),
                        release({11, 0}, middle)},
                       {u"begin 0,0"_s, u"orbit 10,2"_s, u"orbit 1,-2"_s, u"end"_s}};
    QTest::newRow("pan") << GestureCase{"standard",
                                        {press({0, 0}, middle, Qt::ShiftModifier), move({0, 9})},
                                        {u"begin 0,0"_s, u"pan 0,9"_s}};
    QTest::newRow("dolly") << GestureCase{
        "standard",
        {press({0, 0}, middle, Qt::ControlModifier), move({0, -50})},
        {u"begin 0,0"_s, u"dolly 0.5"_s}};
    QTest::newRow("look") << GestureCase{"standard",
                                         {press({0, 0}, middle, Qt::AltModifier), move({7, 0})},
                                         {u"begin 0,0"_s, u"look 7,0"_s}};
    QTest::newRow("right click") << GestureCase{
        "standard", {press({3, 4}, right), release({3, 4}, right)}, {u"menu 3,4"_s}};
    QTest::newRow("right drag") << GestureCase{
        "standard",
        {press({0, 0}, right), move({8, 0}), release({8, 0}, right)},
        {u"begin 0,0"_s, u"orbit 8,0"_s, u"end"_s}};
    QTest::newRow("unbound button") << GestureCase{
        "standard",
        {press({0, 0}, Qt::BackButton), move({8, 0}), release({8, 0}, Qt::BackButton)},
        {}};
    QTest::newRow("wheel") << GestureCase{"standard", {wheel({0, 120})}, {u"dolly 0.15"_s}};
    QTest::newRow("wheel down a little")
        << GestureCase{"standard", {wheel({0, -40})}, {u"dolly -0.05"_s}};
    QTest::newRow("wheel with Shift")
        << GestureCase{"standard", {wheel({0, 120}, Qt::ShiftModifier)}, {u"pan 0,40"_s}};
    QTest::newRow("middle pans where right orbits") << GestureCase{
        "right-orbit", {press({0, 0}, middle), move({8, 0})}, {u"begin 0,0"_s, u"pan 8,0"_s}};
    QTest::newRow("two fingers") << GestureCase{"trackpad", {wheel({30, -60})}, {u"pan 10,-20"_s}};
    QTest::newRow("home") << GestureCase{
        "standard", {key(QEvent::KeyPress, Qt::Key_Home)}, {u"reset"_s}};
}

void TstInputHandler::gesturesAreTold()
{
    QFETCH(GestureCase, gesture);
    InputHandler handler;
    handler.setNavigationPreset(QLatin1String(gesture.preset));
    QCOMPARE(told(handler, gesture.events), gesture.words);
}

void TstInputHandler::heldKeysMoveUntilReleased()
{
    InputHandler handler;
    QStringList ways;
    connect(&handler, &InputHandler::keyMovementTriggered, this, [&ways](const QVector3D &way) {
        ways.append(u"%1,%2,%3"_s.arg(way.x()).arg(way.y()).arg(way.z()));
    });
    const auto frameAfter = [&](const Event &event) {
        handler.handle(event.get());
        handler.processInput();
    };
    frameAfter(key(QEvent::KeyPress, Qt::Key_Up));
    QVERIFY(handler.hasHeldKeys());
    frameAfter(key(QEvent::KeyPress, Qt::Key_Down)); // they cancel out
    frameAfter(key(QEvent::KeyRelease, Qt::Key_Up));
    frameAfter(std::make_shared<QFocusEvent>(QEvent::FocusOut));
    frameAfter(key(QEvent::KeyPress, Qt::Key_Left, Qt::ControlModifier)); // a shortcut
    QCOMPARE(ways, QStringList({u"0,0,1"_s, u"0,0,-1"_s}));
    QVERIFY(!handler.hasHeldKeys());
}

void TstInputHandler::hoverEndsWhileAButtonIsHeld()
{
    InputHandler handler;
    QList<HoverIntent> intents;
    connect(&handler, &InputHandler::hoverChanged, this,
            [&intents](const HoverIntent &intent) { intents.append(intent); });
    for (const Event &event :
         {move({1, 1}), press({1, 1}, Qt::LeftButton), release({1, 1}, Qt::LeftButton),
          std::make_shared<QEvent>(QEvent::Leave)})
        handler.handle(event.get());
    const QList<HoverIntent> expected{{true, {1, 1}}, {}, {true, {1, 1}}, {}};
    QCOMPARE(intents, expected);
}

QTEST_MAIN(TstInputHandler)
#include "tst_InputHandler.moc"
