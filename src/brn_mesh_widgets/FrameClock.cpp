#include <brn_mesh_widgets/FrameClock.h>

#include <algorithm>

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

void FrameClock::begin()
{
    m_sinceFrame.start();
    m_request->accept();
    Q_EMIT frame();
}

} // namespace Brennic::Widgets

#include "moc_FrameClock.cpp"
