#pragma once

#include <corvane/model/CatalogMaterial.h>

#include <QList>

namespace corvane::model {

/// The materials that come with the program, with ids of their own at each call.
QList<CatalogMaterial> builtinMaterials();

/// The name of the one that new nodes get.
QString defaultMaterialName();

} // namespace corvane::model
