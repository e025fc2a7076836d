// SPDX-License-Identifier: Apache-2.0
// Gets each frame in a callback, on a thread of the library, instead of asking for it.
// usage: callbacks [SERIAL [FRAMES]]
#include <Orvex.h>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <iostream>
#include <mutex>
#include <string>

namespace {

// Counts frames; the library calls OnImage on its own thread and takes the image back afterwards.
class FrameCounter : public Orvex::IImageCallback {
 public:
  void OnImage(Orvex::IImage* pImage) override {
    const std::lock_guard<std::mutex> lock(m_mutex);
    ++m_frames;
    m_bytes += pImage->GetSizeFilled();
    m_changed.notify_one();
  }

  bool WaitFor(int frames, std::chrono::seconds patience) {
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed.wait_for(lock, patience, [&] { return m_frames >= frames; });
  }

  void Print() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::cout << m_frames << " frames, " << m_bytes << " bytes\n";
  }

 private:
  std::mutex m_mutex;
  std::condition_variable m_changed;
  int m_frames = 0;
  std::size_t m_bytes = 0;
};

int Run(Orvex::ISystem* pSystem, const std::string& serial, int frames) {
  pSystem->UpdateDevices(500);
  for (Orvex::DeviceInfo& info : pSystem->GetDevices()) {
    if (!serial.empty() && serial != info.SerialNumber().c_str()) continue;
    Orvex::IDevice* pCamera = pSystem->CreateDevice(info);
    FrameCounter counter;
    pCamera->RegisterImageCallback(&counter);
    pCamera->StartStream();
    const bool enough = counter.WaitFor(frames, std::chrono::seconds(10));
    pCamera->StopStream();
    pCamera->DeregisterImageCallback(&counter);
    pSystem->DestroyDevice(pCamera);
    counter.Print();
    return enough ? 0 : 1;
  }
  std::cerr << "no such camera\n";
  return 1;
}

}  // namespace

int main(int argc, char** argv) try {
  Orvex::ISystem* pSystem = Orvex::OpenSystem();
  const int result = Run(pSystem, argc > 1 ? argv[1] : "", argc > 2 ? std::atoi(argv[2]) : 20);
  Orvex::CloseSystem(pSystem);
  return result;
} catch (const GenICam::GenericException& error) {
  std::cerr << error.GetDescription() << '\n';
  return 1;
}
