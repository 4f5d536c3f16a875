#pragma once

#include <corvane/zirn/TaskPlan.h>

#include <QByteArray>
#include <QJsonArray>
#include <QString>

namespace corvane::zirn {

/// Plan JSON to a TaskPlan: everything is checked before anything is taken.
class PlanReader
{
public:
    /// False with error() at the first fault; `out` is then as it was.
    bool read(const QByteArray &json, TaskPlan &out);
    const QString &error() const { return m_error; }

    /// Whether a name is two or more words joined by dots, each beginning with a lower-case letter
    /// and going on with such letters, digits, "_" and "-".
    static bool isTaskName(const QString &name);

    /// Drops each comma that only white space parts from a closing bracket, and that space.
    /// Inside of texts too: to know where those are would take a parser that forgives.
    static QByteArray withoutTrailingCommas(const QByteArray &json);

private:
    bool fail(const QString &message);
    bool parse(const QByteArray &json);
    bool checkSteps();
    bool checkStep(qsizetype index);
    TaskPlan plan() const;

    QString m_description;
    QJsonArray m_steps;
    QString m_error;
};

} // namespace corvane::zirn
