#include <brn_mesh_common/minidump/ProcessMemory_linux.h>

#include <brn_mesh_common/minidump/Syscall_linux.h>
#include <fcntl.h>
#include <sys/uio.h>

namespace Brennic::Minidump {

namespace {

// For systems that forbid process_vm_readv altogether.
long readThroughProc(std::uint64_t address, void* buffer, std::size_t size)
{
    const long descriptor = systemCall(SYS_openat, AT_FDCWD, "/proc/self/mem", O_RDONLY | O_CLOEXEC, 0);
    if (descriptor < 0)
        return descriptor;
    const long result = systemCall(SYS_pread64, descriptor, buffer, size, address);
    systemCall(SYS_close, descriptor);
    return result;
}

} // namespace

std::size_t readMemory(std::uint64_t address, void* buffer, std::size_t size)
{
    const iovec local{buffer, size};
    iovec remote{};
    remote.iov_base = reinterpret_cast<void*>(address); // NOLINT(performance-no-int-to-ptr)
    remote.iov_len = size;
    // The caller's own id: the helper shares the memory of the crashed process, and nobody is refused his
    // own.
    long result = systemCall(SYS_process_vm_readv, processId(), &local, 1, &remote, 1, 0);
    if (result <= 0)
        result = readThroughProc(address, buffer, size);
    return result > 0 ? static_cast<std::size_t>(result) : 0;
}

} // namespace Brennic::Minidump
