// SPDX-License-Identifier: Apache-2.0
// Watches the connection to a camera and tells when it is lost and when it comes back.
// usage: disconnect [SERIAL [SECONDS]]     returns 0 when the camera was lost within that time
#include <Orvex.h>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <iostream>
#include <mutex>
#include <string>

namespace {

// The library calls this about every half second at most, on its own thread, at every change.
class ConnectionWatch : public Orvex::IDisconnectCallback {
 public:
  void OnDeviceDisconnected(Orvex::IDevice* pDevice) override {
    const bool connected = pDevice->IsConnected();
    std::cout << (connected ? "camera is back" : "camera is lost") << std::endl;
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_lost = m_lost || !connected;
    m_changed.notify_one();
  }

  bool WaitForLoss(std::chrono::seconds patience) {
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed.wait_for(lock, patience, [this] { return m_lost; });
  }

 private:
  std::mutex m_mutex;
  std::condition_variable m_changed;
  bool m_lost = false;
};

}  // namespace

int main(int argc, char** argv) try {
  const std::string serial = argc > 1 ? argv[1] : "";
  const std::chrono::seconds patience(argc > 2 ? std::atoi(argv[2]) : 60);
  int result = 1;
  Orvex::ISystem* pSystem = Orvex::OpenSystem();
  pSystem->UpdateDevices(500);
  for (Orvex::DeviceInfo& info : pSystem->GetDevices()) {
    if (!serial.empty() && serial != info.SerialNumber().c_str()) continue;
    Orvex::IDevice* pCamera = pSystem->CreateDevice(info);
    ConnectionWatch watch;
    pSystem->RegisterDeviceDisconnectCallback(pCamera, &watch);
    std::cout << "watching " << info.SerialNumber() << std::endl;
    result = watch.WaitForLoss(patience) ? 0 : 1;
    pSystem->DeregisterDeviceDisconnectCallback(&watch);
    try {
      pSystem->DestroyDevice(pCamera);
    } catch (const GenICam::GenericException& error) {
      std::cerr << error.GetDescription() << '\n';
    }
    break;
  }
  Orvex::CloseSystem(pSystem);
  return result;
} catch (const GenICam::GenericException& error) {
  std::cerr << error.GetDescription() << '\n';
  return 1;
}
