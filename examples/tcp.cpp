// SPDX-License-Identifier: Apache-2.0
// Streams over a TCP connection, where the network loses packets that no resend may bring back
// late. usage: tcp [SERIAL [FRAMES]]
#include <Orvex.h>

#include <cstdlib>
#include <iostream>
#include <string>

namespace {

int Run(Orvex::IDevice* pCamera, int frames) {
  GenApi::INodeMap* pNodes = pCamera->GetNodeMap();
  if (pNodes->GetNode("TCPEnable") == nullptr) {
    std::cerr << "this camera streams over UDP only\n";
    return 1;
  }
  // The library sees this when it chooses the stream; nothing else in the program changes.
  Orvex::SetNodeValue<bool>(pNodes, "TCPEnable", true);
  pCamera->StartStream();
  std::cout << "stream "
            << Orvex::GetNodeValue<GenICam::gcstring>(pCamera->GetTLStreamNodeMap(), "StreamID")
            << '\n';
  int whole = 0;
  for (int i = 0; i < frames; ++i) {
    Orvex::IImage* pImage = pCamera->GetImage(2000);
    if (!pImage->IsIncomplete()) ++whole;
    pCamera->RequeueBuffer(pImage);
  }
  pCamera->StopStream();
  Orvex::SetNodeValue<bool>(pNodes, "TCPEnable", false);
  std::cout << whole << " of " << frames << " frames whole\n";
  return whole == frames ? 0 : 1;
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
    result = Run(pCamera, argc > 2 ? std::atoi(argv[2]) : 20);
    pSystem->DestroyDevice(pCamera);
    break;
  }
  Orvex::CloseSystem(pSystem);
  return result;
} catch (const GenICam::GenericException& error) {
  std::cerr << error.GetDescription() << '\n';
  return 1;
}
