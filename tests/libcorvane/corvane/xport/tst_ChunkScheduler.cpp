#include <corvane/xport/ChunkScheduler.h>
#include <corvane/xport/CpuChunkProcessor.h>

#include <QTest>

#include <limits>
#include <vector>

using namespace Qt::StringLiterals;
using namespace corvane::xport;

namespace {

constexpr float infinity = std::numeric_limits<float>::infinity();

ExportRequest requestFor(const QVector3D &low, const QVector3D &high, float cellSize)
{
    ExportRequest request;
    request.boundsMin = low;
    request.boundsMax = high;
    request.cellSize = cellSize;
    return request;
}

ExportRequest cubeOf(int cells)
{
    const float size = static_cast<float>(cells);
    return requestFor({}, {size, size, size}, 1.0f);
}

} // namespace

class TstChunkScheduler : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void nodesCoverTheBox_data();
    void nodesCoverTheBox();
    void impossibleGridsAreRefused_data();
    void impossibleGridsAreRefused();
    void chunksCoverTheGridOnce_data();
    void chunksCoverTheGridOnce();
    void threadsGetEnoughChunks_data();
    void threadsGetEnoughChunks();
    void sealClosesTheFaces();
    void marginFollowsTheNumbers_data();
    void marginFollowsTheNumbers();
};

void TstChunkScheduler::nodesCoverTheBox_data()
{
    QTest::addColumn<ExportRequest>("request");
    QTest::addColumn<QList<int>>("nodes");
    QTest::newRow("default") << ExportRequest() << QList{101, 101, 101};
    QTest::newRow("last cell sticks out")
        << requestFor({0, 0, 0}, {1, 1, 1}, 0.3f) << QList{5, 5, 5};
    QTest::newRow("each axis of its own")
        << requestFor({0, -1, 2}, {4, 1, 3}, 0.5f) << QList{9, 5, 3};
    QTest::newRow("smaller than a cell")
        << requestFor({0, 0, 0}, {0.01f, 0.01f, 0.01f}, 1) << QList{2, 2, 2};
    QTest::newRow("flat") << requestFor({0, 0, 0}, {4, 0, 4}, 1) << QList{5, 2, 5};
    QTest::newRow("beyond an integer")
        << requestFor({0, 0, 0}, {1e30f, 1, 1}, 1) << QList{2147483646, 2, 2};
}

void TstChunkScheduler::nodesCoverTheBox()
{
    QFETCH(ExportRequest, request);
    int nx = 0, ny = 0, nz = 0;
    ChunkScheduler::estimateGridDimensions(request, nx, ny, nz);
    QTEST((QList{nx, ny, nz}), "nodes");
}

void TstChunkScheduler::impossibleGridsAreRefused_data()
{
    QTest::addColumn<ExportRequest>("request");
    QTest::addColumn<QString>("error");
    const auto cell = [](float size) { return requestFor({-5, -5, -5}, {5, 5, 5}, size); };
    const auto row = [](const char *name, const ExportRequest &request, const QString &error) {
        QTest::newRow(name) << request << error;
    };
    row("default", ExportRequest(), {});
    row("a thousand million cells", cell(0.01f), {});
    for (const float size : {0.0f, -1.0f, std::nanf(""), infinity})
        row(qPrintable(u"cell size %1"_s.arg(size)), cell(size),
            u"The cell size must be a positive number, not %1"_s.arg(size));
    row("bound that is no number", requestFor({0, std::nanf(""), 0}, {1, 1, 1}, 1),
        u"The export bounds from (0, nan, 0) to (1, 1, 1) are not finite"_s);
    row("infinite bound", requestFor({0, 0, 0}, {1, infinity, 1}, 1),
        u"The export bounds from (0, 0, 0) to (1, inf, 1) are not finite"_s);
    row("inverted", requestFor({0, 0, 2}, {1, 1, 1}, 1),
        u"The export bounds from (0, 0, 2) to (1, 1, 1) are inverted: each maximum must be at "
        "least its minimum"_s);
    row("too many nodes on an axis", requestFor({0, 0, 0}, {4, 1, 1}, 1e-9f),
        u"A cell size of 1e-09 makes a grid of 4000000001 x 1000000001 x 1000000001 nodes, and "
        "the limit is 2147483646 nodes an axis"_s);
    row("too many cells", requestFor({0, 0, 0}, {32768, 32768, 16384}, 1),
        u"A cell size of 1 makes a grid of 32769 x 32769 x 16385 nodes with 17592186044416 "
        "cells, and the limit is 10000000000000 cells"_s);
}

void TstChunkScheduler::impossibleGridsAreRefused()
{
    QFETCH(ExportRequest, request);
    QTEST(ChunkScheduler::gridError(request), "error");
}

void TstChunkScheduler::chunksCoverTheGridOnce_data()
{
    QTest::addColumn<ExportRequest>("request");
    QTest::addColumn<int>("chunkSize");
    QTest::addColumn<int>("threads");
    QTest::newRow("even") << cubeOf(32) << 8 << 1;
    QTest::newRow("last chunk is cut") << cubeOf(30) << 7 << 1;
    QTest::newRow("divided further for the threads") << cubeOf(20) << 64 << 4;
    QTest::newRow("no chunk size") << cubeOf(20) << 0 << 1;
    QTest::newRow("oblong") << requestFor({-1, -2, -3}, {9, 12, 17}, 1) << 5 << 2;
    QTest::newRow("one cell") << cubeOf(1) << 64 << 8;
}

void TstChunkScheduler::chunksCoverTheGridOnce()
{
    QFETCH(ExportRequest, request);
    QFETCH(int, threads);
    QFETCH(int, chunkSize);
    request.chunkSize = chunkSize;
    request.sealed = true;
    int nx = 0, ny = 0, nz = 0;
    ChunkScheduler::estimateGridDimensions(request, nx, ny, nz);
    std::vector<int> covered(static_cast<std::size_t>(nx - 1) * (ny - 1) * (nz - 1));
    const ChunkScheduler scheduler(request, threads);
    for (qint64 index = 0; index < scheduler.count(); ++index) {
        const ChunkJob job = scheduler.jobAt(index);
        const std::array<qint64, 3> first{job.firstX, job.firstY, job.firstZ};
        const std::array<int, 3> nodes{job.nx, job.ny, job.nz};
        const std::array<int, 3> total{nx, ny, nz};
        for (int axis = 0; axis < 3; ++axis) {
            const auto a = static_cast<std::size_t>(axis);
            QCOMPARE(job.origin[axis],
                     request.boundsMin[axis] + request.cellSize * static_cast<float>(first[a]));
            QCOMPARE(bool(job.sealFaces >> (2 * axis) & 1), first[a] == 0);
            QCOMPARE(bool(job.sealFaces >> (2 * axis + 1) & 1), first[a] + nodes[a] == total[a]);
        }
        for (qint64 k = job.firstZ; k < job.firstZ + job.nz - 1; ++k)
            for (qint64 j = job.firstY; j < job.firstY + job.ny - 1; ++j)
                for (qint64 i = job.firstX; i < job.firstX + job.nx - 1; ++i)
                    ++covered[static_cast<std::size_t>(i + (nx - 1) * (j + (ny - 1) * k))];
    }
    QCOMPARE(std::count(covered.begin(), covered.end(), 1), std::ssize(covered));
}

void TstChunkScheduler::threadsGetEnoughChunks_data()
{
    QTest::addColumn<int>("cells");
    QTest::addColumn<int>("chunkSize");
    QTest::addColumn<int>("threads");
    QTest::addColumn<int>("side");
    QTest::newRow("as asked for") << 200 << 64 << 1 << 64;
    QTest::newRow("half of a small grid") << 100 << 128 << 1 << 50;
    QTest::newRow("shrinks until there are enough") << 100 << 64 << 3 << 33;
    QTest::newRow("not below four") << 10 << 64 << 8 << 4;
    QTest::newRow("never larger than asked for") << 400 << 20 << 1 << 20;
    QTest::newRow("smaller than four when asked for") << 100 << 2 << 1 << 2;
    QTest::newRow("four where there are too few") << 4 << 2 << 8 << 4;
    QTest::newRow("within memory") << 2000 << 1000000 << 1 << 256;
}

void TstChunkScheduler::threadsGetEnoughChunks()
{
    QFETCH(int, cells);
    QFETCH(int, chunkSize);
    QFETCH(int, threads);
    ExportRequest request = cubeOf(cells);
    request.chunkSize = chunkSize;
    QTEST(ChunkScheduler(request, threads).side(), "side");
}

void TstChunkScheduler::sealClosesTheFaces()
{
    const int nx = 3, ny = 4, nz = 5;
    for (const unsigned face : {0u, 1u, 2u, 4u, 8u, 16u, 32u, 63u}) {
        std::vector<float> samples(nx * ny * nz, -1.0f);
        samples[0] = 9.0f;
        applyChunkSeal(samples, nx, ny, nz, face, 0.25f);
        for (int k = 0; k < nz; ++k)
            for (int j = 0; j < ny; ++j)
                for (int i = 0; i < nx; ++i) {
                    const unsigned on = (i == 0 ? 1u : 0u) | (i == nx - 1 ? 2u : 0u) |
                                        (j == 0 ? 4u : 0u) | (j == ny - 1 ? 8u : 0u) |
                                        (k == 0 ? 16u : 0u) | (k == nz - 1 ? 32u : 0u);
                    const float before = i + j + k == 0 ? 9.0f : -1.0f;
                    QCOMPARE(samples[static_cast<std::size_t>(i + nx * (j + ny * k))],
                             on & face ? std::max(before, 0.25f) : before);
                }
    }
}

void TstChunkScheduler::marginFollowsTheNumbers_data()
{
    QTest::addColumn<ExportRequest>("request");
    QTest::addColumn<float>("margin");
    QTest::newRow("fixed length near the origin") << ExportRequest() << 1e-5f / 0.1f;
    QTest::newRow("steps of the numbers far out")
        << requestFor({4096, 0, 0}, {4100, 1, 1}, 0.5f) << 4.0f / 2048.0f / 0.5f;
    QTest::newRow("never more than a quarter") << requestFor({}, {1, 1, 1}, 1e-6f) << 0.25f;
}

void TstChunkScheduler::marginFollowsTheNumbers()
{
    QFETCH(ExportRequest, request);
    QTEST(crossingMarginFor(request), "margin");
}

QTEST_APPLESS_MAIN(TstChunkScheduler)
#include "tst_ChunkScheduler.moc"
