#include <brn_mesh_kernel/objects/SharedObject.h>

namespace Brennic::Objects {

SharedObjectInternal::SharedObjectInternal() = default;

// The standard library's base leaves the self-reference where it is.
SharedObjectInternal::SharedObjectInternal(const SharedObjectInternal&) = default;

SharedObjectInternal& SharedObjectInternal::operator=(const SharedObjectInternal&) = default;

SharedObjectInternal::~SharedObjectInternal() = default;

} // namespace Brennic::Objects
