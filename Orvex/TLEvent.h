#pragma once
// SPDX-License-Identifier: Apache-2.0
// One registered event. Ends with GCUnregisterEvent on its source, so it has no Close. Rules:
// TLBase.h.
#include "Orvex/TLBase.h"

namespace Orvex {

class TLEvent : public TLBase {
 public:
  using TLBase::TLBase;

  virtual GenTL::GC_ERROR GetData(void* pBuffer, size_t* pSize, uint64_t timeout);
  virtual GenTL::GC_ERROR GetDataInfo(const void* pData, size_t dataSize,
                                      GenTL::EVENT_DATA_INFO_CMD command,
                                      GenTL::INFO_DATATYPE* pType, void* pBuffer, size_t* pSize);
  virtual GenTL::GC_ERROR GetInfo(GenTL::EVENT_INFO_CMD command, GenTL::INFO_DATATYPE* pType,
                                  void* pBuffer, size_t* pSize);
  virtual GenTL::GC_ERROR Flush();
  virtual GenTL::GC_ERROR Kill();
};

}  // namespace Orvex
