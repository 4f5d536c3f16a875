#include <corvane/check/LayoutCheck.h>

using namespace Qt::StringLiterals;

namespace corvane::check {

namespace {

using Remark = yaml::YamlParser::Remark;

void addDroppedLines(const Remark &remark, Findings &findings)
{
    const QString begin = shownValue(QVariant(remark.text));
    const QString what =
        remark.count == 1
            ? u"the line %1 begins in the column of no block, so it is left out"_s.arg(begin)
            : u"%1 lines from %2 on begin in the column of no block, so they are left out"_s.arg(
                  QString::number(remark.count), begin);
    findings.addAtLine(remark.line, u"indentation"_s, what,
                       u"Align it with the keys that it belongs to"_s);
}

void addRemark(const Remark &remark, Findings &findings)
{
    switch (remark.kind) {
    case Remark::Kind::DroppedLines:
        return addDroppedLines(remark, findings);
    case Remark::Kind::RepeatedKey:
        return findings.addAtLine(
            remark.line, shown(remark.text),
            u"the key stands twice in its block, so what the first one gave is lost"_s,
            u"Give one of them another name"_s);
    case Remark::Kind::TabIndent:
        return findings.addAtLine(
            remark.line, u"indentation"_s,
            u"%1 begins with a tab, which counts as 2 blanks"_s.arg(
                remark.count == 1 ? u"this line"_s : u"1 of %1 lines"_s.arg(remark.count)),
            u"Indent with blanks alone"_s);
    case Remark::Kind::DroppedEntry:
        return findings.addAtLine(
            remark.line, u"value"_s,
            u"%1 in braces is no \"key: value\", so it is left out"_s.arg(shownValue(remark.text)),
            u"Put a colon between key and value"_s);
    case Remark::Kind::UnclosedValue:
        return findings.addAtLine(
            remark.line, u"value"_s,
            u"%1 does not end on its line, so it is taken as a text"_s.arg(shownValue(remark.text)),
            remark.text.startsWith(u'[')
                ? u"Close it with \"]\", or write the entries below as \"- entry\""_s
                : u"Close it with \"}\", or write the entries below as \"key: value\""_s);
    }
}

/// What to do about a sentence of a reader, known by a part of it.
struct Advice
{
    QLatin1StringView part;
    QLatin1StringView remedy;
};

constexpr Advice advice[] = {
    {"has the id of another"_L1, "Give it an id of its own, or none"_L1},
    {"occurs twice"_L1, "Give one of them another name"_L1},
    {"its parent"_L1, "Correct or remove its \"parentId\""_L1},
    {"under itself"_L1, "Correct or remove its \"parentId\""_L1},
    {"has a place already"_L1, "List a node once; a component may stand in many places"_L1},
    {"unknown structure root"_L1, "Name one of its own instances under \"root\""_L1},
    {"targets unknown item"_L1, "Name one of its own instances under \"item\""_L1},
    {"not valid UTF-8"_L1, "Save the file as UTF-8"_L1},
    {"expansion depth cap"_L1, "Let no component contain itself"_L1},
    {"LogicalSceneCompiler"_L1, "Correct the component"_L1},
    {"left expanded"_L1, "Correct the component"_L1},
};

/// Sentences whose subject is told elsewhere, with its line.
constexpr QLatin1StringView toldElsewhere[] = {
    "names no item and was dropped"_L1,
    "is no map and was dropped"_L1,
    "Unknown child reference: "_L1,
    "Unknown root reference: "_L1,
    "A definition without an id was dropped"_L1,
    "unknown component definition"_L1,
};

/// The count of what the reader did not list is not that of what is left to tell.
bool isCount(const QString &warning)
{
    return warning.startsWith("and "_L1) && warning.endsWith(" more"_L1);
}

bool isToldElsewhere(const QString &warning)
{
    return isCount(warning) ||
           std::any_of(std::begin(toldElsewhere), std::end(toldElsewhere),
                       [&warning](QLatin1StringView part) { return warning.contains(part); });
}

QString remedyOf(const QString &warning)
{
    for (const Advice &row : advice) {
        if (warning.contains(row.part))
            return row.remedy;
    }
    return u"Correct the file"_s;
}

} // namespace

void checkLayout(const QList<Remark> &remarks, Findings &findings)
{
    for (const Remark &remark : remarks)
        addRemark(remark, findings);
}

void checkReaderWarnings(const QStringList &warnings, Findings &findings)
{
    for (const QString &warning : warnings) {
        if (!isToldElsewhere(warning))
            findings.addNamed(u"scene"_s, {}, warning.left(300), remedyOf(warning));
    }
}

} // namespace corvane::check
