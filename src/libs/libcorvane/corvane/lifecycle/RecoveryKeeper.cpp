#include <corvane/lifecycle/RecoveryKeeper.h>

#include <corvane/lifecycle/Logging.h>
#include <corvane/model/CorvaneDSLSerializer.h>

#include <store/ShutdownLifecycle.h>

using namespace Qt::StringLiterals;

namespace corvane::lifecycle {

RecoveryKeeper::RecoveryKeeper(const QString &folder, const Source &source, QObject *parent)
    : QObject(parent)
    , m_source(source)
    , m_store(std::make_shared<RecoveryStore>(folder))
{
    m_pool.setMaxThreadCount(1);
    for (QTimer *timer : {&m_quiet, &m_longest}) {
        timer->setSingleShot(true);
        timer->setTimerType(Qt::VeryCoarseTimer);
        connect(timer, &QTimer::timeout, this, &RecoveryKeeper::startCopy);
    }
    setIntervals(usualQuiet, usualLongest);
}

RecoveryKeeper::~RecoveryKeeper()
{
    finish();
}

void RecoveryKeeper::setIntervals(std::chrono::milliseconds quiet,
                                  std::chrono::milliseconds longest)
{
    m_quiet.setInterval(quiet);
    m_longest.setInterval(longest);
}

void RecoveryKeeper::edited()
{
    m_quiet.start();
    if (!m_longest.isActive())
        m_longest.start();
}

void RecoveryKeeper::forget()
{
    m_quiet.stop();
    m_longest.stop();
    finish();
    m_store->clear();
}

void RecoveryKeeper::copyNow()
{
    startCopy();
    finish();
}

void RecoveryKeeper::finish()
{
    m_pool.waitForDone();
}

void RecoveryKeeper::startCopy()
{
    m_quiet.stop();
    m_longest.stop();
    const Work work = m_source();
    if (!work.file.isEmpty())
        m_pool.start([this, work] { write(work); });
}

// On the pool's thread. The pool is done before the keeper goes.
void RecoveryKeeper::write(const Work &work)
{
    const store::ShutdownHold hold({.title = tr("Recovery"),
                                    .description = tr("Copying unsaved work"),
                                    .name = u"recovery.copy"_s});
    const QByteArray text = model::CorvaneDSLSerializer::serializeVariantMap(work.file).toUtf8();
    QString error;
    if (m_store->write(work.record, text, &error)) {
        emit copied();
        return;
    }
    qCWarning(lcLifecycle).noquote() << "Unsaved work can't be copied:" << error;
    emit failed(error);
}

} // namespace corvane::lifecycle
