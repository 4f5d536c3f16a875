#include <corvane/zirn/PlanReader.h>

#include <corvane/zirn/FailureText.h>
#include <corvane/zirn/LLMSession.h>

#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace corvane::zirn {

namespace {

constexpr auto stepsKey = "steps"_L1;
constexpr auto tasksKey = "tasks"_L1;
constexpr auto taskKey = "task"_L1;

bool isSpace(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

bool isLowerCase(QChar c)
{
    return c >= u'a' && c <= u'z';
}

bool isWord(QStringView word)
{
    return !word.isEmpty() && isLowerCase(word.front()) &&
           std::all_of(word.cbegin(), word.cend(), [](QChar c) {
               return isLowerCase(c) || (c >= u'0' && c <= u'9') || c == u'_' || c == u'-';
           });
}

QMap<QString, QString> textsOf(const QJsonObject &object)
{
    QMap<QString, QString> texts;
    for (auto it = object.constBegin(); it != object.constEnd(); ++it)
        texts.insert(it.key(), it.value().toVariant().toString());
    return texts;
}

TaskPlanStep stepOf(const QJsonObject &object)
{
    return {.task = object.value(taskKey).toString(),
            .args = object.value("args"_L1).toObject().toVariantMap(),
            .produces = textsOf(object.value("produces"_L1).toObject())};
}

} // namespace

bool PlanReader::isTaskName(const QString &name)
{
    const QList<QStringView> words = QStringView(name).split(u'.');
    return words.size() >= 2 && std::all_of(words.cbegin(), words.cend(), isWord);
}

QByteArray PlanReader::withoutTrailingCommas(const QByteArray &json)
{
    QByteArray text;
    text.reserve(json.size());
    for (const char *at = json.cbegin(); at != json.cend(); ++at) {
        if (*at == ',') {
            const char *next = std::find_if_not(at + 1, json.cend(), isSpace);
            if (next != json.cend() && (*next == ']' || *next == '}'))
                at = next;
        }
        text.append(*at);
    }
    return text;
}

bool PlanReader::read(const QByteArray &json, TaskPlan &out)
{
    if (!parse(json) || !checkSteps())
        return false;
    out = plan();
    return true;
}

bool PlanReader::fail(const QString &message)
{
    m_error = message;
    return false;
}

bool PlanReader::parse(const QByteArray &json)
{
    if (json.size() > LLMSession::maxPlanBytes)
        return fail(u"TaskPlan JSON is too long: at most %1 bytes are read"_s.arg(
            LLMSession::maxPlanBytes));
    QJsonParseError parseError;
    const auto document = QJsonDocument::fromJson(withoutTrailingCommas(json), &parseError);
    if (parseError.error != QJsonParseError::NoError)
        return fail(u"Invalid JSON: %1 at offset %2"_s.arg(parseError.errorString(),
                                                           QString::number(parseError.offset)));
    if (!document.isObject())
        return fail(u"TaskPlan JSON must be an object"_s);
    const QJsonObject object = document.object();
    const QLatin1StringView key = object.contains(stepsKey) ? stepsKey : tasksKey;
    if (!object.contains(key))
        return fail(u"TaskPlan JSON missing 'steps' array"_s);
    if (!object.value(key).isArray())
        return fail(u"TaskPlan 'steps' must be an array"_s);
    m_steps = object.value(key).toArray();
    m_description = object.value("description"_L1).toString();
    return true;
}

bool PlanReader::checkSteps()
{
    if (m_steps.isEmpty())
        return fail(u"TaskPlan must have at least one step"_s);
    for (qsizetype index = 0; index < m_steps.size(); ++index) {
        if (!checkStep(index))
            return false;
    }
    return true;
}

bool PlanReader::checkStep(qsizetype index)
{
    const QString number = QString::number(index);
    const QJsonValue step = m_steps.at(index);
    if (!step.isObject())
        return fail(u"Step %1 must be an object"_s.arg(number));
    const QJsonValue task = step.toObject().value(taskKey);
    if (task.isUndefined())
        return fail(u"Step %1 missing 'task' field"_s.arg(number));
    const QString name = task.toString();
    if (name.isEmpty())
        return fail(u"Step %1 has empty task name"_s.arg(number));
    if (!isTaskName(name))
        return fail(u"Step %1 task name '%2' does not match pattern <domain>.<action> (lowercase, "
                    u"min 2 segments)"_s.arg(number, shortened(name)));
    return true;
}

TaskPlan PlanReader::plan() const
{
    TaskPlan result{.description = m_description, .steps = {}};
    result.steps.reserve(m_steps.size());
    for (const QJsonValue &step : m_steps)
        result.steps.append(stepOf(step.toObject()));
    return result;
}

} // namespace corvane::zirn
