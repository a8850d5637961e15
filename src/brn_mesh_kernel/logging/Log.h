#pragma once
/// \file
/// Records whose format the compiler reads, by the fmt library.
///
///     using namespace Brennic::Core;
///     BRN_LOG(Info, "{} has {} vertices", path, count);
///     BRN_LOG(count == 0 ? Warn : Debug, "{:>8.3f} s for {}", seconds, name);
///
/// A format that is wrong, or does not fit its arguments, does not compile. Arguments are whatever fmt formats, and
/// `std::wstring`, `wchar_t`, `QString`, their views, and `std::filesystem::path`. Types of the host get a
/// `fmt::formatter`. Text keeps its case. Narrow text is UTF-8; what is no valid Unicode is written with U+FFFD in its
/// place, and the character 0 as U+2400. A null string prints "(null)".
///
/// `BRN_LOG` writes through the logger of the kernel that `Kernel::Instance()` gives, `BRN_LOG_TO` through any other.
/// Both record file, line and function, for layouts that print them. At a level that is not enabled they evaluate no
/// argument, and cost a call that compares levels. What evaluating an argument throws leaves the call; what formatting
/// it throws does not: the record then names the format and the error.
///
/// Threads: from any, at the same time. Not in a signal handler, as with all loggers.
///
/// The printf-style functions of ILogger.h stay beside this. fmt is needed by those who include this file and by nobody
/// else. Nothing has to be linked: fmt is used as headers only, unless the host has chosen `FMT_SHARED`.

#if !defined(FMT_HEADER_ONLY) && !defined(FMT_SHARED)
/// Has fmt compiled into who includes it. Hosts that link fmt define `FMT_SHARED`, as its CMake package does.
#define FMT_HEADER_ONLY
#endif

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include <fmt/format.h>

#include <QString>
#include <QStringView>

#include <brn_mesh_kernel/kernel/EKvsLogLevel.h>
#include <brn_mesh_kernel/kernel/Kernel.h>
#include <brn_mesh_kernel/logging/ILogger.h>

#if FMT_VERSION < 90100
#error "brn_mesh_kernel/logging/Log.h needs fmt 9.1 or later"
#endif

/// What the macros and functions of Log.h are made of. Hosts use none of it by name.
namespace Brennic::Core::LogDetail {

/// Appends a character as UTF-8, and U+FFFD for what is none.
inline void appendUtf8(std::string& text, std::uint32_t character)
{
    if (character > 0x10FFFF || (character >= 0xD800 && character <= 0xDFFF))
        character = 0xFFFD;
    const auto append = [&text](std::uint32_t byte) { text += static_cast<char>(byte); };
    const auto appendRest = [&](int shift) { append(0x80U | (character >> shift & 0x3FU)); };
    if (character < 0x80) {
        append(character);
    } else if (character < 0x800) {
        append(0xC0U | character >> 6);
        appendRest(0);
    } else if (character < 0x10000) {
        append(0xE0U | character >> 12);
        appendRest(6);
        appendRest(0);
    } else {
        append(0xF0U | character >> 18);
        appendRest(12);
        appendRest(6);
        appendRest(0);
    }
}

/// Wide text or UTF-16 as UTF-8.
template <typename Unit>
std::string toUtf8(std::basic_string_view<Unit> text)
{
    const auto unit = [&text](std::size_t i) {
        return static_cast<std::uint32_t>(static_cast<std::make_unsigned_t<Unit>>(text[i]));
    };
    const auto isHalf = [&](std::size_t i, std::uint32_t first) {
        return i < text.size() && (unit(i) & 0xFFFFFC00U) == first;
    };
    std::string result;
    result.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        std::uint32_t character = unit(i);
        if (sizeof(Unit) == sizeof(char16_t) && isHalf(i, 0xD800) && isHalf(i + 1, 0xDC00))
            character = 0x10000U + ((character & 0x3FFU) << 10) + (unit(++i) & 0x3FFU);
        appendUtf8(result, character);
    }
    return result;
}

/// An argument as fmt takes it: text that fmt does not know becomes UTF-8, all else stays.
template <typename Argument>
decltype(auto) toFormattable(Argument&& argument)
{
    using Plain = std::decay_t<Argument>;
    if constexpr (std::is_same_v<Plain, std::filesystem::path>) {
        using Native = std::basic_string_view<std::filesystem::path::value_type>;
        if constexpr (std::is_same_v<Native, std::string_view>)
            return std::string(argument.native());
        else
            return toUtf8(Native(argument.native()));
    } else if constexpr (std::is_same_v<Plain, wchar_t*> || std::is_same_v<Plain, const wchar_t*>) {
        const wchar_t* const text = argument;
        return text == nullptr ? std::string("(null)") : toUtf8(std::wstring_view(text));
    } else if constexpr (std::is_same_v<Plain, char*> || std::is_same_v<Plain, const char*>) {
        const char* const text = argument;
        return text == nullptr ? "(null)" : text;
    } else if constexpr (std::is_same_v<Plain, wchar_t>) {
        return toUtf8(std::wstring_view(&argument, 1));
    } else if constexpr (std::is_convertible_v<const Plain&, std::wstring_view>) {
        return toUtf8(static_cast<std::wstring_view>(argument));
    } else if constexpr (std::is_convertible_v<const Plain&, QStringView>) {
        const QStringView text(argument);
        return toUtf8(std::u16string_view(text.utf16(), static_cast<std::size_t>(text.size())));
    } else {
        return std::forward<Argument>(argument);
    }
}

/// What a temporary is passed as to a format: itself. fmt takes views, such as that of `fmt::join`, as nothing else.
template <typename Argument>
using WithoutTemporary =
    std::conditional_t<std::is_rvalue_reference_v<Argument>, std::remove_reference_t<Argument>, Argument>;

/// The type of an argument as fmt takes it.
template <typename Argument>
using Formattable = WithoutTemporary<decltype(toFormattable(std::declval<Argument>()))>;

/// A format that fits the arguments: checked by the compiler if it is made of `FMT_STRING`, or in C++20.
template <typename... Arguments>
using Format = fmt::basic_format_string<char, Formattable<Arguments>...>;

/// Where in the source a record is written.
struct Place
{
    const char* file;     ///< narrow, or null
    int line;             ///< in the file, or -1
    const char* function; ///< narrow, or null
};

/// A logger that writes records of a level, or null.
struct EnabledLogger
{
    ILogger* logger;    ///< borrowed; null if nothing is written
    EKvsLogLevel level; ///< that of the record

    /// Whether there is a logger.
    explicit operator bool() const { return logger != nullptr; }
};

/// The kernel's logger, if it writes records of this level.
inline EnabledLogger enabled(EKvsLogLevel level)
{
    return {Kernel::LoggerIfEnabled(level), level};
}

/// The same of another logger.
inline EnabledLogger enabled(ILogger& logger, EKvsLogLevel level)
{
    return {logger.IsEnabled(level) ? &logger : nullptr, level};
}

/// Ends the text where C strings end, and nowhere before that.
inline const char* terminated(fmt::memory_buffer& text)
{
    std::string_view rest(text.data(), text.size());
    if (rest.find('\0') != std::string_view::npos) {
        std::string visible;
        for (const char byte : rest)
            visible += byte == '\0' ? std::string_view("\xE2\x90\x80") : std::string_view(&byte, 1);
        text.clear();
        text.append(visible);
    }
    text.push_back('\0');
    return text.data();
}

/// Formats, and says so in the text if that fails.
inline void format(fmt::memory_buffer& text, fmt::string_view format, fmt::format_args arguments)
{
    const auto appendFailure = [&](const char* reason) {
        text.clear();
        for (const std::string_view part :
             {std::string_view("this record could not be formatted: "), std::string_view(reason),
              std::string_view("; its format is: "), std::string_view(format.data(), format.size())})
            text.append(part);
    };
    try {
        fmt::vformat_to(fmt::appender(text), format, arguments);
    } catch (const std::exception& error) {
        appendFailure(error.what());
    } catch (...) {
        appendFailure("an exception of unknown type");
    }
}

/// Writes the record of a call.
inline void writeRecord(const EnabledLogger& log, const Place& place, fmt::string_view formatText,
                        fmt::format_args arguments)
{
    const int error = errno; // the caller finds it unchanged, whatever formatters do
    fmt::memory_buffer text;
    LogDetail::format(text, formatText, arguments);
    log.logger->LogWithLocation(log.level, place.file, place.line, place.function, L"%hs", terminated(text));
    errno = error;
}

/// Writes a record if there is a logger for it. The compiler compares the format with the arguments as fmt takes them.
template <typename... Arguments>
void write(const EnabledLogger& log, const Place& place, Format<Arguments...> format,
           Arguments&&... arguments)
{
    const auto writeFormattable = [&](auto&&... formattable) {
        writeRecord(log, place, format, fmt::make_format_args(formattable...));
    };
    writeFormattable(toFormattable(std::forward<Arguments>(arguments))...);
}

/// The same for `BRN_LOG`, whose macro arguments begin with the format as it stands.
template <typename... Arguments>
void writeAfterFormat(const EnabledLogger& log, const Place& place, Format<Arguments...> format,
                      const char* /*format*/, Arguments&&... arguments)
{
    write<Arguments...>(log, place, format, std::forward<Arguments>(arguments)...);
}

} // namespace Brennic::Core::LogDetail

namespace Brennic::Core {

/// Writes a record, as `BRN_LOG` does, without a place in the source. For formats that a host hands on.
///
/// In C++20 the compiler reads a format that is a literal; before, only one in `FMT_STRING("...")`. A format that turns
/// out to be wrong costs its record: what is written names the format and the error. The arguments are always evaluated.
/// Throws what allocation throws.
/// Thread: any.
template <typename... Arguments>
void log(EKvsLogLevel level, LogDetail::Format<Arguments...> format, Arguments&&... arguments)
{
    if (const LogDetail::EnabledLogger enabled = LogDetail::enabled(level))
        LogDetail::write<Arguments...>(enabled, {nullptr, -1, nullptr}, format,
                                       std::forward<Arguments>(arguments)...);
}

} // namespace Brennic::Core

/// The first of several macro arguments.
#define BRN_LOG_FIRST(first, ...) first

/// Writes a record through the logger that `enabledLogger` gives, if there is one.
#define BRN_LOG_ENABLED(enabledLogger, ...)                                                                  \
    do {                                                                                                     \
        if (const ::Brennic::Core::LogDetail::EnabledLogger brnEnabledLogger = enabledLogger)                \
            ::Brennic::Core::LogDetail::writeAfterFormat(                                                    \
                brnEnabledLogger, {__FILE__, __LINE__, static_cast<const char*>(__func__)},                  \
                FMT_STRING(BRN_LOG_FIRST(__VA_ARGS__, 0)), __VA_ARGS__);                                     \
    } while (false)

/// `BRN_LOG(level, "format {}", arguments...)` writes a record of that level through the kernel's logger. The format is a
/// literal. See the head of Log.h.
///
/// Thread: any.
#define BRN_LOG(level, ...) BRN_LOG_ENABLED(::Brennic::Core::LogDetail::enabled(level), __VA_ARGS__)

/// `BRN_LOG_TO(logger, level, "format {}", arguments...)` does the same through another `ILogger&`.
///
/// Thread: any.
#define BRN_LOG_TO(logger, level, ...)                                                                       \
    BRN_LOG_ENABLED(::Brennic::Core::LogDetail::enabled(logger, level), __VA_ARGS__)
