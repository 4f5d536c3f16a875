#pragma once

#include <QIcon>
#include <QImage>
#include <QString>

namespace corvane::model {

/// The small pictures of the scene's trees, drawn from a table of outlines.
///
/// Images need no window; icons do, since they hold pixmaps.
class IconShapes
{
public:
    /// Whether there is a picture of that name.
    static bool contains(const QString &name);
    /// A square picture; that of any other name is a plain cube.
    static QImage image(const QString &name, int pixels);
    /// In the usual sizes, made once. Empty without a QGuiApplication.
    static QIcon icon(const QString &name);
};

} // namespace corvane::model
