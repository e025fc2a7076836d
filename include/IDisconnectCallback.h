#pragma once
// SPDX-License-Identifier: Apache-2.0
/// @file
/// To be told of lost cameras.

#include "OrvexExport.h"

namespace Orvex {

class IDevice;

/// What an application implements to be told when a camera's connection is lost or comes back. The
/// application owns the object and keeps it alive until it is deregistered
/// (ISystem::DeregisterDeviceDisconnectCallback).
class ORVEX_API IDisconnectCallback {
 public:
  virtual ~IDisconnectCallback() = default;

  /// Called on a thread of the library within about half a second of each change of the connection
  /// status, a reconnection included (ask IDevice::IsConnected). An exception that leaves the call
  /// is dropped. From inside, disconnect callbacks can neither be registered nor deregistered, and
  /// no device must be destroyed that is still registered.
  /// @param pDevice The device that was registered with this callback.
  virtual void OnDeviceDisconnected(IDevice* pDevice) = 0;
};

}  // namespace Orvex
