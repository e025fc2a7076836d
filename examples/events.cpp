// SPDX-License-Identifier: Apache-2.0
// Has the camera tell the end of each exposure, and reads when it was and of which frame.
// usage: events [SERIAL]
#include <Orvex.h>

#include <iostream>
#include <string>

namespace {

// Frames are not looked at here, but taking them keeps the camera going.
class IgnoreFrames : public Orvex::IImageCallback {
 public:
  void OnImage(Orvex::IImage*) override {}
};

// Called while WaitOnEvent works, on the thread that waits.
void OnExposureEnd(GenApi::INode* pNode) {
  GenApi::CIntegerPtr pFrameId(pNode->GetNodeMap()->GetNode("EventExposureEndFrameID"));
  GenApi::CIntegerPtr pTime(pNode->GetNodeMap()->GetNode("EventExposureEndTimestamp"));
  // Starting a stream touches every node; before the first event there is nothing to read.
  if (!GenApi::IsReadable(pFrameId)) return;
  std::cout << "exposure of frame " << pFrameId->GetValue() << " ended at " << pTime->GetValue()
            << '\n';
}

void Run(Orvex::IDevice* pCamera) {
  GenApi::INodeMap* pNodes = pCamera->GetNodeMap();
  pCamera->InitializeEvents();
  Orvex::SetNodeValue<GenICam::gcstring>(pNodes, "EventSelector", "ExposureEnd");
  Orvex::SetNodeValue<GenICam::gcstring>(pNodes, "EventNotification", "On");
  const GenApi::CallbackHandleType handle =
      GenApi::Register(pNodes->GetNode("EventExposureEnd"), &OnExposureEnd);

  IgnoreFrames frames;
  pCamera->RegisterImageCallback(&frames);
  pCamera->StartStream();
  for (int i = 0; i < 5; ++i) pCamera->WaitOnEvent(2000);
  pCamera->StopStream();
  pCamera->DeregisterImageCallback(&frames);

  GenApi::Deregister(handle);
  Orvex::SetNodeValue<GenICam::gcstring>(pNodes, "EventNotification", "Off");
  pCamera->DeinitializeEvents();
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
    Run(pCamera);
    pSystem->DestroyDevice(pCamera);
    result = 0;
    break;
  }
  Orvex::CloseSystem(pSystem);
  return result;
} catch (const GenICam::GenericException& error) {
  std::cerr << error.GetDescription() << '\n';
  return 1;
}
