#pragma once

#include <corvane/model/Corvane.h>

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QTimer>

namespace corvane::lifecycle {

/// Moves a document from frame to frame while it plays, at the document's frames a second. A turn
/// that comes late skips frames, so that time keeps its pace. Main thread.
class AnimationClock : public QObject
{
    Q_OBJECT

public:
    explicit AnimationClock(QObject *parent = nullptr);

    /// Follows the document from here on; null stops.
    void setDocument(model::Corvane *document);
    void stop();
    bool isRunning() const { return m_timer.isActive(); }

    /// The first frame and the last, after which it begins again.
    static constexpr int firstFrame = 0;
    int lastFrame() const; ///< the setting "animation.lastFrame", 120 unless set

private:
    void follow();
    void advance();

    QPointer<model::Corvane> m_document;
    QTimer m_timer{this};
    QElapsedTimer m_sinceStart;
    int m_startFrame = 0;
};

} // namespace corvane::lifecycle
