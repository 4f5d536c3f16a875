#pragma once

#include <QLatin1StringView>
#include <QList>
#include <QMetaType>
#include <QString>

#include <chrono>
#include <functional>
#include <optional>

namespace toast {

/// What a notice is about; the values are fixed.
enum class Severity { Info = 0, Success = 1, Warning = 2, Error = 3 };

/// The colour of a card's border, such as "#4c8bf5".
QLatin1StringView borderColor(Severity severity);

/// How long a card stays on the screen; nothing for an error, which stays until it is dismissed.
std::optional<std::chrono::milliseconds> dwellTime(Severity severity);

/// A button on a card.
struct ToastAction
{
    QString label{};
    std::function<void()> run{};
};

/// What a card shows.
struct ToastSpec
{
    Severity severity = Severity::Info;
    QString title{};
    QString body{};
    QList<ToastAction> actions{};
};

/// A notice as the history keeps it.
struct ToastRecord
{
    quint64 id = 0; ///< from 1, never given twice
    Severity severity = Severity::Info;
    QString title{};
    QString body{};
    QList<ToastAction> actions{};
    qint64 timestamp = 0;   ///< milliseconds since the epoch, of its last coming
    qint32 count = 1;       ///< how often it came
    bool dismissed = false; ///< put away by the user, or by age

    ToastSpec spec() const { return {severity, title, body, actions}; }
};

/// "Title: body", or whichever of the two there is.
QString plainText(const QString &title, const QString &body);

} // namespace toast

Q_DECLARE_METATYPE(toast::ToastRecord)
