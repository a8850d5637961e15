#include <algorithm>
#include <cstring>

#include <brn_mesh_common/minidump/MemoryMap_linux.h>
#include <brn_mesh_common/minidump/ModuleList_linux.h>
#include <elf.h>

namespace Brennic::Minidump {

namespace {

constexpr std::uint16_t mostProgramHeaders = 64;
constexpr std::size_t largestNotes = 4096;

std::size_t alignedToFour(std::size_t size)
{
    return (size + 3) & ~std::size_t{3};
}

ElfBuildId findInNotes(const std::byte* notes, std::size_t size)
{
    ElfBuildId id{};
    Elf64_Nhdr note{};
    while (size >= sizeof note) {
        std::memcpy(&note, notes, sizeof note);
        const std::size_t start = sizeof note + alignedToFour(note.n_namesz);
        const std::size_t end = start + alignedToFour(note.n_descsz);
        if (end > size)
            break;
        const bool isGnu = note.n_namesz == 4 && std::memcmp(notes + sizeof note, "GNU", 4) == 0;
        if (isGnu && note.n_type == NT_GNU_BUILD_ID) {
            id.size = std::min<std::size_t>(note.n_descsz, id.bytes.size());
            std::memcpy(id.bytes.data(), notes + start, id.size);
            break;
        }
        notes += end;
        size -= end;
    }
    return id;
}

ElfBuildId readFromNotes(std::uint64_t address, std::size_t size)
{
    std::array<std::byte, largestNotes> notes{};
    return findInNotes(notes.data(), readMemory(address, notes.data(), std::min(size, notes.size())));
}

// Where the segments lie relative to the addresses that their headers give.
std::uint64_t loadBias(std::uint64_t base, const Elf64_Phdr* first, const Elf64_Phdr* last)
{
    const Elf64_Phdr* const load =
        std::find_if(first, last, [](const Elf64_Phdr& header) { return header.p_type == PT_LOAD; });
    return load == last ? base : base - (load->p_vaddr - load->p_offset);
}

} // namespace

ElfBuildId readBuildId(std::uint64_t base)
{
    Elf64_Ehdr file{};
    std::array<Elf64_Phdr, mostProgramHeaders> headers{};
    if (!readMemory(base, file) || std::memcmp(file.e_ident, ELFMAG, SELFMAG) != 0)
        return {};
    const std::size_t count = std::min(file.e_phnum, mostProgramHeaders);
    if (readMemory(base + file.e_phoff, headers.data(), count * sizeof(Elf64_Phdr)) !=
        count * sizeof(Elf64_Phdr))
        return {};
    const Elf64_Phdr* const last = headers.data() + count;
    const std::uint64_t bias = loadBias(base, headers.data(), last);
    for (const Elf64_Phdr* header = headers.data(); header != last; ++header) {
        if (header->p_type != PT_NOTE)
            continue;
        const ElfBuildId id = readFromNotes(bias + header->p_vaddr, header->p_memsz);
        if (id.size != 0)
            return id;
    }
    return {};
}

} // namespace Brennic::Minidump
