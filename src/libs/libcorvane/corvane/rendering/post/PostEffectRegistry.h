#pragma once

#include <corvane/registry/ParameterDef.h>
#include <corvane/rendering/post/PostEffect.h>

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

namespace corvane::rendering {

/// What menus, presets and settings know of an effect.
struct PostEffectEntry
{
    QString id{};
    QString displayName{};
    QString category{}; ///< "tonemap", "light", "antialias" or "output"
    QString description{};
    QList<registry::ParameterDef> parameters{};
    std::function<std::unique_ptr<PostEffect>()> create{};
};

/// The table of post effects. It is filled before the first use and only read afterwards, from any
/// thread.
class PostEffectRegistry
{
public:
    static const PostEffectRegistry &instance();

    /// Null for an id that is not known.
    const PostEffectEntry *get(const QString &id) const;
    /// In the order of the menus.
    QStringList idsByCategory(const QString &category) const;
    /// A new effect; null for an id that is not known.
    std::unique_ptr<PostEffect> create(const QString &id) const;

private:
    PostEffectRegistry();
    void bootstrapBuiltins();
    void addToneMaps();
    void addLightEffects();
    void addOutputEffects();

    QList<PostEffectEntry> m_entries;
};

} // namespace corvane::rendering
