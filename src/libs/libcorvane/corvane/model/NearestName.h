#pragma once

#include <QString>
#include <QStringList>

namespace corvane::model {

/// The name that was most likely meant by one that is not known: the candidate with the fewest
/// slips (a letter too many, missing, wrong, or two swapped; case does not count), the first of
/// equals. Empty when none is near enough, which is a third of the longer name's letters.
///
/// The slips are the restricted edit distance (Damerau 1964; dynamic programming after Wagner and
/// Fischer 1974). Names longer than 64 letters are nobody's slip and match only exactly.
QString nearestName(const QString &name, const QStringList &candidates);

/// "Did you mean \"radius\"?" when there is a near name, otherwise `otherwise`.
QString didYouMean(const QString &name, const QStringList &candidates, const QString &otherwise);

} // namespace corvane::model
