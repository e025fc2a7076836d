// SPDX-License-Identifier: Apache-2.0
#include "InterfaceInfo.h"

#include <utility>

#include "Orvex/DeviceInfoType.h"

namespace Orvex {

InterfaceInfo::InterfaceInfo() : m_pData(new InterfaceInfo_t) {}
InterfaceInfo::InterfaceInfo(const InterfaceInfo_t& data) : m_pData(new InterfaceInfo_t(data)) {}
InterfaceInfo::InterfaceInfo(const InterfaceInfo& other)
    : m_pData(new InterfaceInfo_t(*other.m_pData)) {}
InterfaceInfo::~InterfaceInfo() {
  delete m_pData;
}

InterfaceInfo& InterfaceInfo::operator=(InterfaceInfo other) {
  std::swap(m_pData, other.m_pData);
  return *this;
}

uint32_t InterfaceInfo::IpAddress() {
  return m_pData->m_ip;
}
uint32_t InterfaceInfo::SubnetMask() {
  return m_pData->m_mask;
}
uint64_t InterfaceInfo::MacAddress() {
  return m_pData->m_mac;
}

GenICam::gcstring InterfaceInfo::IpAddressStr() {
  return DottedQuadText(m_pData->m_ip).c_str();
}
GenICam::gcstring InterfaceInfo::SubnetMaskStr() {
  return DottedQuadText(m_pData->m_mask).c_str();
}
GenICam::gcstring InterfaceInfo::MacAddressStr() {
  return MacText(reinterpret_cast<const uint8_t*>(&m_pData->m_mac)).c_str();
}

}  // namespace Orvex
