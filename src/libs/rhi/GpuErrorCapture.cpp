#include <rhi/GpuErrorCapture.h>

#include <QMutex>

#include <algorithm>
#include <array>
#include <atomic>

using namespace Qt::StringLiterals;

namespace rhi {

namespace {

thread_local GpuErrorCapture *activeCapture = nullptr;

// The handler is the process's: it is entered with the first capture of any thread and taken out
// with the last one.
QBasicMutex handlerMutex;
int captureCount = 0;
std::atomic<QtMessageHandler> formerHandler = nullptr;

constexpr qsizetype largestText = 64 * 1024; ///< of all messages: a driver may print the shader

struct Complaint
{
    std::array<QLatin1StringView, 2> words; ///< either of them, in lower case
    QLatin1StringView sentence;
};

constexpr Complaint complaints[] = {
    {{"c5041"_L1, "cannot locate suitable resource"_L1},
     "Shader exceeds GPU resource limits. The combined shader with all registered primitives is "
     "too "
     "complex for this GPU. Consider disabling complex lattice definitions."_L1},
    {{"out of memory"_L1, "gl_out_of_memory"_L1},
     "GPU ran out of memory during shader compilation."_L1},
    {{"too many"_L1, "exceeds maximum"_L1},
     "Shader exceeds a GPU hardware limit (registers, uniforms, or temporaries)."_L1},
    {{"failed to link"_L1, "link program"_L1},
     "GPU shader linking failed. The driver rejected the compiled shader program."_L1},
};

bool holds(const QString &text, const Complaint &complaint)
{
    return std::any_of(complaint.words.begin(), complaint.words.end(), [&](QLatin1StringView word) {
        return text.contains(word, Qt::CaseInsensitive);
    });
}

} // namespace

GpuErrorCapture::GpuErrorCapture()
    : m_outer(activeCapture)
{
    activeCapture = this;
    const QMutexLocker lock(&handlerMutex);
    if (captureCount++ == 0)
        formerHandler = qInstallMessageHandler(&GpuErrorCapture::handleMessage);
}

GpuErrorCapture::~GpuErrorCapture()
{
    activeCapture = m_outer;
    const QMutexLocker lock(&handlerMutex);
    if (--captureCount > 0)
        return;
    const QtMessageHandler present = qInstallMessageHandler(formerHandler);
    if (present != &GpuErrorCapture::handleMessage)
        qInstallMessageHandler(present); // entered by somebody else meanwhile, who forwards or not
}

QString GpuErrorCapture::humanReadableSummary() const
{
    if (m_messages.isEmpty())
        return u"GPU pipeline creation failed. Check driver compatibility and shader complexity."_s;
    const QString text = m_messages.join(u'\n');
    for (const Complaint &complaint : complaints) {
        if (holds(text, complaint))
            return complaint.sentence + u" [Driver: "_s + text + u']';
    }
    return u"GPU pipeline creation failed: "_s + text;
}

void GpuErrorCapture::handleMessage(QtMsgType type, const QMessageLogContext &context,
                                    const QString &text)
{
    if (GpuErrorCapture *const capture = activeCapture) {
        const QString kept = text.left(largestText - capture->m_length).trimmed();
        capture->m_length += kept.size();
        if (!kept.isEmpty())
            capture->m_messages.append(kept);
    }
    if (const QtMessageHandler former = formerHandler.load())
        former(type, context, text);
}

} // namespace rhi
