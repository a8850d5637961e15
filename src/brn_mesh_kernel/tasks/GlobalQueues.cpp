#include <brn_mesh_kernel/tasks/GlobalQueues.h>

#include <array>
#include <atomic>
#include <map>
#include <memory>

#include <brn_mesh_kernel/tasks/TaskQueue.h>
#include <brn_mesh_kernel/tasks/TaskQueueCore.h>

namespace Brennic::Core {

namespace {

constexpr std::array<EQualityOfService, 5> serviceClasses{eQOS_GUI, eQOS_High, eQOS_Normal, eQOS_Low,
                                                          eQOS_Background};

struct Table
{
    std::map<EQualityOfService, std::shared_ptr<TaskQueue>> queues; // used by the library's entry point only
    std::array<std::atomic<TaskQueue*>, serviceClasses.size()> found{};
};

// Never destroyed: workers and the host's threads may be using a queue while the process ends. Callers read
// `found` without a lock, which `queues` would need.
Table& table()
{
    static Table* const instance = new Table;
    return *instance;
}

} // namespace

void GlobalQueues::initGlobalQueues()
{
    clearGlobalQueues();
    for (const EQualityOfService qos : serviceClasses) {
        // Not by createQueue(), which refuses the GUI class: its one queue is this one.
        std::shared_ptr<TaskQueue> queue(new TaskQueue(qos, -1, std::make_shared<TaskFamily>()));
        table().found[static_cast<std::size_t>(qos)] = queue.get();
        table().queues[qos] = std::move(queue);
    }
}

void GlobalQueues::clearGlobalQueues()
{
    hideGlobalQueues();
    table().queues.clear();
}

void GlobalQueues::hideGlobalQueues()
{
    for (std::atomic<TaskQueue*>& queue : table().found)
        queue = nullptr;
}

TaskQueue* GlobalQueues::find(EQualityOfService qos)
{
    const auto index = static_cast<std::size_t>(qos); // a negative value becomes a large one
    return index < table().found.size() ? table().found[index].load() : nullptr;
}

} // namespace Brennic::Core
