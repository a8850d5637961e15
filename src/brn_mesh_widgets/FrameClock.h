#pragma once
/// \file
/// Turns requests from any thread into frames in the GUI thread, at most one in 16 ms. Not installed.
///
/// After a pause the first request is answered at once; without requests nothing runs.

#include <memory>

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <brn_mesh_widgets/FrameRequest.h>

namespace Brennic::Widgets {

class FrameClock final : public QObject
{
    Q_OBJECT

public:
    static constexpr int frameMilliseconds = 16;

    explicit FrameClock(QObject* parent);
    ~FrameClock() override;

    /// Returns the object that requests the next frame; it may outlive this clock.
    const std::shared_ptr<FrameRequest>& request() const { return m_request; }

    bool event(QEvent* event) override;

Q_SIGNALS:
    /// It is time to show what has changed.
    void frame();

private:
    void begin();

    std::shared_ptr<FrameRequest> m_request;
    QTimer m_timer;
    QElapsedTimer m_sinceFrame;
};

} // namespace Brennic::Widgets
