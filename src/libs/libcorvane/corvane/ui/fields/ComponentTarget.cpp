#include <corvane/ui/fields/ComponentTarget.h>

#include <corvane/model/ParameterValue.h>
#include <corvane/ui/fields/NumberSpec.h>

#include <QColor>
#include <QVector2D>
#include <QVector3D>
#include <QVector4D>

using namespace Qt::StringLiterals;

namespace corvane::ui {

namespace {

using model::ParameterValue;

constexpr QLatin1StringView letters("xyzw");

QString constructorOf(int count)
{
    return u"vec%1("_s.arg(count);
}

/// A number that the field language takes for a fraction.
QString literal(double value)
{
    const QString text = numberText(value);
    return text.contains(u'.') || text.contains(u'e') ? text : text + u".0"_s;
}

bool isLiteral(const QString &text, double &value)
{
    bool ok = false;
    value = text.trimmed().toDouble(&ok);
    return ok;
}

} // namespace

QList<double> components(const QVariant &vector, int count)
{
    QList<double> parts;
    const auto take = [&parts](const auto &v, int size) {
        for (int i = 0; i < size; ++i)
            parts.append(double(v[i]));
    };
    if (vector.typeId() == QMetaType::QVector2D)
        take(vector.value<QVector2D>(), 2);
    else if (vector.typeId() == QMetaType::QVector3D)
        take(vector.value<QVector3D>(), 3);
    else if (vector.typeId() == QMetaType::QVector4D)
        take(vector.value<QVector4D>(), 4);
    else if (vector.typeId() == QMetaType::QColor) {
        const auto color = vector.value<QColor>();
        parts = {double(color.redF()), double(color.greenF()), double(color.blueF()),
                 double(color.alphaF())};
    } else {
        const QVariantList list = vector.toList();
        for (const QVariant &part : list)
            parts.append(part.toDouble());
    }
    parts.resize(count);
    return parts;
}

QStringList constructorArguments(const QString &text, int count)
{
    const QString trimmed = text.trimmed();
    const QString head = constructorOf(count);
    if (!trimmed.startsWith(head) || !trimmed.endsWith(u')'))
        return {};
    QStringList arguments{QString()};
    int depth = 0;
    for (qsizetype i = head.size(); i + 1 < trimmed.size(); ++i) {
        const QChar letter = trimmed.at(i);
        depth += letter == u'(' || letter == u'[' ? 1 : letter == u')' || letter == u']' ? -1 : 0;
        if (depth < 0) // "vec3(a) + b(c)"
            return {};
        if (letter == u',' && depth == 0)
            arguments.append(QString());
        else
            arguments.last() += letter;
    }
    for (QString &argument : arguments)
        argument = argument.trimmed();
    return arguments.size() == count && !arguments.contains(QString()) ? arguments : QStringList();
}

ComponentTarget::ComponentTarget(FieldTarget *vector, int index, int count, QObject *parent)
    : FieldTarget(parent)
    , m_vector(vector)
    , m_index(index)
    , m_count(count)
{
    connect(vector, &FieldTarget::changed, this, &ComponentTarget::changed);
}

QStringList ComponentTarget::texts(const FieldState &whole) const
{
    QStringList made = constructorArguments(whole.expression, m_count);
    if (!made.isEmpty())
        return made;
    const QList<double> numbers = components(whole.value, m_count);
    for (int i = 0; i < m_count; ++i)
        made.append(whole.isBound() ? u"(%1).%2"_s.arg(whole.expression, QString(letters[i]))
                                    : literal(numbers.at(i)));
    return made;
}

FieldState ComponentTarget::state() const
{
    if (!m_vector)
        return {.isReadOnly = true};
    FieldState state = m_vector->state();
    const FieldState whole = state;
    const double value = components(whole.value, m_count).at(m_index);
    state.value = whole.value.isValid() ? QVariant(value) : QVariant();
    state.isChanged = m_default ? value != *m_default : whole.isChanged;
    if (!whole.isBound())
        return state;
    double number = 0.0;
    const QString own = texts(whole).at(m_index);
    const bool isNumber = isLiteral(own, number);
    state.expression = isNumber ? QString() : own;
    state.isChanged = state.isChanged || !isNumber;
    if (isNumber) {
        state.value = number;
        state.failure.clear();
    }
    return state;
}

bool ComponentTarget::write(const QVariant &stored)
{
    if (!m_vector)
        return false;
    const FieldState whole = m_vector->state();
    const auto written = ParameterValue::fromVariant(stored);
    QList<double> numbers = components(whole.value, m_count);
    QStringList parts = texts(whole);
    numbers[m_index] = written.value().toDouble();
    parts[m_index] = written.isExpression() ? written.expression : literal(numbers.at(m_index));
    double ignored = 0.0;
    const bool isBound = std::any_of(parts.cbegin(), parts.cend(), [&ignored](const QString &part) {
        return !isLiteral(part, ignored);
    });
    QVariantList values;
    for (const double number : std::as_const(numbers))
        values.append(number);
    if (!isBound)
        return m_vector->write(values);
    const QString text = constructorOf(m_count) + parts.join(u", "_s) + u')';
    return m_vector->write(QVariant::fromValue(ParameterValue::fromExpression(text, values)));
}

bool ComponentTarget::reset()
{
    return m_default ? write(*m_default) : m_vector && m_vector->reset();
}

} // namespace corvane::ui
