#include <brn_mesh_common/minidump/ModuleList_linux.h>

#include <algorithm>
#include <cstring>

#include <brn_mesh_common/minidump/MemoryMap_linux.h>
#include <elf.h>
#include <sys/auxv.h>

namespace Brennic::Minidump {

namespace {

constexpr std::string_view deletedMark = " (deleted)";

// The mark that the system appends would hide the file from a debugger; a name that ends so is rarer.
std::string_view withoutDeletedMark(std::string_view path)
{
    const bool isMarked =
        path.size() > deletedMark.size() && path.substr(path.size() - deletedMark.size()) == deletedMark;
    return isMarked ? path.substr(0, path.size() - deletedMark.size()) : path;
}

bool canBeModule(const Mapping& mapping)
{
    const std::string_view name = mapping.name;
    return !name.empty() && (name[0] == '/' || name == "[vdso]") && mapping.fileOffset == 0 &&
           mapping.isReadable;
}

bool hasElfHeader(std::uint64_t address)
{
    std::array<char, SELFMAG> magic{};
    return readMemory(address, magic) && std::memcmp(magic.data(), ELFMAG, SELFMAG) == 0;
}

// A module is a run of mappings of one file; the anonymous ones between and behind are its padding and its
// bss.
const Mapping* endOfModule(const Mapping* first, const Mapping* last)
{
    const Mapping* end = first + 1;
    for (const Mapping* next = end; next != last; ++next) {
        const bool isNewImage = next->fileOffset == 0 && next->isReadable && !next->isExecutable;
        if (next->name == first->name &&
            !(isNewImage && hasElfHeader(next->start) && next->start != first->start))
            end = next + 1;
        else if (!next->name.empty())
            break;
    }
    return end;
}

} // namespace

void ModuleList::load(const MemoryMap& map)
{
    m_modules.clear();
    for (const Mapping* mapping = map.begin(); mapping != map.end();) {
        if (!canBeModule(*mapping) || !hasElfHeader(mapping->start)) {
            ++mapping;
            continue;
        }
        const Mapping* const end = endOfModule(mapping, map.end());
        addModule(mapping, end);
        mapping = end;
    }
    moveExecutableToFront();
}

void ModuleList::addModule(const Mapping* first, const Mapping* end)
{
    const bool hasCode = std::any_of(first, end, [](const Mapping& mapping) { return mapping.isExecutable; });
    if (!hasCode) // an ELF file that somebody has mapped to read it
        return;
    m_modules.add({first->start, (end - 1)->end, withoutDeletedMark(first->name), readBuildId(first->start)});
}

void ModuleList::moveExecutableToFront()
{
    const std::uint64_t inExecutable = getauxval(AT_PHDR);
    const auto isExecutable = [inExecutable](const LoadedModule& module) {
        return module.base <= inExecutable && inExecutable < module.end;
    };
    LoadedModule* const executable = std::find_if(m_modules.begin(), m_modules.end(), isExecutable);
    if (executable != m_modules.end())
        std::rotate(m_modules.begin(), executable, executable + 1);
}

} // namespace Brennic::Minidump
