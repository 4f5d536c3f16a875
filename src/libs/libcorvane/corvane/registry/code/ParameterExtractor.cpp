#include <corvane/registry/code/ParameterExtractor.h>

#include <corvane/registry/code/SignatureAnalyzer.h>

#include "AnnotationReader.h"

#include <QRegularExpression>
#include <QVector2D>
#include <QVector3D>
#include <QVector4D>

#include <array>

using namespace Qt::StringLiterals;

namespace corvane::shader {

using registry::ParameterDef;
using registry::SDFParameterType;
using registry::UIHint;

namespace {

bool namesColor(const QString &name)
{
    return name.contains("color"_L1, Qt::CaseInsensitive) ||
           name.contains("albedo"_L1, Qt::CaseInsensitive) ||
           name.contains("tint"_L1, Qt::CaseInsensitive);
}

bool isVector(SDFParameterType type)
{
    return type == SDFParameterType::Vec2 || type == SDFParameterType::Vec3 ||
           type == SDFParameterType::Vec4 || type == SDFParameterType::Color;
}

// "majorRadius" as "Major Radius".
QString displayNameOf(const QString &name)
{
    QString display;
    for (const QChar c : name) {
        if (display.isEmpty()) {
            display += c.toUpper();
            continue;
        }
        if (c.isUpper())
            display += u' ';
        display += c;
    }
    return display;
}

std::array<float, 4> componentsOf(const QString &text, float fourth)
{
    static const QRegularExpression brackets(u"[()\\[\\]]"_s);
    static const QRegularExpression blanks(u"\\s+"_s);
    const QString bare = QString(text).remove(brackets);
    QStringList parts = bare.split(u',', Qt::SkipEmptyParts);
    if (parts.size() < 2)
        parts = bare.split(blanks, Qt::SkipEmptyParts);
    std::array<float, 4> components{0.0f, 0.0f, 0.0f, fourth};
    for (qsizetype i = 0; i < std::min<qsizetype>(parts.size(), 4); ++i)
        components[std::size_t(i)] = parts[i].trimmed().toFloat();
    return components;
}

QVariant vectorValue(const QString &text, SDFParameterType type)
{
    const auto c = componentsOf(text, type == SDFParameterType::Color ? 1.0f : 0.0f);
    if (type == SDFParameterType::Vec2)
        return QVector2D(c[0], c[1]);
    if (type == SDFParameterType::Vec3)
        return QVector3D(c[0], c[1], c[2]);
    return QVector4D(c[0], c[1], c[2], c[3]);
}

// The limits and the step of a vector are one number for all components, unless the text has more.
QVariant limitValue(const QVariant &text, SDFParameterType type)
{
    bool isNumber = false;
    const double number = text.toString().toDouble(&isNumber);
    if (isVector(type) && isNumber)
        return number;
    return ParameterExtractor::parseValueString(text.toString(), type);
}

void applyAnnotation(ParameterDef &def, const ParameterAnnotation &annotation)
{
    if (!annotation.description.isEmpty())
        def.description = annotation.description;
    if (!annotation.unit.isEmpty())
        def.unit = annotation.unit;
    if (!annotation.section.isEmpty())
        def.section = annotation.section;
    if (annotation.hasHint)
        def.uiHint = annotation.hint;
    if (annotation.hasDefault)
        def.defaultValue =
            ParameterExtractor::parseValueString(annotation.defaultValue.toString(), def.type);
    if (annotation.hasRange && annotation.minValue.isValid())
        def.minValue = limitValue(annotation.minValue, def.type);
    if (annotation.hasRange && annotation.maxValue.isValid())
        def.maxValue = limitValue(annotation.maxValue, def.type);
    if (annotation.hasStep)
        def.stepValue = limitValue(annotation.stepValue, def.type);
}

// What an argument is when nothing is said about it.
struct ArgumentDefaults
{
    QLatin1StringView word;
    SDFParameterType type;
    QVariant value;
    QVariant min;
    QVariant max;
};

const ArgumentDefaults *argumentDefaults(QStringView word)
{
    static const std::array<ArgumentDefaults, 6> rows{{
        {"float"_L1, SDFParameterType::Float, 1.0, 0.0, 10.0},
        {"int"_L1, SDFParameterType::Int, 1, 0, 100},
        {"bool"_L1, SDFParameterType::Bool, false, {}, {}},
        {"vec2"_L1, SDFParameterType::Vec2, QVector2D(1, 1), 0.0, 10.0},
        {"vec3"_L1, SDFParameterType::Vec3, QVector3D(1, 1, 1), 0.0, 10.0},
        {"vec4"_L1, SDFParameterType::Vec4, QVector4D(1, 1, 1, 1), 0.0, 10.0},
    }};
    const auto *const found =
        std::find_if(rows.cbegin(), rows.cend(),
                     [word](const ArgumentDefaults &row) { return row.word == word; });
    return found == rows.cend() ? nullptr : found;
}

ParameterDef argumentOf(const ArgumentDefaults &defaults, const QString &name)
{
    ParameterDef def;
    def.name = name;
    def.displayName = displayNameOf(name);
    def.type = defaults.type;
    def.defaultValue = defaults.value;
    def.minValue = defaults.min;
    def.maxValue = defaults.max;
    def.uiHint = UIHint::Slider;
    const bool mayBeColor =
        def.type == SDFParameterType::Vec3 || def.type == SDFParameterType::Vec4;
    if (mayBeColor && namesColor(name))
        def.type = SDFParameterType::Color;
    return def;
}

// The arguments behind the first one.
QString argumentText(const QString &bareCode, const QString &functionName)
{
    if (!functionName.isEmpty()) {
        const auto signature = SignatureAnalyzer::findSignature(bareCode, functionName);
        return signature ? signature->arguments.section(u',', 1) : QString();
    }
    for (const QString &name : {u"sdf?_?\\w+"_s, u"field_\\w+"_s}) {
        const QRegularExpression pattern(
            u"float\\s+"_s + name + u"\\s*\\(\\s*vec3\\s+\\w+\\s*,?\\s*([^)]*)\\)"_s,
            QRegularExpression::CaseInsensitiveOption | QRegularExpression::MultilineOption);
        if (const auto match = pattern.match(bareCode); match.hasMatch())
            return match.captured(1);
    }
    return {};
}

// A member of a uniform block: no more is known than its type.
ParameterDef memberOf(const QString &name, SDFParameterType type)
{
    ParameterDef def;
    def.name = name;
    def.displayName = displayNameOf(name);
    def.type = type;
    def.minValue = type == SDFParameterType::Bool ? QVariant(false) : QVariant(0.0);
    def.maxValue = type == SDFParameterType::Bool ? QVariant(true) : QVariant(1.0);
    if (type == SDFParameterType::Int) {
        def.minValue = 0;
        def.maxValue = 100;
    }
    def.defaultValue = type == SDFParameterType::Color
                           ? QVariant(QVector4D(1, 1, 1, 1))
                           : ParameterExtractor::parseValueString({}, type);
    return def;
}

void appendMember(QList<ParameterDef> &list, const QShaderDescription::BlockVariable &member,
                  const ParameterAnnotations &annotations)
{
    const QString name = QString::fromUtf8(member.name);
    const auto type = ParameterExtractor::mapVariableType(member.type, name);
    if (!type || !member.arrayDims.isEmpty())
        return;
    const auto annotation = annotations.constFind(name);
    const bool isAnnotated = annotation != annotations.constEnd();
    const bool mayBeColor = *type == SDFParameterType::Vec3 || *type == SDFParameterType::Vec4;
    const bool isColor =
        isAnnotated && annotation->hasHint && annotation->hint == UIHint::ColorPicker;
    ParameterDef def = memberOf(name, mayBeColor && isColor ? SDFParameterType::Color : *type);
    if (isAnnotated)
        applyAnnotation(def, *annotation);
    list.append(def);
}

} // namespace

ParameterAnnotations ParameterExtractor::parseAnnotations(const QString &source)
{
    return AnnotationReader().read(source);
}

void ParameterExtractor::parseAnnotationLine(const QString &text, ParameterAnnotation &annotation)
{
    AnnotationReader::readLine(text, annotation);
}

std::optional<SDFParameterType>
ParameterExtractor::mapVariableType(QShaderDescription::VariableType type, const QString &name)
{
    const bool isColor = namesColor(name) || name.contains("colour"_L1, Qt::CaseInsensitive);
    if (type == QShaderDescription::Float)
        return SDFParameterType::Float;
    if (type == QShaderDescription::Vec2)
        return SDFParameterType::Vec2;
    if (type == QShaderDescription::Vec3)
        return isColor ? SDFParameterType::Color : SDFParameterType::Vec3;
    if (type == QShaderDescription::Vec4)
        return isColor ? SDFParameterType::Color : SDFParameterType::Vec4;
    if (type >= QShaderDescription::Int && type <= QShaderDescription::Uint4)
        return SDFParameterType::Int;
    if (type >= QShaderDescription::Bool && type <= QShaderDescription::Bool4)
        return SDFParameterType::Bool;
    return std::nullopt;
}

QVariant ParameterExtractor::parseValueString(const QString &text, SDFParameterType type)
{
    switch (type) {
    case SDFParameterType::Float:
        return text.trimmed().toDouble();
    case SDFParameterType::Int:
        return text.trimmed().toInt();
    case SDFParameterType::Bool: {
        const QString lower = text.trimmed().toLower();
        return lower == "true"_L1 || lower == "1"_L1 || lower == "yes"_L1;
    }
    case SDFParameterType::Vec2:
    case SDFParameterType::Vec3:
    case SDFParameterType::Vec4:
    case SDFParameterType::Color:
        return vectorValue(text, type);
    case SDFParameterType::String:
        return text.trimmed();
    case SDFParameterType::SDFChild:
    case SDFParameterType::SDFChildren:
        break;
    }
    return {};
}

QList<ParameterDef>
ParameterExtractor::extractParametersFromFunctionSignature(const QString &shaderCode,
                                                           const QString &functionName)
{
    static const QRegularExpression argument(u"(float|int|bool|vec2|vec3|vec4)\\s+(\\w+)"_s);
    QList<ParameterDef> parameters;
    if (shaderCode.isEmpty())
        return parameters;
    const QString arguments =
        argumentText(SignatureAnalyzer::withoutComments(shaderCode), functionName);
    const ParameterAnnotations annotations = parseAnnotations(shaderCode);
    for (auto matches = argument.globalMatch(arguments); matches.hasNext();) {
        const QRegularExpressionMatch match = matches.next();
        const QString name = match.captured(2);
        ParameterDef def = argumentOf(*argumentDefaults(match.capturedView(1)), name);
        if (const auto known = annotations.constFind(name); known != annotations.constEnd())
            applyAnnotation(def, *known);
        parameters.append(def);
    }
    return parameters;
}

QList<ParameterDef> ParameterExtractor::extractParameters(const QShaderDescription &description,
                                                          const QString &blockName,
                                                          const QString &source)
{
    QList<ParameterDef> parameters;
    const ParameterAnnotations annotations = parseAnnotations(source);
    const QList<QShaderDescription::UniformBlock> blocks = description.uniformBlocks();
    for (const QShaderDescription::UniformBlock &block : blocks) {
        if (!blockName.isEmpty() && QString::fromUtf8(block.blockName) != blockName)
            continue;
        for (const QShaderDescription::BlockVariable &member : block.members)
            appendMember(parameters, member, annotations);
    }
    return parameters;
}

} // namespace corvane::shader
