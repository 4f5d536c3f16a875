#pragma once

#include <corvane/model/Version1Parts.h>

#include <QSet>

namespace corvane::registry {
class Registry;
}

namespace corvane::model {

/// Turns instances of "translate", "rotate" and "scale" around one other into wrappers of that
/// other, in the instances of a version 1 file that is a tree already.
///
/// The geometry stays: what has values that are computed, or properties of its own, remains an
/// instance, and so does what stands around a node that has that wrapper already.
class WrapperAbsorption
{
public:
    WrapperAbsorption(const QVariantMap &instances, const QStringList &roots,
                      const registry::Registry &registry, WarningList &warnings);

    void absorbAll();
    const QVariantMap &instances() const { return m_instances; }
    const QStringList &roots() const { return m_roots; }

private:
    struct Absorption
    {
        QString wrapper;
        QString child;
        QString type;
        QVariantMap values;
    };

    QList<Absorption> findAbsorptions();
    bool isAbsorbable(const QString &key, const QVariantMap &instance, const QString &child);
    void apply(const QList<Absorption> &absorptions);
    QStringList redirected(const QStringList &references, const Version1References &keys,
                           const QHash<QString, QString> &replacements) const;
    void writeOrders();

    QVariantMap m_instances;
    QStringList m_roots;
    QHash<QString, QStringList> m_orders; ///< the stacks of the instances that absorbed something
    QSet<QString> m_refused;              ///< wrappers that were warned of
    const registry::Registry &m_registry;
    WarningList &m_warnings;
};

} // namespace corvane::model
