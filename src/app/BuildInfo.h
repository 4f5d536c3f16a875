#pragma once

#include <QString>

/// What the build knows of itself.
namespace BuildInfo {

/// The short commit id that the program was built from; empty when it was built outside a
/// repository.
QString commitShort();

} // namespace BuildInfo
