#pragma once
// SPDX-License-Identifier: Apache-2.0
// How a port is put before another port (GenICam GenApi). The port given is not owned.
#include <GenApi/IPort.h>
#include <GenApi/IPortStacked.h>

namespace GENAPI_NAMESPACE {

struct GENAPI_DECL_ABSTRACT IPortConstruct : virtual public IPort {
  virtual void SetPortImpl(IPort* pPort) = 0;
  virtual EYesNo GetSwapEndianess() = 0;
};

struct GENAPI_DECL_ABSTRACT IPortStackedConstruct : virtual public IPortStacked {
  virtual void SetPortImpl(IPortStacked* pPort) = 0;
  virtual EYesNo GetSwapEndianess() = 0;
};

}  // namespace GENAPI_NAMESPACE
