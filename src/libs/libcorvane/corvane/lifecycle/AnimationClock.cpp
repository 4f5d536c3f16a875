#include <corvane/lifecycle/AnimationClock.h>

using namespace Qt::StringLiterals;

namespace corvane::lifecycle {

namespace {

constexpr int framesUnlessSet = 120;
constexpr int shortestTickMs = 33; ///< no picture comes faster
constexpr double msOfSecond = 1000.0;

} // namespace

AnimationClock::AnimationClock(QObject *parent)
    : QObject(parent)
{
    connect(&m_timer, &QTimer::timeout, this, &AnimationClock::advance);
}

void AnimationClock::setDocument(model::Corvane *document)
{
    stop();
    if (m_document)
        disconnect(m_document, nullptr, this, nullptr);
    m_document = document;
    if (!document)
        return;
    connect(document, &model::Corvane::animationPlayingChanged, this, &AnimationClock::follow);
    connect(document, &model::Corvane::animationFpsChanged, this, &AnimationClock::follow);
    follow();
}

void AnimationClock::stop()
{
    m_timer.stop();
}

int AnimationClock::lastFrame() const
{
    const int set = m_document ? m_document->sceneSetting(u"animation.lastFrame"_s).toInt() : 0;
    return set > firstFrame ? set : framesUnlessSet;
}

void AnimationClock::follow()
{
    if (!m_document->animationPlaying()) {
        stop();
        return;
    }
    m_startFrame = m_document->animationCurrentFrame();
    m_sinceStart.start();
    m_timer.start(qMax(shortestTickMs, int(msOfSecond / m_document->animationFps())));
}

void AnimationClock::advance()
{
    if (!m_document)
        return stop();
    const double passed = double(m_sinceStart.elapsed()) / msOfSecond;
    const int frames = int(passed * m_document->animationFps());
    const int count = lastFrame() - firstFrame + 1;
    m_document->setAnimationCurrentFrame(firstFrame + (m_startFrame - firstFrame + frames) % count);
}

} // namespace corvane::lifecycle
