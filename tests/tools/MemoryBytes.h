#pragma once
// SPDX-License-Identifier: Apache-2.0
// A recording in memory, for tests and fuzzing.

#include <cstring>
#include <vector>

#include "tools/recording/RecordingReader.h"

namespace OrvexTest {

class MemoryBytes final : public OrvexTools::ByteSource {
 public:
  explicit MemoryBytes(std::vector<std::uint8_t> bytes) : m_bytes(std::move(bytes)) {}
  std::uint64_t Size() const override { return m_bytes.size(); }
  bool Read(std::uint64_t offset, std::span<std::uint8_t> target) override {
    if (offset > m_bytes.size() || target.size() > m_bytes.size() - offset) return false;
    if (!target.empty()) std::memcpy(target.data(), m_bytes.data() + offset, target.size());
    return true;
  }

 private:
  std::vector<std::uint8_t> m_bytes;
};

}  // namespace OrvexTest
