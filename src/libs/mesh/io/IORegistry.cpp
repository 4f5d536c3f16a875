#include "IORegistry.h"

#include "ObjExporter.h"
#include "ObjImporter.h"
#include "PlyExporter.h"
#include "PlyImporter.h"
#include "StlExporter.h"
#include "StlImporter.h"
#include "VtkExporter.h"
#include "VtkImporter.h"

using namespace Qt::StringLiterals;

namespace mesh::io {

template<typename T>
const IORegistry<T> &IORegistry<T>::instance()
{
    static const IORegistry registry;
    return registry;
}

template<typename T>
void IORegistry<T>::registerBuiltinFormats()
{
    m_importers.push_back(std::make_unique<StlImporter<T>>());
    m_importers.push_back(std::make_unique<ObjImporter<T>>());
    m_importers.push_back(std::make_unique<PlyImporter<T>>());
    m_importers.push_back(std::make_unique<VtkImporter<T>>());
    m_exporters.push_back(std::make_unique<StlExporter<T>>());
    m_exporters.push_back(std::make_unique<ObjExporter<T>>());
    m_exporters.push_back(std::make_unique<PlyExporter<T>>());
    m_exporters.push_back(std::make_unique<VtkExporter<T>>());
}

template<typename T>
Result<Mesh<T>> IORegistry<T>::load(const QString &path, const ImportOptions &options) const
{
    for (const auto &importer : m_importers)
        if (importer->canRead(path))
            return importer->read(path, options);
    return Error{u"No importer found for: %1"_s.arg(path), NotFound};
}

template<typename T>
Result<void> IORegistry<T>::save(const Mesh<T> &mesh, const QString &path,
                                 const ExportOptions &options) const
{
    for (const auto &exporter : m_exporters)
        if (exporter->canWrite(path))
            return exporter->write(mesh, path, options);
    return Error{u"No exporter found for: %1"_s.arg(path), NotFound};
}

template class IORegistry<float>;

} // namespace mesh::io
