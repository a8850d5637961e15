#include <brn_mesh_kernel/tasks/WaitGraph.h>

#include <algorithm>
#include <atomic>
#include <mutex>

#include <brn_mesh_kernel/tasks/TaskQueueCore.h>
#include <brn_mesh_kernel/tasks/TaskWorker.h>

namespace Brennic::Core {

namespace {

struct State
{
    std::mutex mutex;
    std::vector<WaitGraph::Wait*> waits; // guarded by mutex
    std::atomic<WaitGraph::Report> report{nullptr};
};

// Never destroyed: threads may wait until the process has gone.
State& state()
{
    static State* const instance = new State;
    return *instance;
}

} // namespace

void WaitGraph::reportBy(Report report)
{
    state().report = report;
}

void WaitGraph::Wait::enter()
{
    std::wstring text;
    {
        const std::lock_guard<std::mutex> lock(state().mutex);
        m_isListed = true;
        m_thread = std::this_thread::get_id();
        m_worker = TaskWorker::current();
        state().waits.push_back(this);
        const std::vector<Wait*> circle = circleFrom(*this);
        if (circle.empty())
            return;
        // The own wait comes first.
        const auto found =
            std::find_if(circle.begin(), circle.end(), [](const Wait* wait) { return wait->canBeGivenUp(); });
        Wait* const givenUp = found != circle.end() ? *found : nullptr;
        text = describe(circle, givenUp);
        if (givenUp != nullptr)
            givenUp->giveUp();
    }
    if (const Report report = state().report)
        report(text);
}

void WaitGraph::Wait::leave()
{
    if (!m_isListed)
        return;
    const std::lock_guard<std::mutex> lock(state().mutex);
    m_isListed = false;
    std::vector<Wait*>& waits = state().waits;
    waits.erase(std::find(waits.begin(), waits.end(), this));
}

// The waits that must end before this one can, itself the first; none if one of them can end. There is no
// choice to follow: a wait for a pending task cannot end only if none of its queue's workers can go on.
std::vector<WaitGraph::Wait*> WaitGraph::circleFrom(Wait& wait)
{
    const std::vector<Wait*>& waits = state().waits;
    std::vector<Wait*> circle{&wait};
    const auto addAll = [&](const auto& isMeant) {
        int count = 0;
        for (Wait* const other : waits) {
            if (!isMeant(*other))
                continue;
            ++count;
            if (std::find(circle.begin(), circle.end(), other) == circle.end())
                circle.push_back(other);
        }
        return count;
    };
    for (std::size_t i = 0; i < circle.size(); ++i) {
        const Target target = circle[i]->target();
        if (target.kind == Target::Unknown)
            return {};
        const TaskQueueCore* const core = target.core.get();
        const bool isForThread = target.kind == Target::Running || core->qos == eQOS_GUI;
        const std::thread::id thread =
            target.kind == Target::Running ? target.thread : TaskWorker::guiThread();
        const int listed = isForThread
                               ? addAll([&](const Wait& other) { return other.m_thread == thread; })
                               : addAll([&](const Wait& other) {
                                     return other.m_worker != nullptr && &other.m_worker->core() == core;
                                 });
        if (listed < (isForThread ? 1 : core->scheduler.workerCount()))
            return {};
    }
    return circle;
}

std::wstring WaitGraph::nameOf(const Wait& wait)
{
    if (wait.m_worker != nullptr) {
        const std::string& name = wait.m_worker->threadName();
        return std::wstring(name.begin(), name.end()); // ASCII
    }
    return wait.m_thread == TaskWorker::guiThread() ? L"the GUI thread" : L"a thread of the host";
}

std::wstring WaitGraph::nameOf(const Target& target)
{
    if (target.kind == Target::Pending)
        return target.core->qos == eQOS_GUI ? L"a task that is pending for the GUI thread"
                                            : L"a task that is pending in a queue whose workers all wait";
    for (const Wait* const other : state().waits)
        if (other->m_thread == target.thread)
            return L"a task that is running in " + nameOf(*other);
    return L"a task";
}

std::wstring WaitGraph::describe(const std::vector<Wait*>& circle, const Wait* givenUp)
{
    std::wstring text = L"These waits cannot end: ";
    for (const Wait* const wait : circle) {
        if (wait != circle.front())
            text += L"; ";
        text += nameOf(*wait) + L" waits for " + nameOf(wait->target());
    }
    text += givenUp != nullptr ? L". The wait of " + nameOf(*givenUp) + L" is given up, its task does not run"
                               : std::wstring(L". None of them can be given up");
    return text;
}

} // namespace Brennic::Core
