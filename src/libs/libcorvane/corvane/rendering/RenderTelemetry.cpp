#include <corvane/rendering/RenderTelemetry.h>

#include <QLoggingCategory>
#include <QStringList>

namespace corvane::rendering {

using namespace Qt::StringLiterals;

Q_LOGGING_CATEGORY(lcTelemetry, "ondrel.rendering.telemetry", QtWarningMsg)

namespace {

constexpr std::array words{"anim"_L1,  "prog"_L1,     "param"_L1,   "gizmo"_L1,   "sel"_L1,
                           "load"_L1,  "splitter"_L1, "mat"_L1,     "overlay"_L1, "settings"_L1,
                           "hover"_L1, "manual"_L1,   "startup"_L1, "other"_L1};
static_assert(words.size() == renderTriggerCount);

} // namespace

QLatin1StringView RenderTelemetry::word(RenderTrigger trigger)
{
    return words[std::min<std::size_t>(std::size_t(trigger), words.size() - 1)];
}

void RenderTelemetry::recordRequest(RenderTrigger trigger, bool isCoalesced, qint64 nowMs)
{
    printWhenDue(nowMs);
    ++m_triggers[std::min<std::size_t>(std::size_t(trigger), m_triggers.size() - 1)];
    m_coalesced += isCoalesced;
}

void RenderTelemetry::recordFrame(qint64 nowMs)
{
    printWhenDue(nowMs);
    ++m_rendered;
}

void RenderTelemetry::recordInputLatency(qint64 latencyMs)
{
    ++m_latencies;
    m_latencySumMs += latencyMs;
    m_latencyMaxMs = std::max(m_latencyMaxMs, latencyMs);
}

QString RenderTelemetry::report(qint64 nowMs) const
{
    QStringList counts;
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (m_triggers[i] > 0)
            counts.append(words[i] + u'=' + QString::number(m_triggers[i]));
    }
    QString text = u"[RENDER-TELEM %1s] triggers={%2} | rendered=%3 coalesced=%4 "_s.arg(
        QString::number(double(nowMs - m_since) / 1000.0, 'f', 1), counts.join(u' '),
        QString::number(m_rendered), QString::number(m_coalesced));
    if (m_latencies > 0) {
        text += u" | input_lat n=%1 avg=%2ms max=%3ms"_s.arg(
            QString::number(m_latencies),
            QString::number(double(m_latencySumMs) / m_latencies, 'f', 1),
            QString::number(m_latencyMaxMs));
    }
    return text;
}

void RenderTelemetry::printWhenDue(qint64 nowMs)
{
    if (m_since < 0)
        m_since = nowMs;
    if (nowMs - m_since <= reportIntervalMs)
        return;
    qCInfo(lcTelemetry).noquote() << report(nowMs);
    *this = {};
    m_since = nowMs;
}

} // namespace corvane::rendering
