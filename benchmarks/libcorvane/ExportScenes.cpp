#include "ExportScenes.h"

#include <corvane/xport/ExportPipeline.h>

#include <QCoreApplication>

namespace exports {

using namespace Qt::StringLiterals;
using corvane::xport::ExportPipeline;
using corvane::xport::ExportRequest;
using corvane::xport::ExportResult;
using support::NodeTree;

namespace {

int moved(NodeTree &tree, float x, float y, float z, int child)
{
    return tree.add("translate"_L1, {x, y, z}, {child});
}

int sphere(NodeTree &tree)
{
    return tree.add("sphere"_L1, {4});
}

int csg(NodeTree &tree)
{
    const int box = tree.add("box"_L1, {2.98f, 0.98f, 2.98f});
    const int a = moved(tree, -1.51f, 0, 0, tree.add("cylinder"_L1, {0.61f, 4}));
    const int b = moved(tree, 1.51f, 0, -1.21f, tree.add("cylinder"_L1, {0.61f, 4}));
    const int c = moved(tree, 1.51f, 0, 1.21f, tree.add("cylinder"_L1, {0.61f, 4}));
    const int ring = moved(tree, 0, 1.21f, 0, tree.add("torus"_L1, {2.21f, 0.51f}));
    return tree.add("smooth_union"_L1, {0.3f}, {tree.add("subtract"_L1, {}, {box, a, b, c}), ring});
}

int gyroid(NodeTree &tree)
{
    return tree.add("intersect"_L1, {},
                    {tree.add("gyroid"_L1, {2, 0.3f}), tree.add("sphere"_L1, {4})});
}

/// 27 boxes and spheres, blended.
int grid(NodeTree &tree)
{
    QList<int> parts;
    for (int i = 0; i < 27; ++i) {
        const int shape =
            i % 2 == 0 ? tree.add("sphere"_L1, {1.22f}) : tree.add("box"_L1, {0.98f, 0.98f, 0.98f});
        const auto at = [](int step) { return static_cast<float>(step % 3 - 1) * 2.4f; };
        parts << moved(tree, at(i), at(i / 3), at(i / 9), shape);
    }
    return tree.addNode(u"smooth_union"_s, {0.5f}, parts);
}

/// An L with two ribs, seven holes and a slot.
int bracket(NodeTree &tree)
{
    const auto drilled = [&tree](float x, float z, float radius) {
        return moved(tree, x, 0, z, tree.add("cylinder"_L1, {radius, 4}));
    };
    const auto bored = [&tree](float x, float y, float radius) {
        const int along = tree.add("rotate"_L1, {90, 0, 0}, {tree.add("cylinder"_L1, {radius, 6})});
        return moved(tree, x, y, 0, along);
    };
    const int foot = moved(tree, 0, -2.5f, 0.5f, tree.add("box"_L1, {3.01f, 0.41f, 2.61f}));
    const int wall = moved(tree, 0, 0, -2, tree.add("box"_L1, {3.01f, 2.91f, 0.41f}));
    const int rib = moved(tree, 0, -1.6f, -1.2f, tree.add("box"_L1, {0.31f, 1.01f, 1.01f}));
    const int body = tree.addNode(u"smooth_union"_s, {0.4f}, {foot, wall, rib});
    const int slot = moved(tree, 0, -2.5f, 1.9f, tree.add("box"_L1, {1.21f, 1, 0.26f}));
    return tree.addNode(u"subtract"_s, {},
                        {body, drilled(-2.1f, 2.1f, 0.41f), drilled(2.1f, 2.1f, 0.41f),
                         drilled(-2.1f, -0.6f, 0.31f), drilled(2.1f, -0.6f, 0.31f),
                         bored(-2, 1.8f, 0.36f), bored(2, 1.8f, 0.36f), bored(0, 1.1f, 0.81f),
                         slot});
}

constexpr NamedScene sceneTable[] = {
    {"sphere", sphere}, {"csg", csg}, {"gyroid", gyroid}, {"grid", grid}, {"bracket", bracket},
};

} // namespace

std::span<const NamedScene> scenes()
{
    return sceneTable;
}

ExportRequest requestFor(const NamedScene &named, double nodes, int threads)
{
    NodeTree tree;
    ExportRequest request;
    request.rootNodeIndex = named.scene(tree);
    request.nodes = tree.nodes;
    request.cellSize = static_cast<float>(10.0 / (nodes - 1.0));
    request.threadCount = threads;
    return request;
}

ExportResult exported(const ExportRequest &request)
{
    ExportPipeline pipeline;
    ExportResult result;
    QObject::connect(&pipeline, &ExportPipeline::finished, qApp, [&](const ExportResult &end) {
        result = end;
        QCoreApplication::quit();
    });
    pipeline.run(request);
    QCoreApplication::exec();
    return result;
}

} // namespace exports
