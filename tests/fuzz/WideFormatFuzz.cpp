// Formats of the loggers. The input is the format; every argument is the address of a text, chosen so that it is a small number
// when it is taken for an int, and ends the text when it is taken for a narrow one.
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <string>

#include <sys/mman.h>

#include <brn_mesh_kernel/logging/VisibleControls.h>
#include <brn_mesh_kernel/logging/WideFormat.h>

#include "PlantedFault.h"

using namespace Brennic;

namespace {

constexpr std::size_t pageSize = 4096;
constexpr std::size_t argumentCount = 2000; // more than a format of the greatest length takes

wchar_t* page()
{
    constexpr std::uintptr_t address = 0x2000'0000'0000;
    static void* const mapped = ::mmap(reinterpret_cast<void*>(address), pageSize, PROT_READ | PROT_WRITE,
                                       MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1, 0);
    Fuzz::require(mapped == reinterpret_cast<void*>(address), "the page for the arguments is to be had");
    return static_cast<wchar_t*>(mapped);
}

// As a call leaves it whose arguments are all on the stack.
void makeArguments(std::va_list arguments, std::uint64_t* slots)
{
    constexpr unsigned noRegisters = 48;
    constexpr unsigned noVectorRegisters = 176;
    arguments->gp_offset = noRegisters;
    arguments->fp_offset = noVectorRegisters;
    arguments->overflow_arg_area = slots;
    arguments->reg_save_area = nullptr;
}

// A width of many digits takes long, and an input of many such widths most of the time.
bool isQuick(const std::uint8_t* data, std::size_t size)
{
    constexpr std::size_t fewBytes = 12;
    constexpr std::size_t fewDigits = 4;
    std::size_t digits = 0;
    for (std::size_t i = 0; i != size && digits <= fewDigits; ++i)
        digits = data[i] >= '0' && data[i] <= '9' ? digits + 1 : 0;
    return size <= fewBytes || digits <= fewDigits;
}

std::wstring formatOf(const std::uint8_t* data, std::size_t size)
{
    std::wstring format;
    for (std::size_t i = 0; i != size; ++i) // as after lower-casing, some of it outside ASCII
        format += data[i] < 0x80
                      ? static_cast<wchar_t>(data[i] >= 'A' && data[i] <= 'Z' ? data[i] + 32 : data[i])
                      : static_cast<wchar_t>(0xD770 + data[i]);
    return format;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (!isQuick(data, size))
        return 0;
    static std::uint64_t slots[argumentCount];
    wchar_t* const texts = page();
    std::wmemcpy(texts, L"argument", 9);
    std::wmemcpy(texts + 20, L"\u20ac\n\x1b[2J", 7);
    for (std::size_t i = 0; i != argumentCount; ++i)
        slots[i] = reinterpret_cast<std::uintptr_t>(texts + (i % 3 == 0 ? 20 : i % 3));
    std::va_list arguments;
    makeArguments(arguments, slots);
    const std::wstring text = Core::formatWide(formatOf(data, size).c_str(), arguments, 2);
    for (const wchar_t character : Core::withVisibleControls(text))
        Fuzz::require(character == L'\t' || character > L'\x1f', "no control character is left");
    Fuzz::plantFault(text.find(L'+') != std::wstring::npos && text.find(L"0x2000") != std::wstring::npos);
    return 0;
}
