// Writes a picture of each state of the window, light and dark, at scale 1 and 2, such as
// "dark-2x-picker.png". They are to be looked at; what they show is tested elsewhere.
#include "States.h"

#include <corvane/registry/Registry.h>
#include <corvane/ui/look/Theme.h>

#include <QApplication>
#include <QDir>
#include <QImage>
#include <QLayout>
#include <QLocale>

#include <cstdio>

using namespace Qt::StringLiterals;
using namespace corvane::ui;

namespace {

constexpr int longestSettling = 20; ///< turns of the event loop until all is in its place

/// Until the widget has done what it put off.
void settle(QWidget &widget)
{
    for (int i = 0; i < longestSettling; ++i) {
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents();
    }
    if (widget.layout())
        widget.layout()->activate();
}

bool write(const State &state, const QString &theme, int scale, const QDir &folder)
{
    const std::unique_ptr<QWidget> widget = state.make();
    widget->resize(state.size);
    widget->show();
    settle(*widget);
    QImage picture(state.size * scale, QImage::Format_RGB32);
    picture.setDevicePixelRatio(scale);
    picture.fill(widget->palette().color(QPalette::Window));
    widget->render(&picture);
    const QString name =
        u"%1-%2x-%3.png"_s.arg(theme, QString::number(scale), QLatin1StringView(state.name));
    const bool isWritten = picture.save(folder.filePath(name));
    std::printf("%s%s\n", qPrintable(name), isWritten ? "" : ": cannot be written");
    return isWritten;
}

bool isWanted(const State &state, const QStringList &names)
{
    return names.isEmpty() || names.contains(QLatin1StringView(state.name));
}

} // namespace

int main(int argc, char *argv[])
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QLocale::setDefault(QLocale::c());
    const QApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 2 || !QDir().mkpath(arguments.at(1))) {
        std::fprintf(stderr, "Usage: window_pictures OUT [NAME ...]\n");
        return 2;
    }
    const QDir folder(arguments.at(1));
    bool isOk = true;
    for (const auto &[theme, appearance] :
         {std::pair{u"light"_s, Appearance::Light}, std::pair{u"dark"_s, Appearance::Dark}}) {
        applyAppearance(appearance);
        for (const State &state : states()) {
            for (const int scale : {1, 2})
                isOk = (!isWanted(state, arguments.mid(2)) || write(state, theme, scale, folder)) &&
                       isOk;
        }
    }
    return isOk ? 0 : 1;
}
