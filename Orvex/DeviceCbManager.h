#pragma once
// SPDX-License-Identifier: Apache-2.0
// Asks every registered device twice a second whether it is connected and tells its callback of
// each change. Owned by the system. Any thread may call, except from inside a callback, where
// registering and deregistering throw LogicalErrorException. Callbacks run on the manager's thread
// while it holds m_mtx; when a deregistration returns, its callback neither runs nor will run.
// The destructor does not stop the thread: the owner calls DeregisterAllCallbacks first.
#include <atomic>
#include <thread>
#include <vector>

#include "IDevice.h"
#include "IDisconnectCallback.h"
#include "Orvex/StoppableMutex.h"

namespace Orvex {

class DeviceCbManager {
 public:
  DeviceCbManager() = default;
  DeviceCbManager(const DeviceCbManager&) = delete;
  DeviceCbManager& operator=(const DeviceCbManager&) = delete;
  virtual ~DeviceCbManager() = default;

  // Throws InvalidArgumentException for null, LogicalErrorException for a callback that is
  // registered already, for whichever device.
  void RegisterCallback(IDevice* pDevice, IDisconnectCallback* pCallback);

  // Throws InvalidArgumentException for null or a callback that is not registered.
  void DeregisterCallback(IDisconnectCallback* pCallback);

  // Stops the thread; registrations stay in the list.
  void DeregisterAllCallbacks();

  // Takes the device's present status as the known one, so that no callback comes of it.
  void ConnectDevice(IDevice* pDevice);

 private:
  struct DeviceCallback {
    IDevice* pDevice;
    IDisconnectCallback* pCallback;
    bool connected;
  };

  void CallbackThread();
  void StopThread();
  void ThrowIfInsideCallback(const char* function) const;

  StoppableMutex m_mtx;  // guards m_deviceCallbacks and m_callbackThread
  std::thread m_callbackThread;
  std::atomic<bool> m_bRunThread{false};
  std::vector<DeviceCallback> m_deviceCallbacks;  // in the order of registration
};

}  // namespace Orvex
