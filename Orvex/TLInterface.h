#pragma once
// SPDX-License-Identifier: Apache-2.0
// One interface module. Rules: TLBase.h.
#include "Orvex/TLBase.h"
#include "gentl/GenTLExtensions.h"

namespace Orvex {

class TLInterface : public TLBase {
 public:
  using TLBase::TLBase;

  virtual GenTL::GC_ERROR Close();
  virtual GenTL::GC_ERROR UpdateDeviceList(bool8_t* pChanged, uint64_t timeout);
  virtual GenTL::GC_ERROR GetInfo(GenTL::INTERFACE_INFO_CMD command, GenTL::INFO_DATATYPE* pType,
                                  void* pBuffer, size_t* pSize);
  virtual GenTL::GC_ERROR GetNumDevices(uint32_t* pCount);
  virtual GenTL::GC_ERROR GetDeviceID(uint32_t index, char* pId, size_t* pSize);
  virtual GenTL::GC_ERROR GetDeviceInfo(const char* pId, GenTL::DEVICE_INFO_CMD command,
                                        GenTL::INFO_DATATYPE* pType, void* pBuffer, size_t* pSize);
  virtual GenTL::GC_ERROR OpenDevice(const char* pId, GenTL::DEVICE_ACCESS_FLAGS access,
                                     GenTL::DEV_HANDLE* phDevice);
  virtual GenTL::GC_ERROR ForceIp(uint64_t mac, uint64_t ip, uint64_t subnet, uint64_t gateway);
  virtual GenTL::GC_ERROR AddUnicastDiscoveryDevice(uint32_t ip);
  virtual GenTL::GC_ERROR RemoveUnicastDiscoveryDevice(uint32_t ip);
  virtual GenTL::GC_ERROR GetUnicastDiscoveryDevices(uint32_t* pList, size_t* pCount);
};

}  // namespace Orvex
