#pragma once

#include <QString>
#include <QStringList>

namespace rhi {

/// Collects what Qt logs on this thread while it lives, put around QRhiGraphicsPipeline::create(),
/// which answers a bool and writes the driver's words to the log:
///
///     const GpuErrorCapture capture;
///     if (!pipeline->create())
///         report(capture.humanReadableSummary());
///
/// The messages go on to whoever handled them before. Captures of several threads see their own
/// only; an inner capture takes the messages of its scope. Destroyed on the thread that made it.
class GpuErrorCapture
{
public:
    GpuErrorCapture();
    ~GpuErrorCapture();
    GpuErrorCapture(const GpuErrorCapture &) = delete;
    GpuErrorCapture &operator=(const GpuErrorCapture &) = delete;

    const QStringList &messages() const { return m_messages; }

    /// One sentence on what went wrong, followed by the driver's own words.
    QString humanReadableSummary() const;

private:
    static void handleMessage(QtMsgType type, const QMessageLogContext &context,
                              const QString &text);

    QStringList m_messages;
    qsizetype m_length = 0;         ///< of the messages together
    GpuErrorCapture *const m_outer; ///< the capture of this thread that this one covers
};

} // namespace rhi
