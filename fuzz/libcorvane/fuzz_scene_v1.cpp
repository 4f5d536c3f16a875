// Any bytes are a document or errors, and a document can be written. Where the writing reads back,
// no item is missing; keys that no writer would make may keep it from that.

#include <corvane/compile/CorvaneDSLParser.h>
#include <corvane/model/Corvane.h>
#include <corvane/yaml/YamlSerializer.h>

#include <cstdlib>

using namespace corvane;

namespace {

QString written(const model::Corvane &scene)
{
    yaml::YamlSerializer::Options options;
    options.lossless = true;
    return yaml::YamlSerializer(options).serializeMap(scene.toVariantMap());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, std::size_t size)
{
    const auto text = QString::fromUtf8(reinterpret_cast<const char *>(data), qsizetype(size));
    const auto scene = model::CorvaneDSLParser::parseText(text).scene;
    if (!scene)
        return 0;
    for (const QUuid &id : scene->hierarchyRootIds())
        scene->sdfItemsInDomain(id);
    const auto again = model::CorvaneDSLParser::parseText(written(*scene)).scene;
    if (again && again->items().size() != scene->items().size())
        std::abort();
    return 0;
}
