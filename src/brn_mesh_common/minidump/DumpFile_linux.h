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
    /// Starts with an empty file that is open under \p descriptor, and stays so.
    void begin(int descriptor);
    /// Writes what is buffered. \return 0, or the first error since the beginning.
    long finish();

    /// The offset at which the next byte goes.
    std::uint32_t position() const { return m_position; }
    bool hasFailed() const { return m_error != 0; }

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
    /// \return how many bytes a call has written.
    std::size_t check(long written);
    void fail(long error) { m_error = m_error == 0 ? error : m_error; }

    int m_descriptor = -1;
    std::uint32_t m_position = 0;
    std::uint32_t m_buffered = 0;
    long m_error = 0;
    std::array<std::byte, 0x10000> m_buffer{};
};

} // namespace Brennic::Minidump
