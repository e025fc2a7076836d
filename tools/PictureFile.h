#pragma once
// SPDX-License-Identifier: Apache-2.0
// Pictures on disk: PNG, TIFF and raw bytes with a JSON file beside them. A file appears under its
// name only when it is whole: bytes go to a temporary name in the same folder, which is renamed at
// the end or removed on failure. A name that exists and is no regular file (a device, a pipe) is
// written in place. Different files may be written on any threads.

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>

#include "tools/Report.h"

namespace OrvexTools {

// Pixels as the picture formats take them: rows from the top, grey or red-green-blue, samples of 8
// or 16 bits, the latter in host byte order. Does not own the bytes.
struct Picture {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  unsigned channels = 1;       // 1 or 3
  unsigned bitsPerSample = 8;  // 8 or 16
  std::size_t stride = 0;      // bytes from one row to the next
  std::span<const std::uint8_t> data;
};

enum class PictureKind { Png, Tiff, Raw };

// By the name's ending, letter case aside: .png, .tif, .tiff, .raw. Throws Misuse for any other.
PictureKind KindOf(const std::filesystem::path& name);

// The name of picture `index` (from 0) of `count`: unchanged when there is one, else with "-" and a
// number before the ending, padded so that names sort in order.
std::filesystem::path NumberedName(const std::filesystem::path& name, std::uint64_t index,
                                   std::uint64_t count);

// Each writes one file and throws Failure with the system's reason when it cannot, leaving nothing
// behind.
void WritePng(const std::filesystem::path& name, const Picture& picture);
void WriteTiff(const std::filesystem::path& name, const Picture& picture);

// Writes the bytes as they are and `facts` to the same name with ".json" appended.
void WriteRaw(const std::filesystem::path& name, std::span<const std::uint8_t> bytes,
              const Record& facts);

}  // namespace OrvexTools
