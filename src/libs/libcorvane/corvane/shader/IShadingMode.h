#pragma once

#include <corvane/registry/ParameterDef.h>

#include <QList>
#include <QString>
#include <QVariant>

#include <functional>

namespace corvane::shader {

/// One way of shading the G-buffer: what a menu shows of it, its settings, and the shader source
/// with what it wants filled in. Used on the thread that generates shaders.
class IShadingMode
{
public:
    virtual ~IShadingMode() = default;

    [[nodiscard]] virtual QString id() const = 0;
    [[nodiscard]] virtual QString displayName() const = 0;
    [[nodiscard]] virtual QString description() const = 0;
    /// Name of an icon of the program's set; empty for none.
    [[nodiscard]] virtual QString icon() const { return {}; }

    /// What can be set, for a window to make fields of. The names are those of the next two.
    [[nodiscard]] virtual QList<registry::ParameterDef> settings() const { return {}; }
    [[nodiscard]] virtual QVariant setting(const QString &name) const
    {
        Q_UNUSED(name)
        return {};
    }
    /// False, and nothing is changed, for a name that is none of settings() and a value out of its
    /// range.
    virtual bool setSetting(const QString &name, const QVariant &value)
    {
        Q_UNUSED(name)
        Q_UNUSED(value)
        return false;
    }
    /// Called when a setting changed, so that the picture is drawn anew.
    void setSettingsChangedHook(std::function<void()> hook) { m_settingsChanged = std::move(hook); }
    /// Called when settings() changed, so that fields are made anew.
    void setSettingsRefreshHook(std::function<void()> hook) { m_settingsRefresh = std::move(hook); }
    void invokeSettingsChanged() const
    {
        if (m_settingsChanged)
            m_settingsChanged();
    }
    void invokeSettingsRefresh() const
    {
        if (m_settingsRefresh)
            m_settingsRefresh();
    }

    /// It shades what the geometry pass left in the G-buffer, once a pixel.
    [[nodiscard]] virtual bool isRasterised() const { return true; }
    /// One frame is the whole picture: fit for drawing while something moves.
    [[nodiscard]] virtual bool isInteractive() const { return true; }

    /// The fragment shader with its injection lines; empty for the default shading template.
    [[nodiscard]] virtual QString shadingShaderSource() const = 0;
    /// The source has an "// {{ENVIRONMENT_SAMPLE}}" line for IEnvironment::sampleSnippet().
    [[nodiscard]] virtual bool needsEnvironmentSnippet() const = 0;
    /// The source samples the scene, and so has lines for its functions and dispatchers.
    [[nodiscard]] virtual bool needsSceneEvaluation() const = 0;
    /// The picture settles over many frames.
    [[nodiscard]] virtual bool needsAccumulation() const = 0;

private:
    std::function<void()> m_settingsChanged;
    std::function<void()> m_settingsRefresh;
};

} // namespace corvane::shader
