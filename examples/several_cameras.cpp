// SPDX-License-Identifier: Apache-2.0
// Streams every camera it finds at once, each on a thread of its own, and prints what each
// delivered. usage: several_cameras [FRAMES [SERIAL...]]
#include <Orvex.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <string>
#include <thread>
#include <vector>

namespace {

struct Result {
  std::string serial;
  Orvex::IDevice* pCamera = nullptr;
  int frames = 0;
  int incomplete = 0;
  std::string error;
};

// Runs on its own thread: one camera is used by one thread, different cameras do not know of each
// other.
void Acquire(Result& result, int frames) {
  try {
    result.pCamera->StartStream();
    while (result.frames < frames) {
      Orvex::IImage* pImage = result.pCamera->GetImage(2000);
      ++result.frames;
      if (pImage->IsIncomplete()) ++result.incomplete;
      result.pCamera->RequeueBuffer(pImage);
    }
    result.pCamera->StopStream();
  } catch (const GenICam::GenericException& error) {
    result.error = error.GetDescription();
  }
}

std::vector<Result> OpenAll(Orvex::ISystem* pSystem, const std::vector<std::string>& serials) {
  std::vector<Result> results;
  pSystem->UpdateDevices(500);
  for (Orvex::DeviceInfo& info : pSystem->GetDevices()) {
    const std::string serial = info.SerialNumber().c_str();
    const bool wanted =
        serials.empty() || std::find(serials.begin(), serials.end(), serial) != serials.end();
    if (wanted) results.push_back({serial, pSystem->CreateDevice(info), 0, 0, {}});
  }
  return results;
}

}  // namespace

int main(int argc, char** argv) try {
  const int frames = argc > 1 ? std::atoi(argv[1]) : 50;
  Orvex::ISystem* pSystem = Orvex::OpenSystem();
  std::vector<Result> results = OpenAll(pSystem, {argv + std::min(argc, 2), argv + argc});
  std::vector<std::thread> threads;
  for (Result& result : results) threads.emplace_back(Acquire, std::ref(result), frames);
  for (std::thread& thread : threads) thread.join();
  bool good = !results.empty();
  for (const Result& result : results) {
    std::cout << result.serial << ": " << result.frames << " frames, " << result.incomplete
              << " incomplete" << (result.error.empty() ? "" : ": ") << result.error << '\n';
    good = good && result.error.empty();
    pSystem->DestroyDevice(result.pCamera);
  }
  Orvex::CloseSystem(pSystem);
  return good ? 0 : 1;
} catch (const GenICam::GenericException& error) {
  std::cerr << error.GetDescription() << '\n';
  return 1;
}
