#include <brn_mesh_kernel/kernel/IService.h>

namespace Brennic::Core {

// Out of line, so that the class has one home for its virtual table.
IService::~IService() = default;

void IService::Terminate() {}

} // namespace Brennic::Core
