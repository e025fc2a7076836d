#pragma once
// SPDX-License-Identifier: Apache-2.0
// Typed questions to the info commands of interfaces and of the devices that they see. T says how
// many bytes are asked for: uint8_t, uint32_t, int64_t, uint64_t. A null module or device id throws
// InvalidArgumentException; a failing producer call throws by its code. Frames ask about their
// buffers themselves (Buffer.h).
#include <Base/GCString.h>

#include "Orvex/Check.h"
#include "Orvex/TLInterface.h"

namespace Orvex {

// Of a device that an interface sees, opened or not.
template <typename T>
T GetInfo(TLInterface* pInterface, const char* pDevId, GenTL::DEVICE_INFO_CMD command) {
  CHECK_ARG(pInterface != nullptr, InvalidArgumentException, "Interface is null");
  CHECK_ARG(pDevId != nullptr, InvalidArgumentException, "pDevId is null");
  T value{};
  size_t size = sizeof(T);
  GenTL::INFO_DATATYPE type = GenTL::INFO_DATATYPE_UNKNOWN;
  // Kept on purpose: callers match this text, which speaks of buffers here too.
  CHECK_GENTL(pInterface->GetDeviceInfo(pDevId, command, &type, &value, &size),
              "Unable to get buffer information", "IFGetDeviceInfo");
  return value;
}

// Of an interface.
template <typename T>
T GetInfo(TLInterface* pInterface, GenTL::INTERFACE_INFO_CMD command) {
  CHECK_ARG(pInterface != nullptr, InvalidArgumentException, "Interface is null");
  T value{};
  size_t size = sizeof(T);
  GenTL::INFO_DATATYPE type = GenTL::INFO_DATATYPE_UNKNOWN;
  CHECK_GENTL(pInterface->GetInfo(command, &type, &value, &size),
              "Unable to get buffer information", "IFGetInfo");
  return value;
}

// Text of a device that an interface sees, at most 255 characters.
GenICam::gcstring GetInfoString(TLInterface* pInterface, const char* pDevId,
                                GenTL::DEVICE_INFO_CMD command);

}  // namespace Orvex
