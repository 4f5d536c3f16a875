// What a person does to a window: events that go in by the window system's side, so that focus,
// grabs, shortcuts and what lies on top count as they do in use.
#pragma once

#include <QAbstractItemView>
#include <QApplication>
#include <QRegularExpression>
#include <QTest>
#include <QWheelEvent>
#include <QWidget>
#include <QWindow>

namespace support {

/// For init(): a warning fails the test, but those that the platform without a screen has about
/// itself.
inline void failOnWarnings()
{
    QTest::failOnWarning(QRegularExpression(QStringLiteral("^(?!This plugin does not support)")));
}

/// Shows a window and waits until it has the keyboard.
inline bool show(QWidget &window)
{
    window.show();
    window.activateWindow();
    return QTest::qWaitForWindowActive(window.windowHandle());
}

inline QPoint inWindow(const QWidget &widget, const QPoint &position)
{
    return widget.mapTo(widget.window(), position);
}

inline void click(const QWidget &widget, const QPoint &position,
                  Qt::MouseButton button = Qt::LeftButton, Qt::KeyboardModifiers modifiers = {})
{
    QTest::mouseClick(widget.window()->windowHandle(), button, modifiers,
                      inWindow(widget, position));
}

inline void click(const QWidget &widget, Qt::MouseButton button = Qt::LeftButton,
                  Qt::KeyboardModifiers modifiers = {})
{
    click(widget, widget.rect().center(), button, modifiers);
}

/// On the middle of a row.
inline void click(const QAbstractItemView &view, const QModelIndex &index,
                  Qt::KeyboardModifiers modifiers = {})
{
    click(*view.viewport(), view.visualRect(index).center(), Qt::LeftButton, modifiers);
}

/// To whatever has the keyboard.
inline void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {})
{
    QTest::keyClick(QApplication::focusWindow(), key, modifiers);
}

inline void type(const QString &text)
{
    for (const QChar letter : text)
        QTest::keyClick(QApplication::focusWindow(), letter.toLatin1());
}

/// Presses the button at a place, moves in steps, and leaves it pressed: release() ends it.
inline void drag(const QWidget &widget, const QPoint &from, const QPoint &by, int steps = 4)
{
    QWindow *const window = widget.window()->windowHandle();
    QTest::mousePress(window, Qt::LeftButton, {}, inWindow(widget, from));
    for (int i = 1; i <= steps; ++i)
        QTest::mouseMove(window, inWindow(widget, from + by * i / steps));
}

inline void release(const QWidget &widget, const QPoint &at)
{
    QTest::mouseRelease(widget.window()->windowHandle(), Qt::LeftButton, {}, inWindow(widget, at));
}

} // namespace support

/// The main function of a test of widgets.
#define CORVANE_WIDGETS_MAIN(Test)                                                                 \
    int main(int argc, char *argv[])                                                               \
    {                                                                                              \
        const QApplication application(argc, argv);                                                \
        Test test;                                                                                 \
        return QTest::qExec(&test, argc, argv);                                                    \
    }
