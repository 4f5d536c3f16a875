#include <corvane/expr/NameRewriter.h>

#include <corvane/expr/NameScanner.h>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace corvane::expr {

namespace {

/// Plain identifiers with dots between them are read without quotes.
QString written(const QString &name)
{
    const QStringList parts = name.split(u'.');
    const bool isPlain = std::all_of(parts.cbegin(), parts.cend(), isPlainIdentifier);
    return isPlain ? name : u'"' + name + u'"';
}

/// How many parts of the reference name what is renamed, behind a "default." that stays; 0 when
/// none do.
qsizetype renamedParts(const NameReference &reference, const QString &oldName, RenamedKind kind,
                       const CompileContext &context)
{
    const qsizetype first = reference.isDefaultScoped() ? 1 : 0;
    const QStringList parts = reference.parts.mid(first);
    QString known;
    for (qsizetype count = parts.size(); count > 0 && known.isEmpty(); --count) {
        const QString path = parts.mid(0, count).join(u'.');
        if (context.isKnown(path))
            known = path;
    }
    const qsizetype oldParts = oldName.count(u'.') + 1;
    // A quoted part may have dots of its own.
    const bool wholeIsQuoted = reference.isQuoted && parts.at(0) == oldName;
    const qsizetype named = wholeIsQuoted ? 1 : oldParts;
    if (parts.size() < named || parts.mid(0, named).join(u'.') != oldName)
        return 0;
    const bool isMemberOfIt = known.startsWith(oldName + u'.');
    const bool fits = known.isEmpty() || (kind != RenamedKind::Instance && known == oldName) ||
                      (kind != RenamedKind::Variable && isMemberOfIt);
    return fits ? first + named : 0;
}

} // namespace

QString rewriteName(const QString &text, const QString &oldName, const QString &newName,
                    RenamedKind kind, const CompileContext &context)
{
    QString rewritten;
    qsizetype copied = 0;
    const QList<NameReference> references = scanNames(text);
    for (const NameReference &reference : references) {
        const qsizetype parts = renamedParts(reference, oldName, kind, context);
        if (parts == 0)
            continue;
        const bool scoped = reference.isDefaultScoped();
        const qsizetype begin = scoped ? reference.ends.at(0) + 1 : reference.position;
        rewritten += QStringView(text).mid(copied, begin - copied);
        rewritten += written(newName);
        copied = reference.ends.at(parts - 1);
    }
    return rewritten += QStringView(text).mid(copied);
}

} // namespace corvane::expr
