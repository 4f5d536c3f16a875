#include "OutputPath.h"

#include <corvane/model/Corvane.h>
#include <mesh/io/IORegistry.h>
#include <store/RegularFile.h>

#include <QFileInfo>
#include <QtEndian>

#include <algorithm>

using namespace Qt::StringLiterals;
using corvane::model::Corvane;

namespace {

using Formats = mesh::io::IORegistry<float>;

constexpr qint64 headSize = 4096;

QString extensionOf(const Corvane &scene)
{
    switch (scene.sceneSetting(u"export.format"_s).toInt()) {
    case 1:
        return u".obj"_s;
    case 2:
        return u".ply"_s;
    case 3:
        return u".vtk"_s;
    default:
        return u".stl"_s;
    }
}

// ------------------------------------------------------------------ the look of a mesh file

/// A header of 80 bytes, the number of triangles, and 50 bytes for each.
bool isBinaryStl(QByteArrayView head, qint64 size)
{
    constexpr qint64 headerSize = 80;
    constexpr qint64 bodyStart = 84;
    return head.size() >= bodyStart &&
           size == bodyStart + 50 * qint64(qFromLittleEndian<quint32>(head.data() + headerSize));
}

bool isObjLine(const QByteArray &line)
{
    static const QByteArrayList words{"v", "vn", "vt", "vp", "f",      "l",     "p",
                                      "o", "g",  "s",  "mg", "mtllib", "usemtl"};
    const QByteArray text = line.simplified();
    return text.isEmpty() || text.startsWith('#') || words.contains(text.split(' ').first());
}

/// The format has no mark of its own: each line says what it is. The last one may be cut off.
bool isObj(const QByteArray &head)
{
    QByteArrayList lines = head.split('\n');
    if (head.size() == headSize)
        lines.removeLast();
    return std::all_of(lines.cbegin(), lines.cend(), isObjLine);
}

bool looksLikeMesh(const QByteArray &head, qint64 size)
{
    return head.startsWith("ply\n") || head.startsWith("ply\r") || head.startsWith("solid") ||
           head.startsWith("# vtk DataFile") || isBinaryStl(head, size) || isObj(head);
}

} // namespace

namespace OutputPath {

QString resolveExportOutputPath(const QString &inputPath, const QString &outputOption,
                                const Corvane &scene)
{
    if (!outputOption.isNull())
        return outputOption;
    const QString fromScene = scene.sceneSetting(u"export.outputPath"_s).toString();
    if (!fromScene.isEmpty())
        return fromScene;
    const QFileInfo input(inputPath);
    return input.path() + u'/' + input.completeBaseName() + extensionOf(scene);
}

QString inputInTheWay(const QString &output, const QStringList &inputs)
{
    // A terminal or a pipe may be both.
    if (!QFileInfo(output).isFile())
        return {};
    for (const QString &input : inputs) {
        if (!input.isEmpty() && store::isSameFile(output, input))
            return u"the output %1 is a file that this command reads (%2). "
                   "Name another output with -o"_s.arg(output, input);
    }
    return {};
}

QString strangerInTheWay(const QString &output)
{
    constexpr auto remedy = "Name the output with -o, or change the setting"_L1;
    // What stands for bytes that could not be read as text is part of no name that was meant.
    if (output.contains(QChar::ReplacementCharacter))
        return u"the scene's setting export.outputPath is not valid UTF-8. %1"_s.arg(remedy);
    if (!QFileInfo::exists(output))
        return {};
    store::RegularFile file(output);
    QString reason;
    if (!file.open(QIODevice::ReadOnly))
        reason = file.errorString();
    else if (!hasKnownFormat(output) || !looksLikeMesh(file.read(headSize), file.size()))
        reason = u"it is no mesh"_s;
    if (reason.isEmpty())
        return {};
    return u"the scene's setting export.outputPath names %1, which exists and is not replaced: "
           "%2. %3"_s.arg(output, reason, remedy);
}

bool hasKnownFormat(const QString &output)
{
    const auto &exporters = Formats::instance().exporters();
    return std::any_of(exporters.cbegin(), exporters.cend(),
                       [&output](const auto &exporter) { return exporter->canWrite(output); });
}

QString knownExtensions()
{
    QStringList known;
    for (const auto &exporter : Formats::instance().exporters())
        known.append(u'.' + exporter->extensions().value(0));
    return known.join(u", "_s);
}

} // namespace OutputPath
