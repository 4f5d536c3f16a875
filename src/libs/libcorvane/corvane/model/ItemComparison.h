#pragma once

class QVariant;

namespace corvane::model {

class Instance;

/// Whether two values are the same in a file, which does not tell 1 from 1.0.
bool isSameValue(const QVariant &a, const QVariant &b);

/// Whether two items of the field are the same in a file but for the selection, and for who lists
/// them: their provenance repeats that for those who read.
bool isSameItem(const Instance &a, const Instance &b);

} // namespace corvane::model
