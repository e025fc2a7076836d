#pragma once
// SPDX-License-Identifier: Apache-2.0
// Base of the owners of producer module handles. Every operation is one producer function of the
// loaded producer, called with the held handle; its status goes back unchanged. Nothing is closed
// by a destructor: whoever opened a module calls Close and then deletes the wrapper. A wrapper has
// no lock; which threads may call is the producer's rule for the function.
#include <cstddef>
#include <cstdint>

#include "gentl/GenTL.h"

namespace Orvex {

class TLBase {
 public:
  TLBase() = default;
  explicit TLBase(void* hModule) : m_hModule(hModule) {}
  TLBase(const TLBase&) = delete;
  TLBase& operator=(const TLBase&) = delete;

  virtual ~TLBase() { m_hModule = nullptr; }
  virtual GenTL::GC_ERROR ReadPort(uint64_t address, void* pBuffer, size_t* pSize);
  virtual GenTL::GC_ERROR WritePort(uint64_t address, const void* pBuffer, size_t* pSize);
  virtual GenTL::GC_ERROR GetPortURL(char* pUrl, size_t* pSize);
  virtual GenTL::GC_ERROR GetPortInfo(GenTL::PORT_INFO_CMD command, GenTL::INFO_DATATYPE* pType,
                                      void* pBuffer, size_t* pSize);
  virtual GenTL::GC_ERROR RegisterEvent(GenTL::EVENT_TYPE type, GenTL::EVENT_HANDLE* phEvent);
  virtual GenTL::GC_ERROR UnregisterEvent(GenTL::EVENT_TYPE type);
  virtual GenTL::GC_ERROR GetNumPortURLs(uint32_t* pCount);
  virtual GenTL::GC_ERROR GetPortURLInfo(uint32_t index, GenTL::URL_INFO_CMD command,
                                         GenTL::INFO_DATATYPE* pType, void* pBuffer, size_t* pSize);
  virtual GenTL::GC_ERROR ReadPortStacked(GenTL::PORT_REGISTER_STACK_ENTRY* pEntries,
                                          size_t* pCount);
  virtual GenTL::GC_ERROR WritePortStacked(GenTL::PORT_REGISTER_STACK_ENTRY* pEntries,
                                           size_t* pCount);
  virtual void* GetHandle() { return m_hModule; }

 protected:
  void* m_hModule = nullptr;
};

}  // namespace Orvex
