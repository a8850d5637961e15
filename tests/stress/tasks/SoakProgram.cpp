// Does at random what hosts do with tasks, and checks what the library promises about it:
//
//     soak_program SECONDS [SEED]
//
// Eight threads add tasks, wait for them and replace queues. Tasks wait for tasks, run event loops, and make
// objects in the threads of workers, whose slots and destructors wait for tasks too. In the first half of the
// time application objects come and go. In the second half there is one, whose notify() catches what tasks
// throw.
//
// Prints the seed. Exits with 0 if each task ran once, in order where a queue promises that, each object got
// its event, and nothing stood still. The seed decides what each thread does, but not how the threads
// interleave.
#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QEventLoop>
#include <QObject>
#include <QThread>

#include <brn_mesh_kernel/tasks/Dispatch.h>
#include <brn_mesh_kernel/tasks/Task.h>
#include <brn_mesh_kernel/tasks/TaskQueue.h>

using namespace Brennic::Core;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

constexpr int posters = 8;
constexpr int deepest = 3;       // levels of tasks that wait for tasks
constexpr int mostPending = 500; // posters add no more tasks while so many have not run
constexpr std::chrono::seconds standstillLimit{60};

using Random = std::mt19937;

int below(Random& random, int limit)
{
    return std::uniform_int_distribution<int>(0, limit - 1)(random);
}

// Workers use what follows until the process ends, so it is never destroyed.

/// How often a task has run, and how often it should have.
struct Entry
{
    std::atomic<int> runs{0};
    std::atomic<int> expected{1};
};

struct Counts
{
    std::atomic<long> added{0};
    std::atomic<long> done{0}; // run, or taken back
    std::atomic<long> waits{0};
    std::atomic<long> hostObjects{0};
    std::atomic<long> slots{0};
    std::atomic<long> endedThreads{0}; // objects whose thread ended before their event was delivered
    std::atomic<long> eventLoops{0};
    std::atomic<long> thrown{0};
    std::atomic<long> caught{0};
    std::atomic<long> queues{0};
    std::atomic<long> applications{0};
};

Counts& counts()
{
    static auto* const all = new Counts;
    return *all;
}

[[noreturn]] void fail(const std::string& what)
{
    const Counts& all = counts();
    std::fprintf(
        stderr,
        "soak: %s (%ld tasks, %ld done; %ld objects, %ld slots, %ld ended threads; %ld exceptions, %ld "
        "caught)\n",
        what.c_str(), all.added.load(), all.done.load(), all.hostObjects.load(), all.slots.load(),
        all.endedThreads.load(), all.thrown.load(), all.caught.load());
    std::_Exit(1);
}

class Entries
{
public:
    Entry& add()
    {
        ++counts().added;
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_entries.emplace_back();
    }

    void check()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        for (const Entry& entry : m_entries)
            if (entry.runs != entry.expected)
                fail("a task was run " + std::to_string(entry.runs) + " times, not " +
                     std::to_string(entry.expected));
    }

private:
    std::mutex m_mutex;
    std::deque<Entry> m_entries;
};

Entries& entries()
{
    static auto* const all = new Entries;
    return *all;
}

/// Counts a run of a task when the task begins, and counts it as done when the task ends.
class Run
{
public:
    explicit Run(Entry& entry)
    {
        if (++entry.runs != 1)
            fail("a task is run again");
    }
    ~Run() { ++counts().done; }
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;
};

/// Keeps objects of the host and event loops of tasks to the times with an application object. Nobody
/// promises what Qt does with their events while there is none, or while one comes or goes.
class EventTimes
{
public:
    bool enter()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_isClosed)
            return false;
        ++m_inside;
        return true;
    }
    void leave()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        --m_inside;
    }
    void close()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isClosed = true;
    }
    bool isEmpty()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_inside == 0;
    }
    void open()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isClosed = false;
    }

private:
    std::mutex m_mutex;
    bool m_isClosed = true;
    int m_inside = 0;
};

EventTimes& eventTimes()
{
    static auto* const times = new EventTimes;
    return *times;
}

std::atomic<bool> mayThrow{false};

/// Numbers the tasks of each poster, and checks that they run in that order. Posters call `next`, each with
/// its own number; the one thread in which the tasks run calls `check`.
class Order
{
public:
    int next(int poster) { return m_added[static_cast<std::size_t>(poster)]++; }
    void check(int poster, int number)
    {
        if (number != m_run[static_cast<std::size_t>(poster)]++)
            fail("a task was run out of order");
    }

private:
    std::array<int, posters> m_added{};
    std::array<int, posters> m_run{};
};

/// A queue, and whether its tasks run in order. They do if it has one worker and no task waits for another of
/// the same queue, so that it never overflows.
struct Place
{
    std::shared_ptr<TaskQueue> queue;
    bool isOrdered = false;
    Order order;
};

std::shared_ptr<Place> makePlace(Random& random, bool isOrdered)
{
    constexpr EQualityOfService classes[] = {eQOS_High, eQOS_Normal, eQOS_Low};
    auto place = std::make_shared<Place>();
    place->isOrdered = isOrdered;
    place->queue = TaskQueue::createQueue(classes[below(random, 3)], isOrdered ? 1 : 1 + below(random, 4));
    if (!place->queue)
        fail("no queue");
    ++counts().queues;
    return place;
}

class Places
{
public:
    static constexpr int count = 6;

    explicit Places(Random& random)
    {
        for (int i = 0; i < count; ++i)
            m_places[static_cast<std::size_t>(i)] = makePlace(random, isOrdered(i));
    }

    std::shared_ptr<Place> get(int index)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_places[static_cast<std::size_t>(index)];
    }

    void replace(int index, Random& random)
    {
        std::shared_ptr<Place> place = makePlace(random, isOrdered(index));
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_places[static_cast<std::size_t>(index)].swap(place);
    } // the old queue is destroyed here, or by the last of its tasks

private:
    static bool isOrdered(int index) { return index % 3 == 0; }

    std::mutex m_mutex;
    std::array<std::shared_ptr<Place>, count> m_places;
};

std::shared_ptr<Task> addTask(const std::shared_ptr<Place>& place, std::uint32_t seed, int depth);

void addAndWait(const std::shared_ptr<Place>& place, std::uint32_t seed, int depth)
{
    ++counts().waits;
    addTask(place, seed, depth)->waitTillFinished();
}

/// An object of the host in a worker's thread, whose slot and whose destructor wait for tasks.
class HostObject : public QObject
{
public:
    HostObject(std::shared_ptr<Place> place, std::uint32_t seed) : m_place(std::move(place)), m_random(seed)
    {
        ++counts().hostObjects;
    }
    ~HostObject() override
    {
        waitSometimes();
        if (!m_hasRun)
            fail("an object of the host has gone without its event");
        eventTimes().leave();
    }
    HostObject(const HostObject&) = delete;
    HostObject& operator=(const HostObject&) = delete;

    void post()
    {
        QMetaObject::invokeMethod(
            this,
            [this] {
                run();
                waitSometimes();
                deleteLater();
            },
            Qt::QueuedConnection);
        // If the queue is destroyed, this thread may end before it delivers the event.
        connect(
            QThread::currentThread(), &QThread::finished, this, [this] { endWithThread(); },
            Qt::DirectConnection);
    }

private:
    void run()
    {
        if (std::exchange(m_hasRun, true))
            fail("an event of the host was delivered twice");
        ++counts().slots;
    }

    void endWithThread()
    {
        if (!std::exchange(m_hasRun, true))
            ++counts().endedThreads;
        delete this;
    }

    void waitSometimes()
    {
        if (!m_place->isOrdered && below(m_random, 2) == 0)
            addAndWait(m_place, static_cast<std::uint32_t>(m_random()), deepest);
    }

    std::shared_ptr<Place> m_place;
    Random m_random;
    bool m_hasRun = false;
};

void spin(Random& random)
{
    const auto end = steady_clock::now() + std::chrono::microseconds(below(random, 50));
    while (steady_clock::now() < end)
        continue;
}

/// Whether the calling thread may make objects of the host and run event loops now. Tasks also run in threads
/// that cannot, because a thread that waits for a task may have to run it. A poster's thread has no event
/// loop. A worker's may have left its own for good, and be in the destructor of a host's object:
/// `QThread::finished` is being emitted then, so a new object would not hear of it and never be deleted.
bool enterEventTimes()
{
    const bool hasEventLoop =
        QAbstractEventDispatcher::instance() != nullptr && !QThread::currentThread()->isFinished();
    return hasEventLoop && eventTimes().enter();
}

void serveEvents(Random& random)
{
    if (!enterEventTimes())
        return;
    ++counts().eventLoops;
    for (int i = below(random, 4); i >= 0; --i)
        QCoreApplication::processEvents();
    // Qt puts back a deferred deletion that is not due before the task has returned, and looks at it again
    // only when the thread wakes.
    QAbstractEventDispatcher::instance()->wakeUp();
    eventTimes().leave();
}

void makeHostObject(const std::shared_ptr<Place>& place, Random& random)
{
    if (enterEventTimes())
        (new HostObject(place, static_cast<std::uint32_t>(random())))->post(); // deletes itself later
}

void waitInside(const std::shared_ptr<Place>& place, Random& random, int depth)
{
    if (place->isOrdered || depth >= deepest)
        return;
    const auto first = addTask(place, static_cast<std::uint32_t>(random()), depth + 1);
    addAndWait(place, static_cast<std::uint32_t>(random()), depth + 1);
    ++counts().waits;
    first->waitTillFinished();
}

/// Does what a task does, at random. Never throws.
void work(const std::shared_ptr<Place>& place, Random& random, int depth)
{
    switch (below(random, 10)) {
    case 0:
        spin(random);
        break;
    case 1:
        waitInside(place, random, depth);
        break;
    case 2:
        serveEvents(random);
        break;
    case 3:
        makeHostObject(place, random);
        break;
    case 4:
        if (depth < deepest)
            addTask(place, static_cast<std::uint32_t>(random()), depth + 1);
        break;
    default:
        break;
    }
}

std::shared_ptr<Task> addTask(const std::shared_ptr<Place>& place, std::uint32_t seed, int depth)
{
    Entry& entry = entries().add();
    auto task = std::make_shared<Task>([place, &entry, seed, depth] {
        const Run run(entry);
        Random random(seed);
        work(place, random, depth);
    });
    place->queue->addTask(task);
    return task;
}

[[noreturn]] void throwSomething()
{
    ++counts().thrown;
    throw std::runtime_error("soak");
}

/// Adds a task that nobody waits for. Such a task may throw: a wait for it would never end.
void addAlone(const std::shared_ptr<Place>& place, std::uint32_t seed)
{
    Entry& entry = entries().add();
    place->queue->addTask(std::make_shared<Task>([place, &entry, seed] {
        const Run run(entry);
        Random random(seed);
        work(place, random, 0);
        if (mayThrow && below(random, 10) == 0)
            throwSomething();
    }));
}

void addInOrder(const std::shared_ptr<Place>& place, int poster, std::uint32_t seed)
{
    Entry& entry = entries().add();
    const int number = place->order.next(poster);
    place->queue->addTask(std::make_shared<Task>([place, &entry, poster, number, seed] {
        const Run run(entry);
        place->order.check(poster, number);
        Random random(seed);
        work(place, random, 0);
        if (mayThrow && below(random, 10) == 0)
            throwSomething();
    }));
}

Order& guiOrder()
{
    static auto* const order = new Order;
    return *order;
}

void dispatchToGui(int poster, Random& random)
{
    Entry& entry = entries().add();
    const int number = guiOrder().next(poster);
    const bool throws = mayThrow && below(random, 10) == 0;
    const auto function = [&entry, poster, number, throws] {
        const Run run(entry);
        guiOrder().check(poster, number);
        if (throws)
            throwSomething();
    };
    if (!dispatchAsync(function, eQOS_GUI))
        fail("a GUI task was refused");
}

void dispatchAndWait(Random& random, EQualityOfService qos)
{
    Entry& entry = entries().add();
    const bool hasRun = dispatchSync(
        [&] {
            const Run run(entry);
            spin(random);
        },
        qos);
    if (hasRun)
        return;
    entry.expected = 0; // refused or taken back, because there was no application object
    ++counts().done;
    if (qos != eQOS_GUI)
        fail("a task was refused");
}

/// What one of the eight threads of the host does.
class Poster
{
public:
    Poster(Places& places, std::uint32_t seed, int number)
        : m_places(places), m_random(seed), m_number(number)
    {
    }

    void run(const std::atomic<bool>& isOver)
    {
        while (!isOver) {
            if (counts().added - counts().done < mostPending)
                step();
            else
                std::this_thread::yield();
        }
    }

private:
    std::uint32_t seed() { return static_cast<std::uint32_t>(m_random()); }

    void step()
    {
        const int index = below(m_random, Places::count);
        const std::shared_ptr<Place> place = m_places.get(index);
        const int choice = below(m_random, 100);
        if (choice < 4)
            m_places.replace(index, m_random);
        else if (choice < 14)
            dispatchAndWait(m_random, choice < 9 ? eQOS_Normal : eQOS_High);
        else if (choice < 17)
            dispatchAndWait(m_random, eQOS_GUI);
        else if (choice < 27)
            dispatchToGui(m_number, m_random);
        else if (place->isOrdered)
            addInOrder(place, m_number, seed());
        else if (choice < 50)
            addAndWait(place, seed(), 0);
        else
            addAlone(place, seed());
    }

    Places& m_places;
    Random m_random;
    const int m_number;
};

int argumentCount = 1;
char programName[] = "soak";
char* arguments[] = {programName, nullptr};

class CatchingApplication : public QCoreApplication
{
public:
    using QCoreApplication::QCoreApplication;

    bool notify(QObject* receiver, QEvent* event) override
    {
        try {
            return QCoreApplication::notify(receiver, event);
        } catch (const std::exception&) {
            ++counts().caught;
        }
        return false;
    }
};

void serveFor(milliseconds time)
{
    const auto end = steady_clock::now() + time;
    while (steady_clock::now() < end) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
        std::this_thread::yield();
    }
}

void serveWhileHostIsInside()
{
    while (!eventTimes().isEmpty())
        serveFor(milliseconds(1));
}

void drain()
{
    while (counts().done != counts().added || !eventTimes().isEmpty())
        serveFor(milliseconds(1));
}

/// Ends the process if no task ends for `standstillLimit`.
class StandstillWatch
{
public:
    StandstillWatch() : m_thread([this] { watch(); }) {}
    ~StandstillWatch()
    {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_isOver = true;
        }
        m_changed.notify_all();
        m_thread.join();
    }
    StandstillWatch(const StandstillWatch&) = delete;
    StandstillWatch& operator=(const StandstillWatch&) = delete;

private:
    void watch()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        for (long before = -1; counts().done != before;) {
            before = counts().done;
            if (m_changed.wait_for(lock, standstillLimit, [this] { return m_isOver; }))
                return;
        }
        fail("nothing is done any more");
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_isOver = false;
    std::thread m_thread; // last, because it uses the other members
};

class Posters
{
public:
    Posters(Places& places, std::uint32_t seed)
    {
        for (int i = 0; i < posters; ++i)
            m_threads.emplace_back([this, &places, seed, i] {
                Poster(places, seed + static_cast<std::uint32_t>(i), i).run(m_isOver);
            });
    }

    /// Serves events until all threads have ended.
    void end()
    {
        m_isOver = true;
        std::atomic<bool> haveEnded{false};
        std::thread joiner([&] {
            for (std::thread& thread : m_threads)
                thread.join();
            haveEnded = true;
        });
        while (!haveEnded)
            serveFor(milliseconds(1));
        joiner.join();
    }

private:
    std::atomic<bool> m_isOver{false};
    std::vector<std::thread> m_threads;
};

void soakWithApplicationsThatComeAndGo(Places& places, std::uint32_t seed, milliseconds time)
{
    Random random(seed);
    const auto end = steady_clock::now() + time;
    auto application = std::make_unique<QCoreApplication>(argumentCount, arguments);
    Posters threads(places, seed + 1);
    while (steady_clock::now() < end) {
        ++counts().applications;
        eventTimes().open();
        serveFor(milliseconds(below(random, 50)));
        eventTimes().close();
        serveWhileHostIsInside();
        application.reset();
        for (int i = below(random, 1000); i > 0; --i)
            std::this_thread::yield();
        application = std::make_unique<QCoreApplication>(argumentCount, arguments);
    }
    threads.end();
    drain();
}

/// Does not destroy the application object: a worker may be in its notify().
void soakWithExceptions(Places& places, std::uint32_t seed, milliseconds time)
{
    new CatchingApplication(argumentCount, arguments); // NOLINT(cppcoreguidelines-owning-memory)
    ++counts().applications;
    eventTimes().open();
    mayThrow = true;
    Posters threads(places, seed);
    serveFor(time);
    threads.end();
    drain();
    while (counts().caught != counts().thrown)
        serveFor(milliseconds(1));
}

} // namespace

int main(int count, char** values)
{
    if (count < 2)
        return 2;
    const milliseconds half(std::atol(values[1]) * 1000 / 2);
    const auto seed = static_cast<std::uint32_t>(count > 2 ? std::stoul(values[2]) : std::random_device()());
    std::printf("soak: seed %u\n", seed);
    std::fflush(stdout);
    {
        const StandstillWatch watch;
        Random random(seed);
        Places places(random);
        soakWithApplicationsThatComeAndGo(places, seed, half);
        soakWithExceptions(places, seed + posters + 1, half);
    }
    entries().check();
    const Counts& all = counts();
    std::printf("soak: %ld tasks, %ld waits, %ld slots, %ld event loops, %ld exceptions, %ld queues, %ld "
                "application objects\n",
                all.added.load(), all.waits.load(), all.slots.load(), all.eventLoops.load(),
                all.thrown.load(), all.queues.load(), all.applications.load());
    return 0;
}
