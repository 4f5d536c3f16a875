#pragma once

#include <corvane/shader/IEnvironment.h>

#include <QHash>
#include <QReadWriteLock>
#include <QSharedPointer>
#include <QString>
#include <QStringList>

namespace corvane::rendering {

/// The kinds of environments by their id. Any thread.
///
/// Each picture makes its own objects with create(): their settings are that picture's alone.
class EnvironmentRegistry
{
public:
    using Factory = QSharedPointer<shader::IEnvironment> (*)();

    /// With the built-in ones: "flat-color", "gradient-sky", "physical-sky", "debug-octant" and
    /// "brand-lighting".
    static EnvironmentRegistry &instance();

    /// In the order of registration.
    [[nodiscard]] QStringList ids() const;
    [[nodiscard]] bool contains(const QString &id) const;
    /// A new one with the defaults; null for an unknown id.
    [[nodiscard]] QSharedPointer<shader::IEnvironment> create(const QString &id) const;
    /// False when the id is taken, or the factory gives none.
    bool registerEnvironment(Factory factory);

    EnvironmentRegistry(); ///< empty, for tests; the program uses instance()

private:
    mutable QReadWriteLock m_lock;
    QStringList m_ids;
    QHash<QString, Factory> m_factories;
};

} // namespace corvane::rendering
