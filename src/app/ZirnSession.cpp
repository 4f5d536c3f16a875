#include "ZirnSession.h"

#include "CorvaneMain.h"
#include "SceneWarnings.h"

#include <corvane/expr/ExpressionManager.h>
#include <corvane/model/Corvane.h>
#include <corvane/model/CorvaneDSLParser.h>
#include <corvane/model/DocumentBlock.h>
#include <corvane/model/LogicalSceneCompiler.h>
#include <corvane/model/NodeRecovery.h>
#include <corvane/ops/CorvaneServiceLocator.h>
#include <corvane/tasks/SceneErrors.h>
#include <corvane/zirn/ZirnAuthContext.h>
#include <corvane/zirn/ZirnTaskRuntime.h>
#include <store/SafeFile.h>

#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>

using namespace Qt::StringLiterals;
using corvane::model::Corvane;
using corvane::model::CorvaneDSLParser;
using corvane::model::LogicalScene;
using corvane::ops::CorvaneServiceLocator;
using corvane::zirn::TaskPlan;
using corvane::zirn::TaskPlanResult;

namespace {

Q_LOGGING_CATEGORY(lcZirnSession, "ondrel.app.zirn", QtWarningMsg)

/// The document of a version 2 file without what the tree compiles to: variables, settings,
/// materials, definitions.
QSharedPointer<Corvane> documentBeside(const QVariantMap &file)
{
    auto document = Corvane::create();
    corvane::model::DocumentBlock::apply(CorvaneDSLParser::parseLogical(file).documentBlock,
                                         *document);
    document->registerFileScopedDefinitions();
    return document;
}

/// What a document without roots of its own draws is what nothing else lists.
QList<QUuid> drawnItems(const Corvane &document)
{
    if (!document.drawsAllItems())
        return document.roots();
    QSet<QUuid> listed;
    QList<QUuid> items;
    const auto all = document.items();
    for (const auto &item : all) {
        const QList<QUuid> children = document.childInstanceIds(item.id);
        for (const QUuid &child : children) {
            if (child != item.id)
                listed.insert(child);
        }
        if (item.itemType == corvane::model::ItemTypes::Sdf)
            items.append(item.id);
    }
    items.removeIf([&listed](const QUuid &id) { return listed.contains(id); });
    return items;
}

/// The ids, each once: those that `order` lists first and in its order, the others as they come.
QList<QUuid> inOrderOf(const QList<QUuid> &order, const QList<QUuid> &ids)
{
    QSet<QUuid> open(ids.cbegin(), ids.cend());
    QList<QUuid> sorted;
    const QList<QUuid> wanted = order + ids;
    for (const QUuid &id : wanted) {
        if (open.remove(id))
            sorted.append(id);
    }
    return sorted;
}

} // namespace

std::unique_ptr<ZirnSession> ZirnSession::open(const QString &scenePath)
{
    const auto emptyTree = QSharedPointer<LogicalScene>::create();
    const SceneFile file(scenePath);
    if (scenePath.isNull())
        return std::unique_ptr<ZirnSession>(
            new ZirnSession(file, Corvane::create(), emptyTree, false));
    const auto parsed = CorvaneDSLParser::parseFile(scenePath);
    for (const auto &error : parsed.errors)
        qCWarning(lcZirnSession).noquote() << "Parse error:" << error.toString();
    if (!parsed.ok())
        return nullptr;
    if (parsed.logicalScene) {
        const auto document = documentBeside(parsed.rawMap);
        SceneWarnings::tellOfEdited(parsed);
        return std::unique_ptr<ZirnSession>(
            new ZirnSession(file, document, parsed.logicalScene, true));
    }
    parsed.scene->registerFileScopedDefinitions();
    SceneWarnings::tellOfEdited(parsed);
    return std::unique_ptr<ZirnSession>(new ZirnSession(file, parsed.scene, emptyTree, false));
}

ZirnSession::ZirnSession(const SceneFile &file, const QSharedPointer<Corvane> &document,
                         const QSharedPointer<LogicalScene> &tree, bool isVersion2)
    : m_file(file)
    , m_document(document)
    , m_tree(tree)
    , m_isVersion2(isVersion2)
    , m_openedRoots(drawnItems(*document))
    , m_executor(document)
{
    if (m_tree->instances().isEmpty())
        corvane::model::NodeRecovery::recover(*m_document, *m_tree);
    m_executor.setLogicalScene(m_tree.data());
    auto &locator = CorvaneServiceLocator::instance();
    locator.setScene(m_document);
    locator.setExecutor(&m_executor);
    const auto errors = corvane::zirn::scanSceneErrors(*m_document, m_tree.data());
    locator.setUnresolvedExpressionCount(int(errors.size()));
}

ZirnSession::~ZirnSession()
{
    CorvaneServiceLocator::instance().clear();
}

std::optional<TaskPlanResult> ZirnSession::run(const TaskPlan &plan)
{
    using namespace corvane::zirn;
    FileScopedAuthContext caller;
    ZirnTaskRuntime runtime;
    runtime.setAuthContext(&caller);
    std::optional<TaskPlanResult> result;
    QEventLoop loop;
    QObject::connect(&runtime, &ZirnTaskRuntime::planCompleted, &loop,
                     [&](const TaskPlanResult &completed) {
                         result = completed;
                         loop.quit();
                     });
    const Operator submitter{
        .type = OperatorType::Directive, .id = u"headless-cli"_s, .displayName = u"headless-cli"_s};
    if (!runtime.submit(plan, submitter))
        return std::nullopt;
    loop.exec();
    return result;
}

void ZirnSession::compile()
{
    if (!m_tree->instances().isEmpty()) {
        const QList<QUuid> kept = drawnItems(*m_document);
        corvane::model::LogicalSceneCompiler compiler;
        compiler.setSource(m_tree.data());
        compiler.setTarget(m_document.data());
        compiler.fullCompile();
        m_document->setRoots(inOrderOf(m_openedRoots, kept + m_document->roots()));
    }
    corvane::expr::ExpressionManager expressions(m_document.data());
    expressions.evaluateAll();
}

bool ZirnSession::save(const QString &path)
{
    if (!m_file.isAt(path))
        return m_document->saveToFile(path);
    QString error;
    if (m_file.replace([this, &path] { return saveOver(path); }, error))
        return true;
    if (!error.isEmpty())
        CorvaneMain::printError(u"Error: cannot save over %1: %2"_s.arg(path, error));
    return false;
}

bool ZirnSession::saveOver(const QString &path) const
{
    if (!m_isVersion2)
        return m_document->saveToFile(path);
    const QString kept = path + u".bak"_s;
    if (!keepOriginal(kept) || !m_document->saveToFile(path))
        return false;
    CorvaneMain::printError(u"The scene is saved in its compiled form; the original is kept as "_s +
                            kept);
    return true;
}

bool ZirnSession::keepOriginal(const QString &kept) const
{
    QFile file(m_file.path());
    QString error = u"it can't be read"_s;
    if (file.open(QIODevice::ReadOnly) && store::writeFile(kept, file.readAll(), &error))
        return true;
    CorvaneMain::printError(u"Error: cannot keep the original as %1: %2"_s.arg(kept, error));
    return false;
}
