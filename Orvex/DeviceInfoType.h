#pragma once
// SPDX-License-Identifier: Apache-2.0
// The records behind DeviceInfo and InterfaceInfo, and the texts of the addresses in them. System
// fills a record once; after that it belongs to one info object each.
#include <cstdint>
#include <string>

namespace Orvex {

struct DeviceInfo_t {
  std::string m_modelName;
  std::string m_vendorName;
  std::string m_serialNumber;
  std::string m_id;  // the producer's, with which the device is opened
  std::string m_userDefName;
  uint32_t m_ip = 0;  // addresses in host byte order
  uint32_t m_mask = 0;
  uint64_t m_mac = 0;  // low 48 bits
  uint32_t m_gateway = 0;
  bool m_dhcpEnabled = false;
  bool m_persistentIpEnabled = false;
  bool m_llaEnabled = false;
  uint64_t m_ifaceMac = 0;  // of the host's interface that sees the device
  uint32_t m_ifaceIp = 0;
  std::string m_deviceVersion;
};

struct InterfaceInfo_t {
  uint32_t m_ip = 0;  // addresses in host byte order
  uint32_t m_mask = 0;
  uint64_t m_mac = 0;      // low 48 bits
  uint32_t m_gateway = 0;  // kept on purpose: never filled, the producer does not tell it
};

// 0xC0A80001 is "192.168.0.1".
std::string DottedQuadText(uint32_t hostOrder);

// Bytes 5 (first) to 0 of a 48-bit address as it lies in memory; "" for null.
std::string MacText(const uint8_t* pBytes);

}  // namespace Orvex
