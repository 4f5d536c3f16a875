#pragma once

#include <QList>
#include <QString>

namespace corvane::aa {

/// What a person chooses from.
namespace AntialiasMenu {

struct Choice
{
    QString id{}; ///< for AntialiasStrategyFactory, and the value of "rendering.aaStrategyId"
    QString text{};
};

/// In the order of the menu.
QList<Choice> choices();

/// The text of an id; the id itself when the menu does not have it.
QString textOf(const QString &id);

/// What to show beside a number of samples that the device does not offer; empty when it does.
QString sampleCountNotice(int samples, int mostSamples);

} // namespace AntialiasMenu

} // namespace corvane::aa
