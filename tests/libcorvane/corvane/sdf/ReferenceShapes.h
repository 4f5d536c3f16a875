#pragma once

#include "ReferenceGeometry.h"

#include <QList>
#include <QString>

namespace reference {

/// What a primitive's definition promises against its reference.
enum class Promise {
    Exact,   ///< the value is the signed distance
    Bound,   ///< the sign is right, the value never passes the distance
    Formula, ///< the value is a stated formula and need not be a distance
    Sign, ///< the reference is right in its sign only; the value is still never above the distance
};

/// A primitive with its arguments, and what its field has to be.
struct PrimitiveCase
{
    QString id;
    QString variant;         ///< tells the cases of one id apart
    QList<double> arguments; ///< in the order of the signature, a vec3 as three numbers
    Promise promise = Promise::Exact;
    double reach = 25; ///< samples lie within this distance of the origin on each axis
    std::function<double(Vec3)> field;
    double slope = 1; ///< steepest change of the value per unit of length; 0 when there is no limit
    double tolerance = 2e-4; ///< of the comparison, near the origin
};

/// At least one case of every primitive that has an independent description.
QList<PrimitiveCase> solidCases();
QList<PrimitiveCase> latticeCases();
QList<PrimitiveCase> mechanicalCases();
QList<PrimitiveCase> aerospaceCases();
QList<PrimitiveCase> fieldCases();

} // namespace reference
