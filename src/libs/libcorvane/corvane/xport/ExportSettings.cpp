#include <corvane/xport/ExportSettings.h>

#include <corvane/expr/ExprEvaluator.h>
#include <corvane/expr/ExpressionManager.h>
#include <corvane/model/Corvane.h>

namespace corvane::xport {

using namespace Qt::StringLiterals;

namespace {

/// Settings of one scene, read by their names under "export.".
class SettingReader
{
public:
    SettingReader(const model::Corvane &scene, const expr::ExpressionManager &expressions,
                  QList<model::SceneWarning> &warnings)
        : m_scene(scene)
        , m_expressions(expressions)
        , m_warnings(warnings)
    {}

    QVariant value(const QString &key) const { return m_scene.sceneSetting(u"export."_s + key); }

    /// False, and `number` left alone, without one.
    bool read(const QString &key, float &number)
    {
        const QVariant setting = value(key);
        const QString text = setting.toString();
        bool ok = false;
        const double found =
            text.startsWith(u'=') ? evaluated(key, text, number, ok) : setting.toDouble(&ok);
        if (ok)
            number = float(found);
        return ok;
    }
    /// What no int can hold is cut off, not undefined; the pipeline has limits of its own.
    void read(const QString &key, int &count) const
    {
        constexpr double most = 1e9;
        bool ok = false;
        const double number = value(key).toDouble(&ok);
        if (ok && !qIsNaN(number))
            count = int(qBound(-most, number, most));
    }

private:
    double evaluated(const QString &key, const QString &text, float instead, bool &ok);

    const model::Corvane &m_scene;
    const expr::ExpressionManager &m_expressions;
    QList<model::SceneWarning> &m_warnings;
};

double SettingReader::evaluated(const QString &key, const QString &text, float instead, bool &ok)
{
    const expr::CompiledExpression compiled = m_expressions.compile(text.mid(1).trimmed());
    QString error;
    double number = 0.0;
    if (compiled.isValid()) {
        expr::ExprEvaluator evaluator;
        for (const QString &name : compiled.dependencies)
            evaluator.setVariable(name, m_expressions.value(name));
        const QVariant result = evaluator.evaluate(compiled, error);
        number = result.toDouble(&ok);
        if (!ok && error.isEmpty())
            error = u"its value is no number"_s;
    } else {
        error =
            compiled.errors.isEmpty() ? u"it does not compile"_s : compiled.errors.first().message;
    }
    if (!ok)
        m_warnings.append({.where = u"settings.export."_s + key,
                           .what = u"\"%1\" gives no number (%2), so %3 is used"_s.arg(
                               text, error, QString::number(double(instead))),
                           .remedy = u"Correct the expression, or write a number"_s});
    return number;
}

bool readCorner(SettingReader &reader, const QString &end, QVector3D &corner)
{
    static constexpr QChar axes[] = {u'X', u'Y', u'Z'};
    bool isWhole = true;
    for (int axis = 0; axis < 3; ++axis) {
        float coordinate = corner[axis];
        isWhole = reader.read(u"bounds."_s + end + axes[axis], coordinate) && isWhole;
        corner[axis] = coordinate;
    }
    return isWhole;
}

/// A list of texts; one text alone is a list of one, and an empty one of none.
QStringList textsOf(const QVariant &value)
{
    const QStringList texts = value.toStringList();
    return texts == QStringList(QString()) ? QStringList() : texts;
}

} // namespace

ExportSettings ExportSettings::of(const model::Corvane &scene,
                                  const expr::ExpressionManager &expressions)
{
    ExportSettings settings;
    SettingReader reader(scene, expressions, settings.warnings);
    ExportRequest &request = settings.request;
    const bool hasLow = readCorner(reader, u"min"_s, request.boundsMin);
    const bool hasHigh = readCorner(reader, u"max"_s, request.boundsMax);
    settings.hasBox = hasLow && hasHigh;
    reader.read(u"cellSize"_s, request.cellSize);
    reader.read(u"threadCount"_s, request.threadCount);
    reader.read(u"chunkSize"_s, request.chunkSize);
    reader.read(u"backend"_s, request.backend);
    request.extractor = int(surfaceExtractorNamed(reader.value(u"extractor"_s).toString()));
    request.sealed = reader.value(u"sealed"_s).toBool();
    request.autoBounds = reader.value(u"autoBounds"_s).toBool();
    request.postprocess = textsOf(reader.value(u"postprocess"_s));
    return settings;
}

} // namespace corvane::xport
