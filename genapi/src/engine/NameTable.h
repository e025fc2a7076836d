#pragma once
// SPDX-License-Identifier: Apache-2.0
// Node names to nodes: a flat hash table over the names that the nodes have themselves. Part of a
// NodeMap.
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace OrvexGenApi {

class Node;

class NameTable {
 public:
  // Null when there is no such node.
  Node* Find(std::string_view name) const;
  // The node at this index, counted by the map, gets a name. Answers the table's own copy of it,
  // null when the name is taken. Copies lie close together, which look-ups are faster for.
  const char* Add(std::string_view name, uint32_t index);
  void Clear();

  explicit NameTable(const std::vector<Node*>& nodes);

 private:
  struct Slot {
    uint32_t hash;
    uint32_t number;  // index plus one; 0 for a free slot
  };
  // Seeded, so that nobody can write a file whose names collide.
  uint32_t Hash(std::string_view name) const;
  void Grow();

  const std::vector<Node*>& m_nodes;
  const char* Keep(std::string_view name);

  std::vector<std::unique_ptr<char[]>> m_blocks;
  size_t m_blockLeft = 0;
  char* m_pBlock = nullptr;
  std::vector<Slot> m_slots;
  std::vector<std::string_view> m_names;  // by number; beside the nodes, which lie far apart
  uint64_t m_seed;
  uint32_t m_mask = 0;
  uint32_t m_used = 0;
};

}  // namespace OrvexGenApi
