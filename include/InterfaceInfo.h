#pragma once
// SPDX-License-Identifier: Apache-2.0
/// @file
/// Description of one network interface.

#include <Base/GCString.h>

#include <cstdint>

#include "OrvexExport.h"

namespace Orvex {

struct InterfaceInfo_t;

/// Description of one network interface of this host, as ISystem::GetInterfaces returns it. A
/// value: every copy owns its own record. Any thread may use it; one object must not be changed and
/// read by two threads at once. Texts are returned as copies; no operation throws, unless memory
/// runs out.
class ORVEX_API InterfaceInfo {
 public:
  /// An empty description: every number is 0.
  InterfaceInfo();
  /// For the library itself.
  /// @param data Is copied.
  explicit InterfaceInfo(const InterfaceInfo_t& data);
  /// A copy with a record of its own.
  /// @param other Is copied.
  InterfaceInfo(const InterfaceInfo& other);

  /// @return IPv4 address in host byte order: 0xC0A80001 is 192.168.0.1.
  virtual uint32_t IpAddress();
  /// @return IPv4 address as dotted text.
  virtual GenICam::gcstring IpAddressStr();
  /// @return Subnet mask in host byte order.
  virtual uint32_t SubnetMask();
  /// @return Subnet mask as dotted text.
  virtual GenICam::gcstring SubnetMaskStr();
  /// @return MAC address in the low 48 bits.
  virtual uint64_t MacAddress();
  /// @return MAC address as six lower-case hexadecimal pairs with ":" between.
  virtual GenICam::gcstring MacAddressStr();
  /// Frees the record.
  virtual ~InterfaceInfo();
  /// Takes over another description.
  /// @param other Is copied.
  /// @return This object.
  virtual InterfaceInfo& operator=(InterfaceInfo other);

 private:
  friend class System;

  InterfaceInfo_t* m_pData;  // owned
};

}  // namespace Orvex
