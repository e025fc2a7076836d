#pragma once
// SPDX-License-Identifier: Apache-2.0
// Description of one network interface of this host, as ISystem::GetInterfaces returns it. A value:
// every copy owns its own record. One object must not be changed and read by two threads at once.

#include <Base/GCString.h>

#include <cstdint>

#include "OrvexExport.h"

namespace Orvex {

struct InterfaceInfo_t;

class ORVEX_API InterfaceInfo {
 public:
  // An empty description: every number is 0.
  InterfaceInfo();
  // Copies the record.
  explicit InterfaceInfo(const InterfaceInfo_t& data);
  InterfaceInfo(const InterfaceInfo& other);

  // IPv4 address in host byte order, and as dotted text.
  virtual uint32_t IpAddress();
  virtual GenICam::gcstring IpAddressStr();
  // Subnet mask in host byte order, and as dotted text.
  virtual uint32_t SubnetMask();
  virtual GenICam::gcstring SubnetMaskStr();
  // MAC address in the low 48 bits, and as six lower-case hexadecimal pairs with ":" between.
  virtual uint64_t MacAddress();
  virtual GenICam::gcstring MacAddressStr();
  virtual ~InterfaceInfo();
  virtual InterfaceInfo& operator=(InterfaceInfo other);

 private:
  friend class System;

  InterfaceInfo_t* m_pData;  // owned
};

}  // namespace Orvex
