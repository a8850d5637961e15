#pragma once
/// \file
/// Looks at the files of a run before it begins.

#include <cstdint>
#include <filesystem>

/// Throws `std::runtime_error` with one sentence if a file of this name can surely not be written: better before
/// the work than after it.
void requireWritablePlace(const std::filesystem::path& file);

/// The size of a file in bytes; 0 where it cannot be told.
std::uintmax_t sizeOrZero(const std::filesystem::path& file);

/// Saves the report of the run. Throws `std::runtime_error` with one sentence if that fails.
void saveReport(const std::filesystem::path& file);
