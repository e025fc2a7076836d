// SPDX-License-Identifier: Apache-2.0
// The first program: finds a camera, takes one frame and saves it in colour as picture.ppm.
#include <Orvex.h>

#include <fstream>
#include <iostream>

int main() try {
  Orvex::ISystem* pSystem = Orvex::OpenSystem();
  pSystem->UpdateDevices(500);
  Orvex::IDevice* pCamera = pSystem->CreateDevice(pSystem->GetDevices().at(0));
  pCamera->StartStream();
  Orvex::IImage* pFrame = pCamera->GetImage(2000);
  Orvex::IImage* pColour = Orvex::ImageFactory::Convert(pFrame, Orvex::RGB8);
  pCamera->RequeueBuffer(pFrame);
  std::ofstream file("picture.ppm", std::ios::binary);
  file << "P6 " << pColour->GetWidth() << ' ' << pColour->GetHeight() << " 255\n";
  file.write(reinterpret_cast<const char*>(pColour->GetData()), pColour->GetSizeFilled());
  Orvex::ImageFactory::Destroy(pColour);
  pCamera->StopStream();
  pSystem->DestroyDevice(pCamera);
  Orvex::CloseSystem(pSystem);
} catch (const GenICam::GenericException& error) {
  std::cerr << error.GetDescription() << '\n';
  return 1;
} catch (const std::exception& error) {
  std::cerr << "no camera found (" << error.what() << ")\n";
  return 1;
}
