// Compiled by CheckFormats.cmake, which defines the call.
#include <string>

#include <QString>

#include <brn_mesh_kernel/logging/Log.h>

struct Unknown
{
};

void write(const char* notLiteral, Brennic::Core::ILogger& logger)
{
    using namespace Brennic::Core;
    static_cast<void>(notLiteral);
    static_cast<void>(logger);
    BRN_CALL;
}
