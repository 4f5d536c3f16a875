// The first part of a difference is what the others are cut from: where an edit puts a part shows
// in the volume that is exported.
#include "OpFixture.h"

#include <corvane/bench/CompiledScene.h>
#include <support/ExportRun.h>

#include <QTest>

using namespace Qt::StringLiterals;
using namespace corvane;
namespace OpKind = ops::OpKind;

namespace {

QVariantMap part(const QString &definitionId, const QVariantMap &more)
{
    QVariantMap args{{u"itemType"_s, u"sdf"_s}, {u"definitionId"_s, definitionId}};
    args.insert(more);
    return args;
}

void size(OpFixture &fixture, const QUuid &id, const QVariantMap &lengths)
{
    QVERIFY(
        fixture.apply(OpKind::SdfSetAllParams, {{u"itemId"_s, id}, {u"parameters"_s, lengths}}));
}

double exportedVolume(const OpFixture &fixture)
{
    const QString scenePath = fixture.folder.filePath(u"scene.corvane"_s);
    QString error;
    const auto scene = fixture.document->saveToFile(scenePath)
                           ? bench::compileSceneFile(scenePath, error)
                           : std::nullopt;
    if (!scene)
        return 0;
    xport::ExportRequest request;
    request.nodes = scene->nodes;
    request.rootNodeIndex = scene->rootIndex;
    request.boundsMin = {-2, -2, -2};
    request.boundsMax = {2, 2, 2};
    request.cellSize = 0.05f;
    request.outputPath = fixture.folder.filePath(u"part.stl"_s);
    return support::exported(request).success ? support::signedVolume(support::meshOf(request)) : 0;
}

} // namespace

class TstOperandOrder : public QObject
{
    Q_OBJECT

private slots:
    void thePlaceDecidesWhatIsCut_data()
    {
        QTest::addColumn<bool>("isMoved");
        QTest::addColumn<int>("index");
        QTest::addColumn<bool>("isCutFromBall");
        for (const bool isMoved : {false, true}) {
            const char *const how = isMoved ? "moved" : "added";
            QTest::addRow("%s to the front", how) << isMoved << 0 << true;
            QTest::addRow("%s behind", how) << isMoved << 1 << false;
            QTest::addRow("%s to the end", how) << isMoved << -1 << false;
        }
    }

    void thePlaceDecidesWhatIsCut()
    {
        QFETCH(const bool, isMoved);
        QFETCH(const int, index);
        QFETCH(const bool, isCutFromBall);
        OpFixture fixture;
        const EditorFollowers followers(fixture);
        const QUuid difference = fixture.addNode(u"subtract"_s);
        size(fixture, fixture.addNode(u"box"_s, difference),
             {{u"width"_s, 1}, {u"height"_s, 1}, {u"depth"_s, 1}});
        const QVariantMap place{{u"parentId"_s, difference}, {u"insertIndex"_s, index}};
        const QUuid ball = fixture.add(part(u"sphere"_s, isMoved ? QVariantMap() : place));
        size(fixture, ball, {{u"radius"_s, 1.2}});
        if (isMoved)
            QVERIFY(fixture.apply(
                OpKind::ItemSetParent,
                {{u"itemId"_s, ball}, {u"newParentId"_s, difference}, {u"insertIndex"_s, index}}));
        // Six caps of the ball stand out of the box.
        constexpr double ballVolume = 7.238, boxVolume = 8, caps = 0.854;
        const double expected = isCutFromBall ? caps : boxVolume - (ballVolume - caps);
        const double volume = exportedVolume(fixture);
        QVERIFY2(std::abs(volume - expected) < 0.2, qPrintable(QString::number(volume)));
    }
};

QTEST_GUILESS_MAIN(TstOperandOrder)
#include "tst_OperandOrder.moc"
