#pragma once

#include <corvane/zirn/ZirnTaskResult.h>

#include <QString>

namespace corvane::zirn {

/// The parts of a failure that a model can act on without more context.
struct Failure
{
    QString attempt{};                           ///< what was being done: "remove item 7f.."
    QString cause{};                             ///< why it did not work: "not found"
    QString state = QStringLiteral("unchanged"); ///< what remains: "prior steps completed"
    QString suggestion{}; ///< what to do next: "check itemId"; left out when empty
};

/// "Failed to <attempt>: <cause>. State: <state>. Suggestion: <suggestion>."
/// The parts stand without a full stop at their end; one that has it, or asks, keeps it alone.
QString failureText(const Failure &failure);

/// The result of a task that changed nothing.
ZirnTaskResult failed(const QString &attempt, const QString &cause, const QString &suggestion);

/// A text of whoever wrote the plan, cut off where it is too long for a sentence.
QString shortened(const QString &text);

} // namespace corvane::zirn
