#pragma once
/// \file
/// Loops whose parts run at the same time: over indices, over a range, and into one result.
///
///     using namespace Brennic::Core;
///     LoopOptions options;
///     options.progress = progress; // counts the vertices, and cancels the loop
///     const ELoopEnd end = parallelFor(0, vertexCount, [&](int begin, int end) {
///         for (int vertex = begin; vertex < end; ++vertex)
///             smooth(vertex);
///     }, options);
///
///     const std::optional<double> volume = parallelReduce(0, faceCount, 0.0,
///         [&](int begin, int end) { return volumeOf(begin, end); },
///         [](double left, double right) { return left + right; });
///
/// The calling thread works itself, and workers of a queue help it. It waits only for those that have begun.
/// So a loop comes to its end wherever it is called: inside a task, inside another loop, in the GUI thread,
/// while all workers have other work, and without an application object, when no worker runs anything.
///
/// The range is handed out in grains, each to the thread that is free. Between two grains a thread looks
/// whether the loop is cancelled, so `Progress::cancel` has it return once the grains that run have been
/// done. Where other tasks of the queue are pending, a worker that has helped for some milliseconds runs
/// those first.
///
/// The first exception that leaves the callable stops the loop: no further grain begins, and the call throws
/// it when those that run have been done. Exceptions of these are dropped.
///
/// Threads: every function may be called from any thread. The callable runs in several threads at the same
/// time, and must bear that. All that it has written is visible to the caller when the call returns.
///
/// Lifetime: nothing outlives the call: callables, ranges and options are borrowed, and not used after it.
///
/// docs/loops.md says how grains are chosen and what a loop costs.

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>
#include <vector>

#include <brn_mesh_kernel/library/Export.h>
#include <brn_mesh_kernel/tasks/EQualityOfService.h>

namespace Brennic::Core {

class Progress;
class TaskQueue;

/// How a loop has ended, if by no exception.
enum ELoopEnd : std::int32_t
{
    /// The callable has run for the whole range.
    eLoop_Completed = 0,
    /// The progress of the options was cancelled, and a part of the range was left out.
    eLoop_Cancelled = 1,
};

/// Who helps with a loop, in what portions, and who watches it.
struct LoopOptions
{
    /// The class of the library's queue whose workers help. With `eQOS_GUI`, or a value that is no service
    /// class, the calling thread works alone.
    EQualityOfService qos = eQOS_Normal;

    /// The queue whose workers help, in place of that of the class; null for none. If a shared pointer owns
    /// it, the loop shares it until it ends.
    TaskQueue* queue = nullptr;

    /// How many items a thread takes at a time. 0 has the loop choose while it runs, by the time that items
    /// take: about 0.1 ms each time, and a single item where that takes longer.
    std::size_t grain = 0;

    /// The most threads that run the callable at the same time, the calling one included. Less than 1 stands
    /// for all workers of the queue, and the calling thread.
    int maxWorkers = 0;

    /// Counts the items that are done, and cancels the loop; may be empty. Its total is left as it is: make
    /// it with as many units as the loop has items, or add the loop to what it counts already.
    ///
    /// The calling thread alone reports, between its grains, about once a millisecond at most, and last
    /// before the call returns or throws: by then every item that is done has been counted. What a receiver
    /// throws there counts as thrown by the callable.
    std::shared_ptr<Progress> progress;
};

/// What the templates below hand to the library. Not for direct use.
class LoopBody
{
public:
    /// Borrows the callable, which takes two offsets from the begin of the range.
    /// Thread: any.
    template <typename Function>
    explicit LoopBody(const Function& function)
        : m_function(&function), m_call([](const void* callable, std::uint64_t begin, std::uint64_t end) {
              (*static_cast<const Function*>(callable))(begin, end);
          })
    {
    }

    /// Calls it.
    /// Thread: any.
    void operator()(std::uint64_t begin, std::uint64_t end) const { m_call(m_function, begin, end); }

private:
    const void* m_function;
    void (*m_call)(const void* callable, std::uint64_t begin, std::uint64_t end);
};

/// Runs a loop over \p count items, in grains that begin at multiples of \p step. Not for direct use: the
/// templates below call it.
/// \throws what \p body throws, and `std::bad_alloc`.
/// Thread: any; blocks until the loop has ended.
[[nodiscard]] BRN_MESH_KERNEL_EXPORT ELoopEnd runLoop(std::uint64_t count, std::uint64_t step, LoopBody body,
                                                      const LoopOptions& options);

/// Calls \p body with parts of the range from \p first to before \p last, which together cover it, each part
/// once. If \p last is not greater than \p first, nothing is called.
///
/// \param first, last integers; they have their common type in the calls. The range may be as long as
///        that type allows.
/// \param body takes the begin of a part, and its end, which is the index after the last one.
/// \param options who helps, in what portions, and who watches.
/// \throws what \p body throws first, and `std::bad_alloc`.
/// Thread: any; blocks until the loop has ended. \p body runs in this thread and in those of the workers.
template <typename First, typename Last, typename Body>
[[nodiscard]] ELoopEnd parallelFor(First first, Last last, Body&& body, const LoopOptions& options = {})
{
    using Index = std::common_type_t<First, Last>;
    static_assert(std::is_integral_v<Index>, "the range of a loop has integers at its ends");
    if (!(static_cast<Index>(first) < static_cast<Index>(last)))
        return eLoop_Completed;
    // Unsigned, so that neither the length of a range nor the end of a type overflows.
    const auto origin = static_cast<std::uint64_t>(static_cast<Index>(first));
    const auto part = [&body, origin](std::uint64_t begin, std::uint64_t end) {
        body(static_cast<Index>(origin + begin), static_cast<Index>(origin + end));
    };
    return runLoop(static_cast<std::uint64_t>(static_cast<Index>(last)) - origin, 1, LoopBody(part), options);
}

/// Calls \p function for each element of \p range, once.
///
/// \param range has random access: a container, an array, or what has `begin` and `end`. It must not change
///        while the loop runs. Of a `std::vector<bool>` neighbouring elements cannot be written at the same
///        time.
/// \param function takes an element.
/// \param options who helps, in what portions, and who watches.
/// \throws what \p function throws first, and `std::bad_alloc`.
/// Thread: any; blocks until the loop has ended. \p function runs in this thread and in those of the workers.
template <typename Range, typename Function>
[[nodiscard]] ELoopEnd parallelForEach(Range&& range, Function&& function, const LoopOptions& options = {})
{
    using std::begin;
    using std::end;
    const auto first = begin(range);
    using Traits = typename std::iterator_traits<std::decay_t<decltype(first)>>;
    static_assert(std::is_base_of_v<std::random_access_iterator_tag, typename Traits::iterator_category>,
                  "a parallel loop needs a range with random access");
    using Offset = typename Traits::difference_type;
    const auto part = [&](Offset from, Offset to) {
        for (auto element = first + from; element != first + to; ++element)
            function(*element);
    };
    return parallelFor(Offset{0}, static_cast<Offset>(end(range) - first), part, options);
}

/// Computes a result for each grain of the range, and combines them from the first to the last.
///
/// The grains depend on the length of the range and on `LoopOptions::grain` alone (0: at most 256 grains, as
/// even as can be), and they are combined in their order. So the result has the same bits with any number of
/// threads, also where it depends on the order, as a sum of floating-point numbers does. One result for each
/// grain is kept until the end: choose no tiny grain for a huge range.
///
/// \param first, last as for \ref parallelFor.
/// \param identity the first value to combine, and the result of an empty range. Its type is that of the
///        result; it need not be copied, only moved.
/// \param map takes the begin and the end of a grain, and returns its result.
/// \param reduce takes two results, the one of the earlier part of the range first, and returns that of both.
///        It is called in the calling thread.
/// \param options who helps, in what portions, and who watches.
/// \return the result; empty if the loop was cancelled.
/// \throws what \p map throws first, what \p reduce throws, and `std::bad_alloc`.
/// Thread: any; blocks until the loop has ended. \p map runs in this thread and in those of the workers.
template <typename First, typename Last, typename Result, typename Map, typename Reduce>
[[nodiscard]] std::optional<Result> parallelReduce(First first, Last last, Result identity, Map&& map,
                                                   Reduce&& reduce, const LoopOptions& options = {})
{
    using Index = std::common_type_t<First, Last>;
    static_assert(std::is_integral_v<Index>, "the range of a loop has integers at its ends");
    std::optional<Result> result(std::move(identity));
    if (!(static_cast<Index>(first) < static_cast<Index>(last)))
        return result;
    constexpr std::uint64_t mostGrains = 256;
    const auto origin = static_cast<std::uint64_t>(static_cast<Index>(first));
    const std::uint64_t count = static_cast<std::uint64_t>(static_cast<Index>(last)) - origin;
    const std::uint64_t grain = options.grain != 0 ? options.grain : (count - 1) / mostGrains + 1;
    std::vector<std::optional<Result>> results(static_cast<std::size_t>((count - 1) / grain + 1));
    const auto part = [&](std::uint64_t begin, std::uint64_t end) {
        while (begin < end) {
            const std::uint64_t grainEnd = end - begin > grain ? begin + grain : end;
            results[static_cast<std::size_t>(begin / grain)].emplace(
                map(static_cast<Index>(origin + begin), static_cast<Index>(origin + grainEnd)));
            begin = grainEnd;
        }
    };
    if (runLoop(count, grain, LoopBody(part), options) == eLoop_Cancelled)
        return std::nullopt;
    for (std::optional<Result>& each : results) {
        Result both = reduce(std::move(*result), std::move(*each));
        result.emplace(std::move(both));
    }
    return result;
}

} // namespace Brennic::Core
