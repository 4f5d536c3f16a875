#include <corvane/xport/ExportSettings.h>

#include <corvane/expr/ExprEvaluator.h>
#include <corvane/expr/ExpressionManager.h>
#include <corvane/model/Corvane.h>
#include <corvane/xport/ExportFields.h>

namespace corvane::xport {

using namespace Qt::StringLiterals;

namespace {

/// Settings of one scene, read by their names under "export.".
class SettingReader : public ExportFields
{
public:
    SettingReader(const model::Corvane &scene, const expr::ExpressionManager &expressions,
                  QList<model::SceneWarning> &warnings)
        : m_scene(scene)
        , m_expressions(expressions)
        , m_warnings(warnings)
    {}

    /// What no int can hold is cut off, not undefined; the pipeline has limits of its own.
    void readCount(const QString &key, int &count) const override
    {
        constexpr double most = 1e9;
        bool ok = false;
        const double number = value(key).toDouble(&ok);
        if (ok && !qIsNaN(number))
            count = int(qBound(-most, number, most));
    }

private:
    QVariant value(const QString &key) const override
    {
        return m_scene.sceneSetting(u"export."_s + key);
    }
    bool readNumber(const QString &key, float &number) override
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

} // namespace

ExportSettings ExportSettings::of(const model::Corvane &scene,
                                  const expr::ExpressionManager &expressions)
{
    ExportSettings settings;
    SettingReader reader(scene, expressions, settings.warnings);
    settings.hasBox = reader.readInto(settings.request);
    reader.readCount(u"backend"_s, settings.request.backend);
    return settings;
}

} // namespace corvane::xport
