#include "BlockLoop.h"

#include <algorithm>
#include <utility>
#include <vector>

#include <brn_mesh_kernel/tasks/Task.h>

using Brennic::Core::Task;
using Brennic::Core::TaskQueue;

namespace {

// More blocks than workers, so that a worker that is held up leaves the rest to the others; but none so small
// that handing it over costs more than running it.
constexpr std::size_t blocksPerWorker = 4;
constexpr std::size_t smallestBlock = 1024;

std::size_t blockSize(std::size_t count, const TaskQueue& queue)
{
    const std::size_t blocks = blocksPerWorker * static_cast<std::size_t>(queue.getMaxConcurrency());
    return std::max(smallestBlock, (count + blocks - 1) / blocks);
}

void runInBlocks(TaskQueue& queue, std::size_t count, const BlockBody& body)
{
    const std::size_t size = blockSize(count, queue);
    std::vector<std::shared_ptr<Task>> tasks;
    for (std::size_t first = 0; first < count; first += size) {
        const std::size_t last = std::min(first + size, count);
        tasks.push_back(std::make_shared<Task>([&body, first, last] { body(first, last); }));
        queue.addTask(tasks.back());
    }
    for (const std::shared_ptr<Task>& task : tasks)
        task->waitTillFinished();
}

} // namespace

BlockLoop makeTaskLoop(std::shared_ptr<TaskQueue> queue)
{
    return [queue = std::move(queue)](std::size_t count, const BlockBody& body) {
        runInBlocks(*queue, count, body);
    };
}
