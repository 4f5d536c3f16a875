#pragma once

#include <QCoreApplication>
#include <QMetaObject>
#include <QThread>

#include <optional>
#include <type_traits>

namespace corvane::zirn {

/// Calls a function on the thread of the application object, where every scene lives, and waits for
/// what it answers; directly when called there. Empty when the application went away before.
///
/// The main thread never waits for a plan's thread, so this cannot lock up.
template<class Function>
auto onMainThread(const Function &function) -> std::optional<std::invoke_result_t<Function>>
{
    std::optional<std::invoke_result_t<Function>> result;
    QCoreApplication *application = QCoreApplication::instance();
    if (!application)
        return result;
    const auto call = [&result, &function] { result.emplace(function()); };
    if (application->thread() == QThread::currentThread())
        call();
    else
        QMetaObject::invokeMethod(application, call, Qt::BlockingQueuedConnection);
    return result;
}

} // namespace corvane::zirn
