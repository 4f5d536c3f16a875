#include <corvane/rendering/environment/Environment.h>

#include <corvane/shader/ShaderTemplates.h>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace corvane::rendering {

using shader::ShaderTemplates;

Environment::Environment(const Description &description, const QList<SettingRow> &settings)
    : m_description(description)
    , m_settings(settings)
{}

QIcon Environment::icon() const
{
    return QIcon::fromTheme(m_description.iconName);
}

QList<registry::ParameterDef> Environment::settings() const
{
    return m_settings.definitions();
}

QStringList Environment::settingChoices(const QString &name) const
{
    return m_settings.choices(name);
}

QVariant Environment::setting(const QString &name) const
{
    return m_settings.value(name);
}

bool Environment::setSetting(const QString &name, const QVariant &value)
{
    const QVariant before = m_settings.value(name);
    if (!m_settings.setValue(name, value))
        return false;
    if (m_settings.value(name) != before)
        invokeSettingsChanged();
    return true;
}

QString Environment::fragmentShaderSource() const
{
    return ShaderTemplates::fill(ShaderTemplates::load(u"env_background.frag.in"_s),
                                 {{"// {{ENVIRONMENT_SAMPLE}}"_L1, sampleSnippet()}});
}

QString Environment::sampleSnippet() const
{
    return ShaderTemplates::load(m_description.snippet).trimmed();
}

void Environment::fillUniforms(float *values, int count) const
{
    const Parameters filled = parameters();
    std::copy_n(filled.cbegin(), std::clamp(count, 0, int(filled.size())), values);
}

void Environment::putColor(Parameters &parameters, int vector, const QVector3D &color)
{
    const auto at = parameters.begin() + 4 * vector;
    at[0] = color.x();
    at[1] = color.y();
    at[2] = color.z();
    at[3] = 1.0f;
}

} // namespace corvane::rendering
