#pragma once
/// \file
/// The base of objects that are owned by `std::shared_ptr` and hand out further pointers to themselves.
///
///     class Mesh : public Brennic::Objects::SharedObject<Mesh>
///     {
///     };
///     auto mesh = std::make_shared<Mesh>();
///     std::shared_ptr<Mesh> again = mesh->shared_from_this(); // shares ownership with `mesh`
///
/// Unlike `std::enable_shared_from_this`, an object that no shared pointer owns (on the stack, under
/// construction, being destroyed) gives an empty pointer instead of an exception.
///
/// Threads: `shared_from_this` may be called from any thread while a shared pointer owns the object.

#include <memory>

#include <brn_mesh_kernel/library/Export.h>

namespace Brennic::Objects {

/// Holds the self-reference of a shared object, once however many bases lead to it.
///
/// Not for direct use: derive from \ref SharedObject.
class BRN_MESH_KERNEL_EXPORT SharedObjectInternal : public std::enable_shared_from_this<SharedObjectInternal>
{
public:
    SharedObjectInternal();
    /// A copy is another object: it takes no part of the self-reference.
    SharedObjectInternal(const SharedObjectInternal& other);
    /// The target keeps its own self-reference.
    SharedObjectInternal& operator=(const SharedObjectInternal& other);
    virtual ~SharedObjectInternal();
};

/// Gives its most derived class \p T the operation `shared_from_this()`.
template <typename T>
class SharedObject : public virtual SharedObjectInternal
{
public:
    /// Makes an object without an owner.
    /// Thread: any.
    SharedObject() = default;

    /// Makes an object without an owner: a copy does not share the owners of the original.
    /// Thread: any.
    SharedObject(const SharedObject&) : SharedObjectInternal() {}

    /// Changes nothing: the target keeps its owners.
    /// Thread: any.
    // NOLINTNEXTLINE(bugprone-unhandled-self-assignment): there is nothing that a self-assignment could harm.
    SharedObject& operator=(const SharedObject&) { return *this; }

    ~SharedObject() override = default;

    /// Returns a pointer to this object that shares ownership with the pointers that own it.
    ///
    /// Empty if no shared pointer owns the object, or none any longer; nothing is thrown or logged.
    /// Thread: any. Ownership: the caller becomes one of the owners.
    std::shared_ptr<T> shared_from_this()
    {
        return std::dynamic_pointer_cast<T>(SharedObjectInternal::weak_from_this().lock());
    }
};

} // namespace Brennic::Objects
