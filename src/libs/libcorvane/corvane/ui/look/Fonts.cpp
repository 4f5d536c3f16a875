#include <corvane/ui/look/Fonts.h>

#include <corvane/ui/look/Logging.h>

#include <QFontDatabase>

using namespace Qt::StringLiterals;

// Out of any namespace, as the macro demands.
static void initializeFonts()
{
    Q_INIT_RESOURCE(ui_fonts);
}

namespace corvane::ui {

Q_LOGGING_CATEGORY(lcLook, "ondrel.ui.look", QtWarningMsg)

namespace {

constexpr auto facePath = ":/fonts/Dosis/OndrelDosis-VF.ttf"_L1;
constexpr auto family = "Ondrel Dosis"_L1;

int textPercent = 100;

} // namespace

void registerFonts()
{
    static const bool isRegistered = [] {
        initializeFonts();
        if (QFontDatabase::addApplicationFont(facePath) >= 0)
            return true;
        qCCritical(lcLook).noquote() << u"ERROR: Could not load font for "_s + facePath;
        return false;
    }();
    Q_UNUSED(isRegistered)
}

QFont applicationFont(TextSize size)
{
    registerFonts();
    QFont font{QString(family)};
    font.setPixelSize(textPixels(size, textPercent));
    font.setWeight(QFont::Medium);
    return font;
}

QFont codeFont()
{
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setPixelSize(textPixels(TextSize::Small, textPercent));
    return font;
}

void setTextPercent(int percent)
{
    textPercent = percent;
}

} // namespace corvane::ui
