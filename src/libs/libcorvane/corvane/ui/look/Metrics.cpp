#include <corvane/ui/look/Metrics.h>

#include <QApplication>

namespace corvane::ui {

namespace {

constexpr int longestMotionMs = 120;
constexpr int sizes[] = {12, 14, 18}; ///< along TextSize
constexpr int leastPercent = 75;
constexpr int mostPercent = 200;

} // namespace

int textPixels(TextSize size, int percent)
{
    return sizes[int(size)] * qBound(leastPercent, percent, mostPercent) / 100;
}

int motionMs()
{
    return QApplication::isEffectEnabled(Qt::UI_General) ? longestMotionMs : 0;
}

} // namespace corvane::ui
