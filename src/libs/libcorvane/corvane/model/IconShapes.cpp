// Icons as outlines on a grid of 16 by 16, in a notation of one letter and its numbers: M x y and L
// x y move and draw, Z closes, E x y rx ry is an ellipse, R x y w h a rectangle, A x y r from sweep
// an arc in degrees.
#include <corvane/model/IconShapes.h>

#include <QGuiApplication>
#include <QHash>
#include <QPainter>
#include <QPainterPath>

using namespace Qt::StringLiterals;

namespace corvane::model {

namespace {

constexpr qreal grid = 16.0;
constexpr int iconSizes[] = {16, 24, 32, 64};
constexpr QRgb bodyColour = 0xff7aa6d8;
constexpr QRgb groupColour = 0xffd8b26a;
constexpr QRgb toolColour = 0xff8fbf7f;
constexpr QRgb sceneColour = 0xffb79ad0;
constexpr QRgb warningColour = 0xffd97a6c;
constexpr QRgb lineColour = 0xff3b4652;
constexpr QRgb faintColour = 0xff9aa4ae;

struct Shape
{
    QLatin1StringView name{};
    QRgb colour = bodyColour;
    const char *filled = "";
    const char *lines = "";
};

constexpr Shape shapes[] = {
    {"default"_L1, bodyColour, "M8 2 L14 5 L14 11 L8 14 L2 11 L2 5 Z",
     "M2 5 L8 8 L14 5 M8 8 L8 14"},
    {"empty_slot"_L1, 0, "",
     "R3 3 3 0.1 R10 3 3 0.1 R3 13 3 0.1 R10 13 3 0.1 M8 5 L8 11 M5 8 L11 8"},
    {"box"_L1, bodyColour, "M2 5 L6 2 L14 2 L14 10 L10 14 L2 14 Z",
     "M2 5 L10 5 L14 2 M10 5 L10 14"},
    {"sphere"_L1, bodyColour, "E8 8 6 6", "A8 8 6 200 140 E8 8 6 2"},
    {"cylinder"_L1, bodyColour, "M3 4 L13 4 L13 12 L3 12 Z E8 12 5 2 E8 4 5 2", "E8 4 5 2"},
    {"torus"_L1, bodyColour, "E8 8 6.5 4.5", "E8 8 2.5 1.2"},
    {"capsule"_L1, bodyColour, "E8 5 4 3.5 R4 5 8 6 E8 11 4 3.5", "A8 5 4 180 180"},
    {"cone"_L1, bodyColour, "M8 1.5 L13 12 L3 12 Z E8 12 5 2", "A8 12 5 180 180"},
    {"plane"_L1, bodyColour, "M1 11 L5 5 L15 5 L11 11 Z", "M8 8 L8 2"},
    {"union"_L1, toolColour, "E6 8 4.5 4.5 E10 8 4.5 4.5", ""},
    {"subtract"_L1, toolColour, "A6 8 4.5 60 240 L8.5 8 Z", "E10 8 4.5 4.5"},
    {"intersect"_L1, toolColour, "E8 8 2.2 3.9", "E6 8 4.5 4.5 E10 8 4.5 4.5"},
    {"smooth_union"_L1, toolColour, "E5.5 8 4 4 E10.5 8 4 4 R5.5 5 5 6", ""},
    {"smooth_subtract"_L1, toolColour, "A6 8 4.5 75 210 L9.5 10 L8 8 L9.5 6 Z",
     "A10.5 8 4 120 120"},
    {"smooth_intersect"_L1, toolColour, "E8 8 3 4.2", "A6 8 4.5 90 180 A10 8 4.5 270 180"},
    {"translate"_L1, toolColour, "M12 5 L15 8 L12 11 Z M5 4 L8 1 L11 4 Z", "M8 3 L8 13 M3 8 L13 8"},
    {"rotate"_L1, toolColour, "M10 1 L14 4 L10 7 Z", "A8 9 5 60 -290"},
    {"scale"_L1, toolColour, "R2 9 5 5", "R2 2 12 12 M8 8 L12 4 M9 4 L12 4 L12 7"},
    {"mirror"_L1, toolColour, "M2 13 L6 3 L6 13 Z", "M8 1 L8 15 M14 13 L10 3 L10 13 Z"},
    {"linear_repeat"_L1, toolColour, "R1 6 4 4 R6 6 4 4 R11 6 4 4", "M1 13 L15 13"},
    {"radial_repeat"_L1, toolColour, "E8 3 2 2 E13 8 2 2 E8 13 2 2 E3 8 2 2", "E8 8 1 1"},
    {"grid_repeat"_L1, toolColour,
     "R1 1 4 4 R6 1 4 4 R11 1 4 4 R1 6 4 4 R6 6 4 4 R11 6 4 4 R1 11 4 4 R6 11 4 4 R11 11 4 4", ""},
    {"orphans"_L1, warningColour, "E8 8 6.5 6.5", "M8 4 L8 9 M8 11 L8 12"},
    {"sdf_domain"_L1, groupColour, "E8 8 3 3", "R2 2 12 12"},
    {"group"_L1, groupColour, "M1 4 L6 4 L8 6 L15 6 L15 13 L1 13 Z", ""},
    {"component"_L1, groupColour, "R2 2 5 5 R9 2 5 5 R2 9 5 5 R9 9 5 5", "R1 1 14 14"},
    {"mesh"_L1, sceneColour, "M8 1 L15 13 L1 13 Z", "M4.5 7 L11.5 7 L8 13 Z"},
    {"tet_volume"_L1, sceneColour, "M8 1 L15 11 L6 15 L1 9 Z", "M8 1 L6 15 M1 9 L15 11"},
    {"camera"_L1, sceneColour, "R1 5 9 7 M10 8 L15 5 L15 12 L10 9 Z", "E4 3 2 2 E8 3 2 2"},
    {"layer"_L1, sceneColour, "M8 2 L15 6 L8 10 L1 6 Z", "M1 9 L8 13 L15 9"},
    {"post_effect"_L1, sceneColour, "M8 1 L10 6 L15 8 L10 10 L8 15 L6 10 L1 8 L6 6 Z", ""},
};

const Shape *findShape(const QString &name)
{
    const auto it = std::find_if(std::begin(shapes), std::end(shapes),
                                 [&name](const Shape &shape) { return shape.name == name; });
    return it == std::end(shapes) ? nullptr : &*it;
}

void draw(QPainterPath &path, QChar letter, const QList<qreal> &n)
{
    switch (letter.toLatin1()) {
    case 'M':
        path.moveTo(n[0], n[1]);
        break;
    case 'L':
        path.lineTo(n[0], n[1]);
        break;
    case 'Z':
        path.closeSubpath();
        break;
    case 'E':
        path.addEllipse(QPointF(n[0], n[1]), n[2], n[3]);
        break;
    case 'R':
        path.addRect(n[0], n[1], n[2], n[3]);
        break;
    case 'A': {
        const QRectF box(n[0] - n[2], n[1] - n[2], 2 * n[2], 2 * n[2]);
        path.arcMoveTo(box, n[3]);
        path.arcTo(box, n[3], n[4]);
        break;
    }
    }
}

QPainterPath readPath(const char *notation)
{
    QPainterPath path;
    path.setFillRule(Qt::WindingFill);
    QChar letter;
    QList<qreal> numbers;
    const auto finish = [&] {
        if (!letter.isNull())
            draw(path, letter, numbers);
        numbers.clear();
    };
    const QStringList words = QString::fromLatin1(notation).split(u' ', Qt::SkipEmptyParts);
    for (const QString &word : words) {
        const bool opens = word.front().isLetter();
        if (opens) {
            finish();
            letter = word.front();
        }
        const QString number = opens ? word.mid(1) : word;
        if (!number.isEmpty())
            numbers.append(number.toDouble());
    }
    finish();
    return path;
}

} // namespace

bool IconShapes::contains(const QString &name)
{
    return findShape(name);
}

QImage IconShapes::image(const QString &name, int pixels)
{
    const Shape *found = findShape(name);
    const Shape &shape = found ? *found : shapes[0];
    QImage image(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    if (image.isNull())
        return image;
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(pixels / grid, pixels / grid);
    const bool isFilled = *shape.filled;
    const QRgb ink = isFilled ? lineColour : faintColour;
    if (isFilled) {
        // The seams between overlapping parts of one body are no lines of the picture.
        const QPainterPath body = readPath(shape.filled).simplified();
        painter.setPen(QPen(QColor(lineColour), 0.8));
        painter.setBrush(QColor(shape.colour));
        painter.drawPath(body);
    }
    painter.setPen(QPen(QColor(ink), 1.0));
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(readPath(shape.lines));
    return image;
}

QIcon IconShapes::icon(const QString &name)
{
    if (!qobject_cast<QGuiApplication *>(QCoreApplication::instance()))
        return {};
    static QHash<QString, QIcon> made;
    const Shape *found = findShape(name);
    const QString key = found ? QString(found->name) : QString(shapes[0].name);
    const auto known = made.constFind(key);
    if (known != made.cend())
        return *known;
    QIcon icon;
    for (const int size : iconSizes)
        icon.addPixmap(QPixmap::fromImage(image(key, size)));
    made.insert(key, icon);
    return icon;
}

} // namespace corvane::model
