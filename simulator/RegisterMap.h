#pragma once
// SPDX-License-Identifier: Apache-2.0
// The addressable memory of a virtual camera: a sorted list of registers, each with a function to
// read and one to write its bytes, which are big-endian as on the wire. Built once, before the
// camera starts; after that it is used under the camera's lock.

#include <functional>
#include <span>
#include <string>
#include <vector>

#include "gigevision/Gvcp.h"

namespace OrvexSim {

using GigEVision::Status;

struct Register {
  uint32_t address = 0;
  uint32_t length = 4;
  // A register without a reader is write-only, one without a writer read-only.
  std::function<void(std::span<uint8_t>)> read;
  std::function<Status(std::span<const uint8_t>)> write;
};

class RegisterMap {
 public:
  void Add(Register reg);
  // A word with plain values.
  void AddWord(uint32_t address, std::function<uint32_t()> get,
               std::function<Status(uint32_t)> set = {});
  // A text of fixed size, padded with NUL.
  void AddText(uint32_t address, uint32_t size, std::function<std::string()> get,
               std::function<Status(std::string)> set = {});
  // Words between the registers of this area read as 0 in memory reads, as reserved fields do.
  void AddReservedArea(uint32_t begin, uint32_t end) { m_reserved.push_back({begin, end}); }
  // Sorts; throws std::logic_error when registers overlap or are misaligned. Call once after the
  // last Add.
  void Seal();
  // Where unknown addresses go; without one they are INVALID_ADDRESS.
  void SetBacking(std::function<Status(uint32_t, std::span<uint8_t>)> read,
                  std::function<Status(uint32_t, std::span<const uint8_t>)> write);

  // Whole words at aligned addresses; the caller has checked the alignment.
  Status ReadWord(uint32_t address, uint32_t& value) const;
  Status WriteWord(uint32_t address, uint32_t value);
  Status ReadBytes(uint32_t address, std::span<uint8_t> out) const;
  // `written` tells how many bytes took effect before a failure.
  Status WriteBytes(uint32_t address, std::span<const uint8_t> bytes, size_t& written);

 private:
  struct Area {
    uint32_t begin, end;
  };
  const Register* Find(uint32_t address) const;
  bool Reserved(uint32_t address) const;
  static Status WriteInto(const Register& reg, uint32_t offset, std::span<const uint8_t> bytes);

  std::vector<Register> m_registers;
  std::vector<Area> m_reserved;
  std::function<Status(uint32_t, std::span<uint8_t>)> m_readBacking;
  std::function<Status(uint32_t, std::span<const uint8_t>)> m_writeBacking;
};

}  // namespace OrvexSim
