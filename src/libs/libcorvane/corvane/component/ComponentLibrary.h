#pragma once

#include <corvane/component/ComponentDefinition.h>

#include <QMap>
#include <QObject>

namespace corvane::component {

/// The user's published components, for all scenes: one JSON file each. Main thread.
class ComponentLibrary : public QObject
{
    Q_OBJECT

public:
    /// A library in a folder of its own, for tests and tools; the program uses instance().
    explicit ComponentLibrary(const QString &folder, QObject *parent = nullptr);

    /// The process-wide one, in the application's data folder.
    static ComponentLibrary &instance();

    QString storageDir() const;
    /// The file of a component. Different ids have different files, whatever characters and length
    /// they have.
    QString filePathFor(const QString &id) const;

    /// Reads every "*.json" of the folder, the first time it is called. What is no valid component
    /// is logged and left out.
    void ensureLoaded();

    /// These load first.
    QMap<QString, ComponentDefinition> definitions();
    bool contains(const QString &id);
    /// An invalid definition when there is none.
    ComponentDefinition definition(const QString &id);
    /// Adds or replaces, file included. False, with the reason in `error` and nothing changed, for
    /// an incomplete definition or when the file can't be written.
    bool saveDefinition(const ComponentDefinition &definition, QString *error = nullptr);
    /// Deletes the file. False when there is no such component, or its file can't be deleted.
    bool removeDefinition(const QString &id, QString *error = nullptr);

signals:
    void definitionSaved(const QString &id);
    void definitionRemoved(const QString &id);

private:
    QString m_folder; ///< empty: that of the application
    bool m_isLoaded = false;
    QMap<QString, ComponentDefinition> m_definitions;
    QHash<QString, QString> m_paths; ///< of the file that each was read from or written to
};

} // namespace corvane::component
