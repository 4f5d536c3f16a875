#pragma once

#include <QSize>
#include <QString>
#include <QWidget>

#include <functional>
#include <memory>
#include <span>

/// A state of the window, or of a part of it, that is worth a look.
struct State
{
    const char *name;
    QSize size; ///< at scale 1
    /// The widget as it is to be seen, with all that it stands on.
    std::unique_ptr<QWidget> (*make)();
};

std::span<const State> states();
