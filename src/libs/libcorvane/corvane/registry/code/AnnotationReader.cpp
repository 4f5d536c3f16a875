#include "AnnotationReader.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace corvane::shader {

using registry::UIHint;

namespace {

struct HintWord
{
    QLatin1StringView word;
    UIHint hint;
};
constexpr HintWord hintWords[] = {
    {"slider"_L1, UIHint::Slider},         {"spinbox"_L1, UIHint::SpinBox},
    {"color"_L1, UIHint::ColorPicker},     {"colorpicker"_L1, UIHint::ColorPicker},
    {"angle"_L1, UIHint::Angle},           {"distance"_L1, UIHint::Distance},
    {"percentage"_L1, UIHint::Percentage}, {"percent"_L1, UIHint::Percentage},
};

UIHint hintOf(const QString &word)
{
    const QString lower = word.toLower();
    const auto *const found = std::find_if(std::begin(hintWords), std::end(hintWords),
                                           [&](const HintWord &row) { return row.word == lower; });
    return found == std::end(hintWords) ? UIHint::Default : found->hint;
}

// "type name;" with a comment behind it, as a member or an argument on a line of its own.
const QRegularExpression &memberPattern()
{
    static const QRegularExpression pattern(u"^\\s*(\\w+)\\s+(\\w+)\\s*[;,)]?\\s*(?://(.*))?$"_s);
    return pattern;
}

QRegularExpression partPattern(const QString &pattern)
{
    return QRegularExpression(pattern, QRegularExpression::CaseInsensitiveOption);
}

QStringList splitOutsideParentheses(const QString &text)
{
    QStringList parts;
    int depth = 0;
    qsizetype begin = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] == u'(')
            ++depth;
        else if (text[i] == u')')
            --depth;
        else if (text[i] == u',' && depth <= 0) {
            parts.append(text.sliced(begin, i - begin).trimmed());
            begin = i + 1;
        }
    }
    parts.append(text.sliced(begin).trimmed());
    return parts;
}

void readPart(const QString &part, ParameterAnnotation &annotation)
{
    static const QRegularExpression range =
        partPattern(u"Range:\\s*([^\\s-]+(?:\\s*,\\s*[^\\s-]+)*)\\s*(?:-|to)\\s*(.+)"_s);
    static const QRegularExpression standard = partPattern(u"Default:\\s*(.+)"_s);
    static const QRegularExpression hint = partPattern(u"Hint:\\s*(\\w+)"_s);
    static const QRegularExpression unit = partPattern(u"Unit:\\s*(\\w+)"_s);
    static const QRegularExpression description = partPattern(u"Description:\\s*(.+)"_s);

    if (!part.contains(u':')) {
        if (annotation.description.isEmpty())
            annotation.description = part;
        return;
    }
    QRegularExpressionMatch match;
    const auto is = [&part, &match](const QRegularExpression &pattern) {
        match = pattern.match(part);
        return match.hasMatch();
    };
    if (is(range)) {
        annotation.minValue = match.captured(1).trimmed();
        annotation.maxValue = match.captured(2).trimmed();
        annotation.hasRange = true;
    } else if (is(standard)) {
        annotation.defaultValue = match.captured(1).trimmed();
        annotation.hasDefault = true;
    } else if (is(hint)) {
        annotation.hint = hintOf(match.captured(1));
        annotation.hasHint = true;
    } else if (is(unit)) {
        annotation.unit = match.captured(1);
    } else if (is(description)) {
        annotation.description = match.captured(1).trimmed();
    }
}

bool saysAnything(const ParameterAnnotation &annotation)
{
    return annotation.hasDefault || annotation.hasRange || annotation.hasHint ||
           !annotation.unit.isEmpty() || !annotation.description.isEmpty();
}

bool holdsPartName(const QString &text)
{
    constexpr QLatin1StringView names[] = {"Range:"_L1, "Default:"_L1, "Hint:"_L1, "Unit:"_L1,
                                           "Description:"_L1};
    return std::any_of(std::begin(names), std::end(names), [&](QLatin1StringView name) {
        return text.contains(name, Qt::CaseInsensitive);
    });
}

ParameterAnnotation annotationOf(const QString &name, const QMap<QString, QString> &keys)
{
    ParameterAnnotation annotation;
    annotation.name = name;
    const auto value = [&keys](const QString &key) {
        return keys.contains(key) ? QVariant(keys.value(key)) : QVariant();
    };
    annotation.defaultValue = value(u"default"_s);
    annotation.minValue = value(u"min"_s);
    annotation.maxValue = value(u"max"_s);
    annotation.stepValue = value(u"step"_s);
    annotation.hint = hintOf(keys.value(u"hint"_s));
    annotation.section = keys.value(u"section"_s);
    annotation.unit = keys.value(u"unit"_s);
    annotation.description = keys.value(u"description"_s);
    annotation.hasDefault = keys.contains(u"default"_s);
    annotation.hasRange = keys.contains(u"min"_s) || keys.contains(u"max"_s);
    annotation.hasHint = keys.contains(u"hint"_s);
    annotation.hasStep = keys.contains(u"step"_s);
    return annotation;
}

void takeRange(ParameterAnnotation &target, const ParameterAnnotation &source)
{
    target.minValue = source.minValue;
    target.maxValue = source.maxValue;
    target.hasRange = true;
}

// All but the range: what is there stays.
void fillAbsentButRange(ParameterAnnotation &target, const ParameterAnnotation &source)
{
    if (!target.hasDefault && source.hasDefault) {
        target.defaultValue = source.defaultValue;
        target.hasDefault = true;
    }
    if (!target.hasStep && source.hasStep) {
        target.stepValue = source.stepValue;
        target.hasStep = true;
    }
    if (!target.hasHint && source.hasHint) {
        target.hint = source.hint;
        target.hasHint = true;
    }
    for (const auto text : {&ParameterAnnotation::unit, &ParameterAnnotation::description,
                            &ParameterAnnotation::section}) {
        if ((target.*text).isEmpty())
            target.*text = source.*text;
    }
}

} // namespace

ParameterAnnotations AnnotationReader::read(const QString &source)
{
    if (!source.contains("//"_L1))
        return {};
    const QStringList lines = source.split(u'\n');
    for (const QString &line : lines)
        readLinesAbove(line);
    for (const QString &line : lines) {
        if (line.contains("//"_L1))
            readInline(line);
    }
    return m_annotations;
}

void AnnotationReader::readLine(const QString &text, ParameterAnnotation &annotation)
{
    const QStringList parts = splitOutsideParentheses(text);
    for (const QString &part : parts) {
        if (!part.isEmpty())
            readPart(part, annotation);
    }
}

void AnnotationReader::readLinesAbove(const QString &line)
{
    static const QRegularExpression keyPattern(u"^\\s*//\\s*@(\\w+)\\s+(.+)$"_s);
    if (line.contains(u'@')) {
        if (const auto match = keyPattern.match(line); match.hasMatch()) {
            m_pending.insert(match.captured(1).toLower(), match.captured(2).trimmed());
            return;
        }
    }
    if (m_pending.isEmpty())
        return;
    if (const auto match = memberPattern().match(line); match.hasMatch()) {
        ParameterAnnotation annotation = annotationOf(match.captured(2), m_pending);
        if (match.hasCaptured(3))
            readLine(match.captured(3), annotation);
        mergeAbove(annotation);
    }
    m_pending.clear();
}

// A comment behind a member takes the place of all that is known of it.
void AnnotationReader::readInline(const QString &line)
{
    static const QRegularExpression ownLinePattern(u"^\\s*//\\s*(\\w+)\\s*:\\s*(.+)$"_s);
    const auto member = memberPattern().match(line);
    if (member.hasMatch() && !member.captured(3).trimmed().isEmpty()) {
        ParameterAnnotation annotation;
        annotation.name = member.captured(2);
        readLine(member.captured(3), annotation);
        if (saysAnything(annotation))
            m_annotations.insert(annotation.name, annotation);
        return;
    }
    const auto own = ownLinePattern.match(line);
    if (own.hasMatch() && holdsPartName(own.captured(2))) {
        ParameterAnnotation annotation;
        annotation.name = own.captured(1);
        readLine(own.captured(2), annotation);
        fillAbsent(annotation);
    }
}

void AnnotationReader::mergeAbove(const ParameterAnnotation &annotation)
{
    const auto known = m_annotations.find(annotation.name);
    if (known == m_annotations.end()) {
        m_annotations.insert(annotation.name, annotation);
        return;
    }
    fillAbsentButRange(*known, annotation);
    if (annotation.hasRange)
        takeRange(*known, annotation);
}

void AnnotationReader::fillAbsent(const ParameterAnnotation &annotation)
{
    ParameterAnnotation &known = m_annotations[annotation.name];
    known.name = annotation.name;
    fillAbsentButRange(known, annotation);
    if (annotation.hasRange && !known.hasRange)
        takeRange(known, annotation);
}

} // namespace corvane::shader
