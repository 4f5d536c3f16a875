#include <corvane/check/DefinitionLines.h>

#include <corvane/check/KeyLines.h>
#include <corvane/compile/CorvaneDSLParser.h>
#include <corvane/shader/DefinitionFault.h>
#include <corvane/yaml/YamlLineReader.h>

using namespace Qt::StringLiterals;

namespace corvane::check {

namespace {

/// The keys that a fault may be in.
constexpr QLatin1StringView keys[] = {"shaderCode"_L1, "blend"_L1, "parameters"_L1};

struct Key
{
    QPair<QString, QString> name; ///< the definition's id and the key
    KeyPath path;
    qsizetype textLines = 0;
};

QList<Key> keysOf(const QVariantMap &file)
{
    const QVariantMap inner = file.value(u"corvane"_s).toMap();
    KeyPath path = inner.isEmpty() ? KeyPath{} : KeyPath{u"corvane"_s};
    path.append(u"definitions"_s);
    const QVariantList list = (inner.isEmpty() ? file : inner).value(u"definitions"_s).toList();
    QList<Key> found;
    for (qsizetype i = 0; i < list.size(); ++i) {
        const QVariantMap definition = list.at(i).toMap();
        for (const QLatin1StringView key : keys) {
            if (definition.contains(key))
                found.append({{definition.value(u"id"_s).toString(), key},
                              path + KeyPath{u'#' + QString::number(i), key},
                              definition.value(key).toString().count(u'\n') + 1});
        }
    }
    return found;
}

/// What a text below a key is made of: the reader of the file leaves out blank lines and comments
/// there too, so that its lines are not those of the file from the first one on.
QHash<int, QList<int>> textsBelow(const QString &text, const QHash<int, qsizetype> &countByKeyLine)
{
    constexpr int yamlIndent = 2;
    QHash<int, QList<int>> found;
    QList<int> *open = nullptr;
    qsizetype left = 0;
    for (yaml::YamlLineReader lines(text, yamlIndent); lines.current(); lines.advance()) {
        const yaml::YamlParser::Line &line = *lines.current();
        if (left > 0) {
            open->append(line.lineNumber);
            --left;
        } else if (line.isMultilineMarker && countByKeyLine.contains(line.lineNumber)) {
            open = &found[line.lineNumber];
            left = countByKeyLine.value(line.lineNumber);
        }
    }
    return found;
}

} // namespace

DefinitionLines::DefinitionLines(const model::ParseResult &file)
{
    const QList<Key> found = keysOf(file.rawMap);
    if (found.isEmpty())
        return;
    QList<KeyPath> paths;
    for (const Key &key : found)
        paths.append(key.path);
    const KeyLines lines(file.text, paths);
    QHash<int, qsizetype> counts;
    for (const Key &key : found)
        counts.insert(lines.lineOf(key.path), key.textLines);
    const QHash<int, QList<int>> texts = textsBelow(file.text, counts);
    for (const Key &key : found) {
        const int line = lines.lineOf(key.path);
        m_places.insert(key.name, {.keyLine = line, .textLines = texts.value(line)});
    }
}

int DefinitionLines::Place::lineOf(int lineInText) const
{
    return lineInText > 0 ? textLines.value(lineInText - 1) : 0;
}

model::SceneWarning DefinitionLines::warningOf(const shader::DefinitionFault &fault) const
{
    model::SceneWarning warning{
        .where = fault.where(), .what = fault.message, .remedy = fault.remedy};
    const Place place = m_places.value({fault.definitionId, fault.key});
    const int line = place.lineOf(fault.line);
    warning.line = line > 0 ? line : place.keyLine;
    if (line > 0 || (warning.line > 0 && fault.line <= 1)) // the line of the file says it all
        warning.where = u"definitions.%1.%2"_s.arg(fault.definitionId, fault.key);
    return warning;
}

} // namespace corvane::check
