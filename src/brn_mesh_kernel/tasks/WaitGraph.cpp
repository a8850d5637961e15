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
    std::vector<std::wstring> texts;
    {
        const std::lock_guard<std::mutex> lock(state().mutex);
        m_thread = std::this_thread::get_id();
        m_worker = TaskWorker::current();
        state().waits.push_back(this);
        m_isListed = true; // not before: without memory it is not on the list
        // The end of a loop may take several: one for each of its threads.
        for (bool isAnyGivenUp = true; isAnyGivenUp;) {
            const std::vector<Wait*> circle = circleFrom(*this);
            if (circle.empty())
                break;
            // The own wait comes first.
            const auto found = std::find_if(circle.begin(), circle.end(),
                                            [](const Wait* wait) { return wait->canBeGivenUp(); });
            isAnyGivenUp = found != circle.end();
            texts.push_back(describe(circle, isAnyGivenUp ? *found : nullptr));
            if (isAnyGivenUp)
                (*found)->giveUp();
        }
    }
    if (const Report report = state().report)
        for (const std::wstring& text : texts)
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

// A wait, and the listed waits of the threads that could end it: it cannot end if so many of them cannot.
struct WaitGraph::Link
{
    Wait* wait;
    std::vector<Wait*> others;
    std::size_t most; // 0 for a wait that can end
    bool canEnd() const { return most == 0 || others.size() < most; }
};

WaitGraph::Link WaitGraph::linkOf(Wait& wait)
{
    Link link{&wait, {}, 0};
    const auto addAll = [&link](const auto& isMeant) {
        for (Wait* const other : state().waits)
            if (isMeant(*other))
                link.others.push_back(other);
    };
    const Target target = wait.target();
    const TaskQueueCore* const core = target.core.get();
    if (target.kind == Target::Pending && core->qos != eQOS_GUI) {
        link.most = static_cast<std::size_t>(core->scheduler.workerCount());
        addAll([core](const Wait& other) {
            return other.m_worker != nullptr && &other.m_worker->core() == core;
        });
    } else if (target.kind != Target::Unknown) {
        const std::vector<std::thread::id> threads =
            target.kind == Target::Pending ? std::vector{TaskWorker::guiThread()} : target.threads;
        link.most = 1;
        addAll([&threads](const Wait& other) {
            return std::find(threads.begin(), threads.end(), other.m_thread) != threads.end();
        });
    }
    return link;
}

// The waits that cannot end and that keep this one from its end, itself the first; none if it can end.
std::vector<WaitGraph::Wait*> WaitGraph::circleFrom(Wait& wait)
{
    const auto contains = [](const std::vector<Wait*>& waits, const Wait* each) {
        return std::find(waits.begin(), waits.end(), each) != waits.end();
    };
    std::vector<Wait*> reached{&wait};
    std::vector<Link> links;
    for (std::size_t i = 0; i < reached.size(); ++i) {
        links.push_back(linkOf(*reached[i]));
        if (links.front().canEnd())
            return {};
        for (Wait* const other : links.back().others)
            if (!contains(reached, other))
                reached.push_back(other);
    }
    // What ends may let others end.
    for (;;) {
        const auto ending =
            std::find_if(links.begin(), links.end(), [](const Link& link) { return link.canEnd(); });
        if (ending == links.end())
            break;
        const Wait* const ended = ending->wait;
        links.erase(ending);
        for (Link& link : links)
            link.others.erase(std::remove(link.others.begin(), link.others.end(), ended), link.others.end());
    }
    if (links.empty() || links.front().wait != &wait)
        return {};
    // Some that cannot end may be reached only through some that can.
    std::vector<Wait*> circle{&wait};
    for (std::size_t i = 0; i < circle.size(); ++i) {
        const auto link = std::find_if(links.begin(), links.end(),
                                       [&](const Link& each) { return each.wait == circle[i]; });
        for (Wait* const other : link->others)
            if (!contains(circle, other))
                circle.push_back(other);
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
    std::wstring what = target.kind == Target::Loop ? L"a part of a loop" : L"a task";
    for (const Wait* const other : state().waits)
        if (std::find(target.threads.begin(), target.threads.end(), other->m_thread) != target.threads.end())
            return what + L" that is running in " + nameOf(*other);
    return what;
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
