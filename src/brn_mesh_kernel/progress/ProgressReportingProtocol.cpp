#include <brn_mesh_kernel/progress/ProgressReportingProtocol.h>

namespace Brennic::Core {

void ProgressReportingProtocol::progressUpdated(Progress*, float, const std::wstring&) {}

void ProgressReportingProtocol::progressCompleted(Progress*, const std::wstring&) {}

} // namespace Brennic::Core
