#include "SettingDefaults.h"

#include <QHash>
#include <QStandardPaths>
#include <QThread>

using namespace Qt::StringLiterals;

namespace store {

const QList<SettingDefault> &settingDefaults()
{
    static const QList<SettingDefault> table = {
        {u"scene/lastDirectory"_s,
         QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation)},
        {u"splitter/state"_s, QVariant(QMetaType(QMetaType::QByteArray))},
        {u"panels/sceneWidth"_s, 250},
        {u"panels/cameraWidth"_s, 250},
        {u"panels/shaderWidth"_s, 250},
        {u"panels/materialsWidth"_s, 350},
        {u"panels/propertiesWidth"_s, 250},
        {u"panels/cameraVisible"_s, false},
        {u"panels/configVisible"_s, false},
        {u"panels/debugVisible"_s, false},
        {u"panels/errorPanelVisible"_s, false},
        {u"panels/materialsVisible"_s, false},
        {u"panels/primitivesVisible"_s, false},
        {u"panels/propertiesVisible"_s, false},
        {u"panels/shaderVisible"_s, false},
        {u"rendering/workerViewport"_s, true},
        {u"RenderingOptions/epsilon"_s, 0.001},
        {u"RenderingOptions/exposure"_s, 0.0},
        {u"RenderingOptions/maxDistance"_s, 10000},
        {u"RenderingOptions/maxSteps"_s, 128},
        {u"RenderingOptions/orthographic"_s, false},
        {u"RenderingOptions/raymarchAlgorithm"_s, 1},
        {u"RenderingOptions/sampleCount"_s, 4},
        {u"RenderingOptions/shadingMode"_s, QString()},
        {u"RenderingOptions/stepScale"_s, 0.8},
        {u"RenderingOptions/toneMapping"_s, QString()},
        {u"ExportDialog/cellSize"_s, 0.1},
        {u"ExportDialog/extractor"_s, 0},
        {u"ExportDialog/format"_s, 0},
        {u"ExportDialog/minX"_s, -5.0},
        {u"ExportDialog/minY"_s, -5.0},
        {u"ExportDialog/minZ"_s, -5.0},
        {u"ExportDialog/maxX"_s, 5.0},
        {u"ExportDialog/maxY"_s, 5.0},
        {u"ExportDialog/maxZ"_s, 5.0},
        {u"ExportDialog/optimize"_s, true},
        {u"ExportDialog/outputPath"_s, QString()},
        {u"ExportDialog/resolutionPreset"_s, 1},
        {u"ExportDialog/threadCount"_s, QThread::idealThreadCount()},
        {u"ExportDialog/backendKey"_s, QString()},
        {u"CodecProbe/ShowCodecTier"_s, false},
        {u"CodecProbe/ShowLegacyCodecs"_s, false},
        {u"Corvane/Debug/TraceCompile"_s, false},
        {u"corvane/rhi/shape2ZeroCopy"_s, false},
        {u"corvane/camera/action"_s, QString()},
        {u"corvane/materialPreviewScene"_s, u":/corvane/preview/material_preview_full.corvane"_s},
        {u"defpicker/recent"_s, QString()},
        {u"defpicker/usage"_s, QString()},
        {u"render-export/templates/singleImage"_s, QString()},
        {u"render-export/templates/singleVideo"_s, QString()},
        {u"render-export/templates/imageSequence"_s, QString()},
    };
    return table;
}

QVariant defaultOfSetting(const QString &key)
{
    static const QHash<QString, QVariant> byKey = [] {
        QHash<QString, QVariant> values;
        for (const SettingDefault &row : settingDefaults())
            values.insert(row.key, row.value);
        return values;
    }();
    return byKey.value(key);
}

} // namespace store
