/// \file
/// One of many that log into one file and end: `log_crowd_program DIRECTORY NUMBER RECORDS`.

#include <cstdlib>
#include <filesystem>

#include <boost/nowide/convert.hpp>
#include <brn_mesh_kernel/kernel/Kernel.h>
#include <brn_mesh_kernel/logging/ILogger.h>

int main(int count, char** values)
{
    using namespace Brennic::Core;
    if (count != 4)
        return 93;
    Kernel& kernel = Kernel::Instance();
    kernel.SetLogFilePath(
        boost::nowide::widen((std::filesystem::path(values[1]) / "crowd.log").string()).c_str());
    kernel.Initialize();
    for (int record = 0; record != std::atoi(values[3]); ++record)
        kernel.Logger()->Log(Info, L"process %d record %d end", std::atoi(values[2]), record);
    kernel.Terminate();
    return 0;
}
