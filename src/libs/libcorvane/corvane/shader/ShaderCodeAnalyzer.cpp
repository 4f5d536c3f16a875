#include <corvane/shader/ShaderCodeAnalyzer.h>

#include <corvane/registry/Definition.h>
#include <corvane/shader/ParameterSlots.h>
#include <corvane/shader/SDFNode.h>

#include <QLoggingCategory>
#include <QRegularExpression>

namespace corvane::shader {

using namespace Qt::StringLiterals;

Q_LOGGING_CATEGORY(lcAnalyzer, "ondrel.shader.analyzer", QtWarningMsg)

namespace {

bool takesSlots(const registry::ParameterDef &parameter)
{
    return parameterFloatCount(parameter.type) > 0;
}

QString argumentAt(int slot, int count)
{
    if (count == 1)
        return ShaderCodeAnalyzer::getParamComponent(slot);
    QStringList components;
    for (int i = 0; i < count; ++i)
        components.append(ShaderCodeAnalyzer::getParamComponent(slot + i));
    return u"vec%1(%2)"_s.arg(QString::number(count), components.join(", "_L1));
}

} // namespace

QString ShaderCodeAnalyzer::extractFunctionName(const QString &code)
{
    static const QRegularExpression mainFunction(
        uR"((float|vec3)\s+(sdf_\w+|op_\w+|mod_\w+|pam_\w+|field_\w+)\s*\()"_s,
        QRegularExpression::CaseInsensitiveOption);
    return mainFunction.match(code).captured(2);
}

QString ShaderCodeAnalyzer::renameFunctionInCode(const QString &code, const QString &oldName,
                                                 const QString &newName)
{
    const QRegularExpression word(uR"(\b%1\b)"_s.arg(QRegularExpression::escape(oldName)));
    QString renamed = code;
    return renamed.replace(word, newName); // a name is made of word characters: no back-references
}

QString ShaderCodeAnalyzer::buildParamList(const registry::Definition &definition, int &slotCount)
{
    QStringList arguments;
    slotCount = 0;
    for (const registry::ParameterDef &parameter : definition.parameters) {
        if (!takesSlots(parameter))
            continue;
        if (slotCount >= parameterSlotCount) {
            qCWarning(lcAnalyzer).noquote()
                << "ShaderCodeAnalyzer: too many parameters for" << definition.id;
            break;
        }
        arguments.append(argumentAt(slotCount, argumentWidth(definition, arguments.size())));
        slotCount += parameterFloatCount(parameter.type);
    }
    return arguments.join(", "_L1);
}

int ShaderCodeAnalyzer::argumentWidth(const registry::Definition &definition, qsizetype index)
{
    QList<registry::SDFParameterType> types;
    for (const registry::ParameterDef &parameter : definition.parameters) {
        if (takesSlots(parameter))
            types.append(parameter.type);
    }
    // The types of the function's arguments stand at the end, behind its points and distances.
    const qsizetype first = definition.parameterTypes.size() - types.size();
    const bool isOpaque = types.at(index) == registry::SDFParameterType::Color && first >= 0 &&
                          definition.parameterTypes.at(first + index) == "vec3"_L1;
    return isOpaque ? 3 : parameterFloatCount(types.at(index));
}

QString ShaderCodeAnalyzer::getParamComponent(int slot)
{
    static constexpr QLatin1String components[parameterSlotCount] = {
        "params.x"_L1,  "params.y"_L1,  "params.z"_L1,  "params.w"_L1,
        "params2.x"_L1, "params2.y"_L1, "params2.z"_L1, "params2.w"_L1,
    };
    return slot >= 0 && slot < parameterSlotCount ? QString(components[slot]) : u"0.0"_s;
}

} // namespace corvane::shader
