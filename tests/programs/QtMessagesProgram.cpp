// A host whose messages by Qt go into the log. Takes the path of its log file and the name of a scene.
#include <cstdlib>
#include <string>

#include <boost/nowide/convert.hpp>

#include <QtGlobal>

#include <brn_mesh_kernel/kernel/Kernel.h>
#include <brn_mesh_kernel/logging/ILogger.h>
#include <brn_mesh_kernel/logging/QtMessages.h>

#include "programs/Check.h"

using namespace Brennic::Core;

int main(int count, char** values)
{
    CHECK(count == 3);
    const std::string scene = values[2];
    Kernel& kernel = Kernel::Instance();
    kernel.SetLogFilePath(boost::nowide::widen(values[1]).c_str());
    kernel.SetLogMessageFormat(L"%p %m%n");
    kernel.Initialize();
    QtMessages::forward();
    if (scene == "fatal") {
        qFatal("The %s", "End");
        kernel.Logger()->Log(Info, L"not reached");
    }
    CHECK(std::atexit([] { qWarning("from an exit handler"); }) == 0);
    qWarning("from main");
    return 0;
}
