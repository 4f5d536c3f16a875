#pragma once

#include <QString>

namespace corvane::ops {

/// Ops that were made as one, and where they lie on the undo stack.
struct BatchMarker
{
    QString batchId{};
    QString label{};
    qint32 startIndex = 0; ///< position of the undo stack before the batch
    qint32 endIndex = 0;   ///< and behind it; the same when nothing was changed

    bool operator==(const BatchMarker &) const = default;
};

} // namespace corvane::ops
