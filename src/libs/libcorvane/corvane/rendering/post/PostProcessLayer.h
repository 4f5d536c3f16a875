#pragma once

#include <corvane/rendering/Layer.h>
#include <corvane/rendering/post/HoverHighlightEffect.h>
#include <corvane/rendering/post/PostChain.h>
#include <corvane/rendering/post/SelectionHighlightEffect.h>

#include <QStringList>

#include <memory>
#include <vector>

namespace corvane::rendering {

/// Makes the picture that is shown from the scene's linear colour: exposure, bloom, one tone map,
/// the outlines of what is selected and hovered, the effects of the anti-aliasing strategy, gamma,
/// dither. What comes before gamma works at the size of the scene, so that a larger scene is made
/// smaller in linear light.
///
/// It draws in renderPost(), from RhiContext::offscreen into RhiContext::renderTarget. Effects are
/// known by their ids in PostEffectRegistry.
class PostProcessLayer : public Layer
{
public:
    /// With the tone map "agx".
    PostProcessLayer();
    ~PostProcessLayer() override;

    /// The one tone map that runs. An id that is not known leaves none; that is false.
    bool setToneMapping(const QString &id);
    QString toneMapping() const { return m_toneMapping; }
    /// `path` is an effect's id, a slash and a parameter: "exposure/ev". False for what it does not
    /// have and for a value that is no number.
    bool setParameter(const QString &path, const QVariant &value);
    /// Takes an effect out of the chain, or back in. Tone maps are chosen by setToneMapping().
    bool setEffectEnabled(const QString &id, bool enabled);
    /// Those of the anti-aliasing strategy, in their order. Unknown ids are left out.
    void setAntialiasEffects(const QStringList &ids);

    SelectionHighlightEffect &selection() { return *m_selection; }
    HoverHighlightEffect &hover() { return *m_hover; }
    /// The ids of what would run now, in order.
    QStringList activeEffects() const;

    QString typeName() const override { return QStringLiteral("PostProcessLayer"); }
    bool initialize(RhiContext &context) override;
    void update(RhiContext &context, qint64 elapsedMs) override;
    void renderPre(RhiContext &context) override;
    void renderPost(RhiContext &context) override;
    void releaseResources() override;

private:
    enum class Group { Light, ToneMap, Marks, Antialias, Output };
    struct Item
    {
        std::unique_ptr<PostEffect> effect;
        Group group = Group::Light;
        bool isEnabled = true;
    };

    void add(std::unique_ptr<PostEffect> effect, Group group, bool isEnabled = true);
    void addCategory(const QString &category, Group group, bool areEnabled = true);
    Item *find(const QString &id);
    QList<PostChain::Step> steps() const;

    std::vector<Item> m_items; ///< in the order in which they run
    SelectionHighlightEffect *m_selection = nullptr;
    HoverHighlightEffect *m_hover = nullptr;
    QString m_toneMapping;
    PostChain m_chain;
    bool m_isFailing = false; ///< and that was told
};

} // namespace corvane::rendering
