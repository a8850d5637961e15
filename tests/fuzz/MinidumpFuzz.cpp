// The reader of minidumps with which the tests look at dumps.
#include <cstddef>
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>

#include "crash/support/Minidump.h"

#include "PlantedFault.h"

using Brennic::Testing::Minidump;
namespace Fuzz = Brennic::Fuzz;

namespace {

// Each by itself: a dump that lacks one thing has others.
void look(const std::function<void()>& at)
{
    try {
        at();
    } catch (const std::runtime_error&) {
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    look([&] {
        const Minidump dump = Minidump::fromBytes({reinterpret_cast<const char*>(data), size});
        for (const std::uint32_t type : dump.streamTypes())
            look([&] { Fuzz::require(dump.stream(type).size() <= size, "a stream lies in the file"); });
        look([&] { dump.placedThreadCount(); });
        look([&] { dump.threadNames(); });
        look([&] { dump.crashedThread(); });
        look([&] { dump.exceptionCode(); });
        look([&] { dump.exceptionFlags(); });
        look([&] { dump.exceptionAddress(); });
        look([&] { dump.crashedStackPointer(); });
        look([&] { dump.memory(); });
        look([&] {
            for (const Minidump::Module& module : dump.modules())
                Fuzz::plantFault(module.base != 0x400000 && !module.buildId.empty());
        });
        look([&] { dump.threadIds(); });
    });
    return 0;
}
