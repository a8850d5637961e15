#pragma once
/// \file
/// Gives an object one delegate of the interface \p T, which it notifies.
///
///     class Saver : public Brennic::Core::Delegator<Listener>
///     {
///     public:
///         void save() { delegate(&Listener::saved, ++m_version); }
///     private:
///         int m_version = 0;
///     };
///     saver.setDelegate(panel, true); // a std::shared_ptr, called in the GUI thread
///
/// A delegate is the one observer of a `Broadcaster`, whose rules of thread and lifetime hold.
///
/// Threads: every operation may be called from any thread. Setting a delegate removes the old one and then
/// adds the new one, so a notification that another thread sends in between may be lost.

#include <memory>
#include <type_traits>
#include <utility>

#include <brn_mesh_kernel/objects/Broadcaster.h>

namespace Brennic::Core {

/// Calls the one delegate of type \p T that it has, if any.
template <typename T>
class Delegator : protected Broadcaster<T>
{
public:
    /// Makes an object without a delegate.
    /// Thread: any.
    Delegator() = default;

    /// Forgets the delegate without notifying it.
    /// Thread: any.
    ~Delegator() override = default;

    /// Replaces the delegate; an empty pointer leaves none.
    ///
    /// \param newDelegate what is called from now on; may be empty.
    /// \param notifyAsynchronously whether the delegate is called in the GUI thread (`true`) or in the thread
    ///        that notifies, before the notifying call returns.
    /// Thread: any. Ownership: stays with the caller; the delegate is held weakly.
    virtual void setDelegate(const std::shared_ptr<T>& newDelegate, bool notifyAsynchronously);

    /// Replaces the delegate by a `QObject`, which is called in the GUI thread; a null pointer leaves none.
    ///
    /// \throws std::invalid_argument if \p newDelegate is not a `QObject`; the old one is removed all the
    /// same. Thread: any. Ownership: stays with the caller, in practice with the delegate's Qt parent.
    virtual void setDelegate(T* newDelegate);

    /// Returns the delegate, or null if there is none or it has been destroyed.
    ///
    /// Thread: any. Ownership: unchanged; the result dangles once the delegate's owner releases it.
    T* getDelegate() { return this->firstObserver(); }

protected:
    /// Calls the member function \p notify, with copies of \p arguments, on the delegate.
    /// Thread: any; \ref Broadcaster says in which thread the delegate is called.
    template <typename... Parameters>
    void delegate(void (T::*notify)(Parameters...), std::decay_t<Parameters>... arguments)
    {
        this->broadcast(notify, std::move(arguments)...);
    }
};

template <typename T>
void Delegator<T>::setDelegate(const std::shared_ptr<T>& newDelegate, bool notifyAsynchronously)
{
    this->removeAllObservers();
    this->addObserver(newDelegate, notifyAsynchronously);
}

template <typename T>
void Delegator<T>::setDelegate(T* newDelegate)
{
    this->removeAllObservers();
    this->addObserver(newDelegate);
}

} // namespace Brennic::Core
