#include <brn_mesh_widgets/ProgressWatch.h>

#include <utility>

namespace Brennic::Widgets {

ProgressWatch::ProgressWatch(std::shared_ptr<FrameRequest> request) : m_request(std::move(request)) {}

bool ProgressWatch::takeChange()
{
    return m_isChanged && m_isChanged.exchange(false);
}

void ProgressWatch::progressUpdated(Core::Progress*, float, const std::wstring&)
{
    mark();
}

void ProgressWatch::progressCompleted(Core::Progress*, const std::wstring&)
{
    mark();
}

// Only the thread that sets the mark requests the frame. The others read first, so that they do not contend for
// the cache line.
void ProgressWatch::mark()
{
    if (!m_isChanged && !m_isChanged.exchange(true))
        m_request->request();
}

} // namespace Brennic::Widgets
