#pragma once

#include <corvane/registry/Definition.h>
#include <corvane/registry/FunctionConflict.h>

#include <QHash>
#include <QObject>
#include <QSet>
#include <QStringList>

#include <memory>

namespace corvane::registry {

/// The table of definitions, keyed by id: those that ship with the program, those of the user's
/// library, and those that open scene files bring.
///
/// A definition that is registered under the id of one from resources overrides it: it stays in
/// force when the built-ins are loaded again, and the built-in comes back when it is unregistered.
///
/// Main thread. Worker threads are handed definitions by shared pointer and leave the table alone.
class Registry : public QObject
{
    Q_OBJECT

public:
    /// An empty table, for tests and tools; the program uses instance().
    explicit Registry(QObject *parent = nullptr);
    ~Registry() override;

    /// The process-wide table, or that of the RegistryScope on this thread. The first call loads
    /// the built-ins and the user's library.
    static Registry &instance();

    /// A table for a scene file that is read beside the open ones: what this one has, without what
    /// scene files brought. Its conflicts are reported nowhere.
    [[nodiscard]] std::unique_ptr<Registry> withoutFileScoped() const;

    /// Null when there is none.
    [[nodiscard]] DefinitionPtr getDefinition(const QString &id) const;
    [[nodiscard]] bool contains(const QString &id) const { return m_definitions.contains(id); }
    [[nodiscard]] qsizetype count() const { return m_definitions.size(); }
    /// All, sorted by category, then sortOrder, then id.
    [[nodiscard]] QList<DefinitionPtr> getAllPrimitives() const;
    /// Those of one type, in the same order.
    [[nodiscard]] QList<DefinitionPtr> getDefinitionsByNodeType(NodeType type) const;

    /// Reads the definitions that ship with the program; a second call replaces them and keeps all
    /// others. One that is not valid is logged and left out.
    void loadBuiltinPrimitives();

    /// Inserts or replaces. Logs and does nothing for null or an empty id. The definition is taken
    /// as it is; see registerFileScopedPrimitive().
    void registerPrimitive(const DefinitionPtr &definition);
    /// For a definition that a scene file brings: infers its kind from its signature as for a
    /// built-in, then registers it. Several at once are checked for conflicts once.
    void registerFileScopedPrimitive(const DefinitionPtr &definition);
    void registerFileScopedPrimitives(const QList<DefinitionPtr> &definitions);
    /// Removes; a built-in that was overridden comes back.
    void unregisterPrimitive(const QString &id);

    /// Reads a definition file and makes it ready: signature, parameters, test compile. Null, and
    /// logged, when it can't be read.
    [[nodiscard]] static DefinitionPtr loadPrimitiveFromYAMLFile(const QString &path);
    /// Infers nodeType, primaryFunctionName, parameterTypes, isOperator, operationType and
    /// helperFunctions; false, and logged, when the code has no function of a known shape.
    static bool analyzeShaderSignature(const DefinitionPtr &definition);

    /// The names that several definitions define, by name. Such definitions can't stand in one
    /// shader.
    [[nodiscard]] QList<FunctionConflict> functionConflicts() const;

    /// Each valid entry of a user library that overrides no built-in; false when there is no
    /// readable library at the path.
    bool loadUserLibrary(const QString &path = getDefaultUserLibraryPath());
    /// Every definition that is not from resources.
    bool saveUserLibrary(const QString &path = getDefaultUserLibraryPath()) const;
    [[nodiscard]] static QString getDefaultUserLibraryPath();

    /// The file in the source tree that a ":/sdf/" resource was built from; any other path as it
    /// is.
    [[nodiscard]] static QString resolveSourcePath(const QString &resourcePath);

signals:
    void primitiveRegistered(const QString &id);
    void primitiveUnregistered(const QString &id);
    void conflictsDetected(const QList<corvane::registry::FunctionConflict> &conflicts);
    void registryReset();

private:
    bool insert(const DefinitionPtr &definition);
    void insertBuiltin(const DefinitionPtr &definition);
    void removeBuiltins();
    void checkAndReportConflicts();
    void logState() const;

    QHash<QString, DefinitionPtr> m_definitions;
    QHash<QString, DefinitionPtr> m_overridden; ///< what another definition's id hides
    QSet<QString> m_fileScoped;                 ///< ids of what scene files brought
    FunctionIndex m_functions;
    bool m_hasReportedConflicts = false;
    bool m_isForOneFile = false;
};

/// While one lives, Registry::instance() is another table on this thread. For reading a scene file
/// whose definitions must not show in the process-wide table, not for a moment:
///
///     const auto table = Registry::instance().withoutFileScoped();
///     const RegistryScope scope(*table);
///
/// Scopes nest; the last one made goes first. No event loop runs meanwhile, since its slots would
/// meet the wrong table, and documents that are made meanwhile go before the scope.
class RegistryScope
{
public:
    explicit RegistryScope(Registry &registry);
    ~RegistryScope();
    RegistryScope(const RegistryScope &) = delete;
    RegistryScope &operator=(const RegistryScope &) = delete;

private:
    Registry *const m_outer;
};

} // namespace corvane::registry
