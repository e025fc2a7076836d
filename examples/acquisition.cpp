// SPDX-License-Identifier: Apache-2.0
// Takes frames the plain way: choose a camera, set features, stream, look at each frame, give it
// back. usage: acquisition [SERIAL [FRAMES]]
#include <Orvex.h>

#include <cstdlib>
#include <iostream>
#include <string>

namespace {

// The camera with that serial number, or the first one when none is asked for.
Orvex::IDevice* OpenCamera(Orvex::ISystem* pSystem, const std::string& serial) {
  pSystem->UpdateDevices(500);
  for (Orvex::DeviceInfo& info : pSystem->GetDevices()) {
    if (!serial.empty() && serial != info.SerialNumber().c_str()) continue;
    std::cout << "camera " << info.SerialNumber() << " (" << info.ModelName() << ") at "
              << info.IpAddressStr() << '\n';
    return pSystem->CreateDevice(info);
  }
  return nullptr;
}

void Acquire(Orvex::IDevice* pCamera, int frames) {
  GenApi::INodeMap* pNodes = pCamera->GetNodeMap();
  // A helper checks that the feature exists, can be written now and takes the type.
  Orvex::SetNodeValue<GenICam::gcstring>(pNodes, "AcquisitionMode", "Continuous");
  Orvex::SetNodeValue<GenICam::gcstring>(pNodes, "PixelFormat", "Mono8");
  std::cout << "width " << Orvex::GetNodeValue<int64_t>(pNodes, "Width") << " of at most "
            << Orvex::GetNodeMax<int64_t>(pNodes, "Width") << '\n';

  pCamera->StartStream();
  for (int i = 0; i < frames; ++i) {
    Orvex::IImage* pImage = pCamera->GetImage(2000);
    std::cout << "frame " << pImage->GetFrameId() << ": " << pImage->GetWidth() << " x "
              << pImage->GetHeight() << ", " << pImage->GetSizeFilled() << " bytes"
              << (pImage->IsIncomplete() ? ", incomplete" : "") << '\n';
    // The buffer belongs to the stream: without this it runs out of them.
    pCamera->RequeueBuffer(pImage);
  }
  pCamera->StopStream();
}

}  // namespace

int main(int argc, char** argv) {
  const std::string serial = argc > 1 ? argv[1] : "";
  const int frames = argc > 2 ? std::atoi(argv[2]) : 10;
  Orvex::ISystem* pSystem = nullptr;
  Orvex::IDevice* pCamera = nullptr;
  int result = 1;
  try {
    pSystem = Orvex::OpenSystem();
    pCamera = OpenCamera(pSystem, serial);
    if (pCamera != nullptr) {
      Acquire(pCamera, frames);
      result = 0;
    } else {
      std::cerr << "no such camera\n";
    }
  } catch (const GenICam::GenericException& error) {
    std::cerr << error.GetDescription() << '\n';
  }
  // The order matters: first the camera, then the system. DestroyDevice also stops a stream that
  // still runs.
  if (pCamera != nullptr) pSystem->DestroyDevice(pCamera);
  if (pSystem != nullptr) Orvex::CloseSystem(pSystem);
  return result;
}
