#pragma once
// SPDX-License-Identifier: Apache-2.0
/// @file
/// The root of the library: finds interfaces and cameras, opens and destroys cameras.

#include <GenApi/INodeMap.h>

#include <cstdint>
#include <vector>

#include "DeviceInfo.h"
#include "InterfaceInfo.h"
#include "OrvexExport.h"

namespace Orvex {

class IDevice;
class IDisconnectCallback;

/// The root of the library. Made by OpenSystem, destroyed by CloseSystem and by nothing else; one
/// at a time in a process.
///
/// Threads: any thread may call any operation at any time, except the three unicast operations,
/// which must not run while a list is being updated. Updates run one after another.
///
/// Failures are GenICam exceptions. Every operation that asks the producer throws the class that
/// belongs to the producer's status: GenICam::TimeoutException, GenICam::AccessException,
/// GenICam::InvalidArgumentException, GenICam::OutOfRangeException,
/// GenICam::LogicalErrorException, GenICam::RuntimeException, else GenICam::GenericException. What
/// an operation throws beyond that is said with it.
class ORVEX_API ISystem {
 public:
  /// Brings the list of interfaces up to date, however long that takes, and describes them.
  /// @return One record for each interface of this host, in the producer's order; a value of the
  /// caller's own.
  virtual std::vector<InterfaceInfo> GetInterfaces() = 0;

  /// Looks for cameras on every interface at once, so that the call lasts about as long as the
  /// slowest. Interfaces that are still there keep their node maps.
  /// @param timeout Milliseconds that each interface may take.
  /// @return True when an interface or a camera came or went since the last update.
  /// @throws GenICam::GenericException or the class of the last interface's status when every
  /// interface failed; where one succeeded the others' failures are passed over.
  virtual bool UpdateDevices(uint64_t timeout) = 0;

  /// Looks for cameras on one interface. Every interface is closed and opened again: node maps of
  /// interfaces from before are gone, and open devices no longer know their interface.
  /// @param info A record of GetInterfaces; its MAC and IPv4 address name the interface.
  /// @param timeout Milliseconds that the interface may take.
  /// @return True when an interface or a camera came or went since the last update.
  /// @throws GenICam::LogicalErrorException when no interface has those addresses.
  virtual bool UpdateDevices(InterfaceInfo info, uint64_t timeout) = 0;

  /// The cameras that the last UpdateDevices found; nothing is searched for.
  /// @return One record for each camera, interface by interface; values of the caller's own. A
  /// camera that has gone since then is left out.
  virtual std::vector<DeviceInfo> GetDevices() = 0;

  /// Opens a camera: with control when it can be had, otherwise for reading only, without a word.
  /// @param info A record of GetDevices.
  /// @return The open camera. It belongs to the system and lives until DestroyDevice.
  /// @throws GenICam::LogicalErrorException when the camera's interface is gone or this process has
  /// the camera open already. What the camera's description makes of itself passes through.
  virtual IDevice* CreateDevice(DeviceInfo info) = 0;

  /// Stops the device's stream, closes the camera and frees the device with its node maps. Frames
  /// of it that were not handed back must not be touched any more, and disconnect callbacks for it
  /// are to be deregistered before.
  /// @param pDevice A device of this system.
  /// @throws GenICam::InvalidArgumentException for null. What StopStream throws; the device then
  /// lives on. A stream that did not run and a camera that is gone are no failures.
  virtual void DestroyDevice(IDevice* pDevice) = 0;

  /// Features of the transport layer's system module.
  /// @return The node map; it belongs to the system. Null when the producer has none.
  virtual GenApi::INodeMap* GetTLSystemNodeMap() = 0;

  /// Features of the interface that sees a camera.
  /// @param info A record of GetDevices.
  /// @return The node map; it belongs to the system and lives as long as its interface.
  /// @throws GenICam::LogicalErrorException when there is no such interface.
  virtual GenApi::INodeMap* GetTLInterfaceNodeMap(DeviceInfo info) = 0;

  /// Gives a camera an address until it is powered off, by a broadcast on every interface.
  /// @param macAddress The camera's MAC address in the low 48 bits.
  /// @param ipAddress IPv4 address in host byte order, as are the next two.
  /// @param subnetMask Its subnet mask.
  /// @param defaultGateway Its gateway; 0 for none.
  virtual void ForceIp(uint64_t macAddress, uint64_t ipAddress, uint64_t subnetMask,
                       uint64_t defaultGateway) = 0;

  /// The same with texts. It accepts no text: use the form with numbers.
  /// @param macAddress Such as "1c:0f:af:00:00:01".
  /// @param ipAddress Dotted text, as are the next two.
  /// @param subnetMask Its subnet mask.
  /// @param defaultGateway Its gateway.
  /// @throws GenICam::InvalidArgumentException "Bad MAC address".
  virtual void ForceIp(const GenICam::gcstring& macAddress, const GenICam::gcstring& ipAddress,
                       const GenICam::gcstring& subnetMask,
                       const GenICam::gcstring& defaultGateway) = 0;

  /// Has a callback called whenever a device's connection is lost or comes back.
  /// @param pDevice The device to watch.
  /// @param pCallback Stays the caller's, who keeps it and the device alive until it is
  /// deregistered. It runs on a thread of the library.
  /// @throws GenICam::InvalidArgumentException for a null callback.
  /// @throws GenICam::LogicalErrorException for one that is registered already, for whichever
  /// device, and inside a disconnect callback.
  virtual void RegisterDeviceDisconnectCallback(IDevice* pDevice,
                                                IDisconnectCallback* pCallback) = 0;

  /// Ends a registration. When it returns, the callback neither runs nor will run.
  /// @param pCallback One that is registered.
  /// @throws GenICam::InvalidArgumentException for null or a callback that is not registered.
  /// @throws GenICam::LogicalErrorException inside a disconnect callback.
  virtual void DeregisterDeviceDisconnectCallback(IDisconnectCallback* pCallback) = 0;

  /// Stops the watching of connections. The registrations stay listed: end each with
  /// DeregisterDeviceDisconnectCallback.
  /// @throws GenICam::LogicalErrorException inside a disconnect callback.
  virtual void DeregisterAllDeviceDisconnectCallbacks() = 0;

  /// Has a camera that hears no broadcast, behind a router for example, asked directly at every
  /// UpdateDevices, on the interface that this host would reach it by.
  /// @param deviceIp Its IPv4 address as dotted text.
  /// @throws GenICam::InvalidArgumentException for a text that is no IPv4 address, 0.0.0.0 or
  /// 255.255.255.255.
  /// @throws GenICam::RuntimeException when the host or the producer refuses.
  virtual void AddUnicastDiscoveryDevice(const GenICam::gcstring& deviceIp) = 0;

  /// Takes an address out again.
  /// @param deviceIp IPv4 address as dotted text.
  /// @throws GenICam::InvalidArgumentException, GenICam::RuntimeException as for the addition.
  virtual void RemoveUnicastDiscoveryDevice(const GenICam::gcstring& deviceIp) = 0;

  /// The added addresses of all interfaces.
  /// @return IPv4 addresses in network byte order, interface by interface.
  /// @throws GenICam::RuntimeException when the producer refuses.
  virtual std::vector<uint32_t> GetUnicastDiscoveryDevices() = 0;

 protected:
  virtual ~ISystem() = default;
};

}  // namespace Orvex
