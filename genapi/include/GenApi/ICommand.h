#pragma once
// SPDX-License-Identifier: Apache-2.0
// Something the device can be told to do (GenICam GenApi). Owned by the node map. Any thread.
#include <GenApi/IValue.h>

namespace GENAPI_NAMESPACE {

struct GENAPI_DECL_ABSTRACT ICommand : virtual public IValue {
  // Starts the command and returns at once.
  virtual void Execute(bool Verify = true) = 0;
  virtual void operator()() = 0;
  // Asks the device, never a cache. Commands that cannot be read are always done.
  virtual bool IsDone(bool Verify = true) = 0;
};

}  // namespace GENAPI_NAMESPACE
