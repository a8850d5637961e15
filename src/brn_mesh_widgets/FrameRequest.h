#pragma once
/// \file
/// Asks an object of the GUI thread for one frame, from any thread and however often. Not installed.
///
/// The first request after a frame posts one event; those after it cost the reading of a flag.

#include <atomic>
#include <mutex>

#include <QEvent>

class QObject;

namespace Brennic::Widgets {

class FrameRequest
{
public:
    /// \param target gets the events, until \ref detach.
    explicit FrameRequest(QObject* target);

    FrameRequest(const FrameRequest&) = delete;
    FrameRequest& operator=(const FrameRequest&) = delete;

    /// Returns the type of the event.
    /// Thread: any.
    static QEvent::Type eventType();

    /// Posts an event to the target, unless that was done since the last \ref accept.
    /// Thread: any.
    void request();

    /// Lets the next request post again; to be called before what has changed is read.
    /// Thread: GUI thread.
    void accept();

    /// Forgets the target; later requests do nothing.
    /// Thread: GUI thread.
    void detach();

private:
    std::atomic<bool> m_isRequested{false};
    std::mutex m_mutex;
    QObject* m_target; // guarded by m_mutex, also while an event is posted
};

} // namespace Brennic::Widgets
