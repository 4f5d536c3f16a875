#pragma once

#include <QString>

#include <atomic>

namespace store {

/// What a class with a configure step, an activation, or both must have had before its methods
/// work.
struct ConfigureNeeds
{
    bool needsConfiguration = true;
    bool needsActivation = false;
    bool multiConfigure = false; ///< configure() may be called again
    bool verbose = false;        ///< the notes are logged, not the warnings alone
};

/// The guard that such a class holds. Each of its methods asks at the top, and comes back early if
/// the answer is no:
///
///     bool Store::save()
///     {
///         if (!m_helper.isActivatedAsExpected("save"))
///             return false;
///
/// What goes wrong is logged here. The answers may be asked for on any thread.
class ConfigureHelper
{
public:
    explicit ConfigureHelper(const QString &name, const ConfigureNeeds &needs = {});
    ~ConfigureHelper();
    ConfigureHelper(const ConfigureHelper &) = delete;
    ConfigureHelper &operator=(const ConfigureHelper &) = delete;

    /// Notes that the owner was configured. False, with a warning, when that happens again and must
    /// not.
    bool configure();

    /// Notes that the owner was activated or deactivated. False, with a warning, when it is not
    /// configured yet or has no activation.
    bool activate(bool on);

    bool isConfigured() const { return m_configured; }
    bool isActivated() const { return m_activated; }
    QString name() const { return m_name; }

    /// Whether the owner is as far as it must be for a call of `caller`; a warning names both if
    /// not.
    bool isConfiguredAsExpected(const char *caller) const;
    bool isActivatedAsExpected(const char *caller) const; ///< activated, and configured before that

    /// Whether the owner is alive: false, with a warning, before its constructor and after its
    /// destructor have run.
    bool expectConstructed(const char *caller) const;

private:
    static constexpr unsigned constructedMark = 0xc0fe5afe;

    std::atomic<unsigned> m_mark = constructedMark;
    const QString m_name;
    const ConfigureNeeds m_needs;
    std::atomic<bool> m_configured = false;
    std::atomic<bool> m_activated = false;
};

} // namespace store
