#include <brn_mesh_widgets/FrameClock.h>

#include <algorithm>

#include <QPointer>

namespace Brennic::Widgets {

FrameClock::FrameClock(QObject* parent) : QObject(parent), m_request(std::make_shared<FrameRequest>(this))
{
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &FrameClock::begin);
}

FrameClock::~FrameClock()
{
    m_request->detach();
}

bool FrameClock::event(QEvent* event)
{
    if (event->type() != FrameRequest::eventType())
        return QObject::event(event);
    const qint64 sinceFrame = m_sinceFrame.isValid() ? m_sinceFrame.elapsed() : frameMilliseconds;
    m_timer.start(static_cast<int>(std::max<qint64>(0, frameMilliseconds - sinceFrame)));
    return true;
}

// The interval counts from the end of a frame, so that slow views leave time for other events.
void FrameClock::begin()
{
    const QPointer<FrameClock> self(this); // a slot may destroy the model
    m_request->accept();
    Q_EMIT frame();
    if (self)
        m_sinceFrame.start();
}

} // namespace Brennic::Widgets

#include "moc_FrameClock.cpp" // NOLINT(bugprone-suspicious-include)
