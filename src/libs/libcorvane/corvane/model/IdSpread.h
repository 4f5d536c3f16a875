#pragma once

#include <QVariantMap>

namespace corvane::model {

/// Whether the ids of a scene's items can be looked up by their hash, before anything does.
///
/// The hash of a uuid is the exclusive or of its words: a script that counts in two of them at
/// once, or somebody who means to, makes ids that all have the same one. Each lookup then takes as
/// long as there are items, and a scene of a hundred thousand items takes hours to open.
///
/// @param block  of a scene file of either version
/// @return what is wrong with them, empty when they are fine; linear in the items
QString flawOfIds(const QVariantMap &block);

} // namespace corvane::model
