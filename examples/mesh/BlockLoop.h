#pragma once
/// \file
/// A loop over an index range in blocks, which may run at the same time.

#include <cstddef>
#include <functional>
#include <memory>

#include <brn_mesh_kernel/tasks/TaskQueue.h>

/// The body of a loop: takes the indices from the first to before the last. Must not throw.
using BlockBody = std::function<void(std::size_t first, std::size_t last)>;

/// Runs the body for blocks that together cover the indices from 0 to before \p count; returns when all are done.
using BlockLoop = std::function<void(std::size_t count, const BlockBody& body)>;

/// A loop whose blocks are tasks on the queue. The caller waits, so it is not one of the queue's workers.
BlockLoop makeTaskLoop(std::shared_ptr<Brennic::Core::TaskQueue> queue);
