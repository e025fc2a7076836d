// SPDX-License-Identifier: Apache-2.0
#include "producer/Object.h"

#include <mutex>

namespace OrvexGev {

HandleTable& HandleTable::Instance() {
  // Never destroyed: threads of the consumer may still close handles while the process ends.
  static HandleTable* s_table = new HandleTable;
  return *s_table;
}

void* HandleTable::Add(const std::shared_ptr<Object>& object) {
  const std::unique_lock lock(m_mutex);
  object->m_handle = reinterpret_cast<void*>(m_next);
  m_objects.emplace(object->m_handle, object);
  m_next += 0x10;
  return object->m_handle;
}

void HandleTable::Remove(const Object& object) {
  std::shared_ptr<Object> last;  // destroyed after the lock is released
  const std::unique_lock lock(m_mutex);
  const auto found = m_objects.find(object.m_handle);
  if (found == m_objects.end()) return;
  last = std::move(found->second);
  m_objects.erase(found);
}

void HandleTable::Clear() {
  std::unordered_map<const void*, std::shared_ptr<Object>> objects;
  const std::unique_lock lock(m_mutex);
  objects.swap(m_objects);
}

std::shared_ptr<Object> HandleTable::Find(const void* handle) const {
  const std::shared_lock lock(m_mutex);
  const auto found = m_objects.find(handle);
  return found == m_objects.end() ? nullptr : found->second;
}

}  // namespace OrvexGev
