// SPDX-License-Identifier: Apache-2.0
// Streams from a camera with an event sensor: instead of pictures it sends where, when and in which
// direction the brightness changed. usage: event_sensor [SERIAL [FRAMES]]
#include <Orvex.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>

namespace {

// One event of the output format XYTPFrame, as it lies in the buffer.
struct SensorEvent {
  uint16_t x, y;
  uint64_t time;      // us
  uint32_t brighter;  // 0: darker

  static constexpr std::size_t sk_bytes = 16;
  explicit SensorEvent(const uint8_t* pData) {
    std::memcpy(&x, pData, 2);
    std::memcpy(&y, pData + 2, 2);
    std::memcpy(&time, pData + 4, 8);
    std::memcpy(&brighter, pData + 12, 4);
  }
};

void PrintFrame(Orvex::IBuffer* pFrame) {
  const std::size_t count = pFrame->GetSizeFilled() / SensorEvent::sk_bytes;
  std::size_t brighter = 0;
  double x = 0, y = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const SensorEvent event(pFrame->GetData() + i * SensorEvent::sk_bytes);
    brighter += event.brighter;
    x += event.x;
    y += event.y;
  }
  std::cout << "frame " << pFrame->GetFrameId() << ": " << count << " events, " << brighter
            << " of them brighter";
  if (count > 0)
    std::cout << ", around " << x / static_cast<double>(count) << ", "
              << y / static_cast<double>(count);
  std::cout << '\n';
}

int Run(Orvex::IDevice* pCamera, int frames) {
  if (pCamera->GetNodeMap()->GetNode("EventFormat") == nullptr) {
    std::cerr << "this camera has no event sensor\n";
    return 1;
  }
  // What the camera sends stays the same; this is what the host makes of it.
  Orvex::SetNodeValue<GenICam::gcstring>(pCamera->GetTLStreamNodeMap(), "StreamEvsOutputFormat",
                                         "XYTPFrame");
  pCamera->StartStream();
  for (int i = 0; i < frames; ++i) {
    Orvex::IBuffer* pFrame = pCamera->GetBuffer(2000);
    PrintFrame(pFrame);
    pCamera->RequeueBuffer(pFrame);
  }
  pCamera->StopStream();
  return 0;
}

}  // namespace

int main(int argc, char** argv) try {
  const std::string serial = argc > 1 ? argv[1] : "";
  int result = 1;
  Orvex::ISystem* pSystem = Orvex::OpenSystem();
  pSystem->UpdateDevices(500);
  for (Orvex::DeviceInfo& info : pSystem->GetDevices()) {
    if (!serial.empty() && serial != info.SerialNumber().c_str()) continue;
    Orvex::IDevice* pCamera = pSystem->CreateDevice(info);
    result = Run(pCamera, argc > 2 ? std::atoi(argv[2]) : 10);
    pSystem->DestroyDevice(pCamera);
    break;
  }
  Orvex::CloseSystem(pSystem);
  return result;
} catch (const GenICam::GenericException& error) {
  std::cerr << error.GetDescription() << '\n';
  return 1;
}
