// Any bytes parse without harm, and what the writer makes of the result reads back as YAML.

#include <corvane/yaml/YamlParser.h>
#include <corvane/yaml/YamlSerializer.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>

using namespace corvane::yaml;

namespace {

bool hasPlainKeysOnly(const QVariant &value)
{
    if (value.typeId() == QMetaType::QVariantList) {
        const QVariantList list = value.toList();
        return std::all_of(list.cbegin(), list.cend(), hasPlainKeysOnly);
    }
    if (value.typeId() != QMetaType::QVariantMap)
        return true;
    const QVariantMap map = value.toMap();
    for (auto it = map.cbegin(); it != map.cend(); ++it) {
        const bool isPlain =
            !it.key().isEmpty() && std::all_of(it.key().cbegin(), it.key().cend(), [](QChar c) {
                return c.unicode() < 128 && c.isLetterOrNumber();
            });
        if (!isPlain || !hasPlainKeysOnly(it.value()))
            return false;
    }
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QString text = QString::fromUtf8(reinterpret_cast<const char *>(data), qsizetype(size));
    QList<YamlParser::ParseError> errors;
    const QVariantMap map = YamlParser().parseToVariantMap(text, errors);
    YamlSerializer::Options options;
    options.lossless = true;
    const QString written = YamlSerializer(options).serializeMap(map);
    QList<YamlParser::ParseError> laterErrors;
    const QVariantMap again = YamlParser().parseToVariantMap(written, laterErrors);
    // Keys that the reader took from odd text can make lines of another kind; a text of none but
    // plain keys must come back whole.
    if (!map.isEmpty() && hasPlainKeysOnly(map) &&
        (!laterErrors.isEmpty() || again.keys() != map.keys()))
        std::abort();
    return 0;
}
