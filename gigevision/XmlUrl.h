#pragma once
// SPDX-License-Identifier: Apache-2.0
// The URL registers that say where a device's description lies. Stateless: any thread.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace GigEVision {

struct XmlUrl {
  enum class Place { Local, File, Http };
  Place place = Place::Local;
  std::string fileName;       // Local: as given; File: the path; Http: the whole URL
  uint64_t address = 0;       // Local
  uint64_t length = 0;        // Local, bytes
  std::string schemaVersion;  // "1.1.0" of ?SchemaVersion=, else empty
  bool Zipped() const;        // by the extension, in any case
};

// Lenient on purpose, because devices differ: keyword in any case, blanks around the parts, an
// optional 0x before the numbers, slashes after "local:". Nothing for an unknown keyword or a
// missing or unreadable number.
std::optional<XmlUrl> ParseXmlUrl(std::string_view text);
// "Local:NAME;ADDRESS;LENGTH" with hexadecimal numbers.
std::string FormatLocalUrl(std::string_view fileName, uint64_t address, uint64_t length);

}  // namespace GigEVision
