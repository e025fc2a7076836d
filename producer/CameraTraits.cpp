// SPDX-License-Identifier: Apache-2.0
#include "producer/CameraTraits.h"

#include <zlib.h>

#include <algorithm>
#include <memory>

#include "producer/Limits.h"

namespace OrvexGev {
namespace {

constexpr size_t sk_localHeader = 30;
constexpr uint16_t sk_stored = 0;
constexpr uint16_t sk_deflated = 8;

uint16_t Little16(std::span<const uint8_t> bytes, size_t at) {
  return static_cast<uint16_t>(bytes[at] | bytes[at + 1] << 8);
}
uint32_t Little32(std::span<const uint8_t> bytes, size_t at) {
  return Little16(bytes, at) | static_cast<uint32_t>(Little16(bytes, at + 2)) << 16;
}

std::string Inflate(std::span<const uint8_t> packed) {
  z_stream stream{};
  if (inflateInit2(&stream, -MAX_WBITS) != Z_OK) return {};
  const std::unique_ptr<z_stream, decltype(&inflateEnd)> guard(&stream, &inflateEnd);
  stream.next_in = const_cast<Bytef*>(packed.data());  // the library does not write to it
  stream.avail_in = static_cast<uInt>(packed.size());
  std::string text;
  for (int state = Z_OK; state != Z_STREAM_END;) {
    char block[16384];
    stream.next_out = reinterpret_cast<Bytef*>(block);
    stream.avail_out = sizeof block;
    state = inflate(&stream, Z_NO_FLUSH);
    if ((state != Z_OK && state != Z_STREAM_END) || stream.avail_out == sizeof block) return {};
    text.append(block, sizeof block - stream.avail_out);
    if (text.size() > sk_maxDescriptionText) return {};
  }
  return text;
}

}  // namespace

std::string UnpackDescription(std::span<const uint8_t> file) {
  if (file.size() < sk_localHeader || file[0] != 'P' || file[1] != 'K')
    return {file.begin(), file.end()};
  const size_t data = sk_localHeader + Little16(file, 26) + Little16(file, 28);
  if (data > file.size()) return {};
  const std::span<const uint8_t> content = file.subspan(data);
  switch (Little16(file, 8)) {
    case sk_stored: {
      const size_t length = std::min<size_t>(Little32(file, 22), content.size());
      return {content.begin(), content.begin() + static_cast<ptrdiff_t>(length)};
    }
    case sk_deflated:
      return Inflate(content);
    default:
      return {};
  }
}

CameraTraits FindTraits(std::span<const uint8_t> file) {
  const std::string text = UnpackDescription(file);
  const auto names = [&text](const char* node) {
    return text.find("Name=\"" + std::string(node) + "\"") != std::string::npos;
  };
  CameraTraits traits;
  traits.eventSensor = names("EventFormat");
  traits.tcp = names("TCPEnable");
  traits.rdma = traits.tcp && names("TransportStreamProtocol") && names("RDMA");
  return traits;
}

}  // namespace OrvexGev
