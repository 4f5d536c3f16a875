#pragma once

#include <corvane/ops/CorvaneOp.h>

namespace corvane::ops {

struct OpEntry;

/// Says what an op will do, for the lines of an approval or a log.
class CorvaneOpDescriber
{
public:
    /// One line, as `Add box "Lid"` or `Remove item`; the kind itself when that is unknown.
    static QString describe(const CorvaneOp &op);
    static QString describe(const OpEntry &entry, const QVariantMap &args);
    /// The name that the user sees for a varset: "Default" for the unnamed one.
    static QString varsetLabel(const QString &varsetName);
};

/// Fills the holes %1 to %9 of a text, however many it has. Values are not looked into for holes.
QString fillText(QStringView text, const QStringList &values);

} // namespace corvane::ops
