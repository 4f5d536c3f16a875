#include <corvane/ops/DrivenTransform.h>

#include <corvane/model/ParameterValue.h>
#include <corvane/model/PlainValue.h>

#include <algorithm>
#include <optional>

using namespace Qt::StringLiterals;

namespace corvane::ops {

namespace {

const std::array<QString, 3> axisNames{u"x"_s, u"y"_s, u"z"_s};

QString numberText(float value)
{
    const QString text = QString::number(double(value), 'g', 9);
    return text.contains(u'.') || text.contains(u'e') ? text : text + ".0"_L1;
}

/// The arguments of "vec3(a, b, c)"; none of any other text.
std::optional<std::array<QString, 3>> componentsOf(const QString &expression)
{
    const QString text = expression.trimmed();
    if (!text.startsWith("vec3("_L1) || !text.endsWith(u')'))
        return std::nullopt;
    QStringList parts{QString()};
    int depth = 0;
    const QString inside = text.mid(5, text.size() - 6);
    for (const QChar c : inside) {
        depth += QStringView(u"([{").contains(c) ? 1 : QStringView(u")]}").contains(c) ? -1 : 0;
        if (depth < 0)
            return std::nullopt; // the last parenthesis closes another one than the first
        if (c == u',' && depth == 0)
            parts.append(QString());
        else
            parts.last() += c;
    }
    if (parts.size() != 3)
        return std::nullopt;
    return std::array{parts[0].trimmed(), parts[1].trimmed(), parts[2].trimmed()};
}

bool isNumber(const QString &text)
{
    bool is = false;
    text.toDouble(&is);
    return is;
}

/// What is given for each axis of a part, in whatever form; none when it is in none.
std::optional<std::array<QVariant, 3>> axesIn(const QVariant &value)
{
    std::array<QVariant, 3> axes{};
    const QVariant plain = model::plainForFile(value);
    const bool isMap = plain.typeId() == QMetaType::QVariantMap;
    const bool isList = plain.typeId() == QMetaType::QVariantList;
    const QVariantMap map = plain.toMap();
    const QVariantList list = plain.toList();
    if (isList && (list.isEmpty() || list.size() > 3))
        return std::nullopt;
    for (std::size_t axis = 0; axis < axes.size(); ++axis)
        axes[axis] = isMap    ? map.value(axisNames[axis])
                     : isList ? list.value(qsizetype(axis))
                              : plain;
    return axes;
}

/// The text of an expression that drives a part as a whole.
QString wholeExpression(const QVariant &value)
{
    return model::ParameterValue::fromVariant(value).expression.trimmed();
}

} // namespace

QString DrivenTransform::axisKey(const model::TransformPart &part, int axis)
{
    return QString(QChar(part.letter)) + axisNames[std::size_t(axis)];
}

bool DrivenTransform::isDriven() const
{
    return std::any_of(expressions.cbegin(), expressions.cend(),
                       [](const QString &text) { return !text.isEmpty(); });
}

QString DrivenTransform::take(const QVariantMap &args, int &count)
{
    static const QString unreadable =
        u"translate, rotate and scale are three finite numbers or expressions each"_s;
    count = 0;
    for (std::size_t index = 0; index < parts.size(); ++index) {
        const model::TransformPart &part = parts[index];
        const QVariant given = args.value(part.key);
        const QString whole = wholeExpression(given);
        if (!whole.isEmpty()) {
            drive(index, whole);
            ++count;
        }
        auto axes = whole.isEmpty() ? axesIn(given) : std::optional(Axes());
        if (!axes)
            return unreadable;
        for (int axis = 0; axis < 3; ++axis) {
            const QVariant single = args.value(axisKey(part, axis));
            if (single.isValid() && !single.isNull())
                (*axes)[std::size_t(axis)] = single;
        }
        const QString flaw = takePart(index, *axes, count);
        if (!flaw.isEmpty())
            return flaw == u"unreadable"_s ? unreadable : flaw;
    }
    return {};
}

/// The expressions of the axes as they are; of a scale one, which is x.
std::array<QString, 3> DrivenTransform::axisTexts(std::size_t index) const
{
    const QString &expression = expressions[index];
    const QVector3D &values = numbers.*model::transformField<Transform>(index);
    if (expression.isEmpty())
        return {numberText(values.x()), numberText(values.y()), numberText(values.z())};
    if (parts[index].isUniform)
        return {expression, numberText(values.y()), numberText(values.z())};
    if (const auto components = componentsOf(expression))
        return *components;
    const QString whole = u'(' + expression + u')';
    return {whole + ".x"_L1, whole + ".y"_L1, whole + ".z"_L1};
}

QString DrivenTransform::takePart(std::size_t index, const Axes &axes, int &count)
{
    const bool isScale = parts[index].isUniform;
    std::array<QString, 3> texts = axisTexts(index);
    const int countBefore = count;
    for (std::size_t axis = 0; axis < axes.size(); ++axis) {
        if (!axes[axis].isValid() || axes[axis].isNull())
            continue;
        ++count;
        const auto value = model::ParameterValue::fromVariant(axes[axis]);
        const auto number = model::readFloat(axes[axis]);
        if (value.isExpression() && isScale && axis > 0)
            return u"an expression can drive sx alone, which is the scale of all axes"_s;
        if (!value.isExpression() && !number)
            return u"unreadable"_s;
        texts[axis] = value.isExpression() ? value.expression.trimmed() : numberText(*number);
        if (number)
            numbersOf(index)[int(axis)] = *number;
    }
    if (count == countBefore)
        return {};
    const bool isDriven =
        isScale ? !isNumber(texts[0]) : !std::all_of(texts.cbegin(), texts.cend(), isNumber);
    for (int axis = 0; axis < 3 && !isDriven; ++axis)
        numbersOf(index)[axis] = texts[std::size_t(axis)].toFloat();
    const QString vector = u"vec3(%1, %2, %3)"_s.arg(texts[0], texts[1], texts[2]);
    drive(index, !isDriven ? QString() : isScale ? texts[0] : vector);
    return {};
}

void DrivenTransform::drive(std::size_t index, const QString &expression)
{
    if (expressions[index] == expression)
        return;
    expressions[index] = expression;
    found[index] = QVariant();
}

} // namespace corvane::ops
