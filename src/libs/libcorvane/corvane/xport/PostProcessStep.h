#pragma once

#include <QList>
#include <QString>
#include <QStringList>

namespace corvane::xport {

/// One step that a mesh goes through before it is saved: "weld", "qemDecimate(0.5)".
struct PostProcessStep
{
    QString name;
    double parameter = 0.0;
    bool hasParameter = false;

    bool operator==(const PostProcessStep &) const = default;
};

/// A list of steps, or what is wrong with the first bad entry.
struct PostProcessPlan
{
    QList<PostProcessStep> steps;
    QString error;
};

/// Reads the entries of ExportRequest::postprocess. A plan with any step begins with a "weld",
/// since every other step needs an indexed mesh: one is put in front where the list does not begin
/// with it.
PostProcessPlan parsePostProcess(const QStringList &entries);
/// The names that a step may have.
QStringList postProcessStepNames();

} // namespace corvane::xport
