// SPDX-License-Identifier: Apache-2.0
#include "engine/NameTable.h"

#include <cstring>
#include <random>

#include "engine/Limits.h"

namespace OrvexGenApi {

NameTable::NameTable() {
  static const uint64_t s_seed = uint64_t{std::random_device{}()} << 32 | std::random_device{}();
  m_seed = s_seed;
}

// Eight bytes at a step.
uint32_t NameTable::Hash(std::string_view name) const {
  uint64_t hash = m_seed + name.size();
  const char* p = name.data();
  size_t left = name.size();
  for (; left >= 8; left -= 8, p += 8) {
    uint64_t word;
    std::memcpy(&word, p, 8);
    hash = (hash ^ word) * 0xBF58476D1CE4E5B9u;
    hash ^= hash >> 32;
  }
  uint64_t tail = 0;
  std::memcpy(&tail, p, left);
  hash = (hash ^ tail) * 0xBF58476D1CE4E5B9u;
  return static_cast<uint32_t>(hash >> 32) ^ static_cast<uint32_t>(hash);
}

uint32_t NameTable::SlotOf(std::string_view name, uint32_t hash) const {
  uint32_t at = hash & m_mask;
  for (; m_slots[at].entry != sk_none; at = (at + 1) & m_mask) {
    if (m_slots[at].hash != hash) continue;
    Entry entry;
    const char* p = At(m_slots[at].entry);
    std::memcpy(&entry, p, sizeof entry);
    if (name == std::string_view(p + sizeof entry, entry.length)) break;
  }
  return at;
}

uint32_t NameTable::Find(std::string_view name) const {
  if (m_slots.empty()) return sk_none;
  const Slot& slot = m_slots[SlotOf(name, Hash(name))];
  if (slot.entry == sk_none) return sk_none;
  Entry entry;
  std::memcpy(&entry, At(slot.entry), sizeof entry);
  return entry.index;
}

const char* NameTable::Add(std::string_view name, uint32_t index) {
  if ((m_used + 1) * 2 > m_slots.size()) Grow();
  const uint32_t hash = Hash(name);
  Slot& slot = m_slots[SlotOf(name, hash)];
  if (slot.entry != sk_none) return nullptr;

  constexpr uint32_t sk_block = 1u << sk_blockBits;
  const auto need = static_cast<uint32_t>(sizeof(Entry) + name.size() + 1);
  static_assert(sizeof(Entry) + sk_maxNodeNameLength + 1 <= sk_block);
  if (m_blocks.empty() || need > sk_block - m_blockUsed) {
    m_blocks.emplace_back(new char[sk_block]);
    m_blockUsed = 0;
  }
  slot = {hash, static_cast<uint32_t>(m_blocks.size() - 1) << sk_blockBits | m_blockUsed};
  char* p = m_blocks.back().get() + m_blockUsed;
  const Entry entry{index, static_cast<uint32_t>(name.size())};
  std::memcpy(p, &entry, sizeof entry);
  std::memcpy(p + sizeof entry, name.data(), name.size());
  p[sizeof entry + name.size()] = 0;
  m_blockUsed += need;
  ++m_used;
  return p + sizeof entry;
}

void NameTable::Clear() {
  m_slots.clear();
  m_slots.shrink_to_fit();
  m_blocks.clear();
  m_blockUsed = 0;
  m_mask = 0;
  m_used = 0;
}

void NameTable::Grow() {
  std::vector<Slot> old(m_slots.empty() ? 256 : m_slots.size() * 2, Slot{0, sk_none});
  old.swap(m_slots);
  m_mask = static_cast<uint32_t>(m_slots.size() - 1);
  for (const Slot& slot : old) {
    if (slot.entry == sk_none) continue;
    uint32_t at = slot.hash & m_mask;
    while (m_slots[at].entry != sk_none) at = (at + 1) & m_mask;
    m_slots[at] = slot;
  }
}

}  // namespace OrvexGenApi
