#include <corvane/bench/BenchPipelineDefinition.h>

#include <corvane/xport/PostProcessStep.h>
#include <store/RegularFile.h>

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>

namespace corvane::bench {

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 maxFileSize = qint64(1) << 20;

// Reads the keys of one definition and keeps the first thing that is wrong.
class JsonReader
{
public:
    explicit JsonReader(const QJsonObject &object)
        : m_object(object)
    {}

    QString error() const { return m_error; }

    void read(QLatin1String key, QString &text)
    {
        if (has(key, &QJsonValue::isString, "a text"_L1))
            text = m_object.value(key).toString();
    }
    void read(QLatin1String key, bool &flag)
    {
        if (has(key, &QJsonValue::isBool, "true or false"_L1))
            flag = m_object.value(key).toBool();
    }
    void read(QLatin1String key, float &number)
    {
        if (has(key, &QJsonValue::isDouble, "a number"_L1))
            number = float(m_object.value(key).toDouble());
    }
    void read(QLatin1String key, QStringList &texts)
    {
        if (!has(key, &QJsonValue::isArray, "a list of texts"_L1))
            return;
        const QJsonArray array = m_object.value(key).toArray();
        for (const QJsonValue &value : array) {
            if (!value.isString())
                return fail(key, "a list of texts"_L1);
            texts.append(value.toString());
        }
    }

private:
    bool has(QLatin1String key, bool (QJsonValue::*isOfType)() const, QLatin1String type)
    {
        const QJsonValue value = m_object.value(key);
        if (value.isUndefined())
            return false;
        if (!(value.*isOfType)())
            fail(key, type);
        return (value.*isOfType)();
    }
    void fail(QLatin1String key, QLatin1String type)
    {
        if (m_error.isEmpty())
            m_error = u"\"%1\" must be %2"_s.arg(key, type);
    }

    const QJsonObject &m_object;
    QString m_error;
};

QString errorIn(const BenchPipelineDefinition &definition)
{
    if (!(definition.cellSize >= 0.0f) || qIsInf(definition.cellSize))
        return u"\"cellSize\" must be 0 or more"_s;
    return xport::parsePostProcess(definition.postprocess).error;
}

} // namespace

QJsonObject BenchPipelineDefinition::toJson() const
{
    return {{"name"_L1, name},
            {"extractor"_L1, extractor},
            {"cellSize"_L1, double(cellSize)},
            {"backend"_L1, backend},
            {"sealed"_L1, sealed},
            {"postprocess"_L1, QJsonArray::fromStringList(postprocess)}};
}

std::optional<BenchPipelineDefinition> BenchPipelineDefinition::fromJson(const QJsonObject &object,
                                                                         QString &error)
{
    BenchPipelineDefinition definition;
    JsonReader reader(object);
    reader.read("name"_L1, definition.name);
    reader.read("extractor"_L1, definition.extractor);
    reader.read("cellSize"_L1, definition.cellSize);
    reader.read("backend"_L1, definition.backend);
    reader.read("sealed"_L1, definition.sealed);
    reader.read("postprocess"_L1, definition.postprocess);
    error = reader.error().isEmpty() ? errorIn(definition) : reader.error();
    return error.isEmpty() ? std::optional(definition) : std::nullopt;
}

std::optional<BenchPipelineDefinition> BenchPipelineDefinition::fromFile(const QString &path,
                                                                         QString &error)
{
    QString why;
    bool isTooLarge = false;
    const auto text = store::readRegularFile(path, maxFileSize, &why, &isTooLarge);
    if (!text) {
        error = isTooLarge ? u"Bad JSON in %1: %2"_s.arg(path, why) : u"Cannot open %1"_s.arg(path);
        return std::nullopt;
    }
    QJsonParseError parsed;
    const QJsonDocument document = QJsonDocument::fromJson(*text, &parsed);
    if (document.isNull()) {
        error = u"Bad JSON in %1: %2"_s.arg(path, parsed.errorString());
        return std::nullopt;
    }
    QString wrong = u"not an object"_s;
    auto definition = document.isObject() ? fromJson(document.object(), wrong) : std::nullopt;
    if (!definition) {
        error = u"Bad definition %1: %2"_s.arg(path, wrong);
        return std::nullopt;
    }
    if (definition->name.isEmpty())
        definition->name = QFileInfo(path).completeBaseName();
    return definition;
}

} // namespace corvane::bench
