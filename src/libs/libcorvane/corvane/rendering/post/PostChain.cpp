#include <corvane/rendering/post/PostChain.h>

#include <corvane/rendering/post/BasePostEffect.h>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace corvane::rendering {

PostChain::PostChain()
    : m_copy(std::make_unique<BasePostEffect>(
          BasePostEffect::Description{.id = u"copy"_s, .fragmentShader = u":/copy.frag.qsb"_s}))
{}

PostChain::~PostChain() = default;

// An effect may find only while it prepares its frame that it can't; then the chain is begun again
// without it. What was recorded by then is drawn over.
bool PostChain::run(QRhi *rhi, QRhiCommandBuffer *commands, QRhiTexture *source,
                    QRhiRenderTarget *target, const QList<Step> &steps)
{
    for (qsizetype attempt = 0; attempt <= steps.size(); ++attempt) {
        QList<Step> active = activeSteps(rhi, source->pixelSize(), steps);
        if (active.isEmpty() && m_copy->initialize(rhi, source->pixelSize()))
            active.append({.effect = m_copy.get(), .isOutput = true});
        const Outcome outcome =
            active.isEmpty() ? Outcome::Failed : tryRun(rhi, commands, source, target, active);
        if (outcome != Outcome::EffectFailed)
            return outcome == Outcome::Done;
    }
    return false;
}

void PostChain::release()
{
    for (std::array<PostTarget, 2> *const pair : {&m_sourceSized, &m_targetSized}) {
        for (PostTarget &picture : *pair)
            picture.release();
    }
    m_copy->release();
}

PostChain::Outcome PostChain::tryRun(QRhi *rhi, QRhiCommandBuffer *commands, QRhiTexture *source,
                                     QRhiRenderTarget *target, const QList<Step> &steps)
{
    QRhiTexture *previous = source;
    std::size_t turn = 0;
    for (const Step &step : steps) {
        const bool isLast = &step == &steps.constLast();
        PostTarget &between = (step.isOutput ? m_targetSized : m_sourceSized)[turn++ % 2];
        if (!isLast &&
            !between.ensure(rhi, step.isOutput ? target->pixelSize() : source->pixelSize()))
            return Outcome::Failed;
        QRhiRenderTarget *const next = isLast ? target : between.renderTarget();
        step.effect->setRenderPassDescriptor(next->renderPassDescriptor());
        step.effect->prepareFrame(rhi, commands, previous);
        if (!step.effect->isActive())
            return step.effect == m_copy.get() ? Outcome::Failed : Outcome::EffectFailed;
        commands->beginPass(next, Qt::black, {1.0f, 0});
        step.effect->render(commands, next->pixelSize());
        commands->endPass();
        previous = between.texture();
    }
    return Outcome::Done;
}

QList<PostChain::Step> PostChain::activeSteps(QRhi *rhi, const QSize &size,
                                              const QList<Step> &steps) const
{
    QList<Step> active;
    std::copy_if(steps.cbegin(), steps.cend(), std::back_inserter(active),
                 [rhi, &size](const Step &step) {
                     return step.effect->isActive() && step.effect->initialize(rhi, size);
                 });
    return active;
}

} // namespace corvane::rendering
