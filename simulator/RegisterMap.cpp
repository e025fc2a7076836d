// SPDX-License-Identifier: Apache-2.0
#include "simulator/RegisterMap.h"

#include <algorithm>
#include <stdexcept>

namespace OrvexSim {

void RegisterMap::Add(Register reg) {
  m_registers.push_back(std::move(reg));
}

void RegisterMap::AddWord(uint32_t address, std::function<uint32_t()> get,
                          std::function<Status(uint32_t)> set) {
  Register reg{address, 4, {}, {}};
  if (get) {
    reg.read = [get = std::move(get)](std::span<uint8_t> out) {
      GigEVision::StoreBe32(out.data(), get());
    };
  }
  if (set) {
    reg.write = [set = std::move(set)](std::span<const uint8_t> in) {
      return set(GigEVision::LoadBe32(in.data()));
    };
  }
  Add(std::move(reg));
}

void RegisterMap::AddText(uint32_t address, uint32_t size, std::function<std::string()> get,
                          std::function<Status(std::string)> set) {
  Register reg{address, size, {}, {}};
  if (get) {
    reg.read = [get = std::move(get), size](std::span<uint8_t> out) {
      GigEVision::ByteWriter writer(out);
      writer.Text(get(), size);
    };
  }
  if (set) {
    reg.write = [set = std::move(set)](std::span<const uint8_t> in) {
      return set(std::string(GigEVision::FieldText(in)));
    };
  }
  Add(std::move(reg));
}

void RegisterMap::Seal() {
  std::sort(m_registers.begin(), m_registers.end(),
            [](const Register& a, const Register& b) { return a.address < b.address; });
  uint64_t end = 0;
  for (const Register& reg : m_registers) {
    if (reg.address < end)
      throw std::logic_error("registers overlap at " + std::to_string(reg.address));
    if (reg.address % 4 != 0 || reg.length % 4 != 0 || reg.length == 0) {
      throw std::logic_error("register is not made of whole words at " +
                             std::to_string(reg.address));
    }
    end = uint64_t{reg.address} + reg.length;
  }
}

void RegisterMap::SetBacking(std::function<Status(uint32_t, std::span<uint8_t>)> read,
                             std::function<Status(uint32_t, std::span<const uint8_t>)> write) {
  m_readBacking = std::move(read);
  m_writeBacking = std::move(write);
}

const Register* RegisterMap::Find(uint32_t address) const {
  auto it =
      std::upper_bound(m_registers.begin(), m_registers.end(), address,
                       [](uint32_t value, const Register& reg) { return value < reg.address; });
  if (it == m_registers.begin()) return nullptr;
  --it;
  return address - it->address < it->length ? &*it : nullptr;
}

bool RegisterMap::Reserved(uint32_t address) const {
  return std::any_of(m_reserved.begin(), m_reserved.end(),
                     [&](const Area& area) { return address >= area.begin && address < area.end; });
}

Status RegisterMap::ReadWord(uint32_t address, uint32_t& value) const {
  uint8_t bytes[4] = {};
  const Register* reg = Find(address);
  if (reg == nullptr && !m_readBacking) return Status::InvalidAddress;
  const Status status = ReadBytes(address, bytes);
  value = GigEVision::LoadBe32(bytes);
  return status;
}

Status RegisterMap::WriteWord(uint32_t address, uint32_t value) {
  uint8_t bytes[4];
  GigEVision::StoreBe32(bytes, value);
  size_t written = 0;
  return WriteBytes(address, bytes, written);
}

Status RegisterMap::ReadBytes(uint32_t address, std::span<uint8_t> out) const {
  std::vector<uint8_t> whole;
  const bool alone = out.size() <= 4;
  while (!out.empty()) {
    const Register* reg = Find(address);
    size_t count = 4;
    if (reg != nullptr) {
      const uint32_t offset = address - reg->address;
      count = std::min<size_t>(out.size(), reg->length - offset);
      if (!reg->read) {
        // Alone it cannot be read; inside of a longer read it must not spoil its neighbours.
        if (alone) return Status::AccessDenied;
        std::fill_n(out.begin(), count, uint8_t{0});
      } else if (count == reg->length) {
        reg->read(out.first(count));
      } else {
        whole.resize(reg->length);
        reg->read(whole);
        std::copy_n(whole.begin() + offset, count, out.begin());
      }
    } else if (Reserved(address)) {
      count = std::min<size_t>(out.size(), 4);
      std::fill_n(out.begin(), count, uint8_t{0});
    } else if (m_readBacking) {
      count = std::min<size_t>(out.size(), 4);
      if (const Status status = m_readBacking(address, out.first(count)); IsError(status))
        return status;
    } else {
      return Status::InvalidAddress;
    }
    out = out.subspan(count);
    address += static_cast<uint32_t>(count);
  }
  return Status::Success;
}

Status RegisterMap::WriteInto(const Register& reg, uint32_t offset,
                              std::span<const uint8_t> bytes) {
  if (!reg.write) return Status::WriteProtect;
  if (bytes.size() == reg.length) return reg.write(bytes);
  // Part of a longer register: the rest keeps what it reads.
  std::vector<uint8_t> whole(reg.length, 0);
  if (reg.read) reg.read(whole);
  std::copy(bytes.begin(), bytes.end(), whole.begin() + offset);
  return reg.write(whole);
}

Status RegisterMap::WriteBytes(uint32_t address, std::span<const uint8_t> bytes, size_t& written) {
  written = 0;
  while (written < bytes.size()) {
    const std::span<const uint8_t> rest = bytes.subspan(written);
    const Register* reg = Find(address);
    size_t count = std::min<size_t>(rest.size(), 4);
    Status status = Status::InvalidAddress;
    if (reg != nullptr) {
      const uint32_t offset = address - reg->address;
      count = std::min<size_t>(rest.size(), reg->length - offset);
      status = WriteInto(*reg, offset, rest.first(count));
    } else if (Reserved(address)) {
      status = Status::WriteProtect;
    } else if (m_writeBacking) {
      status = m_writeBacking(address, rest.first(count));
    }
    if (IsError(status)) return status;
    written += count;
    address += static_cast<uint32_t>(count);
  }
  return Status::Success;
}

}  // namespace OrvexSim
