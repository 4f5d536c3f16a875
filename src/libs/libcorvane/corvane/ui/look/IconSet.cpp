#include <corvane/ui/look/IconSet.h>

#include <corvane/ui/look/Logging.h>
#include <corvane/ui/look/Metrics.h>

#include <QApplication>
#include <QBuffer>
#include <QFile>
#include <QHash>
#include <QIconEngine>
#include <QImageReader>
#include <QPainter>
#include <QPalette>
#include <QPixmapCache>

using namespace Qt::StringLiterals;

// Out of any namespace, as the macro demands.
static void initializeIcons()
{
    Q_INIT_RESOURCE(ui_icons);
}

namespace corvane::ui {

namespace {

QString pathOf(const QString &name)
{
    return u":/icons/lucide/%1.svg"_s.arg(name);
}

/// The text of a drawing, read once.
QByteArray drawing(const QString &path)
{
    static QHash<QString, QByteArray> kept;
    const auto found = kept.constFind(path);
    if (found != kept.constEnd())
        return *found;
    initializeIcons();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        qCWarning(lcLook) << "No icon of this name:" << path;
    return *kept.insert(path, file.isOpen() ? file.readAll() : QByteArray());
}

/// By the reader of Qt's SVG plugin, which draws at the size that it is asked for.
QImage render(const QByteArray &svg, const QSize &size)
{
    QBuffer buffer;
    buffer.setData(svg);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer, "svg");
    reader.setScaledSize(size);
    const QImage image = reader.read();
    if (image.isNull())
        qCWarning(lcLook) << "An icon can't be drawn:" << reader.errorString();
    return image;
}

QPixmap pixmapOf(const QString &path, const QColor &color, const QSize &pixels)
{
    const QByteArray svg = drawing(path);
    if (svg.isEmpty() || pixels.isEmpty())
        return {};
    const QString key = u"corvane-icon %1 %2 %3x%4"_s.arg(path, color.name(QColor::HexArgb),
                                                          QString::number(pixels.width()),
                                                          QString::number(pixels.height()));
    QPixmap pixmap;
    if (QPixmapCache::find(key, &pixmap))
        return pixmap;
    QByteArray recolored = svg;
    recolored.replace("currentColor", color.name().toLatin1());
    pixmap = QPixmap::fromImage(render(recolored, pixels));
    QPixmapCache::insert(key, pixmap);
    return pixmap;
}

QColor colorFor(QIcon::Mode mode)
{
    const QPalette palette = QApplication::palette();
    switch (mode) {
    case QIcon::Disabled:
        return palette.color(QPalette::Disabled, QPalette::ButtonText);
    case QIcon::Selected:
        return palette.color(QPalette::HighlightedText);
    case QIcon::Normal:
    case QIcon::Active:
        break;
    }
    return palette.color(QPalette::ButtonText);
}

class PaletteIconEngine : public QIconEngine
{
public:
    PaletteIconEngine(const QString &path, const std::function<QColor()> &color)
        : m_path(path)
        , m_color(color)
    {}

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State state) override
    {
        const qreal scale = painter->device()->devicePixelRatioF();
        painter->drawPixmap(rect, pixmap(rect.size() * scale, mode, state));
    }
    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State) override
    {
        const bool isOwn = m_color && (mode == QIcon::Normal || mode == QIcon::Active);
        return pixmapOf(m_path, isOwn ? m_color() : colorFor(mode), size);
    }
    QPixmap scaledPixmap(const QSize &size, QIcon::Mode mode, QIcon::State state, qreal) override
    {
        return pixmap(size, mode, state);
    }
    QSize actualSize(const QSize &size, QIcon::Mode, QIcon::State) override { return size; }
    QIconEngine *clone() const override { return new PaletteIconEngine(*this); }
    bool isNull() override { return drawing(m_path).isEmpty(); }
    QString iconName() override { return m_path; }

private:
    QString m_path;
    std::function<QColor()> m_color;
};

} // namespace

QIcon icon(const QString &name)
{
    return iconFromFile(pathOf(name));
}

QIcon icon(const QString &name, const std::function<QColor()> &color)
{
    return iconFromFile(pathOf(name), color);
}

QIcon iconFromFile(const QString &path, const std::function<QColor()> &color)
{
    return drawing(path).isEmpty() ? QIcon() : QIcon(new PaletteIconEngine(path, color));
}

QPixmap iconPixmap(const QString &name, const QColor &color, int size, qreal scale)
{
    QPixmap pixmap = pixmapOf(pathOf(name), color, QSize(size, size) * scale);
    pixmap.setDevicePixelRatio(scale);
    return pixmap;
}

} // namespace corvane::ui
