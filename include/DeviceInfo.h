#pragma once
// SPDX-License-Identifier: Apache-2.0
// Description of one camera, as ISystem::GetDevices returns it and ISystem::CreateDevice takes it.
// A value: every copy owns its own record, and it stays what it was when discovery filled it. One
// object must not be changed and read by two threads at once.

#include <Base/GCString.h>

#include <cstdint>

#include "OrvexExport.h"

namespace Orvex {

struct DeviceInfo_t;

class ORVEX_API DeviceInfo {
 public:
  // An empty description: texts are empty, numbers 0. No camera matches it.
  DeviceInfo();
  // Copies the record.
  explicit DeviceInfo(const DeviceInfo_t& data);
  DeviceInfo(const DeviceInfo& other);

  virtual GenICam::gcstring ModelName();
  virtual GenICam::gcstring VendorName();
  virtual GenICam::gcstring SerialNumber();
  // IPv4 address in host byte order, and as dotted text.
  virtual uint32_t IpAddress();
  virtual GenICam::gcstring IpAddressStr();
  // Subnet mask in host byte order, and as dotted text.
  virtual uint32_t SubnetMask();
  virtual GenICam::gcstring SubnetMaskStr();
  // Default gateway in host byte order, and as dotted text.
  virtual uint32_t DefaultGateway();
  virtual GenICam::gcstring DefaultGatewayStr();
  // MAC address in the low 48 bits, and as six lower-case hexadecimal pairs with ":" between.
  virtual uint64_t MacAddress();
  virtual GenICam::gcstring MacAddressStr();
  // Name given by a user of the camera; empty when none was given.
  virtual GenICam::gcstring UserDefinedName();
  // How the camera finds its address when it starts; several may be enabled, tried in the order
  // persistent address, DHCP, link-local address.
  virtual bool IsDHCPConfigurationEnabled();
  virtual bool IsPersistentIpConfigurationEnabled();
  virtual bool IsLLAConfigurationEnabled();
  // Firmware or hardware version, in the camera's own form.
  virtual GenICam::gcstring DeviceVersion();
  virtual ~DeviceInfo();
  virtual DeviceInfo& operator=(DeviceInfo other);

 private:
  friend class System;

  DeviceInfo_t* m_pData;  // owned
};

}  // namespace Orvex
