#pragma once
/// \file
/// The C library's file descriptors.

#include <filesystem>

namespace Brennic::Testing::Descriptor {

constexpr int standardOutput = 1;
constexpr int standardError = 2;

/// Opens a new file that what is written to it is added to, byte for byte.
int openToAppend(const std::filesystem::path& path);

int duplicate(int descriptor);

/// Has \p descriptor mean what \p other means.
void replace(int descriptor, int other);

void close(int descriptor);

} // namespace Brennic::Testing::Descriptor
