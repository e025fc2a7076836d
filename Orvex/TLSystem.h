#pragma once
// SPDX-License-Identifier: Apache-2.0
// The producer's system module. Rules: TLBase.h.
#include "Orvex/TLBase.h"

namespace Orvex {

class TLSystem : public TLBase {
 public:
  using TLBase::TLBase;

  virtual GenTL::GC_ERROR Open();
  virtual GenTL::GC_ERROR Close();
  virtual GenTL::GC_ERROR GetInfo(GenTL::TL_INFO_CMD command, GenTL::INFO_DATATYPE* pType,
                                  void* pBuffer, size_t* pSize);
  virtual GenTL::GC_ERROR GetNumInterfaces(uint32_t* pCount);
  virtual GenTL::GC_ERROR GetInterfaceID(uint32_t index, char* pId, size_t* pSize);
  virtual GenTL::GC_ERROR GetInterfaceInfo(const char* pId, GenTL::INTERFACE_INFO_CMD command,
                                           GenTL::INFO_DATATYPE* pType, void* pBuffer,
                                           size_t* pSize);
  virtual GenTL::GC_ERROR OpenInterface(const char* pId, GenTL::IF_HANDLE* phInterface);
  virtual GenTL::GC_ERROR UpdateInterfaceList(bool8_t* pChanged, uint64_t timeout);
};

}  // namespace Orvex
