#pragma once

#include "ReferenceGeometry.h"

#include <QList>
#include <QString>

namespace reference {

/// An operator on two distances: `added` is the new operand, `base` what stands so far.
struct CombinerCase
{
    QString id;
    QString variant;
    QList<double> arguments;
    std::function<double(double added, double base)> value;
};

/// A transform of the point at which the child is asked.
struct TransformCase
{
    QString id;
    QString variant;
    QList<double> arguments;
    std::function<Vec3(Vec3)> value;
    double tolerance = 1e-4;
};

/// A modifier of the child's distance; those that don't look at the point ignore it.
struct ModifierCase
{
    QString id;
    QString variant;
    QList<double> arguments;
    std::function<double(Vec3, double)> value;
    double tolerance = 1e-4;
};

QList<CombinerCase> combinerCases();
QList<TransformCase> transformCases();
QList<ModifierCase> modifierCases();

} // namespace reference
