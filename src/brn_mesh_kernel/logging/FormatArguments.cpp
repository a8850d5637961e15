#include <brn_mesh_kernel/logging/FormatArguments.h>

namespace Brennic::Core::WideFormat {

namespace {

// The lengths z and t are read as j, so their types must have its size.
static_assert(sizeof(std::size_t) == sizeof(std::uintmax_t) &&
              sizeof(std::ptrdiff_t) == sizeof(std::intmax_t));

Kind integerKind(Length length)
{
    switch (length) {
    case Length::l:
        return Kind::longInteger;
    case Length::ll:
    case Length::j:
    case Length::z:
    case Length::t:
        return Kind::longLong;
    case Length::hh:
    case Length::h:
    case Length::none:
        break;
    }
    return Kind::integer;
}

} // namespace

// Conversions share a kind only if their arguments are passed in the same way: va_arg finds the next one by
// its type.
Kind argumentKind(const Conversion& conversion)
{
    switch (conversion.type) {
    case L's':
    case L'p':
    case L'n':
        return Kind::pointer;
    case L'c':
        return Kind::integer;
    case L'd':
    case L'i':
    case L'u':
    case L'x':
    case L'o':
        return integerKind(conversion.length);
    case L'e':
    case L'f':
    case L'g':
    case L'a':
        return Kind::number;
    default:
        return Kind::none;
    }
}

void Arguments::readAll(const std::vector<Kind>& kinds)
{
    for (const Kind kind : kinds) {
        Value value;
        value.kind = kind;
        // `long` is as large as `int` on Windows and as `long long` on Linux, so two branches do the same.
        // The constructor has copied the list; the analyzer does not see it.
        // NOLINTBEGIN(bugprone-branch-clone, clang-analyzer-valist.Uninitialized)
        if (kind == Kind::longInteger)
            value.integer = va_arg(m_arguments, long);
        else if (kind == Kind::longLong)
            value.integer = va_arg(m_arguments, std::intmax_t);
        else if (kind == Kind::number)
            value.number = va_arg(m_arguments, double);
        else if (kind == Kind::pointer)
            value.pointer = va_arg(m_arguments, void*);
        else
            value.integer = va_arg(m_arguments, int); // also for a position that no conversion names
        // NOLINTEND(bugprone-branch-clone, clang-analyzer-valist.Uninitialized)
        m_values.push_back(value);
    }
}

} // namespace Brennic::Core::WideFormat
