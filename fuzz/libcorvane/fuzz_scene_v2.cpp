// Any bytes are a logical scene or errors. What was read is a tree, its text reads back with as
// many nodes, and it compiles, its expressions evaluated, to one document however often.

#include <corvane/compile/CorvaneDSLParser.h>
#include <corvane/compile/LogicalSceneCompiler.h>
#include <corvane/expr/ExpressionManager.h>
#include <corvane/model/CorvaneDSLSerializer.h>
#include <corvane/model/DocumentBlock.h>

#include <cstdlib>

using namespace corvane::model;

namespace {

void require(bool holds)
{
    if (!holds)
        std::abort();
}

/// What a component places twice at each level is right to become very large, and would leave no
/// time for other inputs.
bool isSmall(const LogicalScene &scene)
{
    return scene.instances().size() < 100 && scene.componentRegistry()->definitions().size() < 8;
}

/// As an editor does it: the block goes into the document, the tree is compiled over it.
void compile(LogicalScene &scene, const QVariantMap &block)
{
    Corvane document;
    DocumentBlock::apply(block, document);
    LogicalSceneCompiler compiler;
    compiler.setSource(&scene);
    compiler.setTarget(&document);
    compiler.fullCompile();
    for (const QUuid &root : document.roots())
        require(document.hasItem(root));
    corvane::expr::ExpressionManager(&document).evaluateAll();
    const QString first = document.stateFingerprint();
    compiler.fullCompile();
    corvane::expr::ExpressionManager(&document).evaluateAll();
    require(document.stateFingerprint() == first);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, std::size_t size)
{
    const auto text = QString::fromUtf8(reinterpret_cast<const char *>(data), qsizetype(size));
    const auto read = CorvaneDSLParser::parseLogical(QStringLiteral("formatVersion: 2\n") + text);
    CorvaneDSLParser::parseLogical(text);
    const auto scene = read.logicalScene;
    if (!scene)
        return 0;
    require(scene->nodesInOrder().size() == scene->instances().size());
    const QString written = CorvaneDSLSerializer::serializeLogical(*scene);
    const auto again = CorvaneDSLParser::parseLogical(written).logicalScene;
    // Keys that no writer would make, such as a parameter's with a quote in it, may not read back.
    if (again && !written.contains(u'\'') && !written.contains(u'"'))
        require(again->instances().size() == scene->instances().size());
    if (isSmall(*scene))
        compile(*scene, read.documentBlock);
    return 0;
}
