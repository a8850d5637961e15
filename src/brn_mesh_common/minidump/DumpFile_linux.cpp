#include <brn_mesh_common/minidump/DumpFile_linux.h>

#include <cerrno>
#include <cstring>

#include <boost/nowide/utf/convert.hpp>
#include <brn_mesh_common/minidump/Syscall_linux.h>

namespace Brennic::Minidump {

namespace {

constexpr std::uint32_t largestPosition = 0x7fffffff; // offsets in the file have 32 bits

} // namespace

void DumpFile::begin(int descriptor)
{
    m_descriptor = descriptor;
    m_position = 0;
    m_buffered = 0;
    m_error = 0;
}

long DumpFile::finish()
{
    flush();
    return m_error;
}

Location DumpFile::write(const void* data, std::size_t size)
{
    const Location location{static_cast<std::uint32_t>(size), m_position};
    if (size > largestPosition - m_position)
        fail(-EFBIG);
    const auto* bytes = static_cast<const std::byte*>(data);
    while (size != 0 && m_error == 0) {
        if (m_buffered == m_buffer.size())
            flush();
        const std::size_t room = m_buffer.size() - m_buffered;
        const std::size_t part = size < room ? size : room;
        std::memcpy(m_buffer.data() + m_buffered, bytes, part);
        m_buffered += static_cast<std::uint32_t>(part);
        m_position += static_cast<std::uint32_t>(part);
        bytes += part;
        size -= part;
    }
    return location;
}

std::uint32_t DumpFile::writeText(std::string_view utf8)
{
    align();
    namespace utf = boost::nowide::utf;
    using Wide = utf::utf_traits<char16_t>;
    const std::uint32_t start = m_position;
    std::uint32_t byteCount = 0;
    write(byteCount);
    for (const char* next = utf8.data(); next != utf8.data() + utf8.size();) {
        utf::code_point code = utf::utf_traits<char>::decode(next, utf8.data() + utf8.size());
        if (code == utf::illegal || code == utf::incomplete)
            code = 0xfffd;
        std::array<char16_t, 2> units{};
        const std::size_t count = static_cast<std::size_t>(Wide::encode(code, units.data()) - units.data());
        byteCount += write(units.data(), count * sizeof(char16_t)).size;
    }
    write(u'\0');
    overwrite(start, &byteCount, sizeof byteCount);
    return start;
}

void DumpFile::align()
{
    constexpr std::array<std::byte, 8> zeros{};
    write(zeros.data(), (8 - m_position % 8) % 8);
}

void DumpFile::overwrite(std::uint32_t position, const void* data, std::size_t size)
{
    const std::uint32_t flushed = m_position - m_buffered;
    if (position >= flushed) {
        std::memcpy(m_buffer.data() + (position - flushed), data, size);
        return;
    }
    flush();
    const auto* bytes = static_cast<const std::byte*>(data);
    while (size != 0 && m_error == 0) {
        const std::size_t written = check(systemCall(SYS_pwrite64, m_descriptor, bytes, size, position));
        position += static_cast<std::uint32_t>(written);
        bytes += written;
        size -= written;
    }
}

void DumpFile::flush()
{
    const std::byte* bytes = m_buffer.data();
    while (m_buffered != 0 && m_error == 0) {
        const std::size_t written = check(systemCall(SYS_write, m_descriptor, bytes, m_buffered));
        bytes += written;
        m_buffered -= static_cast<std::uint32_t>(written);
    }
}

std::size_t DumpFile::check(long written)
{
    if (written > 0)
        return static_cast<std::size_t>(written);
    if (written != -EINTR)
        fail(written == 0 ? -EIO : written);
    return 0;
}

} // namespace Brennic::Minidump
