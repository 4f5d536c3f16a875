#pragma once

#include <QString>

namespace corvane::zirn {

/// Renames a damaged file to "<path>.damaged", or "<path>.damaged-2" and so on where that is
/// taken. Answers the new name; empty when it could not be renamed.
QString setAside(const QString &path);

} // namespace corvane::zirn
