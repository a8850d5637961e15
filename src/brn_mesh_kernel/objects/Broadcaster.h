#pragma once
/// \file
/// A list of observers of the interface \p T, and one call that reaches all of them.
///
///     struct Listener { virtual void saved(int version) {} };
///     Brennic::Core::Broadcaster<Listener> listeners;
///     listeners.addObserver(panel, true);              // a std::shared_ptr, called in the GUI thread
///     listeners.broadcast(&Listener::saved, 3);
///
/// Observers that are added with `notifyAsynchronously` false are called in the broadcasting thread, before
/// `broadcast` returns. The others, and observers that are added as plain pointers, are called in the GUI
/// thread: at once if that is the broadcasting thread, later otherwise.
///
/// Threads: every operation may be called from any thread, also from inside a notification: changes of the
/// list count from the next broadcast on. No lock is held while an observer is called.
///
/// Lifetime: observers are never owned. A shared observer is held weakly, a plain pointer must be a `QObject`
/// and is dropped when that is destroyed.

#include <algorithm>
#include <functional>
#include <iterator>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <tuple>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

#include <QObject>
#include <QPointer>

#include <brn_mesh_kernel/tasks/Dispatch.h>
#include <brn_mesh_kernel/tasks/TaskQueue.h>

namespace Brennic::Core {

/// Calls the observers of type \p T that are added to it.
template <typename T>
class Broadcaster
{
public:
    /// Makes a broadcaster without observers.
    /// Thread: any.
    Broadcaster() = default;

    /// Forgets the observers without notifying them. Notifications that are already queued are still
    /// delivered.
    /// Thread: any.
    virtual ~Broadcaster() { Broadcaster::removeAllObservers(); }

    Broadcaster(const Broadcaster&) = delete;
    Broadcaster& operator=(const Broadcaster&) = delete;

    /// Adds an observer that is a `QObject`; it is called in the GUI thread. A null pointer is ignored.
    ///
    /// An observer that is added twice is called twice.
    /// \throws std::invalid_argument if the observer is not a `QObject`; the list is unchanged.
    /// Thread: any. Ownership: stays with the caller, in practice with the observer's Qt parent.
    virtual void addObserver(T* observer);

    /// Adds a shared observer; an empty pointer is ignored.
    ///
    /// An observer that is added twice is called twice.
    /// \param observer what is called from now on.
    /// \param notifyAsynchronously whether it is called in the GUI thread (`true`) or in the broadcasting
    /// one.
    ///
    /// Thread: any. Ownership: stays with the caller; the observer is held weakly.
    virtual void addObserver(const std::shared_ptr<T>& observer, bool notifyAsynchronously);

    /// Removes every entry of an observer that was added as a plain pointer. A null pointer is ignored.
    ///
    /// \throws std::invalid_argument if the observer is not a `QObject` with a parent; the list is unchanged.
    /// Thread: any.
    virtual void removeObserver(T* observer);

    /// Removes every entry of a shared observer. An empty pointer is ignored.
    /// Thread: any.
    virtual void removeObserver(const std::shared_ptr<T>& observer);

    /// Removes all observers.
    /// Thread: any.
    virtual void removeAllObservers();

    /// Calls the member function \p notify, with copies of \p arguments, on every observer.
    ///
    /// In the order of registration: the plain pointers and then the asynchronous observers, in the GUI
    /// thread; the synchronous ones in the calling thread. An exception of a synchronous observer propagates
    /// to the caller, and the synchronous ones after it are not called. While the process ends, notifications
    /// for the GUI thread are dropped silently.
    ///
    /// Observers of the same thread that take an argument by constant reference are given the same one.
    /// Thread: any. Does not block by itself.
    template <typename... Parameters>
    void broadcast(void (T::*notify)(Parameters...), std::decay_t<Parameters>... arguments);

protected:
    /// Calls \p notification, a callable that takes a `T&`, with every observer, as \ref broadcast does. It
    /// is called as a constant; where there are observers for both threads each calls a copy of its own.
    /// Thread: any. Does not block by itself.
    template <typename Notification>
    void notifyObservers(Notification notification);

    /// Returns a function that calls a \p Notification, which takes a `T&`, with every observer that there is now
    /// and that belongs to the GUI thread, where the function has to be called; an empty one if there is none.
    /// Thread: any. Does not block by itself.
    template <typename Notification>
    std::function<void(const Notification&)> guiNotifier();

    /// Returns the observer that was added first: of the plain pointers, else of the asynchronous ones, else
    /// of the synchronous ones. Null if there is none, or if it has been destroyed.
    T* firstObserver() const;

private:
    using Guard = QPointer<QObject>;
    using Guards = std::vector<Guard>;
    using WeakObservers = std::vector<std::weak_ptr<T>>;

    // How an argument is passed to an observer: arguments that it can only read are shared.
    template <typename Parameter>
    using Given = std::conditional_t<std::is_reference_v<Parameter> &&
                                         !std::is_const_v<std::remove_reference_t<Parameter>>,
                                     std::decay_t<Parameter>, const std::decay_t<Parameter>&>;

    // A snapshot of a list. Most lists have one entry, so the first is stored without an allocation.
    template <typename Entry>
    struct Snapshot
    {
        Entry first;
        std::vector<Entry> others;
    };

    static std::invalid_argument notManaged(T* observer);
    static void removeFrom(WeakObservers& observers, const std::shared_ptr<T>& observer,
                           std::vector<std::shared_ptr<T>>& others);
    static bool isNull(const Guard& guard) { return guard.isNull(); }
    static bool isNull(const std::weak_ptr<T>& observer) { return observer.expired(); }
    static T* held(const Guard& guard) { return dynamic_cast<T*>(guard.data()); }
    static std::shared_ptr<T> held(const std::weak_ptr<T>& observer) { return observer.lock(); }
    template <typename Entry, typename Notification>
    static void notifyAll(const Snapshot<Entry>& observers, const Notification& notification);
    template <typename Entry>
    static Snapshot<Entry> removeNullObserversLocked(std::vector<Entry>& observers);
    static bool isGuiArrivalObserved();

    Guards m_guardedObservers;
    WeakObservers m_asyncObservers;
    WeakObservers m_syncObservers;
    mutable std::mutex m_observerMutex; // guards the three lists
};

template <typename T>
void Broadcaster<T>::addObserver(T* observer)
{
    if (observer == nullptr)
        return;
    auto* const object = dynamic_cast<QObject*>(observer);
    if (object == nullptr)
        throw notManaged(observer);
    const std::lock_guard<std::mutex> lock(m_observerMutex);
    m_guardedObservers.emplace_back(object);
}

template <typename T>
void Broadcaster<T>::addObserver(const std::shared_ptr<T>& observer, bool notifyAsynchronously)
{
    if (!observer)
        return;
    const std::lock_guard<std::mutex> lock(m_observerMutex);
    (notifyAsynchronously ? m_asyncObservers : m_syncObservers).emplace_back(observer);
}

template <typename T>
void Broadcaster<T>::removeObserver(T* observer)
{
    if (observer == nullptr)
        return;
    auto* const object = dynamic_cast<QObject*>(observer);
    if (object == nullptr || object->parent() == nullptr)
        throw notManaged(observer);
    const std::lock_guard<std::mutex> lock(m_observerMutex);
    const auto isObserver = [object](const QPointer<QObject>& guard) { return guard.data() == object; };
    m_guardedObservers.erase(std::remove_if(m_guardedObservers.begin(), m_guardedObservers.end(), isObserver),
                             m_guardedObservers.end());
}

template <typename T>
void Broadcaster<T>::removeObserver(const std::shared_ptr<T>& observer)
{
    if (!observer)
        return;
    std::vector<std::shared_ptr<T>> others; // released after the lock: a destructor may want to unsubscribe
    const std::lock_guard<std::mutex> lock(m_observerMutex);
    removeFrom(m_syncObservers, observer, others);
    removeFrom(m_asyncObservers, observer, others);
}

template <typename T>
void Broadcaster<T>::removeAllObservers()
{
    const std::lock_guard<std::mutex> lock(m_observerMutex);
    m_guardedObservers.clear();
    m_asyncObservers.clear();
    m_syncObservers.clear();
}

template <typename T>
template <typename... Parameters>
void Broadcaster<T>::broadcast(void (T::*notify)(Parameters...), std::decay_t<Parameters>... arguments)
{
    notifyObservers([notify, values = std::make_tuple(std::move(arguments)...)](T& observer) {
        std::tuple<Given<Parameters>...> own(values);
        std::apply([&](auto&... given) { (observer.*notify)(static_cast<Parameters>(given)...); }, own);
    });
}

template <typename T>
template <typename Notification>
void Broadcaster<T>::notifyObservers(Notification notification)
{
    std::unique_lock<std::mutex> lock(m_observerMutex);
    auto guarded = removeNullObserversLocked(m_guardedObservers);
    auto async = removeNullObserversLocked(m_asyncObservers);
    const auto sync = removeNullObserversLocked(m_syncObservers);
    const bool hasGuiObservers = !m_guardedObservers.empty() || !m_asyncObservers.empty();
    const bool hasOthers = !m_syncObservers.empty();
    lock.unlock();

    if (hasGuiObservers)
        dispatchAsync(
            [guarded = std::move(guarded), async = std::move(async),
             notification = hasOthers ? notification : std::move(notification)] {
                notifyAll(guarded, notification);
                notifyAll(async, notification);
            },
            eQOS_GUI);
    else if (isGuiArrivalObserved())
        dispatchAsync([] {}, eQOS_GUI);
    if (hasOthers)
        notifyAll(sync, notification); // NOLINT(bugprone-use-after-move): it is copied then
}

template <typename T>
template <typename Notification>
std::function<void(const Notification&)> Broadcaster<T>::guiNotifier()
{
    const std::lock_guard<std::mutex> lock(m_observerMutex);
    auto guarded = removeNullObserversLocked(m_guardedObservers);
    auto async = removeNullObserversLocked(m_asyncObservers);
    if (m_guardedObservers.empty() && m_asyncObservers.empty())
        return {};
    return [guarded = std::move(guarded), async = std::move(async)](const Notification& notification) {
        notifyAll(guarded, notification);
        notifyAll(async, notification);
    };
}

template <typename T>
T* Broadcaster<T>::firstObserver() const
{
    std::shared_ptr<T> first; // released after the lock: a destructor may want to unsubscribe
    const std::lock_guard<std::mutex> lock(m_observerMutex);
    if (!m_guardedObservers.empty())
        return dynamic_cast<T*>(m_guardedObservers.front().data());
    if (!m_asyncObservers.empty())
        first = m_asyncObservers.front().lock();
    else if (!m_syncObservers.empty())
        first = m_syncObservers.front().lock();
    return first.get();
}

template <typename T>
std::invalid_argument Broadcaster<T>::notManaged(T* observer)
{
    return std::invalid_argument(std::string(typeid(*observer).name()) +
                                 " needs to be a QObject with its lifetime managed by its parent!");
}

template <typename T>
void Broadcaster<T>::removeFrom(WeakObservers& observers, const std::shared_ptr<T>& observer,
                                std::vector<std::shared_ptr<T>>& others)
{
    const auto isObserver = [&](const std::weak_ptr<T>& entry) {
        others.push_back(entry.lock());
        return others.back() == observer;
    };
    observers.erase(std::remove_if(observers.begin(), observers.end(), isObserver), observers.end());
}

template <typename T>
template <typename Entry, typename Notification>
void Broadcaster<T>::notifyAll(const Snapshot<Entry>& observers, const Notification& notification)
{
    const auto notifyOne = [&notification](const Entry& entry) {
        if (const auto observer = held(entry))
            notification(*observer);
    };
    notifyOne(observers.first); // null if the list was empty
    std::for_each(observers.others.begin(), observers.others.end(), notifyOne);
}

/// Removes the observers that have been destroyed, and returns a snapshot of the others. Thread: any, under
/// the lock.
template <typename T>
template <typename Entry>
typename Broadcaster<T>::template Snapshot<Entry>
Broadcaster<T>::removeNullObserversLocked(std::vector<Entry>& observers)
{
    const auto isGone = [](const Entry& entry) { return isNull(entry); };
    observers.erase(std::remove_if(observers.begin(), observers.end(), isGone), observers.end());
    if (observers.empty())
        return {};
    return {observers.front(), {std::next(observers.begin()), observers.end()}};
}

// Whether a host is connected to newTaskArrived: it may rely on one arrival for each broadcast, also for one
// without observers.
template <typename T>
bool Broadcaster<T>::isGuiArrivalObserved()
{
    const TaskQueue* const queue = TaskQueue::getGUIQueue();
    return queue != nullptr && queue->isArrivalObserved();
}

} // namespace Brennic::Core
