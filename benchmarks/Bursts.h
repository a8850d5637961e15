#pragma once
/// \file
/// Hands small callables to a peer in bursts, and measures from the first one handed over until the last has
/// run. All peers count them down in the same way. A peer has `run(function)`.

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

#include <QSemaphore>

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

/// Never destroyed while a burst runs: the last callable may still be inside `release` when the waiting
/// thread goes on.
inline QSemaphore& allDone()
{
    static QSemaphore semaphore;
    return semaphore;
}

template <typename Peer>
void runMany(Peer& peer, int count, std::atomic<int>& left)
{
    for (int i = 0; i < count; ++i)
        peer.run([&left] {
            if (--left == 0)
                allDone().release();
        });
}

/// Holds each worker of a peer inside a callable, which also makes the peer start all its threads.
class HeldWorkers
{
public:
    /// Returns once \p workers callables run at the same time, or after ten seconds.
    /// \param prepare is called in each worker's thread.
    template <typename Peer, typename Prepare>
    HeldWorkers(Peer& peer, int workers, Prepare prepare) : m_workers(workers)
    {
        for (int i = 0; i < workers; ++i)
            peer.run([gate = m_gate, prepare] {
                prepare();
                gate->arrived.release();
                gate->opened.acquire();
            });
        m_areAllHeld = m_gate->arrived.tryAcquire(workers, patienceInMilliseconds);
    }
    ~HeldWorkers() { release(); }
    HeldWorkers(const HeldWorkers&) = delete;
    HeldWorkers& operator=(const HeldWorkers&) = delete;

    /// Whether the peer has run so many callables at the same time.
    bool areAllHeld() const { return m_areAllHeld; }

    void release()
    {
        m_gate->opened.release(m_workers);
        m_workers = 0;
    }

private:
    static constexpr int patienceInMilliseconds = 10'000;
    struct Gate
    {
        QSemaphore arrived;
        QSemaphore opened;
    };

    std::shared_ptr<Gate> m_gate = std::make_shared<Gate>();
    int m_workers;
    bool m_areAllHeld = false;
};

/// Hands over \p count callables from one thread. \return the time for each, in seconds.
template <typename Peer>
double timeOfBurst(Peer& peer, int count)
{
    std::atomic<int> left{count};
    const auto start = Clock::now();
    runMany(peer, count, left);
    allDone().acquire();
    return Seconds(Clock::now() - start).count() / count;
}

/// The same from \p producers threads at once, which have been started before the clock.
template <typename Peer>
double timeOfBurst(Peer& peer, int count, int producers)
{
    const int share = count / producers;
    std::atomic<int> left{share * producers};
    QSemaphore start;
    std::vector<std::thread> threads;
    for (int i = 0; i < producers; ++i)
        threads.emplace_back([&] {
            start.acquire();
            runMany(peer, share, left);
        });
    const auto begin = Clock::now();
    start.release(producers);
    allDone().acquire();
    const double time = Seconds(Clock::now() - begin).count() / (share * producers);
    for (std::thread& thread : threads)
        thread.join();
    return time;
}

/// The same from one thread while all workers are held, so that all \p count are pending when the first one
/// runs.
template <typename Peer>
double timeOfBacklog(Peer& peer, int workers, int count)
{
    HeldWorkers held(peer, workers, [] {});
    std::atomic<int> left{count};
    const auto start = Clock::now();
    runMany(peer, count, left);
    held.release();
    allDone().acquire();
    return Seconds(Clock::now() - start).count() / count;
}
