// SPDX-License-Identifier: Apache-2.0
// Has the camera append facts to each frame, reads them with the frame, and checks its CRC.
// usage: chunk [SERIAL]
#include <Orvex.h>

#include <iostream>
#include <string>

namespace {

void EnableChunk(GenApi::INodeMap* pNodes, const char* pName) {
  Orvex::SetNodeValue<GenICam::gcstring>(pNodes, "ChunkSelector", pName);
  Orvex::SetNodeValue<bool>(pNodes, "ChunkEnable", true);
}

int Run(Orvex::IDevice* pCamera) {
  GenApi::INodeMap* pNodes = pCamera->GetNodeMap();
  Orvex::SetNodeValue<bool>(pNodes, "ChunkModeActive", true);
  EnableChunk(pNodes, "FrameID");
  EnableChunk(pNodes, "ExposureTime");
  EnableChunk(pNodes, "CRC");
  pCamera->StartStream();
  bool good = true;
  for (int i = 0; i < 5; ++i) {
    Orvex::IImage* pImage = pCamera->GetImage(2000);
    // The values belong to this frame, whatever the camera does meanwhile, until the buffer is
    // given back.
    Orvex::IChunkData* pChunks = pImage->AsChunkData();
    if (pChunks == nullptr) {
      pCamera->RequeueBuffer(pImage);
      return 1;
    }
    GenApi::CIntegerPtr pFrameId(pChunks->GetChunk("ChunkFrameID"));
    GenApi::CFloatPtr pExposure(pChunks->GetChunk("ChunkExposureTime"));
    const bool whole = pImage->VerifyCRC();
    std::cout << "frame " << pFrameId->GetValue() << " was exposed for " << pExposure->GetValue()
              << " us, CRC " << (whole ? "fits" : "does not fit") << '\n';
    good = good && whole && static_cast<uint64_t>(pFrameId->GetValue()) == pImage->GetFrameId();
    pCamera->RequeueBuffer(pImage);
  }
  pCamera->StopStream();
  Orvex::SetNodeValue<bool>(pNodes, "ChunkModeActive", false);
  return good ? 0 : 1;
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
