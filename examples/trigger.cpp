// SPDX-License-Identifier: Apache-2.0
// Takes a frame exactly when the program says so: the camera waits for a software trigger.
// usage: trigger [SERIAL]
#include <Orvex.h>

#include <iostream>
#include <string>

namespace {

int Run(Orvex::IDevice* pCamera) {
  GenApi::INodeMap* pNodes = pCamera->GetNodeMap();
  Orvex::SetNodeValue<GenICam::gcstring>(pNodes, "TriggerSelector", "FrameStart");
  Orvex::SetNodeValue<GenICam::gcstring>(pNodes, "TriggerSource", "Software");
  Orvex::SetNodeValue<GenICam::gcstring>(pNodes, "TriggerMode", "On");
  pCamera->StartStream();
  int frames = 0;
  for (int i = 0; i < 5; ++i) {
    Orvex::ExecuteNode(pNodes, "TriggerSoftware");
    Orvex::IImage* pImage = pCamera->GetImage(2000);
    std::cout << "trigger " << i << " gave frame " << pImage->GetFrameId() << '\n';
    pCamera->RequeueBuffer(pImage);
    ++frames;
  }
  // Nothing was triggered any more, so nothing may come.
  bool quiet = false;
  try {
    pCamera->RequeueBuffer(pCamera->GetImage(300));
  } catch (const GenICam::TimeoutException&) {
    quiet = true;
  }
  pCamera->StopStream();
  Orvex::SetNodeValue<GenICam::gcstring>(pNodes, "TriggerMode", "Off");
  return frames == 5 && quiet ? 0 : 1;
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
    result = Run(pCamera);
    pSystem->DestroyDevice(pCamera);
    break;
  }
  Orvex::CloseSystem(pSystem);
  return result;
} catch (const GenICam::GenericException& error) {
  std::cerr << error.GetDescription() << '\n';
  return 1;
}
