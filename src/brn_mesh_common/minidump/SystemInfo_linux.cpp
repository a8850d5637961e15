#include <brn_mesh_common/minidump/SystemInfo_linux.h>

#include <bitset>
#include <charconv>

#include <brn_mesh_common/minidump/Syscall_linux.h>
#include <cpuid.h>
#include <sys/utsname.h>

namespace Brennic::Minidump {

namespace {

std::uint8_t countProcessors()
{
    std::array<std::uint64_t, 16> set{};
    systemCall(SYS_sched_getaffinity, 0, sizeof set, set.data());
    std::size_t count = 0;
    for (const std::uint64_t word : set)
        count += std::bitset<64>(word).count();
    return static_cast<std::uint8_t>(count < 255 ? count : 255);
}

void setProcessor(SystemInfo& info)
{
    unsigned a = 0;
    unsigned b = 0;
    unsigned c = 0;
    unsigned d = 0;
    __get_cpuid(0, &a, &b, &c, &d);
    info.processorVendor = {b, d, c};
    __get_cpuid(1, &a, &b, &c, &d);
    info.processorVersion = a;
    info.processorFeatures = d;
    const unsigned family = (a >> 8) & 0xf;
    const unsigned model = (a >> 4) & 0xf;
    const unsigned extendedModel = (a >> 12) & 0xf0;
    info.processorLevel = static_cast<std::uint16_t>(family == 0xf ? family + ((a >> 20) & 0xff) : family);
    info.processorRevision = static_cast<std::uint16_t>(((extendedModel | model) << 8) | (a & 0xf));
    if (__get_cpuid(0x80000001, &a, &b, &c, &d) != 0)
        info.processorExtendedFeatures = d;
}

// "6.1.0-18-amd64" gives 6, 1 and 0.
void setRelease(SystemInfo& info, const utsname& system)
{
    const char* next = system.release;
    const char* const end = next + std::string_view(system.release).size();
    for (std::uint32_t* const part : {&info.majorVersion, &info.minorVersion, &info.buildNumber}) {
        next = std::from_chars(next, end, *part).ptr;
        next += next != end ? 1 : 0;
    }
}

utsname querySystem()
{
    utsname system{};
    systemCall(SYS_uname, &system);
    return system;
}

} // namespace

SystemInfo querySystemInfo()
{
    SystemInfo info{};
    info.architecture = architectureAmd64;
    info.platform = platformLinux;
    info.processorCount = countProcessors();
    setProcessor(info);
    setRelease(info, querySystem());
    return info;
}

FixedText<256> querySystemText()
{
    const utsname system = querySystem();
    FixedText<256> text;
    text.append(system.sysname).append(' ').append(system.release).append(' ').append(system.version);
    return text;
}

} // namespace Brennic::Minidump
