#pragma once

#include <QMap>
#include <QMetaType>
#include <QString>

#include <utility>

namespace corvane::zirn {

/// What one task, or one step of a plan, came to. Every output is text: numbers as QString::number
/// writes them, lists joined by commas, records as compact JSON.
struct ZirnTaskResult
{
    bool success = false;
    QString message{};                ///< of a failure: the sentence that failureText() makes
    QMap<QString, QString> outputs{}; ///< by the keys that the task promises in ZirnTask::outputs

    static ZirnTaskResult succeeded(QString message, QMap<QString, QString> outputs = {})
    {
        return {.success = true, .message = std::move(message), .outputs = std::move(outputs)};
    }
    static ZirnTaskResult failed(QString message)
    {
        return {.success = false, .message = std::move(message), .outputs = {}};
    }

    bool operator==(const ZirnTaskResult &) const = default;
};

} // namespace corvane::zirn

Q_DECLARE_METATYPE(corvane::zirn::ZirnTaskResult)
