#pragma once
// SPDX-License-Identifier: Apache-2.0
// How an object made by the library is given back to it (GenICam GenApi).
#include <GenApi/Types.h>

namespace GENAPI_NAMESPACE {

struct GENAPI_DECL_ABSTRACT IDestroy {
  // Frees the object; every pointer to it and to its parts is void afterwards.
  virtual void Destroy() = 0;

 protected:
  ~IDestroy() = default;
};

}  // namespace GENAPI_NAMESPACE
