#pragma once

#include <QByteArray>

#include <array>
#include <csignal>
#include <cstdio>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

/// An X server of the test's own, without a screen to look at: what draws by OpenGL, or into a
/// window by Vulkan, needs one. Made before the application, which it makes an X client. It ends
/// with the test.
class VirtualDisplay
{
public:
    VirtualDisplay()
    {
        std::array<int, 2> ends{};
        if (pipe(ends.data()) != 0)
            return;
        m_server = fork();
        if (m_server == 0)
            runServer(ends[1]);
        close(ends[1]);
        std::array<char, 16> number{};
        m_isUp = m_server > 0 && read(ends[0], number.data(), number.size() - 1) > 0;
        close(ends[0]);
        if (!m_isUp) {
            std::fputs("No X server: install Xvfb, as scripts/test.sh does.\n", stderr);
            return;
        }
        qputenv("DISPLAY", ':' + QByteArray(number.data()).trimmed());
        qputenv("QT_QPA_PLATFORM", "xcb");
    }
    ~VirtualDisplay()
    {
        if (m_server > 0) {
            kill(m_server, SIGTERM);
            waitpid(m_server, nullptr, 0);
        }
    }
    VirtualDisplay(const VirtualDisplay &) = delete;
    VirtualDisplay &operator=(const VirtualDisplay &) = delete;

    bool isUp() const { return m_isUp; }

private:
    [[noreturn]] static void runServer(int numberPipe)
    {
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        const QByteArray fd = QByteArray::number(numberPipe);
        execlp("Xvfb", "Xvfb", "-displayfd", fd.constData(), "-screen", "0", "1280x1024x24",
               "-nolisten", "tcp", nullptr);
        _exit(127);
    }

    pid_t m_server = -1;
    bool m_isUp = false;
};

/// The main function of a test that needs a display: like QTEST_MAIN, with a VirtualDisplay.
#define CORVANE_DISPLAY_MAIN(Test)                                                                 \
    int main(int argc, char *argv[])                                                               \
    {                                                                                              \
        const VirtualDisplay display;                                                              \
        if (!display.isUp())                                                                       \
            return 1;                                                                              \
        const QApplication application(argc, argv);                                                \
        Test test;                                                                                 \
        return QTest::qExec(&test, argc, argv);                                                    \
    }
