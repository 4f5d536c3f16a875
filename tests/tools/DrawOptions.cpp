#include "DrawOptions.h"

#include <array>
#include <functional>

using namespace Qt::StringLiterals;

namespace {

constexpr int largestSide = 8192;

bool readNumber(const QString &text, float &value)
{
    bool ok = false;
    value = text.toFloat(&ok);
    return ok && qIsFinite(value);
}

bool readVector(const QString &text, QVector3D &vector)
{
    const QStringList parts = text.split(u',');
    return parts.size() == 3 && readNumber(parts.at(0), vector[0]) &&
           readNumber(parts.at(1), vector[1]) && readNumber(parts.at(2), vector[2]);
}

bool readVector(const QString &text, std::optional<QVector3D> &vector)
{
    vector.emplace();
    return readVector(text, *vector);
}

bool readSize(const QString &text, QSize &size)
{
    const QStringList parts = text.split(u'x');
    if (parts.size() != 2)
        return false;
    size = {parts.at(0).toInt(), parts.at(1).toInt()};
    return size.width() >= 1 && size.height() >= 1 && size.width() <= largestSide &&
           size.height() <= largestSide;
}

bool readText(const QString &text, QString &value)
{
    value = text;
    return !text.isEmpty();
}

bool readWord(const QString &text, const QStringList &words, QString &value)
{
    value = text;
    return words.contains(text);
}

/// An option, what it takes in words, and how it is read.
struct OptionRow
{
    QLatin1StringView name;
    QLatin1StringView takes;
    bool (*read)(const QString &text, DrawOptions &options);
};

constexpr std::array rows{
    OptionRow{"-o"_L1, "a file name"_L1,
              [](const QString &t, DrawOptions &o) { return readText(t, o.outputPath); }},
    OptionRow{"--size"_L1, "WIDTHxHEIGHT, each from 1 to 8192"_L1,
              [](const QString &t, DrawOptions &o) { return readSize(t, o.size); }},
    OptionRow{"--mode"_L1, "a shading mode"_L1,
              [](const QString &t, DrawOptions &o) { return readText(t, o.mode); }},
    OptionRow{"--environment"_L1, "an environment"_L1,
              [](const QString &t, DrawOptions &o) { return readText(t, o.environment); }},
    OptionRow{"--lighting"_L1, "an environment"_L1,
              [](const QString &t, DrawOptions &o) { return readText(t, o.lighting); }},
    OptionRow{"--tonemap"_L1, "a tone map"_L1,
              [](const QString &t, DrawOptions &o) { return readText(t, o.tonemap); }},
    OptionRow{"--aa"_L1, "an anti-aliasing strategy"_L1,
              [](const QString &t, DrawOptions &o) { return readText(t, o.antialias); }},
    OptionRow{"--debug-view"_L1, "a number from 0 to 6"_L1,
              [](const QString &t, DrawOptions &o) {
                  o.debugView = t.toInt();
                  return t.size() == 1 && t >= u'0' && t <= u'6';
              }},
    OptionRow{"--ground"_L1, "on or off"_L1,
              [](const QString &t, DrawOptions &o) {
                  o.isGroundShown = t == "on"_L1;
                  return t == "on"_L1 || t == "off"_L1;
              }},
    OptionRow{"--section"_L1, "four numbers, the normal of a plane and its distance"_L1,
              [](const QString &t, DrawOptions &o) {
                  const qsizetype last = t.lastIndexOf(u',');
                  QVector3D normal;
                  float distance = 0;
                  const bool ok = last > 0 && readVector(t.left(last), normal) &&
                                  readNumber(t.mid(last + 1), distance) && !normal.isNull();
                  o.sections.append(QVector4D(normal, distance));
                  return ok && o.sections.size() <= 3;
              }},
    OptionRow{"--evaluator"_L1, "tree or specialised"_L1,
              [](const QString &t, DrawOptions &o) {
                  return readWord(t, {u"tree"_s, u"specialised"_s}, o.evaluator);
              }},
    OptionRow{"--api"_L1, "vulkan or opengl"_L1,
              [](const QString &t, DrawOptions &o) {
                  return readWord(t, {u"vulkan"_s, u"opengl"_s}, o.api);
              }},
    OptionRow{"--eye"_L1, "three numbers, x,y,z"_L1,
              [](const QString &t, DrawOptions &o) { return readVector(t, o.eye); }},
    OptionRow{"--target"_L1, "three numbers, x,y,z"_L1,
              [](const QString &t, DrawOptions &o) { return readVector(t, o.target); }},
    OptionRow{"--up"_L1, "three numbers, x,y,z"_L1,
              [](const QString &t, DrawOptions &o) { return readVector(t, o.up); }},
    OptionRow{"--fov"_L1, "degrees above 0 and below 180"_L1,
              [](const QString &t, DrawOptions &o) {
                  return readNumber(t, o.fieldOfView) && o.fieldOfView > 0 && o.fieldOfView < 180;
              }},
    OptionRow{"--depth"_L1, "a file name"_L1,
              [](const QString &t, DrawOptions &o) { return readText(t, o.depthPath); }},
    OptionRow{"--normals"_L1, "a file name"_L1,
              [](const QString &t, DrawOptions &o) { return readText(t, o.normalsPath); }},
    OptionRow{"--ids"_L1, "a file name"_L1,
              [](const QString &t, DrawOptions &o) { return readText(t, o.idsPath); }},
};

QString readOption(const QString &name, const QString *value, DrawOptions &options)
{
    for (const OptionRow &row : rows) {
        if (row.name != name)
            continue;
        if (value && row.read(*value, options))
            return {};
        return u"%1 takes %2"_s.arg(name, row.takes);
    }
    return u"there is no option '%1'"_s.arg(name);
}

QString missingPart(const DrawOptions &options)
{
    if (options.scenePath.isEmpty())
        return u"no scene is given"_s;
    if (options.outputPath.isEmpty())
        return u"-o is missing: the picture needs a file"_s;
    return options.target && !options.eye ? u"--target needs --eye"_s : QString();
}

} // namespace

QString DrawOptions::usage()
{
    QString text = u"Usage: draw_scene SCENE -o PNG"_s;
    for (const OptionRow &row : rows)
        text += row.name == "-o"_L1 ? QString() : u"\n    %1  %2"_s.arg(row.name, row.takes);
    return text;
}

std::optional<DrawOptions> DrawOptions::parse(const QStringList &arguments, QString &error)
{
    DrawOptions options;
    error.clear();
    for (qsizetype i = 0; i < arguments.size() && error.isEmpty(); ++i) {
        const QString &argument = arguments.at(i);
        if (!argument.startsWith(u'-') && options.scenePath.isEmpty())
            options.scenePath = argument;
        else if (!argument.startsWith(u'-'))
            error = u"'%1' is a second scene"_s.arg(argument);
        else
            error = readOption(argument, i + 1 < arguments.size() ? &arguments.at(i + 1) : nullptr,
                               options),
            ++i;
    }
    if (error.isEmpty())
        error = missingPart(options);
    return error.isEmpty() ? std::optional(options) : std::nullopt;
}
