#include <corvane/check/Findings.h>

#include <corvane/check/KeyLines.h>
#include <corvane/model/NearestName.h>
#include <corvane/model/PlainValue.h>

using namespace Qt::StringLiterals;

namespace corvane::check {

namespace {

constexpr qsizetype maxShown = 60;
constexpr qsizetype maxListed = 4;

bool isPrintable(QChar c)
{
    return c.category() != QChar::Other_Control && c.category() != QChar::Other_Format;
}

/// A warning is one line that changes nothing else on the terminal, whatever a file's names hold:
/// "\x1b" stands for an escape.
QString printable(const QString &text)
{
    QString result;
    for (const QChar c : text) {
        if (isPrintable(c) || c.isSpace())
            result += c;
        else
            result += u"\\x%1"_s.arg(uint(c.unicode()), 2, 16, QChar(u'0'));
    }
    return result;
}

/// "plate.radius": the words that every path of a node has say nothing to a person.
QString placeOf(const KeyPath &path)
{
    static const QStringList structure{u"corvane"_s, u"instances"_s, u"items"_s, u"params"_s};
    QStringList words;
    for (qsizetype i = 0; i < path.size(); ++i) {
        const QString &word = path.at(i);
        if (word.startsWith(u'#') && !words.isEmpty())
            words.last() += u'[' + word.mid(1) + u']';
        else if (i + 1 == path.size() || !structure.contains(word))
            words.append(shown(word));
    }
    return words.join(u'.');
}

} // namespace

void Findings::add(const KeyPath &path, const QString &what, const QString &remedy)
{
    addNamed(isFull() ? QString() : placeOf(path), path, what, remedy);
}

void Findings::addNamed(const QString &where, const KeyPath &path, const QString &what,
                        const QString &remedy)
{
    append({{.where = where, .what = what, .remedy = remedy}, path});
}

void Findings::addAtLine(int line, const QString &where, const QString &what, const QString &remedy)
{
    append({{.where = where, .what = what, .remedy = remedy, .line = line}, {}});
}

QString Findings::didYouMean(const QString &name, const QStringList &candidates,
                             const QString &otherwise) const
{
    return isFull() ? QString() : model::didYouMean(name, candidates, otherwise);
}

void Findings::append(const Finding &finding)
{
    if (++m_count > maxWarnings)
        return;
    Finding kept = finding;
    for (QString *part : {&kept.warning.where, &kept.warning.what, &kept.warning.remedy})
        *part = printable(*part);
    m_findings.append(kept);
}

QList<model::SceneWarning> Findings::warnings(const QString &text) const
{
    QList<KeyPath> paths;
    for (const Finding &finding : m_findings) {
        if (!finding.path.isEmpty())
            paths.append(finding.path);
    }
    const KeyLines lines(text, paths);
    QList<model::SceneWarning> warnings;
    for (const Finding &finding : m_findings) {
        warnings.append(finding.warning);
        if (!finding.path.isEmpty())
            warnings.last().line = lines.lineOf(finding.path);
    }
    // As the file has them; what has no line there comes last.
    std::stable_sort(warnings.begin(), warnings.end(), [](const auto &a, const auto &b) {
        return a.line > 0 && (b.line == 0 || a.line < b.line);
    });
    if (m_count > maxWarnings)
        warnings.append({.where = u"scene"_s,
                         .what = u"%1 more warnings are not shown"_s.arg(m_count - maxWarnings),
                         .remedy = u"Mend what is told first"_s});
    return warnings;
}

QString shown(const QString &text)
{
    const QString start = printable(text.left(maxShown)).simplified();
    return text.size() > maxShown ? start + u"..."_s : start;
}

QString shownValue(const QVariant &value)
{
    const QVariant plain = model::plainForFile(value);
    switch (plain.typeId()) {
    case QMetaType::QVariantMap:
        return u"a map"_s;
    case QMetaType::QVariantList: {
        QStringList entries;
        const QVariantList list = plain.toList().mid(0, maxListed);
        for (const QVariant &entry : list)
            entries.append(entry.typeId() == QMetaType::QVariantList ? u"[...]"_s
                                                                     : shownValue(entry));
        if (plain.toList().size() > maxListed)
            entries.append(u"..."_s);
        return u'[' + entries.join(u", "_s) + u']';
    }
    case QMetaType::Double:
    case QMetaType::Float:
        return QString::number(plain.toDouble(), 'g', 7);
    case QMetaType::QString:
        return u'"' + shown(plain.toString()) + u'"';
    default:
        return plain.isValid() ? shown(plain.toString()) : u"nothing"_s;
    }
}

QString listed(const QStringList &names)
{
    if (names.size() < 2)
        return names.join(QString());
    return names.mid(0, names.size() - 1).join(u", "_s) + u" and "_s + names.last();
}

} // namespace corvane::check
