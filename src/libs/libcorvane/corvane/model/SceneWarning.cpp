#include "SceneWarning.h"

using namespace Qt::StringLiterals;

namespace corvane::model {

QString SceneWarning::toString() const
{
    return u"Warning: "_s + text();
}

QString SceneWarning::text() const
{
    const QString place = line > 0 ? u"line %1"_s.arg(line) : QString();
    const QString separator = place.isEmpty() || where.isEmpty() ? QString() : u", "_s;
    const QString stop = remedy.endsWith(u'?') || remedy.isEmpty() ? QString() : u"."_s;
    const QString whole = place + separator + where + u": "_s + what + u". "_s + remedy + stop;
    return whole.simplified();
}

} // namespace corvane::model
