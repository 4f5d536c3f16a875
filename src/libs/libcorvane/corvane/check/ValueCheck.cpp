#include <corvane/check/ValueCheck.h>

#include <corvane/check/Findings.h>
#include <corvane/expr/NameScanner.h>
#include <corvane/model/PlainValue.h>

#include <QRegularExpression>

#include <cmath>

using namespace Qt::StringLiterals;

namespace corvane::check {

namespace {

using registry::ParameterDef;
using registry::SDFParameterType;

/// How many numbers a list of this type has; none for what is no list.
struct Components
{
    qsizetype least = 0;
    qsizetype most = 0;
    QLatin1StringView wanted;
};

std::optional<Components> componentsOf(SDFParameterType type)
{
    switch (type) {
    case SDFParameterType::Vec2:
        return Components{2, 2, "a list of 2 numbers"_L1};
    case SDFParameterType::Vec3:
        return Components{3, 3, "a list of 3 numbers"_L1};
    case SDFParameterType::Vec4:
        return Components{4, 4, "a list of 4 numbers"_L1};
    case SDFParameterType::Color:
        return Components{3, 4, "a list of 3 or 4 numbers"_L1};
    case SDFParameterType::Float:
    case SDFParameterType::Int:
    case SDFParameterType::Bool:
    case SDFParameterType::String:
    case SDFParameterType::SDFChild:
    case SDFParameterType::SDFChildren:
        break;
    }
    return std::nullopt;
}

std::optional<Flaw> listFlaw(const Components &components, const QVariant &value,
                             const QStringList &variables)
{
    const QVariant plain = model::plainForFile(value);
    const QVariantList list = plain.toList();
    const bool hasSize = list.size() >= components.least && list.size() <= components.most;
    if (hasSize && std::all_of(list.cbegin(), list.cend(), isNumber))
        return std::nullopt;
    const QString what = u"%1 is not %2"_s.arg(shownValue(plain), QString(components.wanted));
    const auto text = std::find_if(list.cbegin(), list.cend(),
                                   [](const QVariant &entry) { return !isNumber(entry); });
    if (hasSize && text->typeId() == QMetaType::QString)
        return Flaw{what, numberRemedy(text->toString(), variables)};
    const QString remedy = numberRemedy(plain.toString(), variables);
    if (plain.typeId() == QMetaType::QString && remedy.startsWith("An expression"_L1))
        return Flaw{what, remedy};
    const QStringList zeros(components.least, u"0.0"_s);
    return Flaw{what, u"Write it as [%1]"_s.arg(zeros.join(u", "_s))};
}

std::optional<Flaw> numberFlaw(const ParameterDef &parameter, const QVariant &value,
                               const QStringList &variables)
{
    const bool isTruth = value.typeId() == QMetaType::Bool;
    if (parameter.type == SDFParameterType::Bool) {
        if (isTruth || isNumber(value))
            return std::nullopt;
        return Flaw{u"%1 is neither true nor false"_s.arg(shownValue(value)),
                    u"Write true or false"_s};
    }
    if (isTruth)
        return Flaw{u"%1 is not a number"_s.arg(shownValue(value)), u"Write a number"_s};
    if (!isNumber(value))
        return Flaw{
            u"%1 is not a number"_s.arg(shownValue(value)),
            numberRemedy(value.typeId() == QMetaType::QString ? value.toString() : QString(),
                         variables)};
    const double number = value.toDouble();
    if (parameter.type == SDFParameterType::Int && number != std::floor(number))
        return Flaw{u"%1 is not a whole number"_s.arg(shownValue(value)),
                    u"Write a whole number"_s};
    return std::nullopt;
}

std::optional<double> limitOf(const QVariant &limit)
{
    return limit.isValid() && isNumber(limit) ? std::optional(limit.toDouble()) : std::nullopt;
}

/// Whether a value outside minimum and maximum means nothing.
bool isHardRange(const ParameterDef &parameter, std::optional<double> least,
                 std::optional<double> most)
{
    constexpr double fewValues = 10.0;
    const bool isChoice =
        parameter.type == SDFParameterType::Int && least && most && *most - *least < fewValues;
    return isChoice || (parameter.drag && parameter.drag->bounded);
}

std::optional<Flaw> signFlaw(double number, double least)
{
    if (number > 0.0 || (number == 0.0 && least == 0.0))
        return std::nullopt;
    const QString given = shownValue(number);
    return least > 0.0 ? Flaw{u"%1 is not above 0"_s.arg(given), u"Write a number above 0"_s}
                       : Flaw{u"%1 is below 0"_s.arg(given), u"Write 0 or more"_s};
}

std::optional<Flaw> rangeFlaw(const ParameterDef &parameter, double number)
{
    const auto least = limitOf(parameter.minValue);
    const auto most = limitOf(parameter.maxValue);
    const bool isHard = isHardRange(parameter, least, most);
    const bool hasHardMin = isHard || (parameter.type == SDFParameterType::Int && !parameter.drag);
    if (least && hasHardMin && number < *least)
        return Flaw{
            u"%1 is below the least value, %2"_s.arg(shownValue(number), shownValue(*least)),
            u"Write %1 or more"_s.arg(shownValue(*least))};
    if (most && isHard && number > *most)
        return Flaw{
            u"%1 is above the greatest value, %2"_s.arg(shownValue(number), shownValue(*most)),
            u"Write %1 or less"_s.arg(shownValue(*most))};
    const bool isSigned = !least || *least < 0.0 || (parameter.drag && !parameter.drag->signLock);
    return isSigned ? std::nullopt : signFlaw(number, *least);
}

} // namespace

bool isNumber(const QVariant &value)
{
    return value.typeId() != QMetaType::Bool && model::readFloat(value).has_value();
}

QString numberRemedy(const QString &text, const QStringList &variables)
{
    static const QRegularExpression comma(uR"(^\s*[-+]?\d+,\d+\s*$)"_s);
    static const QRegularExpression withUnit(
        uR"(^\s*([-+]?[\d.]+)\s*([A-Za-z%"\x{b0}\x{b5}]+)\s*$)"_s);
    static const QRegularExpression arithmetic(uR"([\w)]\s*[-+*/]\s*[\w(]|\w\()"_s);
    if (comma.match(text).hasMatch())
        return u"Write it with a decimal point: %1"_s.arg(QString(text).replace(u',', u'.'));
    if (const auto match = withUnit.match(text); match.hasMatch())
        return u"Write the number alone: %1"_s.arg(match.captured(1));
    const auto references =
        text.size() < 1000 ? expr::scanNames(text) : QList<expr::NameReference>();
    const bool readsVariable =
        std::any_of(references.cbegin(), references.cend(), [&](const auto &reference) {
            return variables.contains(reference.parts.value(0));
        });
    if (readsVariable || arithmetic.match(text).hasMatch())
        return u"An expression begins with \"=\": \"=%1\""_s.arg(shown(text));
    return u"Write a number"_s;
}

std::optional<Flaw> valueFlaw(const ParameterDef &parameter, const QVariant &value,
                              const QStringList &variables)
{
    if (parameter.isChildParameter() || parameter.type == SDFParameterType::String)
        return std::nullopt;
    if (!value.isValid())
        return Flaw{u"it has no value, so its default, %1, is used"_s.arg(
                        shownValue(parameter.defaultValue)),
                    u"Write a value behind the colon, or remove the key"_s};
    if (const auto components = componentsOf(parameter.type))
        return listFlaw(*components, value, variables);
    if (const auto flaw = numberFlaw(parameter, value, variables))
        return flaw;
    const bool isTruth = parameter.type == SDFParameterType::Bool;
    return isTruth ? std::nullopt : rangeFlaw(parameter, value.toDouble());
}

} // namespace corvane::check
