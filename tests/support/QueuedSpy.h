// Hears the signals of objects that emit on threads of their own. Needs Qt Test.
#pragma once

#include <QCoreApplication>
#include <QList>
#include <QObject>
#include <QTest>
#include <QVariant>

namespace support {

/// As a QSignalSpy, with each signal taken down on the test's own thread, in its event loop. A
/// QSignalSpy would write its list on the thread that emits, while the test reads it.
class QueuedSpy : public QObject, public QList<QVariantList>
{
public:
    template<typename Sender, typename... Arguments>
    QueuedSpy(const Sender *sender, void (Sender::*signal)(Arguments...))
    {
        connect(
            sender, signal, this,
            [this](const std::decay_t<Arguments> &...arguments) {
                append({QVariant::fromValue(arguments)...});
            },
            Qt::QueuedConnection);
    }

    /// What is still on its way is taken down too: Qt would delete it out of the sanitizer's sight.
    ~QueuedSpy() override { QCoreApplication::sendPostedEvents(this); }

    /// Whether one more comes, as QSignalSpy::wait.
    bool wait(int milliseconds = 5000)
    {
        const qsizetype before = size();
        return QTest::qWaitFor([this, before] { return size() > before; }, milliseconds);
    }
};

} // namespace support
