#pragma once
/// \file
/// Reads a minidump for a test, strictly, by offsets of its own: it shares nothing with the code that writes it.

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace Brennic::Testing {

class Minidump
{
public:
    struct Range
    {
        std::uint64_t start;
        std::uint64_t size;
    };
    struct Module
    {
        std::uint64_t base;
        std::uint64_t size;
        std::string name;
        std::string buildId; ///< its bytes
    };

    /// Throws `std::runtime_error` if something in the file points outside it.
    explicit Minidump(const std::filesystem::path& path);
    /// The same from the bytes of a file.
    static Minidump fromBytes(std::string bytes);

    std::set<std::uint32_t> streamTypes() const;
    std::vector<std::uint32_t> threadIds() const;
    /// How many of the threads have a stack.
    std::size_t placedThreadCount() const;
    /// Those without one: number, name and where they were.
    std::vector<std::string> unplacedThreads() const;
    std::map<std::uint32_t, std::string> threadNames() const;
    std::uint32_t crashedThread() const;
    std::uint32_t exceptionCode() const;
    std::uint32_t exceptionFlags() const;
    std::uint64_t exceptionAddress() const;
    std::uint64_t crashedStackPointer() const;
    std::vector<Range> memory() const;
    std::vector<Module> modules() const;
    /// The bytes of a stream; empty if there is none.
    std::string stream(std::uint32_t type) const;
    /// Whether the bytes occur anywhere in the file.
    bool holds(const std::string& bytes) const { return m_bytes.find(bytes) != std::string::npos; }
    std::size_t size() const { return m_bytes.size(); }

private:
    Minidump() = default;
    void readDirectory();

    struct Location
    {
        std::uint32_t size;
        std::uint32_t offset;
    };

    template <typename T>
    T read(std::size_t offset) const
    {
        T value;
        std::memcpy(&value, bytes(offset, sizeof value).data(), sizeof value);
        return value;
    }
    std::string bytes(std::size_t offset, std::size_t size) const;
    std::string text(std::size_t offset) const;
    Location location(std::uint32_t type) const;
    /// Offsets of the records of a list stream.
    std::vector<std::size_t> records(std::uint32_t type, std::size_t size) const;

    std::string m_bytes;
    std::map<std::uint32_t, Location> m_streams;
};

} // namespace Brennic::Testing
