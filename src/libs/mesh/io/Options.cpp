#include "Options.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace mesh::io {

bool ExportOptions::effectiveBinary() const
{
    return extras.value(u"binary"_s, binary).toBool();
}

int ExportOptions::effectivePrecision() const
{
    constexpr int mostDigits = 30;
    return std::clamp(extras.value(u"precision"_s, precision).toInt(), 0, mostDigits);
}

} // namespace mesh::io
