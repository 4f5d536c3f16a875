#pragma once

#include <corvane/component/ComponentDefinition.h>

#include <QMap>
#include <QObject>

namespace corvane::component {

/// The components of one scene, keyed by id. Main thread.
///
/// No component contains itself, directly or through others, as long as all come in through
/// registerDefinition() and applyDefinition(). One that refers to a component not known here is
/// accepted: the other may come later.
class ComponentRegistry : public QObject
{
    Q_OBJECT

public:
    explicit ComponentRegistry(QObject *parent = nullptr);

    const QMap<QString, ComponentDefinition> &definitions() const { return m_definitions; }
    bool contains(const QString &id) const { return m_definitions.contains(id); }
    /// A copy; an invalid definition with an empty id when there is none.
    ComponentDefinition definition(const QString &id) const { return m_definitions.value(id); }
    /// None for an unknown id. Valid until the registry changes.
    const ComponentDefinition *find(const QString &id) const;

    /// False, with the reason in `error`, for an incomplete definition, an id that is taken, or a
    /// cycle.
    bool registerDefinition(const ComponentDefinition &definition, QString *error = nullptr);
    /// Replaces the definition of that id. False, with the reason, when there is none, and for an
    /// incomplete definition or a cycle.
    bool applyDefinition(const ComponentDefinition &definition, QString *error = nullptr);
    /// Puts a valid definition in, in place of any of that id and with no look at cycles: for
    /// taking over a whole state that was saved. False for one that is not valid.
    bool restoreDefinition(const ComponentDefinition &definition);
    bool removeDefinition(const QString &id);
    void clear();

    /// Whether a component of that id and structure would contain itself.
    bool wouldCreateCycle(const QString &id, const QVariantMap &structure) const;

signals:
    void definitionRegistered(const QString &id);
    void definitionChanged(const QString &id);
    void definitionRemoved(const QString &id);

private:
    void put(const ComponentDefinition &definition);
    void take(const QString &id);

    QMap<QString, ComponentDefinition> m_definitions;
    QHash<QString, QStringList> m_references; ///< what each definition places
    QHash<QString, int> m_referrers;          ///< how many definitions place a component
};

} // namespace corvane::component
