#pragma once
// SPDX-License-Identifier: Apache-2.0
// What a handle stands for, and the table that knows all handles. A handle is a number, never an
// address: one that is unknown, closed or of the wrong kind is refused without being touched.
// Objects stay alive while a call uses them, also when another thread closes them meanwhile. Safe
// from any thread.

#include <cstdint>
#include <memory>
#include <shared_mutex>
#include <unordered_map>

#include "producer/GcError.h"

namespace OrvexGev {

enum class Kind { System, Interface, Device, RemotePort, DataStream, Buffer, Event };

class Object : public std::enable_shared_from_this<Object> {
 public:
  virtual ~Object() = default;
  Kind GetKind() const { return m_kind; }
  void* Handle() const { return m_handle; }

 protected:
  explicit Object(Kind kind) : m_kind(kind) {}

 private:
  friend class HandleTable;
  const Kind m_kind;
  void* m_handle = nullptr;
};

class HandleTable {
 public:
  static HandleTable& Instance();

  // Gives the object a handle that was never used before in this process.
  void* Add(const std::shared_ptr<Object>& object);
  void Remove(const Object& object);
  void Clear();

  // Null when the handle is unknown.
  std::shared_ptr<Object> Find(const void* handle) const;

  // Throws GC_ERR_INVALID_HANDLE when the handle is unknown or of another kind.
  template <typename T>
  std::shared_ptr<T> Get(const void* handle) const {
    std::shared_ptr<Object> object = Find(handle);
    Require(object != nullptr && object->GetKind() == T::sk_kind, GenTL::GC_ERR_INVALID_HANDLE,
            "The handle is not valid here");
    return std::static_pointer_cast<T>(std::move(object));
  }

 private:
  mutable std::shared_mutex m_mutex;
  std::unordered_map<const void*, std::shared_ptr<Object>> m_objects;
  uintptr_t m_next = 0x1000;
};

}  // namespace OrvexGev
