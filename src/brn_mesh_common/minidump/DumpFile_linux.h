#pragma once
/// \file
/// Internal, not installed. The dump while it is written: buffered, by system calls, without allocation.
///
/// An error sticks: what follows it is dropped, and \ref finish reports it. Lies zeroed in static storage.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include <brn_mesh_common/minidump/Format.h>

namespace Brennic::Minidump {

class DumpFile
{
public:
    /// Creates the file, which must not exist: nobody else's file or link is written to.
    bool open(const char* path);
    /// Writes what is buffered and closes. \return whether everything written has reached the file.
    bool finish();

    /// The offset at which the next byte goes.
    std::uint32_t position() const { return m_position; }
    bool hasFailed() const { return m_hasFailed; }

    /// Appends. \return where it lies.
    Location write(const void* data, std::size_t size);
    template <typename T>
    Location write(const T& record)
    {
        return write(&record, sizeof record);
    }
    /// Appends UTF-8 text as the format wants it: length, UTF-16, terminator. \return its offset.
    std::uint32_t writeText(std::string_view utf8);
    /// Appends zeros up to the next multiple of eight.
    void align();
    /// Overwrites bytes that have been written before.
    void overwrite(std::uint32_t position, const void* data, std::size_t size);

private:
    void flush();
    void fail() { m_hasFailed = true; }

    int m_descriptor = -1;
    std::uint32_t m_position = 0;
    std::uint32_t m_buffered = 0;
    bool m_hasFailed = false;
    std::array<std::byte, 0x10000> m_buffer{};
};

} // namespace Brennic::Minidump
