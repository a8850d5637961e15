#include <brn_mesh_common/minidump/RaisedLimits_linux.h>

#include <brn_mesh_common/minidump/Syscall_linux.h>

namespace Brennic::Minidump {

namespace {

rlimit raise(__rlimit_resource resource)
{
    rlimit before{};
    if (systemCall(SYS_prlimit64, 0, resource, nullptr, &before) == 0) {
        const rlimit raised{before.rlim_max, before.rlim_max};
        systemCall(SYS_prlimit64, 0, resource, &raised, nullptr);
    }
    return before;
}

void restore(__rlimit_resource resource, const rlimit& before)
{
    systemCall(SYS_prlimit64, 0, resource, &before, nullptr);
}

} // namespace

RaisedLimits::RaisedLimits() : m_fileSize(raise(RLIMIT_FSIZE)), m_openFiles(raise(RLIMIT_NOFILE)) {}

RaisedLimits::~RaisedLimits()
{
    restore(RLIMIT_FSIZE, m_fileSize);
    restore(RLIMIT_NOFILE, m_openFiles);
}

} // namespace Brennic::Minidump
