#pragma once

#include <QString>
#include <QStringList>

namespace corvane::model {
class Corvane;
}

/// The file that an export goes to.
namespace OutputPath {

/// That of -o if given, null otherwise; else that of the scene's setting "export.outputPath"; else
/// the scene file with the extension of the setting "export.format".
QString resolveExportOutputPath(const QString &inputPath, const QString &outputOption,
                                const corvane::model::Corvane &scene);

/// Why a run that reads these files must not write the output: it is one of them, by whatever path
/// or link. A sentence for the user, empty where all is well. Inputs without a name are skipped.
QString inputInTheWay(const QString &output, const QStringList &inputs);

/// Why the output that the scene alone has chosen must not be written: a file is there already that
/// is no mesh. Somebody else's scene must not replace what the user never named.
QString strangerInTheWay(const QString &output);

/// Whether the extension is that of a mesh format.
bool hasKnownFormat(const QString &output);
/// ".stl, .obj, .ply, .vtk"
QString knownExtensions();

} // namespace OutputPath
