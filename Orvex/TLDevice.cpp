// SPDX-License-Identifier: Apache-2.0
#include "Orvex/TLDevice.h"

#include "gentl/Producer.h"

namespace Orvex {

GenTL::GC_ERROR TLDevice::Close() {
  return GenTL::Producer().DevClose(m_hModule);
}

GenTL::GC_ERROR TLDevice::GetInfo(GenTL::DEVICE_INFO_CMD command, GenTL::INFO_DATATYPE* pType,
                                  void* pBuffer, size_t* pSize) {
  return GenTL::Producer().DevGetInfo(m_hModule, command, pType, pBuffer, pSize);
}

GenTL::GC_ERROR TLDevice::GetPort(GenTL::PORT_HANDLE* phPort) {
  return GenTL::Producer().DevGetPort(m_hModule, phPort);
}

GenTL::GC_ERROR TLDevice::GetNumDataStreams(uint32_t* pCount) {
  return GenTL::Producer().DevGetNumDataStreams(m_hModule, pCount);
}

GenTL::GC_ERROR TLDevice::GetDataStreamID(uint32_t index, char* pId, size_t* pSize) {
  return GenTL::Producer().DevGetDataStreamID(m_hModule, index, pId, pSize);
}

GenTL::GC_ERROR TLDevice::OpenDataStream(const char* pId, GenTL::DS_HANDLE* phStream) {
  return GenTL::Producer().DevOpenDataStream(m_hModule, pId, phStream);
}

GenTL::GC_ERROR TLDevice::SendActionCommand(uint32_t deviceKey, uint32_t groupKey,
                                            uint32_t groupMask, uint64_t time) {
  return GenTL::Producer().DevSendActionCommand(m_hModule, deviceKey, groupKey, groupMask, time);
}

}  // namespace Orvex
