#include "MeshLines.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <system_error>

#include "RawMesh.h"

namespace {

constexpr bool isBlank(char character)
{
    return character == ' ' || (character >= '\t' && character <= '\r');
}

void splitInto(Words& words, std::string_view line)
{
    words.clear();
    line = line.substr(0, line.find('#'));
    for (const char *at = line.data(), *const end = at + line.size(); at != end;) {
        const char* const start = std::find_if_not(at, end, isBlank);
        at = std::find_if(start, end, isBlank);
        if (at != start)
            words.emplace_back(start, static_cast<std::size_t>(at - start));
    }
}

// A hostile file must not send control characters to a terminal.
std::string quotable(std::string_view line)
{
    std::string text(line.substr(0, 40));
    while (!text.empty() && isBlank(text.back()))
        text.pop_back();
    std::replace_if(
        text.begin(), text.end(), [](char character) { return character < ' ' || character > '~'; }, '?');
    return text;
}

template <typename Number>
std::optional<Number> parsed(std::string_view word)
{
    Number number{};
    const char* const end = word.data() + word.size();
    const auto [stop, error] = std::from_chars(word.data(), end, number);
    return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

} // namespace

const Words& MeshLines::next()
{
    m_words.clear();
    while (m_words.empty() && !m_rest.empty()) {
        const std::size_t end = m_rest.find('\n');
        m_isOpen = end == std::string_view::npos;
        m_line = m_rest.substr(0, end);
        m_rest.remove_prefix(m_isOpen ? m_rest.size() : end + 1);
        splitInto(m_words, m_line);
    }
    return m_words;
}

const Words& MeshLines::require(std::size_t count)
{
    if (next().empty())
        throw MeshFileDefect(cutShort);
    if (m_words.size() < count)
        fail("is incomplete");
    return m_words;
}

void MeshLines::fail(const char* what) const
{
    throw MeshFileDefect(m_isOpen ? cutShort : "line \"" + quotable(m_line) + "\" " + what);
}

double MeshLines::number(std::string_view word) const
{
    const std::optional<double> number = toNumber(word);
    if (!number)
        fail("holds something but numbers");
    return *number;
}

std::size_t MeshLines::count(std::string_view word) const
{
    const std::optional<std::size_t> count = toCount(word);
    if (!count)
        fail("has an impossible count");
    return *count;
}

std::optional<double> toNumber(std::string_view word)
{
    if (word.size() > 1 && word[0] == '+' && word[1] != '-')
        word.remove_prefix(1);
    const std::optional<double> number = parsed<double>(word);
    return number && std::isfinite(*number) ? number : std::nullopt;
}

std::optional<std::size_t> toCount(std::string_view word)
{
    const std::optional<std::int32_t> count = parsed<std::int32_t>(word);
    return count && word.front() != '-' ? std::optional(static_cast<std::size_t>(*count)) : std::nullopt;
}
