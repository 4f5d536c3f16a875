#include <corvane/aa/CompositeStrategy.h>

#include <corvane/aa/AntialiasMenu.h>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace corvane::aa {

CompositeStrategy::CompositeStrategy(const QString &id,
                                     std::vector<std::unique_ptr<IAntialiasStrategy>> parts)
    : m_id(id)
    , m_parts(std::move(parts))
{}

QString CompositeStrategy::displayName() const
{
    const QString own = AntialiasMenu::textOf(m_id);
    if (own != m_id)
        return own;
    QStringList names;
    for (const auto &part : m_parts)
        names.append(part->displayName());
    return names.join(u" + "_s);
}

// The jitter is that of the first part that has one: two would be neither.
FrameSetup CompositeStrategy::frameSetup(qint64 frameNumber) const
{
    FrameSetup all;
    for (const auto &part : m_parts) {
        const FrameSetup own = part->frameSetup(frameNumber);
        all.sampleCount = std::max(all.sampleCount, own.sampleCount);
        all.renderScale = std::max(all.renderScale, own.renderScale);
        if (all.jitter.isNull())
            all.jitter = own.jitter;
    }
    return all;
}

QStringList CompositeStrategy::postEffects() const
{
    QStringList all;
    for (const auto &part : m_parts)
        all += part->postEffects();
    all.removeDuplicates();
    return all;
}

bool CompositeStrategy::wantsAnalyticEdgeAA() const
{
    return std::any_of(m_parts.cbegin(), m_parts.cend(),
                       [](const auto &part) { return part->wantsAnalyticEdgeAA(); });
}

void CompositeStrategy::onFrameComplete(QRhiTexture *color)
{
    for (const auto &part : m_parts)
        part->onFrameComplete(color);
}

} // namespace corvane::aa
