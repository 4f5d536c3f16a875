#include <corvane/registry/Registry.h>

#include <corvane/registry/BuiltinPaths.h>
#include <corvane/registry/code/SignatureAnalyzer.h>

#include "BuiltinLoader.h"
#include "RegistryLog.h"
#include "UserLibrary.h"

#include <toast/ErrorManager.h>

#include <QStandardPaths>

#include <tuple>

using namespace Qt::StringLiterals;

// Out of any namespace, as the macro demands.
static void initializeDefinitionResources()
{
    Q_INIT_RESOURCE(sdf_primitives);
    Q_INIT_RESOURCE(sdf_operators);
    Q_INIT_RESOURCE(sdf_modifiers);
    Q_INIT_RESOURCE(operator_previews);
}

namespace corvane::registry {

Q_LOGGING_CATEGORY(lcRegistry, "ondrel.registry", QtWarningMsg)

namespace {

// What instance() answers on this thread in place of the process-wide table.
thread_local Registry *scopedRegistry = nullptr;

constexpr auto conflictSource = "Registry: Function Conflict"_L1;
constexpr int operatorGroup = 1;
constexpr int modifierGroup = 2;

void ensureResourcesInitialized()
{
    static const bool initialized = [] {
        initializeDefinitionResources();
        return true;
    }();
    Q_UNUSED(initialized);
}

bool precedes(const DefinitionPtr &a, const DefinitionPtr &b)
{
    return std::tie(a->category, a->sortOrder, a->id) < std::tie(b->category, b->sortOrder, b->id);
}

// A built-in in the wrong folder is of no harm, but its author should know.
void reportUnexpectedType(const Definition &definition, int group)
{
    if (group == operatorGroup && !definition.isOperator)
        qCWarning(lcRegistry).noquote() << "Registry: Definition" << definition.id
                                        << "loaded from operators/ but signature analysis"
                                        << "inferred nodeType:" << int(definition.nodeType)
                                        << "- check shader function signature";
    if (group == modifierGroup && definition.nodeType != NodeType::DistanceModifier)
        qCWarning(lcRegistry).noquote()
            << "Registry: Definition" << definition.id << "loaded from modifiers/ with"
            << "nodeType:" << int(definition.nodeType) << "(expected DistanceModifier)";
}

// True when the definition may be registered.
bool reportLoaded(const LoadedBuiltin &builtin)
{
    const QLatin1StringView subject = builtinGroups()[std::size_t(builtin.group)].subject;
    if (!builtin.definition) {
        qCWarning(lcRegistry).noquote()
            << u"Registry: Failed to load %1 from:"_s.arg(subject) << builtin.path;
        return false;
    }
    if (builtin.errors.isEmpty())
        return true;
    qCWarning(lcRegistry).noquote()
        << u"Registry: Invalid built-in %1:"_s.arg(subject) << builtin.definition->id;
    for (const QString &error : builtin.errors)
        qCWarning(lcRegistry).noquote() << "  Validation error:" << error;
    return false;
}

void reportMissingEssentials(const Registry &registry)
{
    QStringList missing;
    for (const QString &id : {u"sphere"_s, u"box"_s, u"torus"_s, u"cylinder"_s, u"union"_s,
                              u"subtract"_s, u"translate"_s}) {
        if (!registry.contains(id))
            missing.append(id);
    }
    if (missing.isEmpty())
        return;
    qCWarning(lcRegistry).noquote()
        << "Registry: Missing essential definitions:" << missing.join(", "_L1);
    qCWarning(lcRegistry) << "This may indicate a problem with the YAML files in resources";
}

} // namespace

Registry::Registry(QObject *parent)
    : QObject(parent)
{}

Registry::~Registry() = default;

Registry &Registry::instance()
{
    if (scopedRegistry)
        return *scopedRegistry;
    // Never destroyed: the program ends without running destructors.
    static Registry *const registry = [] {
        auto *const made = new Registry;
        made->loadBuiltinPrimitives();
        made->loadUserLibrary();
        return made;
    }();
    return *registry;
}

std::unique_ptr<Registry> Registry::withoutFileScoped() const
{
    auto table = std::make_unique<Registry>();
    table->m_isForOneFile = true;
    table->m_definitions = m_definitions;
    table->m_overridden = m_overridden;
    table->m_functions = m_functions;
    for (const QString &id : m_fileScoped)
        table->unregisterPrimitive(id);
    return table;
}

DefinitionPtr Registry::getDefinition(const QString &id) const
{
    return m_definitions.value(id);
}

QList<DefinitionPtr> Registry::getAllPrimitives() const
{
    QList<DefinitionPtr> all = m_definitions.values();
    std::sort(all.begin(), all.end(), precedes);
    return all;
}

QList<DefinitionPtr> Registry::getDefinitionsByNodeType(NodeType type) const
{
    QList<DefinitionPtr> ofType = getAllPrimitives();
    ofType.removeIf(
        [type](const DefinitionPtr &definition) { return definition->nodeType != type; });
    return ofType;
}

void Registry::loadBuiltinPrimitives()
{
    ensureResourcesInitialized();
    removeBuiltins();
    qCInfo(lcRegistry) << "Registry: Loading built-in SDF primitives, operators, and modifiers "
                          "from YAML...";
    std::array<int, 3> counts{};
    int failures = 0;
    for (const LoadedBuiltin &builtin : loadedBuiltins()) {
        if (!reportLoaded(builtin)) {
            ++failures;
            continue;
        }
        reportUnexpectedType(*builtin.definition, builtin.group);
        insertBuiltin(DefinitionPtr::create(*builtin.definition));
        ++counts[std::size_t(builtin.group)];
    }
    qCInfo(lcRegistry) << "Registry: Loaded" << counts[0] << "primitives," << counts[1]
                       << "operators, and" << counts[2] << "modifiers";
    if (failures > 0)
        qCWarning(lcRegistry) << "Registry: Failed to load" << failures << "definitions";
    checkAndReportConflicts();
    reportMissingEssentials(*this);
    logState();
    emit registryReset();
}

void Registry::registerPrimitive(const DefinitionPtr &definition)
{
    if (insert(definition))
        checkAndReportConflicts();
}

void Registry::registerFileScopedPrimitive(const DefinitionPtr &definition)
{
    registerFileScopedPrimitives({definition});
}

void Registry::registerFileScopedPrimitives(const QList<DefinitionPtr> &definitions)
{
    bool isChanged = false;
    for (const DefinitionPtr &definition : definitions) {
        if (definition && !definition->shaderCode.isEmpty())
            analyzeShaderSignature(definition);
        const DefinitionPtr known = definition ? getDefinition(definition->id) : nullptr;
        const bool isOfFile = definition && m_fileScoped.contains(definition->id);
        if (!insert(definition))
            continue;
        // The user's own comes back when the file goes, as a built-in does.
        if (known && !isOfFile)
            m_overridden.insert(definition->id, known);
        m_fileScoped.insert(definition->id);
        isChanged = true;
    }
    if (isChanged)
        checkAndReportConflicts();
}

void Registry::unregisterPrimitive(const QString &id)
{
    if (!m_definitions.remove(id))
        return;
    m_functions.remove(id);
    m_fileScoped.remove(id);
    qCInfo(lcRegistry).noquote() << "Unregistered SDF primitive:" << id;
    emit primitiveUnregistered(id);
    if (const DefinitionPtr builtin = m_overridden.take(id))
        insert(builtin);
    if (m_functions.hasConflicts() || m_hasReportedConflicts)
        checkAndReportConflicts();
}

DefinitionPtr Registry::loadPrimitiveFromYAMLFile(const QString &path)
{
    ensureResourcesInitialized();
    return loadDefinitionFile(path);
}

bool Registry::analyzeShaderSignature(const DefinitionPtr &definition)
{
    if (!definition)
        return false;
    const SignatureAnalysisResult result =
        shader::SignatureAnalyzer::analyze(definition->shaderCode);
    if (!result.valid) {
        qCWarning(lcRegistry).noquote()
            << "Registry: Signature analysis failed for" << definition->id << result.errorMessage;
        if (definition->isOperator)
            definition->nodeType = NodeType::CSGOperator;
        return false;
    }
    definition->nodeType = result.nodeType;
    definition->primaryFunctionName = result.primaryFunctionName;
    definition->parameterTypes = result.parameterTypes;
    definition->isOperator = result.isOperator;
    definition->operationType = result.operationType;
    definition->helperFunctions = result.helperFunctions;
    return true;
}

QList<FunctionConflict> Registry::functionConflicts() const
{
    return m_functions.conflicts();
}

bool Registry::loadUserLibrary(const QString &path)
{
    const auto definitions = UserLibrary::load(path);
    if (!definitions)
        return false;
    for (const DefinitionPtr &definition : *definitions) {
        const DefinitionPtr known = m_definitions.value(definition->id);
        if (known && known->isFromResources()) {
            qCWarning(lcRegistry).noquote()
                << "Registry: Skipping user library override of built-in primitive:"
                << definition->id;
            continue;
        }
        analyzeShaderSignature(definition);
        insert(definition);
    }
    checkAndReportConflicts();
    return true;
}

bool Registry::saveUserLibrary(const QString &path) const
{
    // Of the scene that is open nothing: it keeps its definitions itself.
    const std::unique_ptr<Registry> lasting = withoutFileScoped();
    QList<DefinitionPtr> own = lasting->getAllPrimitives();
    own.removeIf([](const DefinitionPtr &definition) { return definition->isFromResources(); });
    return UserLibrary::save(path, own);
}

QString Registry::getDefaultUserLibraryPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) +
           "/sdf_primitives.json"_L1;
}

QString Registry::resolveSourcePath(const QString &resourcePath)
{
    constexpr auto prefix = ":/sdf/"_L1;
    if (!resourcePath.startsWith(prefix))
        return resourcePath;
    return "/source/src/libs/libcorvane/corvane/sdf"_L1 + u'/' + resourcePath.sliced(prefix.size());
}

// A definition of the file's or the user's that takes the place of a built-in keeps it in reserve.
bool Registry::insert(const DefinitionPtr &definition)
{
    if (!definition || definition->id.isEmpty()) {
        qCWarning(lcRegistry) << "Registry::registerPrimitive: Invalid primitive definition";
        return false;
    }
    const QString id = definition->id;
    const DefinitionPtr known = m_definitions.value(id);
    if (known)
        qCInfo(lcRegistry).noquote()
            << "Registry::registerPrimitive: Updating existing primitive" << id;
    if (known && known->isFromResources() && !definition->isFromResources())
        m_overridden.insert(id, known);
    m_definitions.insert(id, definition);
    m_functions.insert(*definition);
    m_fileScoped.remove(id);
    qCInfo(lcRegistry).noquote() << "Registered SDF primitive:" << id;
    emit primitiveRegistered(id);
    return true;
}

void Registry::insertBuiltin(const DefinitionPtr &definition)
{
    if (m_definitions.contains(definition->id))
        m_overridden.insert(definition->id, definition);
    else
        insert(definition);
}

void Registry::removeBuiltins()
{
    m_overridden.removeIf([](const auto &entry) { return entry.value()->isFromResources(); });
    m_definitions.removeIf([this](const auto &entry) {
        if (!entry.value()->isFromResources())
            return false;
        m_functions.remove(entry.key());
        return true;
    });
}

void Registry::checkAndReportConflicts()
{
    if (m_isForOneFile)
        return;
    const QList<FunctionConflict> conflicts = m_functions.conflicts();
    // The register of problems holds the present state, so what was said before goes.
    if (m_hasReportedConflicts)
        ErrorManager::instance().clearForSource(conflictSource);
    m_hasReportedConflicts = !conflicts.isEmpty();
    if (conflicts.isEmpty())
        return;
    for (const FunctionConflict &conflict : conflicts)
        ErrorManager::instance().reportWarning(conflictSource, conflict.message);
    emit conflictsDetected(conflicts);
    qCWarning(lcRegistry) << "Registry: Detected" << conflicts.size()
                          << "function name conflict(s)";
}

void Registry::logState() const
{
    std::array<int, nodeTypeCount> counts{};
    for (const DefinitionPtr &definition : m_definitions)
        ++counts[std::size_t(definition->nodeType)];
    qCInfo(lcRegistry) << "Registry state after loading:";
    for (int type = 0; type < nodeTypeCount; ++type)
        qCInfo(lcRegistry).noquote()
            << " " << nodeTypeToString(NodeType(type)) << counts[std::size_t(type)];
}

RegistryScope::RegistryScope(Registry &registry)
    : m_outer(std::exchange(scopedRegistry, &registry))
{}

RegistryScope::~RegistryScope()
{
    scopedRegistry = m_outer;
}

} // namespace corvane::registry
