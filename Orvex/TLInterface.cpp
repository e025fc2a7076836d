// SPDX-License-Identifier: Apache-2.0
#include "Orvex/TLInterface.h"

#include "gentl/Producer.h"

namespace Orvex {

GenTL::GC_ERROR TLInterface::Close() {
  return GenTL::Producer().IFClose(m_hModule);
}

GenTL::GC_ERROR TLInterface::UpdateDeviceList(bool8_t* pChanged, uint64_t timeout) {
  return GenTL::Producer().IFUpdateDeviceList(m_hModule, pChanged, timeout);
}

GenTL::GC_ERROR TLInterface::GetInfo(GenTL::INTERFACE_INFO_CMD command, GenTL::INFO_DATATYPE* pType,
                                     void* pBuffer, size_t* pSize) {
  return GenTL::Producer().IFGetInfo(m_hModule, command, pType, pBuffer, pSize);
}

GenTL::GC_ERROR TLInterface::GetNumDevices(uint32_t* pCount) {
  return GenTL::Producer().IFGetNumDevices(m_hModule, pCount);
}

GenTL::GC_ERROR TLInterface::GetDeviceID(uint32_t index, char* pId, size_t* pSize) {
  return GenTL::Producer().IFGetDeviceID(m_hModule, index, pId, pSize);
}

GenTL::GC_ERROR TLInterface::GetDeviceInfo(const char* pId, GenTL::DEVICE_INFO_CMD command,
                                           GenTL::INFO_DATATYPE* pType, void* pBuffer,
                                           size_t* pSize) {
  return GenTL::Producer().IFGetDeviceInfo(m_hModule, pId, command, pType, pBuffer, pSize);
}

GenTL::GC_ERROR TLInterface::OpenDevice(const char* pId, GenTL::DEVICE_ACCESS_FLAGS access,
                                        GenTL::DEV_HANDLE* phDevice) {
  return GenTL::Producer().IFOpenDevice(m_hModule, pId, access, phDevice);
}

GenTL::GC_ERROR TLInterface::ForceIp(uint64_t mac, uint64_t ip, uint64_t subnet, uint64_t gateway) {
  return GenTL::Producer().IFForceIp(m_hModule, mac, ip, subnet, gateway);
}

GenTL::GC_ERROR TLInterface::AddUnicastDiscoveryDevice(uint32_t ip) {
  return GenTL::Producer().IFAddUnicastDiscoveryDevice(m_hModule, ip);
}

GenTL::GC_ERROR TLInterface::RemoveUnicastDiscoveryDevice(uint32_t ip) {
  return GenTL::Producer().IFRemoveUnicastDiscoveryDevice(m_hModule, ip);
}

GenTL::GC_ERROR TLInterface::GetUnicastDiscoveryDevices(uint32_t* pList, size_t* pCount) {
  return GenTL::Producer().IFGetUnicastDiscoveryDevices(m_hModule, pList, pCount);
}

}  // namespace Orvex
