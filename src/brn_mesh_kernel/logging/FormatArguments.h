#pragma once
/// \file
/// Internal, not installed. The variable arguments of a wide format, fetched one after the other or by
/// position.
///
/// A position can only be reached by reading all arguments before it, each with its own type. So the types of
/// all are collected from the format first (`argumentKind`), and the values read once.

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <vector>

#include <brn_mesh_kernel/logging/FormatReader.h>

namespace Brennic::Core::WideFormat {

/// How an argument was passed.
enum class Kind
{
    none,
    integer,
    longInteger,
    longLong,
    number,
    pointer
};

/// What a conversion takes; none if it is unknown, or takes nothing.
Kind argumentKind(const Conversion& conversion);

/// The arguments of one call.
class Arguments
{
public:
    explicit Arguments(std::va_list arguments) { va_copy(m_arguments, arguments); }
    ~Arguments() { va_end(m_arguments); }
    Arguments(const Arguments&) = delete;
    Arguments& operator=(const Arguments&) = delete;

    bool havePositions() const { return !m_values.empty(); }
    /// Whether the argument is there and was passed in this way. Arguments without positions are taken to be.
    bool has(int position, Kind kind) const
    {
        if (!havePositions())
            return position == 0;
        return position > 0 && static_cast<std::size_t>(position) <= m_values.size() &&
               m_values[static_cast<std::size_t>(position) - 1].kind == kind;
    }

    /// Reads all arguments, from the first on. From then on they are fetched by position alone.
    void readAll(const std::vector<Kind>& kinds);

    /// The argument at the position, or for 0 the next one.
    template <typename T>
    T get(int position)
    {
        if (position == 0)
            // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): the constructor makes the copy
            return va_arg(m_arguments, T);
        const Value& value = m_values[static_cast<std::size_t>(position) - 1];
        if constexpr (std::is_pointer_v<T>)
            return static_cast<T>(value.pointer);
        else if constexpr (std::is_floating_point_v<T>)
            return static_cast<T>(value.number);
        else
            return static_cast<T>(value.integer);
    }

private:
    struct Value
    {
        Kind kind = Kind::none;
        std::intmax_t integer = 0;
        double number = 0;
        void* pointer = nullptr;
    };

    std::va_list m_arguments;
    std::vector<Value> m_values; // of arguments with positions
};

} // namespace Brennic::Core::WideFormat
