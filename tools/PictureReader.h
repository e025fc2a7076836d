#pragma once
// SPDX-License-Identifier: Apache-2.0
// Reads back the picture files that PictureFile.h writes: PNG and TIFF of 8 or 16 bits, grey or
// red-green-blue, and raw bytes described by the JSON file beside them. Files are not trusted:
// sizes are checked before memory is taken.

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace OrvexTools {

// Pixels without padding between rows; samples of 16 bits in host byte order.
struct LoadedPicture {
  std::uint64_t width = 0;
  std::uint64_t height = 0;
  std::string format;  // name of the pixel format
  std::vector<std::uint8_t> bytes;
};

// A whole file, of at most that many bytes. Throws Failure when it cannot be read.
std::vector<std::uint8_t> ReadBytes(const std::filesystem::path& name, std::uint64_t most);

// The name of the pixel format that the JSON file beside raw bytes tells, empty when there is no
// such file. Throws Failure when it is there but tells nothing.
std::string FormatBeside(const std::filesystem::path& name);

// By the name's ending. Throws Misuse for an unknown ending and Failure for a file that cannot be
// read.
LoadedPicture ReadPicture(const std::filesystem::path& name);

}  // namespace OrvexTools
