// SPDX-License-Identifier: Apache-2.0
#include "Orvex/TLBase.h"

#include "gentl/Producer.h"

namespace Orvex {

GenTL::GC_ERROR TLBase::ReadPort(uint64_t address, void* pBuffer, size_t* pSize) {
  return GenTL::Producer().GCReadPort(m_hModule, address, pBuffer, pSize);
}

GenTL::GC_ERROR TLBase::WritePort(uint64_t address, const void* pBuffer, size_t* pSize) {
  return GenTL::Producer().GCWritePort(m_hModule, address, pBuffer, pSize);
}

GenTL::GC_ERROR TLBase::GetPortURL(char* pUrl, size_t* pSize) {
  return GenTL::Producer().GCGetPortURL(m_hModule, pUrl, pSize);
}

GenTL::GC_ERROR TLBase::GetPortInfo(GenTL::PORT_INFO_CMD command, GenTL::INFO_DATATYPE* pType,
                                    void* pBuffer, size_t* pSize) {
  return GenTL::Producer().GCGetPortInfo(m_hModule, command, pType, pBuffer, pSize);
}

GenTL::GC_ERROR TLBase::RegisterEvent(GenTL::EVENT_TYPE type, GenTL::EVENT_HANDLE* phEvent) {
  return GenTL::Producer().GCRegisterEvent(m_hModule, type, phEvent);
}

GenTL::GC_ERROR TLBase::UnregisterEvent(GenTL::EVENT_TYPE type) {
  return GenTL::Producer().GCUnregisterEvent(m_hModule, type);
}

GenTL::GC_ERROR TLBase::GetNumPortURLs(uint32_t* pCount) {
  return GenTL::Producer().GCGetNumPortURLs(m_hModule, pCount);
}

GenTL::GC_ERROR TLBase::GetPortURLInfo(uint32_t index, GenTL::URL_INFO_CMD command,
                                       GenTL::INFO_DATATYPE* pType, void* pBuffer, size_t* pSize) {
  return GenTL::Producer().GCGetPortURLInfo(m_hModule, index, command, pType, pBuffer, pSize);
}

GenTL::GC_ERROR TLBase::ReadPortStacked(GenTL::PORT_REGISTER_STACK_ENTRY* pEntries,
                                        size_t* pCount) {
  return GenTL::Producer().GCReadPortStacked(m_hModule, pEntries, pCount);
}

GenTL::GC_ERROR TLBase::WritePortStacked(GenTL::PORT_REGISTER_STACK_ENTRY* pEntries,
                                         size_t* pCount) {
  return GenTL::Producer().GCWritePortStacked(m_hModule, pEntries, pCount);
}

}  // namespace Orvex
