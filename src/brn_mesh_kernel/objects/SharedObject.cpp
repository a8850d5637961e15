#include <brn_mesh_kernel/objects/SharedObject.h>

namespace Brennic::Objects {

SharedObjectInternal::SharedObjectInternal() = default;

// NOLINTNEXTLINE(bugprone-copy-constructor-init): a copy takes no part of the self-reference.
SharedObjectInternal::SharedObjectInternal(const SharedObjectInternal&) : enable_shared_from_this() {}

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): there is nothing that a self-assignment could harm.
SharedObjectInternal& SharedObjectInternal::operator=(const SharedObjectInternal&)
{
    return *this;
}

SharedObjectInternal::~SharedObjectInternal() = default;

} // namespace Brennic::Objects
