#pragma once
// SPDX-License-Identifier: Apache-2.0
// Typed questions to a producer's info commands. T says how many bytes are asked for: bool,
// int32_t, uint32_t, int64_t, uint64_t, size_t, void*. A null module, device id or buffer throws
// InvalidArgumentException; a failing producer call throws by its code.
#include <Base/GCString.h>

#include "Orvex/Check.h"
#include "Orvex/TLDataStream.h"
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

// Of an announced buffer.
template <typename T>
T GetInfo(TLDataStream* pStream, GenTL::BUFFER_HANDLE hBuffer, GenTL::BUFFER_INFO_CMD command) {
  CHECK_ARG(pStream != nullptr, InvalidArgumentException, "DataStream is null");
  CHECK_ARG(hBuffer != nullptr, InvalidArgumentException, "Buffer is null");
  T value{};
  size_t size = sizeof(T);
  GenTL::INFO_DATATYPE type = GenTL::INFO_DATATYPE_UNKNOWN;
  CHECK_GENTL(pStream->GetBufferInfo(hBuffer, command, &type, &value, &size),
              "Unable to get buffer information", "DSGetBufferInfo");
  return value;
}

// Text of a device that an interface sees, at most 255 characters.
GenICam::gcstring GetInfoString(TLInterface* pInterface, const char* pDevId,
                                GenTL::DEVICE_INFO_CMD command);

}  // namespace Orvex
