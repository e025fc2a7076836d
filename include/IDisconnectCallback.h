#pragma once
// SPDX-License-Identifier: Apache-2.0
// What an application implements to be told when a camera's connection is lost or comes back. The
// application owns the object and keeps it alive until it is deregistered
// (ISystem::DeregisterDeviceDisconnectCallback).

#include "OrvexExport.h"

namespace Orvex {

class IDevice;

class ORVEX_API IDisconnectCallback {
 public:
  virtual ~IDisconnectCallback() = default;

  // Called on a thread of the library within about half a second of each change of the connection
  // status, a reconnection included (ask pDevice->IsConnected()). An exception that leaves the call
  // is dropped. From inside, disconnect callbacks can neither be registered nor deregistered.
  virtual void OnDeviceDisconnected(IDevice* pDevice) = 0;
};

}  // namespace Orvex
