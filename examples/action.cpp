// SPDX-License-Identifier: Apache-2.0
// Has several cameras take a frame at the same moment, by one action command to all of them.
// usage: action [SERIAL...]
#include <Orvex.h>

#include <algorithm>
#include <iostream>
#include <string>
#include <vector>

namespace {

// Known to whoever may trigger these cameras; the group says which of them are meant.
constexpr uint32_t sk_deviceKey = 0x0C0FFEE0, sk_groupKey = 1, sk_groupMask = 1;

void WaitForAction(Orvex::IDevice* pCamera) {
  GenApi::INodeMap* pNodes = pCamera->GetNodeMap();
  Orvex::SetNodeValue<int64_t>(pNodes, "ActionDeviceKey", sk_deviceKey);
  Orvex::SetNodeValue<int64_t>(pNodes, "ActionSelector", 0);
  Orvex::SetNodeValue<int64_t>(pNodes, "ActionGroupKey", sk_groupKey);
  Orvex::SetNodeValue<int64_t>(pNodes, "ActionGroupMask", sk_groupMask);
  Orvex::SetNodeValue<GenICam::gcstring>(pNodes, "TriggerSelector", "FrameStart");
  Orvex::SetNodeValue<GenICam::gcstring>(pNodes, "TriggerSource", "Action0");
  Orvex::SetNodeValue<GenICam::gcstring>(pNodes, "TriggerMode", "On");
  pCamera->StartStream();
}

// The interface sends one packet to all cameras behind it; nobody is asked to acknowledge.
// IDevice::SendActionCommand is for a single camera, which does.
void Act(const std::vector<Orvex::IDevice*>& cameras) {
  GenApi::INodeMap* pInterface = cameras.front()->GetTLInterfaceNodeMap();
  Orvex::SetNodeValue<int64_t>(pInterface, "ActionDeviceKey", sk_deviceKey);
  Orvex::SetNodeValue<int64_t>(pInterface, "ActionGroupKey", sk_groupKey);
  Orvex::SetNodeValue<int64_t>(pInterface, "ActionGroupMask", sk_groupMask);
  Orvex::ExecuteNode(pInterface, "ActionCommand");
  for (Orvex::IDevice* pCamera : cameras) {
    Orvex::IImage* pImage = pCamera->GetImage(2000);
    std::cout << "frame " << pImage->GetFrameId() << " at " << pImage->GetTimestampNs() << " ns  ";
    pCamera->RequeueBuffer(pImage);
  }
  std::cout << '\n';
}

std::vector<Orvex::IDevice*> Open(Orvex::ISystem* pSystem,
                                  const std::vector<std::string>& serials) {
  std::vector<Orvex::IDevice*> cameras;
  pSystem->UpdateDevices(500);
  for (Orvex::DeviceInfo& info : pSystem->GetDevices()) {
    const std::string serial = info.SerialNumber().c_str();
    if (serials.empty() || std::find(serials.begin(), serials.end(), serial) != serials.end())
      cameras.push_back(pSystem->CreateDevice(info));
  }
  return cameras;
}

}  // namespace

int main(int argc, char** argv) try {
  Orvex::ISystem* pSystem = Orvex::OpenSystem();
  const std::vector<Orvex::IDevice*> cameras = Open(pSystem, {argv + 1, argv + argc});
  for (Orvex::IDevice* pCamera : cameras) WaitForAction(pCamera);
  for (int i = 0; i < 5 && !cameras.empty(); ++i) Act(cameras);
  for (Orvex::IDevice* pCamera : cameras) {
    pCamera->StopStream();
    Orvex::SetNodeValue<GenICam::gcstring>(pCamera->GetNodeMap(), "TriggerMode", "Off");
    pSystem->DestroyDevice(pCamera);
  }
  Orvex::CloseSystem(pSystem);
  std::cout << cameras.size() << " cameras acted together\n";
  return cameras.empty() ? 1 : 0;
} catch (const GenICam::GenericException& error) {
  std::cerr << error.GetDescription() << '\n';
  return 1;
}
