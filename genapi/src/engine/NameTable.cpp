// SPDX-License-Identifier: Apache-2.0
#include "engine/NameTable.h"

#include <Base/GCException.h>

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
  constexpr uint32_t sk_tags = (1u << sk_tagBits) - 1;
  uint32_t at = hash & m_mask;
  for (; m_slots[at] != sk_none; at = (at + 1) & m_mask) {
    if ((m_slots[at] & sk_tags) != hash >> (32 - sk_tagBits)) continue;
    Entry entry;
    const char* p = At(m_slots[at]);
    std::memcpy(&entry, p, sizeof entry);
    if (name == std::string_view(p + sizeof entry, entry.length)) break;
  }
  return at;
}

uint32_t NameTable::FreeSlotOf(uint32_t hash) const {
  uint32_t at = hash & m_mask;
  while (m_slots[at] != sk_none) at = (at + 1) & m_mask;
  return at;
}

uint32_t NameTable::Find(std::string_view name) const {
  if (m_slots.empty()) return sk_none;
  const Slot slot = m_slots[SlotOf(name, Hash(name))];
  if (slot == sk_none) return sk_none;
  Entry entry;
  std::memcpy(&entry, At(slot), sizeof entry);
  return entry.index;
}

const char* NameTable::Add(std::string_view name, uint32_t index) {
  if ((m_used + 1) * 2 > m_slots.size()) Grow();
  const uint32_t hash = Hash(name);
  Slot& slot = m_slots[SlotOf(name, hash)];
  if (slot != sk_none) return nullptr;

  constexpr size_t sk_maxBlocks = 1u << (32 - sk_tagBits - sk_blockBits);
  static_assert(sizeof(Entry) + sk_maxNodeNameLength + 1 <= sk_blockUnits * sk_unit);
  const auto need =
      static_cast<uint32_t>((sizeof(Entry) + name.size() + 1 + sk_unit - 1) / sk_unit);
  if (m_blocks.empty() || need > sk_blockUnits - m_blockUsed) {
    // One block less than there could be, so that no slot looks free.
    if (m_blocks.size() + 1 >= sk_maxBlocks) {
      throw RUNTIME_EXCEPTION("Camera description: the names of all nodes are too long");
    }
    m_blocks.emplace_back(new char[size_t{sk_blockUnits} * sk_unit]);
    m_blockUsed = 0;
  }
  const auto place = static_cast<uint32_t>(m_blocks.size() - 1) << sk_blockBits | m_blockUsed;
  slot = place << sk_tagBits | hash >> (32 - sk_tagBits);
  char* p = m_blocks.back().get() + size_t{m_blockUsed} * sk_unit;
  const Entry entry{hash, index, static_cast<uint32_t>(name.size())};
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
  std::vector<Slot> old(m_slots.empty() ? 256 : m_slots.size() * 2, sk_none);
  old.swap(m_slots);
  m_mask = static_cast<uint32_t>(m_slots.size() - 1);
  for (const Slot slot : old) {
    if (slot == sk_none) continue;
    Entry entry;
    std::memcpy(&entry, At(slot), sizeof entry);
    m_slots[FreeSlotOf(entry.hash)] = slot;
  }
}

}  // namespace OrvexGenApi
