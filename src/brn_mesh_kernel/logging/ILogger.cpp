#include <brn_mesh_kernel/logging/ILogger.h>

namespace Brennic::Core {

// Out of line, so that the class has one home for its virtual table.
ILogger::~ILogger() = default;

} // namespace Brennic::Core
