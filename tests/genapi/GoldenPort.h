#pragma once
// SPDX-License-Identifier: Apache-2.0
// The memory behind the recorded answers: a rule for every byte, and what was written over it. For
// tests; one thread.
#include <Base/GCException.h>
#include <GenApi/IPort.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace OrvexTest {

enum class Fill { Zero, Hash, Ones };

class GoldenPort : public GenApi::IPort {
 public:
  explicit GoldenPort(Fill fill) : m_fill(fill) {}
  GenApi::EAccessMode GetAccessMode() const override { return GenApi::RW; }

  void Read(void* pBuffer, int64_t Address, int64_t Length) override {
    if (Length < 0 || Length > 65536) throw RUNTIME_EXCEPTION("no register is that long");
    auto* bytes = static_cast<uint8_t*>(pBuffer);
    for (int64_t i = 0; i < Length; ++i)
      bytes[i] = ByteAt(static_cast<uint64_t>(Address) + static_cast<uint64_t>(i));
  }

  void Write(const void* pBuffer, int64_t Address, int64_t Length) override {
    const auto* bytes = static_cast<const uint8_t*>(pBuffer);
    char text[32];
    std::snprintf(text, sizeof text, "%llx:", static_cast<unsigned long long>(Address));
    std::string line = text;
    for (int64_t i = 0; i < Length; ++i) {
      m_written[static_cast<uint64_t>(Address) + static_cast<uint64_t>(i)] = bytes[i];
      if (i >= 64) continue;
      std::snprintf(text, sizeof text, "%02x", bytes[i]);
      line += text;
    }
    if (Length > 64) line += "...";
    m_log.push_back(line);
  }

  void Forget() {
    m_written.clear();
    m_log.clear();
  }
  // The writes since the last Forget: address and bytes, the first sixteen of them.
  std::string Log() const {
    std::string text;
    for (size_t i = 0; i < m_log.size() && i < 16; ++i) text += (i ? " " : "") + m_log[i];
    return text;
  }

 private:
  uint8_t ByteAt(uint64_t address) const {
    const auto found = m_written.find(address);
    if (found != m_written.end()) return found->second;
    switch (m_fill) {
      case Fill::Zero:
        return 0;
      case Fill::Ones:
        return 0xff;
      case Fill::Hash:
        break;
    }
    uint64_t x = address * 0x9E3779B97F4A7C15u;
    x = (x ^ (x >> 29)) * 0xBF58476D1CE4E5B9u;
    return static_cast<uint8_t>(x ^ (x >> 32));
  }

  Fill m_fill;
  std::map<uint64_t, uint8_t> m_written;
  std::vector<std::string> m_log;
};

}  // namespace OrvexTest
