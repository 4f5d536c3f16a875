#pragma once

#include <corvane/registry/ParameterDef.h>
#include <corvane/shader/SDFUniforms.h>

#include <QIcon>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <functional>
#include <utility>

namespace corvane::shader {

/// What the scene sees at infinity and, optionally, its lights. Sun and colours travel in uniforms,
/// so that only another kind of environment changes shader text.
///
/// One object serves one picture, on that picture's thread: its settings are its own.
class IEnvironment
{
public:
    using Listener = std::function<void()>;

    IEnvironment() = default;
    IEnvironment(const IEnvironment &) = delete;
    IEnvironment &operator=(const IEnvironment &) = delete;
    virtual ~IEnvironment() = default;

    [[nodiscard]] virtual QString id() const = 0;
    [[nodiscard]] virtual QString displayName() const = 0;
    [[nodiscard]] virtual QString description() const = 0;
    [[nodiscard]] virtual QIcon icon() const { return {}; } ///< for GUI applications

    /// What can be set, in the order to show it. Colours are QVector3D, linear and from 0 on;
    /// texts with a fixed list of values have settingChoices().
    [[nodiscard]] virtual QList<registry::ParameterDef> settings() const { return {}; }
    [[nodiscard]] virtual QStringList settingChoices(const QString &name) const
    {
        Q_UNUSED(name)
        return {};
    }
    /// The present value; invalid for a name that is not known.
    [[nodiscard]] virtual QVariant setting(const QString &name) const
    {
        Q_UNUSED(name)
        return {};
    }
    /// False, and nothing changes, for an unknown name, another type or a value out of range.
    /// Tells who listens when the value is another one.
    virtual bool setSetting(const QString &name, const QVariant &value)
    {
        Q_UNUSED(name)
        Q_UNUSED(value)
        return false;
    }

    /// A value changed: uniforms and lights are to be filled again.
    void setSettingsChangedListener(Listener listener) { m_changed = std::move(listener); }
    /// The list itself changed: who shows it reads all of it again.
    void setSettingsRefreshListener(Listener listener) { m_refresh = std::move(listener); }
    void invokeSettingsChanged() const { tell(m_changed); }
    void invokeSettingsRefresh() const { tell(m_refresh); }

    /// The fragment shader of the background pass; empty when there is nothing to draw.
    [[nodiscard]] virtual QString fragmentShaderSource() const { return {}; }
    /// GLSL that defines `vec3 sampleEnvironment(vec3 dir)` over `envParam0` to `envParam3`.
    [[nodiscard]] virtual QString sampleSnippet() const = 0;
    /// Fills the first `count` floats of `envParam0` to `envParam3`.
    virtual void fillUniforms(float *values, int count) const = 0;
    /// Fills at most `capacity` lights, and answers how many.
    virtual int fillLights(Light *lights, int capacity) const
    {
        Q_UNUSED(lights)
        Q_UNUSED(capacity)
        return 0;
    }

private:
    static void tell(const Listener &listener)
    {
        if (listener)
            listener();
    }

    Listener m_changed;
    Listener m_refresh;
};

} // namespace corvane::shader
