#pragma once
// SPDX-License-Identifier: Apache-2.0
/// @file
/// Description of one camera.

#include <Base/GCString.h>

#include <cstdint>

#include "OrvexExport.h"

namespace Orvex {

struct DeviceInfo_t;

/// Description of one camera, as ISystem::GetDevices returns it and ISystem::CreateDevice takes it.
/// A value: every copy owns its own record, which stays what it was when discovery filled it. Any
/// thread may use it; one object must not be changed and read by two threads at once. Texts are
/// returned as copies; no operation throws, unless memory runs out.
class ORVEX_API DeviceInfo {
 public:
  /// An empty description: texts are empty, numbers 0. No camera matches it.
  DeviceInfo();
  /// For the library itself.
  /// @param data Is copied.
  explicit DeviceInfo(const DeviceInfo_t& data);
  /// A copy with a record of its own.
  /// @param other Is copied.
  DeviceInfo(const DeviceInfo& other);

  /// @return Model name.
  virtual GenICam::gcstring ModelName();
  /// @return Name of the maker.
  virtual GenICam::gcstring VendorName();
  /// @return Serial number.
  virtual GenICam::gcstring SerialNumber();
  /// @return IPv4 address in host byte order: 0xC0A80001 is 192.168.0.1.
  virtual uint32_t IpAddress();
  /// @return IPv4 address as dotted text.
  virtual GenICam::gcstring IpAddressStr();
  /// @return Subnet mask in host byte order.
  virtual uint32_t SubnetMask();
  /// @return Subnet mask as dotted text.
  virtual GenICam::gcstring SubnetMaskStr();
  /// @return Default gateway in host byte order; 0 for none.
  virtual uint32_t DefaultGateway();
  /// @return Default gateway as dotted text.
  virtual GenICam::gcstring DefaultGatewayStr();
  /// @return MAC address in the low 48 bits.
  virtual uint64_t MacAddress();
  /// @return MAC address as six lower-case hexadecimal pairs with ":" between.
  virtual GenICam::gcstring MacAddressStr();
  /// @return Name given by a user of the camera; empty when none was given.
  virtual GenICam::gcstring UserDefinedName();
  /// Of the three ways in which a camera finds its address when it starts several may be enabled;
  /// they are tried in the order persistent address, DHCP, link-local address.
  /// @return Whether it asks by DHCP.
  virtual bool IsDHCPConfigurationEnabled();
  /// @return Whether it takes an address that is stored in it.
  virtual bool IsPersistentIpConfigurationEnabled();
  /// @return Whether it takes a link-local address (169.254.x.y).
  virtual bool IsLLAConfigurationEnabled();
  /// @return Firmware or hardware version, in the camera's own form.
  virtual GenICam::gcstring DeviceVersion();
  /// Frees the record.
  virtual ~DeviceInfo();
  /// Takes over another description.
  /// @param other Is copied.
  /// @return This object.
  virtual DeviceInfo& operator=(DeviceInfo other);

 private:
  friend class System;

  DeviceInfo_t* m_pData;  // owned
};

}  // namespace Orvex
