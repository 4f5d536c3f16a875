#pragma once

#include <concurrency/Outcome.h>

#include <QCoreApplication>
#include <QMetaObject>
#include <QThread>

#include <optional>
#include <type_traits>

namespace corvane::zirn {

/// Calls a function on the thread of the application object, where every scene lives, and waits for
/// what it answers; directly when called there. Empty when the application went away before. An
/// exception goes on here: the event loop of the main thread could not take it.
///
/// The main thread never waits for a plan's thread, so this cannot lock up.
template<class Function>
auto onMainThread(const Function &function) -> std::optional<std::invoke_result_t<Function>>
{
    std::optional<std::invoke_result_t<Function>> result;
    concurrency::Outcome outcome;
    QCoreApplication *application = QCoreApplication::instance();
    if (!application)
        return result;
    const auto call = [&] { outcome = concurrency::guarded([&] { result.emplace(function()); }); };
    if (application->thread() == QThread::currentThread())
        call();
    else
        QMetaObject::invokeMethod(application, call, Qt::BlockingQueuedConnection);
    outcome.passOn();
    return result;
}

} // namespace corvane::zirn
