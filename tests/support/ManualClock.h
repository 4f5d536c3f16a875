#pragma once

#include <batch/Clock.h>

#include <memory>

namespace support {

/// Time that stands still until a test moves it. Copies share it.
class ManualClock
{
public:
    QDateTime now() const { return *m_now; }
    void advance(qint64 milliseconds) { *m_now = m_now->addMSecs(milliseconds); }

    batch::UtcClock asClock() const
    {
        return [now = m_now] { return *now; };
    }

private:
    std::shared_ptr<QDateTime> m_now =
        std::make_shared<QDateTime>(QDate(2026, 3, 1), QTime(12, 0), Qt::UTC);
};

} // namespace support
