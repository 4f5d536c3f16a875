#include "MeshLoader.h"

#include "IORegistry.h"

#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace mesh::io {

QSharedPointer<Mesh<float>> MeshLoader::loadFromFile(const QString &path, QString *errorOut,
                                                     const ImportOptions &options)
{
    const auto fail = [errorOut](const QString &message) {
        if (errorOut)
            *errorOut = message;
        return QSharedPointer<Mesh<float>>();
    };
    if (!QFileInfo::exists(path))
        return fail(u"File not found: %1"_s.arg(path));
    auto loaded = IORegistry<float>::instance().load(path, options);
    if (!loaded)
        return fail(u"Failed to load mesh: %1"_s.arg(loaded.error().message));
    return QSharedPointer<Mesh<float>>::create(std::move(loaded).value());
}

} // namespace mesh::io
