#pragma once

#include <QList>
#include <QString>

namespace corvane::model {

/// Something in a scene, or about its mesh, that its author most likely does not mean. The scene
/// loads and exports all the same; a person is told what is wrong, where, and what to do.
struct SceneWarning
{
    QString where{};  ///< the place in the user's own words: node, key, "settings.export.cellsize"
    QString what{};   ///< what is wrong, a sentence without its full stop
    QString remedy{}; ///< what to do about it, a sentence without its full stop
    int line = 0;     ///< line of the scene file, from 1; 0 when it is not known

    /// "Warning: line 12, plate.radus: nothing reads this key. Did you mean \"radius\"?" One line:
    /// line feeds of the parts become blanks. A remedy that ends in "?" gets no full stop.
    QString toString() const;
    /// The same without "Warning: ", for who says so in another way.
    QString text() const;

    bool operator==(const SceneWarning &) const = default;
};

} // namespace corvane::model
