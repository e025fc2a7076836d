#pragma once
// SPDX-License-Identifier: Apache-2.0
// The library over real sockets, against virtual cameras in this process, as an application uses
// it: public headers only.
#include <GenApi/GenApi.h>
#include <Orvex.h>
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "simulator/VirtualCamera.h"

inline constexpr uint64_t sk_discoveryTime = 200, sk_frameTime = 20000;  // ms

// A virtual camera, small and fast, and the library with its device open.
class Loopback : public testing::Test {
 protected:
  Loopback() : Loopback(Options()) {}
  explicit Loopback(OrvexSim::CameraOptions options)
      : m_address(options.address), m_camera(std::move(options)) {
    m_camera.Start();
    m_pSystem = Orvex::OpenSystem();
  }

  ~Loopback() override {
    try {
      CloseDevice();
      Orvex::CloseSystem(m_pSystem);
    } catch (const GenICam::GenericException& error) {
      ADD_FAILURE() << error.GetDescription();
    }
  }

  static OrvexSim::CameraOptions Options(const char* model = "area",
                                         const char* address = "127.0.0.2") {
    OrvexSim::CameraOptions options;
    options.address = address;
    options.model = model;
    options.width = 320;
    options.height = 240;
    options.frameRate = 200;
    return options;
  }

  Orvex::IDevice* Open(const std::string& ip) {
    m_pSystem->UpdateDevices(sk_discoveryTime);
    for (Orvex::DeviceInfo info : m_pSystem->GetDevices()) {
      if (info.IpAddressStr() == ip.c_str()) return m_pSystem->CreateDevice(info);
    }
    throw std::runtime_error("no camera at " + ip);
  }
  void OpenDevice() { m_pDevice = Open(m_address); }
  void CloseDevice() {
    if (m_pDevice != nullptr) m_pSystem->DestroyDevice(std::exchange(m_pDevice, nullptr));
  }

  GenApi::INodeMap* Nodes() { return m_pDevice->GetNodeMap(); }
  void Set(const char* feature, const char* entry) {
    Orvex::SetNodeValue<GenICam::gcstring>(Nodes(), feature, entry);
  }
  void TakeFrames(int count) {
    for (int i = 0; i < count; ++i) m_pDevice->RequeueBuffer(m_pDevice->GetBuffer(sk_frameTime));
  }

  const std::string m_address;
  OrvexSim::VirtualCamera m_camera;
  Orvex::ISystem* m_pSystem = nullptr;
  Orvex::IDevice* m_pDevice = nullptr;
};

// Counts calls of either kind of callback and does what a case wants done in them.
class Counter : public Orvex::IImageCallback, public Orvex::IDisconnectCallback {
 public:
  std::function<void()> action;

  void OnImage(Orvex::IImage*) override { Count(); }
  void OnDeviceDisconnected(Orvex::IDevice*) override { Count(); }
  bool WaitFor(int count) {
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, std::chrono::seconds(20), [&] { return m_count >= count; });
  }
  int Get() {
    const std::lock_guard lock(m_mutex);
    return m_count;
  }

 private:
  void Count() {
    if (action) action();
    const std::lock_guard lock(m_mutex);
    ++m_count;
    m_changed.notify_all();
  }

  std::mutex m_mutex;
  std::condition_variable m_changed;
  int m_count = 0;
};
