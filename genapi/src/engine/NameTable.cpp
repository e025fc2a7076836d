// SPDX-License-Identifier: Apache-2.0
#include "engine/NameTable.h"

#include <algorithm>
#include <cstring>
#include <random>

#include "engine/Node.h"

namespace OrvexGenApi {

NameTable::NameTable(const std::vector<Node*>& nodes) : m_nodes(nodes) {
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

Node* NameTable::Find(std::string_view name) const {
  if (m_slots.empty()) return nullptr;
  const uint32_t hash = Hash(name);
  for (uint32_t at = hash & m_mask; m_slots[at].number != 0; at = (at + 1) & m_mask) {
    const uint32_t number = m_slots[at].number;
    if (m_slots[at].hash == hash && m_names[number - 1] == name) return m_nodes[number - 1];
  }
  return nullptr;
}

const char* NameTable::Keep(std::string_view name) {
  constexpr size_t sk_block = 32768;
  if (name.size() + 1 > m_blockLeft) {
    m_blockLeft = std::max(sk_block, name.size() + 1);
    m_blocks.push_back(std::make_unique<char[]>(m_blockLeft));
    m_pBlock = m_blocks.back().get();
  }
  char* copy = m_pBlock;
  std::memcpy(copy, name.data(), name.size());
  copy[name.size()] = 0;
  m_pBlock += name.size() + 1;
  m_blockLeft -= name.size() + 1;
  return copy;
}

const char* NameTable::Add(std::string_view name, uint32_t index) {
  if ((m_used + 1) * 2 > m_slots.size()) Grow();
  const uint32_t hash = Hash(name);
  uint32_t at = hash & m_mask;
  for (; m_slots[at].number != 0; at = (at + 1) & m_mask) {
    if (m_slots[at].hash == hash && m_names[m_slots[at].number - 1] == name) return nullptr;
  }
  m_slots[at] = {hash, index + 1};
  m_names.resize(index + 1);
  const char* copy = Keep(name);
  m_names[index] = {copy, name.size()};
  ++m_used;
  return copy;
}

void NameTable::Clear() {
  m_slots.clear();
  m_slots.shrink_to_fit();
  m_names.clear();
  m_blocks.clear();
  m_blockLeft = 0;
  m_names.shrink_to_fit();
  m_mask = 0;
  m_used = 0;
}

void NameTable::Grow() {
  std::vector<Slot> old(m_slots.empty() ? 1024 : m_slots.size() * 2, Slot{0, 0});
  old.swap(m_slots);
  m_mask = static_cast<uint32_t>(m_slots.size() - 1);
  for (const Slot& slot : old) {
    if (slot.number == 0) continue;
    uint32_t at = slot.hash & m_mask;
    while (m_slots[at].number != 0) at = (at + 1) & m_mask;
    m_slots[at] = slot;
  }
}

}  // namespace OrvexGenApi
