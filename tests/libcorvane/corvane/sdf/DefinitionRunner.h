#pragma once

#include "ReferenceGeometry.h"

#include <corvane/registry/Definition.h>
#include <eval/Graph.h>

#include <QList>
#include <QString>

/// The numbers of a parameter's value: three for a vector.
QList<double> numbersOf(const QVariant &value);

/// Evaluates the function of one definition, with fixed arguments, on one back-end of the field
/// language.
class DefinitionRunner
{
public:
    /// The back-ends that this program has; the interpreter is always there.
    static QList<eval::Backend> backends();

    /// @param arguments  those after the point and the distances, a vec3 as three numbers
    DefinitionRunner(const corvane::registry::Definition &definition,
                     const QList<double> &arguments,
                     eval::Backend backend = eval::Backend::Interpreted);

    /// Empty, or why the definition can't be run.
    QString error() const { return m_error; }

    /// NaN, and the fault in lastFault(), when the evaluation fails.
    double distance(reference::Vec3 p, double d1 = 0, double d2 = 0);
    reference::Vec3 position(reference::Vec3 p);
    /// The same as distance() for a row of points that differ in x.
    QList<float> row(const QList<float> &xs, float y, float z);
    /// All numbers of the results at many points in one batch, with the first two coordinates as
    /// distances; no point may fail.
    QList<float> batch(const QList<reference::Vec3> &points);
    QString lastFault() const { return m_fault; }

private:
    bool evaluate(reference::Vec3 p, double d1, double d2);

    eval::Program m_program;
    eval::ThreadCopy m_copy;
    eval::Handle m_p = 0, m_d1 = 0, m_d2 = 0, m_result = 0;
    QList<double> m_arguments;
    QString m_error;
    QString m_fault;
};
