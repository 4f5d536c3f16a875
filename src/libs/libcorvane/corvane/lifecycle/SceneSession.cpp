#include <corvane/lifecycle/SceneSession.h>

#include <corvane/lifecycle/Logging.h>
#include <corvane/model/CorvaneDSLSerializer.h>
#include <corvane/model/DocumentBlock.h>
#include <corvane/ops/CorvaneServiceLocator.h>
#include <corvane/registry/ThingsFacade.h>
#include <toast/ToastManager.h>

#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace corvane::lifecycle {

using SceneSteps::Survivor;

namespace {

constexpr qsizetype mostWarningsTold = 8;

void tellWarnings(const QStringList &warnings)
{
    if (warnings.isEmpty())
        return;
    QString text = warnings.mid(0, mostWarningsTold).join(u'\n');
    if (warnings.size() > mostWarningsTold)
        text += SceneSession::tr("\nand %1 more").arg(warnings.size() - mostWarningsTold);
    toast::warning(SceneSession::tr("The scene has warnings"), text);
}

void tellError(const QString &text)
{
    toast::error(SceneSession::tr("Error"), text);
}

bool isResource(const QString &path)
{
    return path.startsWith(u':');
}

} // namespace

SceneSession::SceneSession(const QString &recoveryFolder, QObject *parent)
    : QObject(parent)
    , m_document(model::Corvane::create())
    , m_executor(m_document)
    , m_pristineFingerprint(model::Corvane().stateFingerprint())
{
    m_executor.setLogicalScene(&m_tree);
    auto &locator = ops::CorvaneServiceLocator::instance();
    locator.setScene(m_document);
    locator.setExecutor(&m_executor);
    if (!recoveryFolder.isEmpty())
        m_recovery = std::make_unique<RecoveryKeeper>(recoveryFolder, [this] { return work(); });
    offerComponents();
    connectScene();
    setUpLifecycle();
    transit({}, tr("Creating new scene…"), contentSteps({}));
}

SceneSession::~SceneSession()
{
    m_clock.stop();
    registry::ThingsFacade::instance().components().setSource({});
    auto &locator = ops::CorvaneServiceLocator::instance();
    if (locator.executor() == &m_executor)
        locator.clear();
}

void SceneSession::connectScene()
{
    connect(undoStack(), &QUndoStack::cleanChanged, this, &SceneSession::titleChanged);
    connect(&m_executor, &ops::CorvaneOpExecutor::applied, this, [this] {
        if (m_recovery)
            m_recovery->edited();
    });
    connect(undoStack(), &QUndoStack::indexChanged, this, [this] {
        if (m_recovery && isModified())
            m_recovery->edited();
    });
    connect(&m_watch, &SceneFileWatch::changed, this, &SceneSession::onFileChanged);
    connect(&m_compiler, &model::LogicalSceneCompiler::compiled, this, [this] {
        if (m_expressions)
            m_expressions->evaluateNewItems();
    });
    connect(m_document.data(), &model::Corvane::animationFrameChanged, this, [this] {
        if (m_expressions)
            m_expressions->evaluateAll();
    });
}

RecoveryKeeper::Work SceneSession::work() const
{
    if (!isModified())
        return {};
    return {.record = {.originalPath = m_filePath,
                       .name = displayName(),
                       .time = QDateTime::currentDateTimeUtc()},
            .file = model::CorvaneDSLSerializer::fileMap(m_tree, *m_document)};
}

// Components can be placed: those of the scene.
void SceneSession::offerComponents()
{
    registry::ThingsFacade::instance().components().setSource([this] {
        QList<registry::ThingDescriptor> things;
        const auto &own = m_tree.componentRegistry()->definitions();
        for (const auto &component : own) {
            registry::ThingDescriptor thing;
            thing.id = component.id;
            thing.name = component.name;
            thing.description = component.description;
            thing.category = component.category;
            things.append(thing);
        }
        return things;
    });
}

QString SceneSession::displayName() const
{
    if (!m_filePath.isEmpty())
        return QFileInfo(m_filePath).completeBaseName();
    return m_document->name().isEmpty() ? tr("Untitled") : m_document->name();
}

bool SceneSession::isModified() const
{
    return m_isRecovered || !m_executor.undoStack()->isClean();
}

// Transitions

void SceneSession::transit(const QString &teardownText, const QString &loadText,
                           const QList<Step> &steps)
{
    m_isLoading = true;
    m_lifecycle.transition(teardownText, loadText, steps + commonLoadSteps());
    m_isLoading = false;
    emit titleChanged();
    emit sceneOpened();
}

void SceneSession::newScene()
{
    guardUnsavedScene([this] {
        transit(tr("Tearing down scene…"), tr("Creating new scene…"), contentSteps({}));
    });
}

void SceneSession::openScene(const QString &path)
{
    guardUnsavedScene([this, path] {
        const ReadScene read = readScene(path);
        if (!read.isOk())
            return tellError(read.error);
        load(read, path);
    });
}

void SceneSession::openRecovered(const RecoveryRecord &record)
{
    guardUnsavedScene([this, record] {
        const ReadScene read = readScene(record.copyPath);
        if (!read.isOk())
            return tellError(read.error);
        if (!load(read, {}))
            return;
        m_filePath = record.originalPath;
        m_document->setName(record.name);
        if (!m_filePath.isEmpty())
            m_watch.start(m_filePath, fileDigest(m_filePath));
        m_isRecovered = true;
        if (m_recovery) {
            m_recovery->copyNow(); // ours before the other goes
            m_recovery->store().discard(record);
        }
        emit titleChanged();
    });
}

bool SceneSession::load(const ReadScene &read, const QString &path)
{
    tellWarnings(read.warnings);
    if (read.tree)
        qCInfo(lcLifecycle) << "CorvaneShell::openScene: Loaded logical scene with"
                            << read.tree->instances().size() << "instances";
    QList<Step> steps{{u"adopt-file"_s, [this, path](QString *) {
                           adoptFile(path);
                           return true;
                       }}};
    steps += contentSteps(read);
    transit(tr("Tearing down scene…"), tr("Loading %1…").arg(QFileInfo(path).fileName()), steps);
    if (!m_filePath.isEmpty())
        m_watch.start(m_filePath, read.digest);
    return m_lifecycle.lastReport().loadOk;
}

// A sample of the program's own is opened as a new scene.
void SceneSession::adoptFile(const QString &path)
{
    m_filePath = isResource(path) ? QString() : path;
    m_document->setName(QFileInfo(path).completeBaseName());
}

QList<SceneSession::Step> SceneSession::contentSteps(const ReadScene &read)
{
    const auto always = [](const std::function<void()> &run) {
        return [run](QString *) {
            run();
            return true;
        };
    };
    if (read.document)
        return {{u"swap-in-legacy-document"_s,
                 always([this, loaded = read.document] { swapIn(*loaded); })}};
    if (read.tree)
        return {{u"apply-document-block"_s, always([this, read] { applyBlock(read); })},
                {u"populate-logical-scene"_s, always([this, tree = read.tree] { moveIn(*tree); })},
                {u"compile-scene"_s, always([this] {
                     m_compiler.setSource(&m_tree);
                     m_compiler.setTarget(m_document.data());
                     m_compiler.fullCompile();
                 })}};
    return {{u"init-empty-document"_s, always([this] {
                 m_document->setName(tr("Untitled"));
                 m_filePath.clear();
             })}};
}

// The file's own name goes before that of its contents.
void SceneSession::applyBlock(const ReadScene &read)
{
    const QString name = m_document->name();
    model::DocumentBlock::apply(read.documentBlock, *m_document);
    if (!name.isEmpty())
        m_document->setName(name);
    m_document->registerFileScopedDefinitions();
}

void SceneSession::moveIn(const model::LogicalScene &tree)
{
    const model::LogicalScene::Batch batch(m_tree);
    m_tree.setNodes(tree.instances().values(), tree.roots()); // which empties all before
    const auto components = tree.componentRegistry()->definitions();
    for (const auto &component : components)
        m_tree.componentRegistry()->restoreDefinition(component);
}

void SceneSession::swapIn(const model::Corvane &loaded)
{
    const QString name = m_document->name();
    model::DocumentBlock::apply(model::DocumentBlock::write(loaded, {}), *m_document);
    m_document->setName(name);
    m_document->registerFileScopedDefinitions();
    m_document->exchangeItems({}, loaded.items().values());
    if (!loaded.drawsAllItems())
        m_document->setRoots(loaded.roots());
}

// Steps

void SceneSession::addToStep(QLatin1StringView step, const std::function<bool(QString *error)> &run)
{
    const auto isOf = [step](const auto &names) {
        return std::find(names.begin(), names.end(), step) != names.end();
    };
    if (!isOf(SceneSteps::teardown) && !isOf(SceneSteps::commonLoad))
        qCWarning(lcLifecycle) << "SceneSession::addToStep: there is no step" << step;
    m_hooks[step].append(run);
}

bool SceneSession::runHooks(QLatin1StringView name, QString *error)
{
    bool isOk = true;
    const auto hooks = m_hooks.value(name);
    for (const auto &hook : hooks)
        isOk = hook(error) && isOk;
    return isOk;
}

SceneSession::Step SceneSession::hooked(QLatin1StringView name,
                                        const std::function<bool(QString *)> &own)
{
    return {name, [this, name, own](QString *error) {
                const bool isOk = !own || own(error);
                return runHooks(name, error) && isOk;
            }};
}

std::function<bool(QString *)> SceneSession::ownPart(QLatin1StringView name)
{
    const std::pair<QLatin1StringView, std::function<void()>> parts[] = {
        {"stop-animation-clock"_L1, [this] { m_clock.setDocument(nullptr); }},
        {"clear-undo-history"_L1, [this] { m_executor.clearHistory(); }},
        {"clear-selection-and-hover"_L1, [this] { m_tree.clearSelection(); }},
        {"release-file-watches"_L1, [this] { m_watch.stop(); }},
        {"clear-logical-scene"_L1,
         [this] {
             m_compiler.setSource(nullptr); // nothing is compiled on the way down
             m_tree.clear();
         }},
        {"reset-compiler"_L1,
         [this] {
             m_compiler.setSoloRootId({});
             m_compiler.setTarget(nullptr);
         }},
        {"clear-expression-manager"_L1,
         [this] {
             emit expressionsChanged(nullptr);
             m_executor.setExpressionManager(nullptr);
             m_expressions.reset();
         }},
        {"reset-document"_L1, [this] { resetDocument(); }},
        {"bind-ui-to-document"_L1,
         [this] {
             m_compiler.setSource(&m_tree);
             m_compiler.setTarget(m_document.data());
         }},
        {"setup-expression-manager"_L1, [this] { setUpExpressions(); }},
        {"setup-animation-transport"_L1, [this] { m_clock.setDocument(m_document.data()); }},
        {"evaluate-expressions"_L1, [this] { m_expressions->evaluateAll(); }},
        {"finalize-and-render"_L1, [this] { undoStack()->setClean(); }},
    };
    for (const auto &[step, run] : parts) {
        if (step == name)
            return [run = run](QString *) {
                run();
                return true;
            };
    }
    return {};
}

void SceneSession::resetDocument()
{
    m_isRecovered = false;
    m_document->unregisterFileScopedDefinitions();
    m_document->reset();
    if (m_recovery)
        m_recovery->forget();
}

void SceneSession::setUpExpressions()
{
    m_expressions = std::make_unique<expr::ExpressionManager>(m_document.data());
    m_executor.setExpressionManager(m_expressions.get());
    emit expressionsChanged(m_expressions.get());
}

void SceneSession::setUpLifecycle()
{
    for (const QLatin1StringView name : SceneSteps::teardown)
        m_lifecycle.addTeardownStep(name, hooked(name, ownPart(name)).run);
    m_lifecycle.setInvariantCheck([this] { return sceneLifecycleViolations(); });
}

QList<SceneSession::Step> SceneSession::commonLoadSteps()
{
    QList<Step> steps;
    for (const QLatin1StringView name : SceneSteps::commonLoad)
        steps.append(hooked(name, ownPart(name)));
    return steps;
}

void SceneSession::addSurvivorCheck(Survivor survivor, const std::function<bool()> &isLeft)
{
    m_survivorChecks[int(survivor)].append(isLeft);
}

bool SceneSession::hasSurvived(Survivor survivor) const
{
    const auto checks = m_survivorChecks.value(int(survivor));
    if (std::any_of(checks.cbegin(), checks.cend(), [](const auto &isLeft) { return isLeft(); }))
        return true;
    switch (survivor) {
    case Survivor::Document:
        return m_document->stateFingerprint() != m_pristineFingerprint;
    case Survivor::LogicalScene:
        return !m_tree.instances().isEmpty();
    case Survivor::Compiler:
        return !m_compiler.mappings().isEmpty() || !m_compiler.soloRootId().isNull() ||
               !m_compiler.compiledToSource().isEmpty();
    case Survivor::AnimationClock:
        return m_clock.isRunning();
    case Survivor::Selection:
        return !m_tree.selectedInstances().isEmpty();
    case Survivor::ExpressionManager:
        return m_expressions != nullptr;
    case Survivor::ComponentView:
    case Survivor::PendingJobs:
    case Survivor::PackageFolder:
        break; // the window's
    }
    return false;
}

QStringList SceneSession::sceneLifecycleViolations() const
{
    QStringList violations;
    for (std::size_t i = 0; i < SceneSteps::survivorTexts.size(); ++i) {
        if (!hasSurvived(Survivor(i)))
            continue;
        QString text = SceneSteps::survivorTexts.at(i);
        if (Survivor(i) == Survivor::LogicalScene)
            text = text.arg(m_tree.instances().size());
        violations.append(text);
    }
    return violations;
}

// Small commands

void SceneSession::undo()
{
    if (!m_executor.isCoalescing())
        undoStack()->undo();
}

void SceneSession::redo()
{
    if (!m_executor.isCoalescing())
        undoStack()->redo();
}

void SceneSession::setSoloRoot(const QUuid &id)
{
    if (m_compiler.soloRootId() == id)
        return;
    m_compiler.setSoloRootId(id);
    m_compiler.fullCompile();
}

} // namespace corvane::lifecycle
