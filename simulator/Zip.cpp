// SPDX-License-Identifier: Apache-2.0
#include "simulator/Zip.h"

#include <zlib.h>

#include <stdexcept>

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

}  // namespace OrvexSim
