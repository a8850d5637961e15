#include <brn_mesh_widgets/FrameRequest.h>

#include <QCoreApplication>

namespace Brennic::Widgets {

FrameRequest::FrameRequest(QObject* target) : m_target(target) {}

QEvent::Type FrameRequest::eventType()
{
    static const int type = QEvent::registerEventType();
    return static_cast<QEvent::Type>(type);
}

void FrameRequest::request()
{
    if (m_isRequested || m_isRequested.exchange(true))
        return;
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_target != nullptr)
        QCoreApplication::postEvent(m_target, new QEvent(eventType()));
}

void FrameRequest::accept()
{
    m_isRequested = false;
}

void FrameRequest::detach()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_target = nullptr;
}

} // namespace Brennic::Widgets
