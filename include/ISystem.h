#pragma once
// SPDX-License-Identifier: Apache-2.0
// The root of the library: finds interfaces and cameras, opens and destroys cameras. Made by
// OpenSystem, destroyed by CloseSystem and by nothing else; one at a time in a process.
// Threads: GetInterfaces, UpdateDevices, GetDevices, CreateDevice, DestroyDevice, both
// GetTL...NodeMap, ForceIp and the callback operations may be called from any thread at any time.
// The three unicast operations must not run while a list is being updated.
// Failures are GenICam exceptions; what an operation throws beyond a failing producer call (any of
// them, by its code) is said with it.

#include <GenApi/INodeMap.h>

#include <cstdint>
#include <vector>

#include "DeviceInfo.h"
#include "InterfaceInfo.h"
#include "OrvexExport.h"

namespace Orvex {

class IDevice;
class IDisconnectCallback;

class ORVEX_API ISystem {
 public:
  // Every interface of this host, after the list has been brought up to date.
  virtual std::vector<InterfaceInfo> GetInterfaces() = 0;

  // Looks for cameras on every interface at once, each at most `timeout` milliseconds. True when an
  // interface or a camera came or went since the last update. Fails only when every interface
  // fails, with the last interface's error.
  virtual bool UpdateDevices(uint64_t timeout) = 0;

  // Looks for cameras on one interface, at most `timeout` milliseconds. Every interface is closed
  // and opened again: node maps of interfaces from before are gone, and open devices no longer
  // know their interface. Throws LogicalErrorException when no interface has that MAC and IPv4
  // address.
  virtual bool UpdateDevices(InterfaceInfo info, uint64_t timeout) = 0;

  // The cameras found by the last UpdateDevices, interface by interface. A camera that has gone
  // since then is left out.
  virtual std::vector<DeviceInfo> GetDevices() = 0;

  // Opens a camera: with control when it can be had, read-only otherwise. The device belongs to
  // the system and lives until DestroyDevice. Throws LogicalErrorException when the camera's
  // interface is gone or the camera is already open in this process.
  virtual IDevice* CreateDevice(DeviceInfo info) = 0;

  // Stops the device's stream, closes the camera and frees the device with its node maps and
  // frames. Throws InvalidArgumentException for null; when the stream cannot be stopped for a
  // reason that matters, the device lives on.
  virtual void DestroyDevice(IDevice* pDevice) = 0;

  // Node map of the transport layer's system module; not owned by the caller, null when the
  // producer has none.
  virtual GenApi::INodeMap* GetTLSystemNodeMap() = 0;

  // Node map of the interface that sees the camera; not owned by the caller. Throws
  // LogicalErrorException when there is no such interface.
  virtual GenApi::INodeMap* GetTLInterfaceNodeMap(DeviceInfo info) = 0;

  // Gives the camera with this MAC address (low 48 bits) an address until it is powered off, by a
  // broadcast on every interface. Addresses are in host byte order.
  virtual void ForceIp(uint64_t macAddress, uint64_t ipAddress, uint64_t subnetMask,
                       uint64_t defaultGateway) = 0;

  // The same with texts ("1c:0f:af:00:00:01", "192.168.0.10"). Throws InvalidArgumentException for
  // any text that it does not accept; use the form with numbers.
  virtual void ForceIp(const GenICam::gcstring& macAddress, const GenICam::gcstring& ipAddress,
                       const GenICam::gcstring& subnetMask,
                       const GenICam::gcstring& defaultGateway) = 0;

  // Has the callback called whenever the device's connection is lost or comes back. The caller
  // keeps both alive until it has deregistered the callback. Throws InvalidArgumentException for a
  // null callback, LogicalErrorException for one that is already registered.
  virtual void RegisterDeviceDisconnectCallback(IDevice* pDevice,
                                                IDisconnectCallback* pCallback) = 0;

  // When it returns, the callback is neither running nor will it be called again. Throws
  // InvalidArgumentException for null or a callback that is not registered.
  virtual void DeregisterDeviceDisconnectCallback(IDisconnectCallback* pCallback) = 0;

  // Stops the watching of connections. Registrations stay listed: deregister each with
  // DeregisterDeviceDisconnectCallback.
  virtual void DeregisterAllDeviceDisconnectCallbacks() = 0;

  // Cameras behind a router hear no broadcast; an address added here (dotted text) is asked
  // directly at every UpdateDevices, on the interface that routes to it. Throws
  // InvalidArgumentException for a text that is no IPv4 address, 0.0.0.0 or 255.255.255.255.
  virtual void AddUnicastDiscoveryDevice(const GenICam::gcstring& deviceIp) = 0;
  virtual void RemoveUnicastDiscoveryDevice(const GenICam::gcstring& deviceIp) = 0;

  // The added addresses of all interfaces, each in network byte order as it was added.
  virtual std::vector<uint32_t> GetUnicastDiscoveryDevices() = 0;

 protected:
  virtual ~ISystem() = default;
};

}  // namespace Orvex
