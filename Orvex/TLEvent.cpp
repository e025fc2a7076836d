// SPDX-License-Identifier: Apache-2.0
#include "Orvex/TLEvent.h"

#include "gentl/Producer.h"

namespace Orvex {

GenTL::GC_ERROR TLEvent::GetData(void* pBuffer, size_t* pSize, uint64_t timeout) {
  return GenTL::Producer().EventGetData(m_hModule, pBuffer, pSize, timeout);
}

GenTL::GC_ERROR TLEvent::GetDataInfo(const void* pData, size_t dataSize,
                                     GenTL::EVENT_DATA_INFO_CMD command,
                                     GenTL::INFO_DATATYPE* pType, void* pBuffer, size_t* pSize) {
  return GenTL::Producer().EventGetDataInfo(m_hModule, pData, dataSize, command, pType, pBuffer,
                                            pSize);
}

GenTL::GC_ERROR TLEvent::GetInfo(GenTL::EVENT_INFO_CMD command, GenTL::INFO_DATATYPE* pType,
                                 void* pBuffer, size_t* pSize) {
  return GenTL::Producer().EventGetInfo(m_hModule, command, pType, pBuffer, pSize);
}

GenTL::GC_ERROR TLEvent::Flush() {
  return GenTL::Producer().EventFlush(m_hModule);
}

GenTL::GC_ERROR TLEvent::Kill() {
  return GenTL::Producer().EventKill(m_hModule);
}

}  // namespace Orvex
