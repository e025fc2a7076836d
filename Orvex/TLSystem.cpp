// SPDX-License-Identifier: Apache-2.0
#include "Orvex/TLSystem.h"

#include "gentl/Producer.h"

namespace Orvex {

GenTL::GC_ERROR TLSystem::Open() {
  return GenTL::Producer().TLOpen(&m_hModule);
}

GenTL::GC_ERROR TLSystem::Close() {
  return GenTL::Producer().TLClose(m_hModule);
}

GenTL::GC_ERROR TLSystem::GetInfo(GenTL::TL_INFO_CMD command, GenTL::INFO_DATATYPE* pType,
                                  void* pBuffer, size_t* pSize) {
  return GenTL::Producer().TLGetInfo(m_hModule, command, pType, pBuffer, pSize);
}

GenTL::GC_ERROR TLSystem::GetNumInterfaces(uint32_t* pCount) {
  return GenTL::Producer().TLGetNumInterfaces(m_hModule, pCount);
}

GenTL::GC_ERROR TLSystem::GetInterfaceID(uint32_t index, char* pId, size_t* pSize) {
  return GenTL::Producer().TLGetInterfaceID(m_hModule, index, pId, pSize);
}

GenTL::GC_ERROR TLSystem::GetInterfaceInfo(const char* pId, GenTL::INTERFACE_INFO_CMD command,
                                           GenTL::INFO_DATATYPE* pType, void* pBuffer,
                                           size_t* pSize) {
  return GenTL::Producer().TLGetInterfaceInfo(m_hModule, pId, command, pType, pBuffer, pSize);
}

GenTL::GC_ERROR TLSystem::OpenInterface(const char* pId, GenTL::IF_HANDLE* phInterface) {
  return GenTL::Producer().TLOpenInterface(m_hModule, pId, phInterface);
}

GenTL::GC_ERROR TLSystem::UpdateInterfaceList(bool8_t* pChanged, uint64_t timeout) {
  return GenTL::Producer().TLUpdateInterfaceList(m_hModule, pChanged, timeout);
}

}  // namespace Orvex
