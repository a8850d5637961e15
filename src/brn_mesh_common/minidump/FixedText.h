#pragma once
/// \file
/// Internal, not installed. NUL-terminated text in a buffer of fixed size, for code that must not allocate.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Brennic::Minidump {

template <std::size_t Capacity>
class FixedText
{
public:
    void clear()
    {
        m_size = 0;
        m_isCut = false;
        m_characters[0] = '\0';
    }

    FixedText& append(std::string_view text)
    {
        for (const char character : text)
            append(character);
        return *this;
    }

    FixedText& append(char character)
    {
        m_isCut = m_isCut || m_size + 1 == Capacity;
        if (!m_isCut) {
            m_characters[m_size++] = character;
            m_characters[m_size] = '\0';
        }
        return *this;
    }

    FixedText& appendDecimal(std::uint64_t number, int minimalDigits = 1)
    {
        std::array<char, 20> digits{};
        std::size_t count = 0;
        for (; number != 0 || static_cast<int>(count) < minimalDigits; number /= 10)
            digits[count++] = static_cast<char>('0' + number % 10);
        while (count != 0)
            append(digits[--count]);
        return *this;
    }

    /// Whether something did not fit.
    bool isCut() const { return m_isCut; }
    const char* c_str() const { return m_characters.data(); }
    std::string_view view() const { return {m_characters.data(), m_size}; }

private:
    std::size_t m_size = 0;
    bool m_isCut = false;
    std::array<char, Capacity> m_characters{};
};

} // namespace Brennic::Minidump
