#include "SceneWarning.h"

using namespace Qt::StringLiterals;

namespace corvane::model {

QString SceneWarning::toString() const
{
    const QString place = line > 0 ? u"line %1"_s.arg(line) : QString();
    const QString separator = place.isEmpty() || where.isEmpty() ? QString() : u", "_s;
    const QString stop = remedy.endsWith(u'?') || remedy.isEmpty() ? QString() : u"."_s;
    const QString text =
        u"Warning: "_s + place + separator + where + u": "_s + what + u". "_s + remedy + stop;
    return text.simplified();
}

} // namespace corvane::model
