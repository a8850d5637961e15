#pragma once
/// \file
/// The words, numbers and counts of mesh files that are text.

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

using Words = std::vector<std::string_view>;

/// Walks the lines that hold something but a comment, which begins with '#'.
class MeshLines
{
public:
    /// The text must outlive the lines.
    explicit MeshLines(std::string_view text) : m_rest(text) {}

    /// The words of the next line, valid until the next call; none at the end of the text.
    const Words& next();

    /// As `next`, but throws `MeshFileDefect` if fewer words are left, or none.
    const Words& require(std::size_t count);

    /// Throws `MeshFileDefect`: "line ... <what>", or that the file is cut short if the line is its unfinished last.
    [[noreturn]] void fail(const char* what) const;

    /// What follows the current line.
    std::string_view rest() const { return m_rest; }

    /// The number that a word of the current line is. Throws `MeshFileDefect` if it is none.
    double number(std::string_view word) const;

    /// The count that a word of the current line is, below 2^31. Throws `MeshFileDefect` if it is none.
    std::size_t count(std::string_view word) const;

private:
    std::string_view m_line;
    std::string_view m_rest;
    Words m_words;
    bool m_isOpen = true; // the current line is not ended
};

/// A decimal number; none for anything else, not-a-number and infinity included.
std::optional<double> toNumber(std::string_view word);

/// Digits below 2^31; none for anything else.
std::optional<std::size_t> toCount(std::string_view word);
