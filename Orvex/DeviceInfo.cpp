// SPDX-License-Identifier: Apache-2.0
#include "DeviceInfo.h"

#include <arpa/inet.h>

#include <array>
#include <utility>

#include "Orvex/DeviceInfoType.h"

namespace Orvex {

std::string DottedQuadText(uint32_t hostOrder) {
  std::array<char, INET_ADDRSTRLEN> text{};
  in_addr address{};
  address.s_addr = htonl(hostOrder);
  ::inet_ntop(AF_INET, &address, text.data(), text.size());
  return text.data();
}

std::string MacText(const uint8_t* pBytes) {
  if (pBytes == nullptr) return {};
  constexpr char sk_digits[] = "0123456789abcdef";
  std::string text;
  for (int i = 5; i >= 0; --i) {
    text += sk_digits[pBytes[i] >> 4];
    text += sk_digits[pBytes[i] & 15];
    if (i > 0) text += ':';
  }
  return text;
}

DeviceInfo::DeviceInfo() : m_pData(new DeviceInfo_t) {}
DeviceInfo::DeviceInfo(const DeviceInfo_t& data) : m_pData(new DeviceInfo_t(data)) {}
DeviceInfo::DeviceInfo(const DeviceInfo& other) : m_pData(new DeviceInfo_t(*other.m_pData)) {}
DeviceInfo::~DeviceInfo() {
  delete m_pData;
}

DeviceInfo& DeviceInfo::operator=(DeviceInfo other) {
  std::swap(m_pData, other.m_pData);
  return *this;
}

GenICam::gcstring DeviceInfo::ModelName() {
  return m_pData->m_modelName.c_str();
}
GenICam::gcstring DeviceInfo::VendorName() {
  return m_pData->m_vendorName.c_str();
}
GenICam::gcstring DeviceInfo::SerialNumber() {
  return m_pData->m_serialNumber.c_str();
}
GenICam::gcstring DeviceInfo::UserDefinedName() {
  return m_pData->m_userDefName.c_str();
}
GenICam::gcstring DeviceInfo::DeviceVersion() {
  return m_pData->m_deviceVersion.c_str();
}

uint32_t DeviceInfo::IpAddress() {
  return m_pData->m_ip;
}
uint32_t DeviceInfo::SubnetMask() {
  return m_pData->m_mask;
}
uint32_t DeviceInfo::DefaultGateway() {
  return m_pData->m_gateway;
}
uint64_t DeviceInfo::MacAddress() {
  return m_pData->m_mac;
}

GenICam::gcstring DeviceInfo::IpAddressStr() {
  return DottedQuadText(m_pData->m_ip).c_str();
}
GenICam::gcstring DeviceInfo::SubnetMaskStr() {
  return DottedQuadText(m_pData->m_mask).c_str();
}
GenICam::gcstring DeviceInfo::DefaultGatewayStr() {
  return DottedQuadText(m_pData->m_gateway).c_str();
}
GenICam::gcstring DeviceInfo::MacAddressStr() {
  return MacText(reinterpret_cast<const uint8_t*>(&m_pData->m_mac)).c_str();
}

bool DeviceInfo::IsDHCPConfigurationEnabled() {
  return m_pData->m_dhcpEnabled;
}
bool DeviceInfo::IsPersistentIpConfigurationEnabled() {
  return m_pData->m_persistentIpEnabled;
}
bool DeviceInfo::IsLLAConfigurationEnabled() {
  return m_pData->m_llaEnabled;
}

}  // namespace Orvex
