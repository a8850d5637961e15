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

// Whoever sets the mark asks for the frame; the others would only make its cache line travel.
void ProgressWatch::mark()
{
    if (!m_isChanged && !m_isChanged.exchange(true))
        m_request->request();
}

} // namespace Brennic::Widgets
