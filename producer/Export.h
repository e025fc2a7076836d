#pragma once
// SPDX-License-Identifier: Apache-2.0
// What the exported functions share: the state of the library, and the frame around each call. Any
// thread.

#include <memory>

#include "gentl/GenTL.h"
#include "gentl/GenTLExtensions.h"
#include "producer/GcError.h"
#include "producer/InfoQuery.h"
#include "producer/Object.h"

namespace OrvexGev {

class System;

class Library {
 public:
  static Library& Instance();
  void Init();
  void Close();
  bool Initialised() const;
  std::shared_ptr<System> OpenSystem();
  void Forget(const System& system);

 private:
  Library() = default;
};

// Runs the body of an exported function: only between GCInitLib and GCCloseLib, and nothing is
// thrown out of it.
template <typename Body>
GenTL::GC_ERROR Call(Body&& body) noexcept {
  return Guard([&] {
    Require(Library::Instance().Initialised(), GenTL::GC_ERR_NOT_INITIALIZED,
            "The library is not initialised");
    body();
  });
}

inline void RequirePointer(const void* pointer) {
  Require(pointer != nullptr, GenTL::GC_ERR_INVALID_PARAMETER, "A pointer argument is null");
}

template <typename T>
std::shared_ptr<T> Get(const void* handle) {
  return HandleTable::Instance().Get<T>(handle);
}

}  // namespace OrvexGev
