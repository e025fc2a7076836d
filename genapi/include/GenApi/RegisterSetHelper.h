#pragma once
// SPDX-License-Identifier: Apache-2.0
// The contents of chosen registers at one moment, to be put back later. A value type. One thread
// at a time.

#include <cstdint>
#include <vector>

#include <GenApi/IPort.h>

namespace GENAPI_NAMESPACE {

class CRegisterSet {
 public:
  // Adds Length bytes at Address, zero until they are read.
  void Add(int64_t Address, size_t Length) {
    m_registers.push_back({Address, std::vector<uint8_t>(Length)});
  }
  void Clear() { m_registers.clear(); }
  size_t GetNumRegisters() const { return m_registers.size(); }

  // Reads all registers in their order; the first error of the port is thrown.
  void ReadFrom(IPort& port) {
    for (Register& r : m_registers) port.Read(r.Bytes.data(), r.Address, int64_t(r.Bytes.size()));
  }
  // Writes them back in their order; the first error of the port is thrown.
  void WriteTo(IPort& port) const {
    for (const Register& r : m_registers)
      port.Write(r.Bytes.data(), r.Address, int64_t(r.Bytes.size()));
  }

 private:
  struct Register {
    int64_t Address;
    std::vector<uint8_t> Bytes;
  };
  std::vector<Register> m_registers;
};

}  // namespace GENAPI_NAMESPACE
