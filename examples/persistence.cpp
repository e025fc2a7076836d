// SPDX-License-Identifier: Apache-2.0
// Saves a camera's settings to a file, changes one, and brings them back from the file.
// usage: persistence FILE [SERIAL]
#include <Orvex.h>

#include <iostream>
#include <string>

namespace {

int Run(Orvex::IDevice* pCamera, const char* pFile) {
  GenApi::INodeMap* pNodes = pCamera->GetNodeMap();
  const int64_t width = Orvex::GetNodeValue<int64_t>(pNodes, "Width");
  const int64_t smallest = Orvex::GetNodeMin<int64_t>(pNodes, "Width");

  // Without Select every feature that the camera marks as streamable is saved.
  Orvex::FeatureStream saved(pNodes);
  saved.Write(pFile);

  Orvex::SetNodeValue<int64_t>(pNodes, "Width", smallest);
  std::cout << "width " << width << ", changed to "
            << Orvex::GetNodeValue<int64_t>(pNodes, "Width");

  Orvex::FeatureStream restored(pNodes);
  restored.Read(pFile);
  const int64_t after = Orvex::GetNodeValue<int64_t>(pNodes, "Width");
  std::cout << ", restored to " << after << '\n';
  return after == width ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) try {
  if (argc < 2) {
    std::cerr << "usage: persistence FILE [SERIAL]\n";
    return 2;
  }
  const std::string serial = argc > 2 ? argv[2] : "";
  int result = 1;
  Orvex::ISystem* pSystem = Orvex::OpenSystem();
  pSystem->UpdateDevices(500);
  for (Orvex::DeviceInfo& info : pSystem->GetDevices()) {
    if (!serial.empty() && serial != info.SerialNumber().c_str()) continue;
    Orvex::IDevice* pCamera = pSystem->CreateDevice(info);
    result = Run(pCamera, argv[1]);
    pSystem->DestroyDevice(pCamera);
    break;
  }
  Orvex::CloseSystem(pSystem);
  return result;
} catch (const GenICam::GenericException& error) {
  std::cerr << error.GetDescription() << '\n';
  return 1;
}
