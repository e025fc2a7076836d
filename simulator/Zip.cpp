// SPDX-License-Identifier: Apache-2.0
#include "simulator/Zip.h"

#include <zlib.h>

#include <algorithm>

#include <stdexcept>

#include "simulator/Limits.h"

namespace OrvexSim {
namespace {

void Put(std::vector<uint8_t>& out, uint32_t value, size_t bytes) {
  for (size_t i = 0; i < bytes; ++i) out.push_back(static_cast<uint8_t>(value >> (8 * i)));
}

std::vector<uint8_t> Deflate(std::string_view content) {
  z_stream stream{};
  if (deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY) !=
      Z_OK) {
    throw std::runtime_error("Unable to start compressing the description");
  }
  std::vector<uint8_t> out(deflateBound(&stream, content.size()));
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(content.data()));
  stream.avail_in = static_cast<uInt>(content.size());
  stream.next_out = out.data();
  stream.avail_out = static_cast<uInt>(out.size());
  const int result = deflate(&stream, Z_FINISH);
  out.resize(stream.total_out);
  deflateEnd(&stream);
  if (result != Z_STREAM_END) throw std::runtime_error("Unable to compress the description");
  return out;
}

}  // namespace

std::vector<uint8_t> ZipOneFile(const std::string& fileName, std::string_view content) {
  const std::vector<uint8_t> packed = Deflate(content);
  const auto crc = static_cast<uint32_t>(
      crc32(0, reinterpret_cast<const Bytef*>(content.data()), static_cast<uInt>(content.size())));
  constexpr uint32_t sk_version = 20;
  constexpr uint32_t sk_deflated = 8;
  constexpr uint32_t sk_date =
      (46 << 9) | (1 << 5) | 1;  // a fixed day, so that equal descriptions give equal archives

  std::vector<uint8_t> common;  // what local header and directory share
  Put(common, sk_version, 2);
  Put(common, 0, 2);
  Put(common, sk_deflated, 2);
  Put(common, 0, 2);
  Put(common, sk_date, 2);
  Put(common, crc, 4);
  Put(common, static_cast<uint32_t>(packed.size()), 4);
  Put(common, static_cast<uint32_t>(content.size()), 4);
  Put(common, static_cast<uint32_t>(fileName.size()), 2);
  Put(common, 0, 2);

  std::vector<uint8_t> out;
  Put(out, 0x04034B50, 4);
  out.insert(out.end(), common.begin(), common.end());
  out.insert(out.end(), fileName.begin(), fileName.end());
  out.insert(out.end(), packed.begin(), packed.end());

  const auto directory = static_cast<uint32_t>(out.size());
  Put(out, 0x02014B50, 4);
  Put(out, sk_version, 2);
  out.insert(out.end(), common.begin(), common.end());
  Put(out, 0, 2);  // comment
  Put(out, 0, 2);  // disk
  Put(out, 0, 2);  // attributes
  Put(out, 0, 4);
  Put(out, 0, 4);  // offset of the local header
  out.insert(out.end(), fileName.begin(), fileName.end());
  const auto directorySize = static_cast<uint32_t>(out.size()) - directory;

  Put(out, 0x06054B50, 4);
  Put(out, 0, 2);
  Put(out, 0, 2);
  Put(out, 1, 2);
  Put(out, 1, 2);
  Put(out, directorySize, 4);
  Put(out, directory, 4);
  Put(out, 0, 2);
  return out;
}

std::string UnzipOneFile(std::span<const uint8_t> archive) {
  constexpr size_t sk_endSize = 22, sk_entrySize = 46, sk_localSize = 30;
  const auto get = [&](size_t at, int bytes) {
    uint32_t value = 0;
    for (int i = bytes; i-- > 0;) value = value << 8 | archive[at + static_cast<size_t>(i)];
    return size_t{value};
  };
  if (archive.size() < sk_endSize) return {};
  size_t end = archive.size() - sk_endSize;
  while (end > 0 && get(end, 4) != 0x06054B50) --end;
  const size_t entry = get(end + 16, 4);
  if (get(end, 4) != 0x06054B50 || entry > end || end - entry < sk_entrySize ||
      get(entry, 4) != 0x02014B50)
    return {};
  const size_t method = get(entry + 10, 2), packed = get(entry + 20, 4),
               unpacked = get(entry + 24, 4), local = get(entry + 42, 4);
  if (local > end || end - local < sk_localSize || get(local, 4) != 0x04034B50 ||
      unpacked > sk_maxDescriptionBytes)
    return {};
  const size_t data = local + sk_localSize + get(local + 26, 2) + get(local + 28, 2);
  if (data > end || end - data < packed) return {};
  const auto* source = archive.data() + data;
  if (method == 0) return std::string(source, source + std::min(packed, unpacked));
  std::string text(unpacked, '\0');
  z_stream stream{};
  if (method != 8 || inflateInit2(&stream, -MAX_WBITS) != Z_OK) return {};
  stream.next_in = const_cast<Bytef*>(source);
  stream.avail_in = static_cast<uInt>(packed);
  stream.next_out = reinterpret_cast<Bytef*>(text.data());
  stream.avail_out = static_cast<uInt>(text.size());
  const int result = inflate(&stream, Z_FINISH);
  inflateEnd(&stream);
  return result == Z_STREAM_END && stream.avail_out == 0 ? text : std::string();
}

}  // namespace OrvexSim
