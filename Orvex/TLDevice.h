#pragma once
// SPDX-License-Identifier: Apache-2.0
// One opened device module (the host's side of a camera). Rules: TLBase.h.
#include "Orvex/TLBase.h"
#include "gentl/GenTLExtensions.h"

namespace Orvex {

class TLDevice : public TLBase {
 public:
  using TLBase::TLBase;

  virtual GenTL::GC_ERROR Close();
  virtual GenTL::GC_ERROR GetInfo(GenTL::DEVICE_INFO_CMD command, GenTL::INFO_DATATYPE* pType,
                                  void* pBuffer, size_t* pSize);
  virtual GenTL::GC_ERROR GetPort(GenTL::PORT_HANDLE* phPort);
  virtual GenTL::GC_ERROR GetNumDataStreams(uint32_t* pCount);
  virtual GenTL::GC_ERROR GetDataStreamID(uint32_t index, char* pId, size_t* pSize);
  virtual GenTL::GC_ERROR OpenDataStream(const char* pId, GenTL::DS_HANDLE* phStream);
  virtual GenTL::GC_ERROR SendActionCommand(uint32_t deviceKey, uint32_t groupKey,
                                            uint32_t groupMask, uint64_t time);
};

}  // namespace Orvex
