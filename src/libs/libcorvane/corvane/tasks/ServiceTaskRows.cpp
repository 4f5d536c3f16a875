// The tasks on the camera and on mesh files.
#include <corvane/tasks/CameraTasks.h>
#include <corvane/tasks/MeshTasks.h>
#include <corvane/tasks/TaskRow.h>

using namespace Qt::StringLiterals;

namespace corvane::zirn {

namespace {

using enum TaskKind;

constexpr auto meshScope = "corvane.mesh.export"_L1;
constexpr auto meshTags = "corvane mesh export"_L1;
constexpr auto benchTags = "corvane mesh bench"_L1;

const TaskRow rows[] = {
    {.name = "corvane.camera.reset"_L1,
     .kind = Plain,
     .description = u"Reset the 3D viewport camera to the application's default view.",
     .scope = "corvane.scene.read"_L1,
     .tags = "camera"_L1,
     .example = uR"({"task": "corvane.camera.reset", "args": {}})",
     .isReadOnly = true,
     .isIdempotent = true,
     .plain = &resetCamera},
    {.name = "corvane.camera.fit_content"_L1,
     .kind = Plain,
     .description =
         u"Reframe the 3D viewport camera so every rooted instance in the scene is visible. Useful "
         u"immediately after creating or modifying geometry \u2014 otherwise the user may be left "
         u"zoomed in on empty space.",
     .scope = "corvane.scene.read"_L1,
     .tags = "camera"_L1,
     .example = uR"({"task": "corvane.camera.fit_content", "args": {}})",
     .isReadOnly = true,
     .isIdempotent = true,
     .plain = &fitCameraToContent},
    {.name = "corvane.camera.fit_selection"_L1,
     .kind = Plain,
     .description = u"Reframe the 3D viewport camera so the currently selected instances fill the "
                    u"view. Falls back to fit-content when nothing is selected.",
     .scope = "corvane.scene.read"_L1,
     .tags = "camera"_L1,
     .example = uR"({"task": "corvane.camera.fit_selection", "args": {}})",
     .isReadOnly = true,
     .isIdempotent = true,
     .plain = &fitCameraToSelection},
    // These describe no parameters, and their examples write "params": what they take stands in the
    // description and in the example.
    {.name = "mesh.export"_L1,
     .kind = Plain,
     .description = u"Export a .corvane scene to a mesh file with a chosen pipeline (extractor + "
                    u"postprocess) and return the SDF-ground-truth metrics",
     .outputs = "ok meshPath triangles vertices surfaceMean featureMean manifold metrics"_L1,
     .scope = meshScope,
     .tags = meshTags,
     .example = uR"({"task": "mesh.export", "params": {"scenePath": "part.corvane", )"
                uR"("outputPath": "part.stl", "extractor": "DC-octree", "cellSize": 0.1}})",
     .isIdempotent = true,
     .plain = &exportMesh},
    {.name = "mesh.bench.run"_L1,
     .kind = Plain,
     .description =
         u"Queue a scenes\u00d7definitions mesh-export bench set as a background batch job "
         u"(overnight workflow); results land in a lab results DB browsable with ResultLab or "
         u"mesh.bench.query",
     .outputs = "jobId"_L1,
     .scope = meshScope,
     .tags = benchTags,
     .example = uR"({"task": "mesh.bench.run", "params": {"scenesDir": "scenes", )"
                uR"("definitionsDir": "definitions", "dbPath": "bench.db", )"
                uR"("artifactsDir": "artifacts"}})",
     .plain = &runBench},
    {.name = "mesh.bench.query"_L1,
     .kind = Plain,
     .description =
         u"Read mesh-export bench results (per scene \u00d7 pipeline metrics) from a lab "
         u"results DB; defaults to the newest test set",
     .outputs = "count rows"_L1,
     .scope = meshScope,
     .tags = benchTags,
     .example = uR"({"task": "mesh.bench.query", "params": {"dbPath": "bench.db"}})",
     .isReadOnly = true,
     .isIdempotent = true,
     .plain = &queryBench},
    {.name = "mesh.bench.compare"_L1,
     .kind = Plain,
     .description =
         u"Diff two pipeline definitions across the corpus in a bench results DB \u2014 the 'which "
         u"stage buys how much' answer: per-scene and total triangle counts, surface error and the "
         u"manifold gate",
     .outputs = "scenes comparison summary"_L1,
     .scope = meshScope,
     .tags = benchTags,
     .example = uR"({"task": "mesh.bench.compare", "params": {"dbPath": "bench.db", )"
                uR"("definitionA": "mc", "definitionB": "dc"}})",
     .isReadOnly = true,
     .isIdempotent = true,
     .plain = &compareBench},
};

} // namespace

std::span<const TaskRow> serviceTaskRows()
{
    return rows;
}

} // namespace corvane::zirn
