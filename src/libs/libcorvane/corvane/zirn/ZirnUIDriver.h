#pragma once

#include <QObject>
#include <QVariantMap>

namespace corvane::zirn {

/// The channel by which tasks ask the interface for things. Tasks emit these signals on the plan's
/// thread; an interface connects on its own thread and so gets them queued. None of them answers.
class ZirnUIDriver : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

signals:
    void activityRequested(const QString &name, const QVariantMap &args);
    void logMessageRequested(const QString &text);
    void statusUpdateRequested(const QString &text);
    void refreshRequested(const QString &key);
};

} // namespace corvane::zirn
