#pragma once

#include <corvane/rendering/environment/SettingsTable.h>
#include <corvane/shader/IEnvironment.h>

namespace corvane::rendering {

/// What is common to the environments: their names, settings and shader texts.
class Environment : public shader::IEnvironment
{
public:
    struct Description
    {
        QString id;
        QString displayName;
        QString description;
        QString iconName; ///< by the freedesktop naming of icons
        QString snippet;  ///< file of sampleEnvironment() under ":/templates"
    };

    [[nodiscard]] QString id() const override { return m_description.id; }
    [[nodiscard]] QString displayName() const override { return m_description.displayName; }
    [[nodiscard]] QString description() const override { return m_description.description; }
    [[nodiscard]] QIcon icon() const override;

    [[nodiscard]] QList<registry::ParameterDef> settings() const override;
    [[nodiscard]] QStringList settingChoices(const QString &name) const override;
    [[nodiscard]] QVariant setting(const QString &name) const override;
    bool setSetting(const QString &name, const QVariant &value) override;

    [[nodiscard]] QString fragmentShaderSource() const override;
    [[nodiscard]] QString sampleSnippet() const override;
    void fillUniforms(float *values, int count) const override;

protected:
    Environment(const Description &description, const QList<SettingRow> &settings);

    /// The 16 floats of `envParam0` to `envParam3`.
    using Parameters = std::array<float, 16>;
    [[nodiscard]] virtual Parameters parameters() const { return {}; }
    [[nodiscard]] const SettingsTable &table() const { return m_settings; }

    /// `color` in the first three floats of a vector, and 1 in its fourth.
    static void putColor(Parameters &parameters, int vector, const QVector3D &color);

private:
    Description m_description;
    SettingsTable m_settings;
};

} // namespace corvane::rendering
