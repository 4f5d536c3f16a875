#include <corvane/asset/MeshImport.h>

#include <mesh/io/MeshLoader.h>

#include <QFileInfo>

namespace corvane::asset {

using namespace Qt::StringLiterals;

namespace {

// How far a job is when a phase has ended.
constexpr int readPercent = 40;
constexpr int wholePercent = 70;
constexpr int allPercent = 100;

MeshImportResult failed(const QString &error)
{
    MeshImportResult result;
    result.error = error;
    return result;
}

QString loadError(const QString &text)
{
    constexpr auto prefix = "Failed to load mesh: "_L1;
    return text.startsWith(prefix) ? text : prefix + text;
}

} // namespace

MeshImport::MeshImport(Progress progress)
    : m_progress(std::move(progress))
{}

MeshImportResult MeshImport::run(const MeshImportContext &context)
{
    QString error;
    ::mesh::io::ImportOptions options;
    options.progress = [this](qint64 current, qint64 total) {
        m_percent = total > 0 ? int(readPercent * std::min(current, total) / total) : 0;
        return goesOn();
    };
    const auto mesh = ::mesh::io::MeshLoader::loadFromFile(context.absolutePath, &error, options);
    if (!mesh)
        return failed(loadError(error));
    m_percent = readPercent;
    MeshImportResult result;
    result.name =
        mesh->name.isEmpty() ? QFileInfo(context.absolutePath).completeBaseName() : mesh->name;
    result.vertexCount = mesh->vertices.size();
    result.faceCount = mesh->elements.size();
    result.assetId = context.assetId;
    result.mesh = mesh;
    result.materials = mesh->metadata.value(u"materials"_s).toList();
    result.materialNameToId = mesh->metadata.value(u"materialNameToId"_s).toMap();
    if (goesOn())
        result.levels = levelsOf(*mesh);
    m_percent = wholePercent;
    if (goesOn())
        split(result);
    m_percent = allPercent;
    return goesOn() ? result : failed(u"Import cancelled"_s);
}

::mesh::process::MeshLODSet MeshImport::levelsOf(const ::mesh::Mesh<float> &mesh) const
{
    return ::mesh::process::MeshLODGenerator::generate(mesh, MeshImportWorker::levelCount,
                                                       [this](qint64, qint64) { return goesOn(); });
}

void MeshImport::split(MeshImportResult &result)
{
    result.parts = ::mesh::io::splitByMaterial(*result.mesh);
    result.isMultiMaterial = result.parts.size() > 1;
    if (!result.isMultiMaterial) {
        // The one part is the whole, whose levels are there.
        result.partLevels.fill(result.levels, result.parts.size());
        return;
    }
    for (const auto &part : std::as_const(result.parts)) {
        result.partLevels.append(levelsOf(part.mesh));
        m_percent = wholePercent + int((allPercent - wholePercent) * result.partLevels.size() /
                                       result.parts.size());
        if (!goesOn())
            return;
    }
}

} // namespace corvane::asset
