#pragma once
/// \file
/// Internal, not installed. The executable and the libraries that are mapped, with their ELF build ids.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include <brn_mesh_common/minidump/FixedList.h>
#include <brn_mesh_common/minidump/MemoryMap_linux.h>

namespace Brennic::Minidump {

struct ElfBuildId
{
    std::array<std::byte, 64> bytes;
    std::size_t size; ///< 0: none
};

struct LoadedModule
{
    std::uint64_t base;
    std::uint64_t end;
    std::string_view path; ///< the original one if the file has been deleted or replaced
    ElfBuildId buildId;
};

/// Lies zeroed in static storage.
class ModuleList
{
public:
    /// Finds the modules; the executable comes first, as readers expect.
    void load(const MemoryMap& map);

    const LoadedModule* begin() const { return m_modules.begin(); }
    const LoadedModule* end() const { return m_modules.end(); }

private:
    void addModule(const Mapping* first, const Mapping* end);
    void moveExecutableToFront();

    FixedList<LoadedModule, 2048> m_modules;
};

/// The build id that the ELF image at \p base carries in its notes.
ElfBuildId readBuildId(std::uint64_t base);

} // namespace Brennic::Minidump
