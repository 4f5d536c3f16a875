#include "ConformanceCase.h"

#include <QFile>
#include <QFileInfo>

#include <limits>

using namespace Qt::StringLiterals;

namespace {

QStringList words(QStringView text)
{
    return text.toString().split(u' ', Qt::SkipEmptyParts);
}

double number(ConformanceCase &into, const QString &word)
{
    static const QHash<QString, double> named{{u"true"_s, 1.0},
                                              {u"false"_s, 0.0},
                                              {u"inf"_s, std::numeric_limits<double>::infinity()},
                                              {u"-inf"_s, -std::numeric_limits<double>::infinity()},
                                              {u"nan"_s, std::numeric_limits<double>::quiet_NaN()}};
    bool isNumber = named.contains(word);
    const double value = isNumber ? named.value(word) : word.toDouble(&isNumber);
    if (!isNumber)
        into.mistakes.append(u"no number: "_s + word);
    return value;
}

QList<double> numbers(ConformanceCase &into, const QStringList &texts)
{
    QList<double> list;
    for (const QString &text : texts)
        list.append(number(into, text));
    return list;
}

void readInput(ConformanceCase &into, QStringView text)
{
    const QStringList parts = words(text);
    QString keyword = parts.value(0);
    const bool isArray = keyword.endsWith(u"[]");
    if (isArray)
        keyword.chop(2);
    const auto type = eval::typeFromKeyword(keyword);
    if (!type || parts.value(2) != u"=" || parts.size() < 4)
        into.mistakes.append(u"no input: "_s + text.toString());
    else
        into.inputs.append({parts[1], *type, isArray, numbers(into, parts.sliced(3))});
}

void readExpectation(ConformanceCase &into, QStringView text)
{
    QString backend;
    if (text.startsWith(u'[')) {
        backend = text.sliced(1).left(text.indexOf(u']') - 1).toString();
        text = text.sliced(text.indexOf(u']') + 1);
    }
    into.expected.insert(backend, numbers(into, words(text.sliced(text.indexOf(u':') + 1))));
}

/// Remarks on a place; a place on another line than its own is a mistake of the file.
void readPlaced(ConformanceCase &into, QStringList &list, QStringView text, int line)
{
    if (!text.startsWith(u"%1:"_s.arg(line)))
        into.mistakes.append(
            u"line %1 has a remark on another line: %2"_s.arg(QString::number(line), text));
    list.append(text.toString());
}

void readRemark(ConformanceCase &into, QStringView remark, int line)
{
    const auto after = [remark](QLatin1StringView word) {
        return remark.sliced(word.size()).trimmed();
    };
    if (remark.startsWith("input:"_L1))
        readInput(into, after("input:"_L1));
    else if (remark.startsWith("expect"_L1))
        readExpectation(into, after("expect"_L1));
    else if (remark.startsWith("type:"_L1))
        into.type = after("type:"_L1).toString();
    else if (remark.startsWith("lacks:"_L1))
        into.lacking = words(after("lacks:"_L1));
    else if (remark.startsWith("error "_L1))
        readPlaced(into, into.errors, after("error "_L1), line);
    else if (remark.startsWith("fault "_L1))
        readPlaced(into, into.faults, after("fault "_L1), line);
}

void readLine(ConformanceCase &into, const QString &text, int line)
{
    into.source += text + u'\n';
    const QStringList parts = text.split(u"//"_s);
    for (const QString &remark : parts.sliced(1))
        readRemark(into, QStringView(remark).trimmed(), line);
}

} // namespace

QList<double> ConformanceCase::expectedOn(const QString &backend) const
{
    return expected.value(backend, expected.value(QString()));
}

QList<ConformanceCase> readConformanceFile(const QString &path)
{
    QFile file(path);
    QList<ConformanceCase> cases;
    if (!file.open(QIODevice::ReadOnly))
        return cases;
    const QString base = QFileInfo(path).completeBaseName();
    const QStringList lines = QString::fromUtf8(file.readAll()).split(u'\n');
    int line = 0;
    for (const QString &text : lines) {
        if (text.startsWith(u"// case: ")) {
            cases.append(ConformanceCase());
            cases.last().name = base + u": "_s + text.sliced(9).trimmed();
            line = 0;
        } else if (!cases.isEmpty()) {
            readLine(cases.last(), text, ++line);
        }
    }
    return cases;
}
