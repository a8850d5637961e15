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

namespace Brennic::Core {

/// Calls the observers of type \p T that are added to it.
template <typename T>
class Broadcaster
{
public:
    /// Makes a broadcaster without observers.
    /// Thread: any.
    Broadcaster() = default;

    /// Forgets the observers; none is notified. Notifications that are on their way are still delivered.
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
    /// \param notifyAsynchronously whether it is called in the GUI thread (`true`) or in the broadcasting one.
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
    /// thread; the synchronous ones here. An exception of a synchronous observer passes through, and the
    /// synchronous ones after it are not called. Notifications for the GUI thread are lost without a word
    /// once the library ends with the process.
    /// Thread: any. Does not block by itself.
    template <typename... Parameters>
    void broadcast(void (T::*notify)(Parameters...), std::decay_t<Parameters>... arguments);

protected:
    /// Returns the observer that was added first: of the plain pointers, else of the asynchronous ones, else
    /// of the synchronous ones. Null if there is none, or if it has gone.
    T* firstObserver() const;

private:
    using Guards = std::vector<QPointer<QObject>>;
    using WeakObservers = std::vector<std::weak_ptr<T>>;

    static std::invalid_argument notManaged(T* observer);
    static void removeFrom(WeakObservers& observers, const std::shared_ptr<T>& observer,
                           std::vector<std::shared_ptr<T>>& others);
    template <typename Notification>
    static void notifyAll(const WeakObservers& observers, const Notification& notification);
    template <typename Notification>
    static void notifyAll(const Guards& observers, const Notification& notification);

    void removeNullObservers();

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
    removeNullObservers();
    Guards guarded;
    WeakObservers async;
    WeakObservers sync;
    {
        const std::lock_guard<std::mutex> lock(m_observerMutex);
        guarded = m_guardedObservers;
        async = m_asyncObservers;
        sync = m_syncObservers;
    }
    auto notification = [notify, values = std::make_tuple(std::move(arguments)...)](T& observer) {
        // Every observer gets copies of its own: one that takes a value or a plain reference may change it.
        auto copies = values;
        std::apply([&](auto&... copy) { (observer.*notify)(static_cast<Parameters>(copy)...); }, copies);
    };
    dispatchAsync(
        [guarded = std::move(guarded), async = std::move(async), notification] {
            notifyAll(guarded, notification);
            notifyAll(async, notification);
        },
        eQOS_GUI);
    notifyAll(sync, notification);
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
template <typename Notification>
void Broadcaster<T>::notifyAll(const WeakObservers& observers, const Notification& notification)
{
    for (const std::weak_ptr<T>& entry : observers)
        if (const std::shared_ptr<T> observer = entry.lock())
            notification(*observer);
}

template <typename T>
template <typename Notification>
void Broadcaster<T>::notifyAll(const Guards& observers, const Notification& notification)
{
    for (const QPointer<QObject>& guard : observers)
        if (auto* const observer = dynamic_cast<T*>(guard.data()))
            notification(*observer);
}

template <typename T>
void Broadcaster<T>::removeNullObservers()
{
    const std::lock_guard<std::mutex> lock(m_observerMutex);
    const auto hasExpired = [](const std::weak_ptr<T>& entry) { return entry.expired(); };
    const auto isNull = [](const QPointer<QObject>& guard) { return guard.isNull(); };
    m_guardedObservers.erase(std::remove_if(m_guardedObservers.begin(), m_guardedObservers.end(), isNull),
                             m_guardedObservers.end());
    m_asyncObservers.erase(std::remove_if(m_asyncObservers.begin(), m_asyncObservers.end(), hasExpired),
                           m_asyncObservers.end());
    m_syncObservers.erase(std::remove_if(m_syncObservers.begin(), m_syncObservers.end(), hasExpired),
                          m_syncObservers.end());
}

} // namespace Brennic::Core
