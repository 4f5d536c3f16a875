#include <corvane/rendering/post/PostProcessLayer.h>

#include <corvane/rendering/RhiContext.h>
#include <corvane/rendering/post/PostEffectRegistry.h>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace corvane::rendering {

PostProcessLayer::PostProcessLayer()
{
    addCategory(u"light"_s, Group::Light);
    addCategory(u"tonemap"_s, Group::ToneMap, false);
    auto selection = std::make_unique<SelectionHighlightEffect>();
    m_selection = selection.get();
    add(std::move(selection), Group::Marks);
    auto hover = std::make_unique<HoverHighlightEffect>();
    m_hover = hover.get();
    add(std::move(hover), Group::Marks);
    addCategory(u"antialias"_s, Group::Antialias, false);
    addCategory(u"output"_s, Group::Output);
    setToneMapping(u"agx"_s);
}

PostProcessLayer::~PostProcessLayer() = default;

bool PostProcessLayer::setToneMapping(const QString &id)
{
    m_toneMapping.clear();
    for (Item &item : m_items) {
        if (item.group != Group::ToneMap)
            continue;
        item.isEnabled = item.effect->name() == id;
        if (item.isEnabled)
            m_toneMapping = id;
    }
    return !m_toneMapping.isEmpty();
}

bool PostProcessLayer::setParameter(const QString &path, const QVariant &value)
{
    const qsizetype slash = path.indexOf(u'/');
    Item *const item = slash > 0 ? find(path.left(slash)) : nullptr;
    return item && item->effect->setParameter(path.mid(slash + 1), value);
}

bool PostProcessLayer::setEffectEnabled(const QString &id, bool enabled)
{
    Item *const item = find(id);
    if (!item || item->group == Group::ToneMap)
        return false;
    item->isEnabled = enabled;
    return true;
}

void PostProcessLayer::setAntialiasEffects(const QStringList &ids)
{
    const auto firstOf = [this](bool (*isBehind)(const Item &)) {
        return std::find_if(m_items.begin(), m_items.end(), isBehind);
    };
    const auto begin = firstOf([](const Item &item) { return item.group >= Group::Antialias; });
    const auto end = firstOf([](const Item &item) { return item.group > Group::Antialias; });
    const auto rank = [&ids](const Item &item) {
        const qsizetype index = ids.indexOf(item.effect->name());
        return index < 0 ? ids.size() : index;
    };
    std::stable_sort(begin, end,
                     [&rank](const Item &a, const Item &b) { return rank(a) < rank(b); });
    std::for_each(begin, end, [&](Item &item) { item.isEnabled = rank(item) < ids.size(); });
}

QStringList PostProcessLayer::activeEffects() const
{
    QStringList ids;
    const QList<PostChain::Step> all = steps();
    for (const PostChain::Step &step : all) {
        if (step.effect->isActive())
            ids.append(step.effect->name());
    }
    return ids;
}

// All that the effects need is made when they first run: most of them never do.
bool PostProcessLayer::initialize(RhiContext &)
{
    return true;
}

void PostProcessLayer::update(RhiContext &, qint64) {}

void PostProcessLayer::renderPre(RhiContext &) {}

void PostProcessLayer::renderPost(RhiContext &context)
{
    if (!context.offscreen.isValid() || !context.renderTarget)
        return;
    const bool hasIds = context.gBuffer.isValid();
    for (HighlightEffect *const marks :
         {static_cast<HighlightEffect *>(m_selection), static_cast<HighlightEffect *>(m_hover)})
        marks->setGBuffer(hasIds ? context.gBuffer.itemId() : nullptr,
                          hasIds ? context.gBuffer.material() : nullptr);
    const bool wasFailing = m_isFailing;
    m_isFailing = !m_chain.run(context.rhi, context.commandBuffer, context.offscreen.color(),
                               context.renderTarget, steps());
    if (m_isFailing && !wasFailing)
        reportLayerError(ErrorSeverity::Error,
                         u"The picture could not be finished: the device refused a step of its "
                         "post effects."_s);
}

void PostProcessLayer::releaseResources()
{
    for (const Item &item : m_items)
        item.effect->release();
    m_chain.release();
}

void PostProcessLayer::add(std::unique_ptr<PostEffect> effect, Group group, bool isEnabled)
{
    m_items.push_back({.effect = std::move(effect), .group = group, .isEnabled = isEnabled});
}

void PostProcessLayer::addCategory(const QString &category, Group group, bool areEnabled)
{
    const PostEffectRegistry &registry = PostEffectRegistry::instance();
    const QStringList ids = registry.idsByCategory(category);
    for (const QString &id : ids)
        add(registry.create(id), group, areEnabled);
}

PostProcessLayer::Item *PostProcessLayer::find(const QString &id)
{
    const auto found = std::find_if(m_items.begin(), m_items.end(),
                                    [&id](const Item &item) { return item.effect->name() == id; });
    return found == m_items.end() ? nullptr : &*found;
}

QList<PostChain::Step> PostProcessLayer::steps() const
{
    QList<PostChain::Step> all;
    for (const Item &item : m_items) {
        if (item.isEnabled)
            all.append({.effect = item.effect.get(), .isOutput = item.group == Group::Output});
    }
    return all;
}

} // namespace corvane::rendering
