// SPDX-License-Identifier: Apache-2.0
// usage: reliability_soak [MINUTES] [SEED]
// Four cameras in four threads: random faults, buffers, formats, ways to take frames, starts and
// stops, conversions. Every frame that a camera sent must have been delivered or reported as lost,
// exactly; threads, files and memory must stay what they were. Ends with 1 when something did not
// hold.
#include <atomic>
#include <chrono>
#include <cstdio>
#include <mutex>
#include <random>
#include <thread>

#include "Cameras.h"

namespace Reliability {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr std::size_t sk_cameras = 4;
constexpr uint64_t sk_frameTime = 400;  // ms without a frame: the last one was taken, perhaps
// How long a busy machine may need for the last frames of a stopped camera.
constexpr auto sk_settleTime = 5s;
// Memory that may come on top while pools and heaps find their size.
constexpr std::size_t sk_memorySlack = 16u << 20;

struct FaultChoice {
  const char* feature;
  const char* value;
};
// None of them makes all packets of a frame vanish, so that the host can know of every frame.
constexpr FaultChoice sk_faults[] = {
    {"SimDropRate", "1"},         {"SimDropRate", "5"},        {"SimDuplicateRate", "5"},
    {"SimReorderRate", "5"},      {"SimDelayRate", "1"},       {"SimLoseLeaderRate", "20"},
    {"SimLoseTrailerRate", "20"}, {"SimDropResentRate", "20"}, {"SimRefuseResends", "true"},
};
constexpr const char* sk_formats[] = {"Mono8", "Mono12p", "BayerRG8", "RGB8"};

struct Totals {
  std::atomic<uint64_t> sent = 0, delivered = 0, incomplete = 0, lost = 0, runs = 0, converted = 0;
  std::atomic<int> wrong = 0;
};

class Worker {
 public:
  Worker(Orvex::ISystem& system, OrvexSim::VirtualCamera& camera, std::size_t index, unsigned seed,
         Totals& totals)
      : m_system(system), m_camera(camera), m_index(index), m_random(seed), m_totals(totals) {}

  void Run(Clock::time_point end) {
    while (Clock::now() < end) {
      try {
        Session(end);
      } catch (const GenICam::GenericException& error) {
        Complain(error.GetDescription());
      } catch (const std::exception& error) {
        Complain(error.what());
      }
      if (m_pDevice != nullptr) Close();
    }
  }

 private:
  // Counts what the library hands over on its own thread.
  class Counter : public Orvex::IImageCallback {
   public:
    void OnImage(Orvex::IImage* pImage) override {
      ++frames;
      if (pImage->IsIncomplete()) ++incomplete;
    }
    std::atomic<uint64_t> frames = 0, incomplete = 0;
  };

  std::size_t Below(std::size_t limit) {
    return std::uniform_int_distribution<std::size_t>(0, limit - 1)(m_random);
  }
  void Complain(const std::string& text) {
    ++m_totals.wrong;
    std::fprintf(stderr, "camera %zu: %s\n", m_index, text.c_str());
  }

  // One opening, with some streams.
  void Session(Clock::time_point end) {
    {
      static std::mutex updating;
      const std::lock_guard lock(updating);
      m_system.UpdateDevices(200);
      m_pDevice = OpenAt(m_system, AddressOf(m_index));
    }
    if (m_pDevice == nullptr) return Complain("the camera was not found");
    for (std::size_t n = 1 + Below(6); n > 0 && Clock::now() < end; --n) Stream();
  }

  void Close() {
    try {
      m_system.DestroyDevice(m_pDevice);
    } catch (const GenICam::GenericException& error) {
      Complain(error.GetDescription());
    }
    m_pDevice = nullptr;
  }

  void Stream() {
    GenApi::INodeMap* pNodes = m_pDevice->GetNodeMap();
    Orvex::SetNodeValue<GenICam::gcstring>(pNodes, "PixelFormat",
                                           sk_formats[Below(std::size(sk_formats))]);
    for (int n = 0; n < 2; ++n) {
      const FaultChoice& fault = sk_faults[Below(std::size(sk_faults))];
      m_camera.Set(fault.feature, fault.value);
    }
    m_sentBefore = SentByCamera();
    m_lostBefore = StreamCount("StreamLostFrameCount");
    const bool callback = Below(3) == 0;
    const auto duration = std::chrono::milliseconds(100 + Below(1500));
    uint64_t delivered = 0, incomplete = 0;
    if (callback) {
      Counter counter;
      m_pDevice->RegisterImageCallback(&counter);
      m_pDevice->StartStream(2 + Below(20));
      std::this_thread::sleep_for(duration);
      Orvex::ExecuteNode(pNodes, "AcquisitionStop");
      const auto stopped = Clock::now();
      do {
        std::this_thread::sleep_for(std::chrono::milliseconds(sk_frameTime));
      } while (!IsSettled(counter.frames) && Clock::now() - stopped < sk_settleTime);
      Account(counter.frames, counter.incomplete);
      m_pDevice->StopStream();
      m_pDevice->DeregisterImageCallback(&counter);
    } else {
      m_pDevice->StartStream(2 + Below(20));
      const auto stop = Clock::now() + duration;
      bool stopped = false;
      for (;;) {
        if (!stopped && Clock::now() >= stop) {
          Orvex::ExecuteNode(pNodes, "AcquisitionStop");
          stopped = true;
        }
        try {
          Take(delivered, incomplete);
        } catch (const GenICam::TimeoutException&) {
          if (stopped && (IsSettled(delivered) || Clock::now() >= stop + sk_settleTime)) break;
        }
      }
      Account(delivered, incomplete);
      m_pDevice->StopStream();
    }
    for (const FaultChoice& choice : sk_faults) {
      m_camera.Set(choice.feature, std::string(choice.value) == "true" ? "false" : "0");
    }
    ++m_totals.runs;
  }

  uint64_t SentByCamera() const { return std::stoull(m_camera.Get("SimFramesSent")); }

  uint64_t StreamCount(const char* name) const {
    return static_cast<uint64_t>(
        Orvex::GetNodeValue<int64_t>(m_pDevice->GetTLStreamNodeMap(), name));
  }

  void Take(uint64_t& delivered, uint64_t& incomplete) {
    Orvex::IImage* pImage = m_pDevice->GetImage(sk_frameTime);
    ++delivered;
    if (pImage->IsIncomplete()) ++incomplete;
    if (Below(10) == 0 && !pImage->IsIncomplete()) {
      Orvex::ImageFactory::Destroy(Orvex::ImageFactory::Convert(pImage, Orvex::BGRa8));
      ++m_totals.converted;
    }
    // Now and then the program is too slow.
    if (Below(100) == 0) std::this_thread::sleep_for(100ms);
    m_pDevice->RequeueBuffer(pImage);
  }

  uint64_t Sent() const { return SentByCamera() - m_sentBefore; }
  // Frames without a buffer are counted since the camera was opened, those of which nothing arrived
  // since the start.
  uint64_t Lost() const {
    return StreamCount("StreamLostFrameCount") - m_lostBefore +
           StreamCount("StreamMissedFrameCount");
  }
  bool IsSettled(uint64_t delivered) const { return Sent() == delivered + Lost(); }

  // The camera has stopped and nothing more comes: what it sent is what arrived and what the stream
  // says it lost.
  void Account(uint64_t delivered, uint64_t incomplete) {
    const uint64_t sent = Sent(), lost = Lost();
    m_totals.sent += sent;
    m_totals.delivered += delivered;
    m_totals.incomplete += incomplete;
    m_totals.lost += lost;
    if (sent != delivered + lost) {
      Complain("sent " + std::to_string(sent) + ", delivered " + std::to_string(delivered) +
               ", reported lost " + std::to_string(lost));
    }
  }

  Orvex::ISystem& m_system;
  OrvexSim::VirtualCamera& m_camera;
  std::size_t m_index;
  std::mt19937 m_random;
  Totals& m_totals;
  Orvex::IDevice* m_pDevice = nullptr;
  uint64_t m_sentBefore = 0, m_lostBefore = 0;
};

void RunAll(Orvex::ISystem& system, Cameras& cameras, Clock::time_point end, unsigned seed,
            Totals& totals) {
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < cameras.size(); ++i) {
    threads.emplace_back([&, i] {
      Worker(system, *cameras[i], i, seed + static_cast<unsigned>(i), totals).Run(end);
    });
  }
  for (std::thread& thread : threads) thread.join();
}

int Main(double minutes, unsigned seed) {
  const auto whole = std::chrono::duration_cast<Clock::duration>(
      std::chrono::duration<double, std::ratio<60>>(minutes));
  Totals totals;
  Cameras cameras = StartCameras(sk_cameras);
  Orvex::ISystem* pSystem = Orvex::OpenSystem();
  // A fifth of the time to find the size of everything, then what is held must not grow.
  RunAll(*pSystem, cameras, Clock::now() + whole / 5, seed, totals);
  const Holdings before = Holdings::Now();
  RunAll(*pSystem, cameras, Clock::now() + whole * 4 / 5, seed + 1000, totals);
  const Holdings after = Holdings::Now();
  Orvex::CloseSystem(pSystem);

  std::printf("streams started and stopped   %llu\n", static_cast<unsigned long long>(totals.runs));
  std::printf("frames sent by the cameras    %llu\n", static_cast<unsigned long long>(totals.sent));
  std::printf("  delivered                   %llu (%llu of them incomplete)\n",
              static_cast<unsigned long long>(totals.delivered),
              static_cast<unsigned long long>(totals.incomplete));
  std::printf("  reported lost               %llu\n", static_cast<unsigned long long>(totals.lost));
  std::printf("frames converted              %llu\n",
              static_cast<unsigned long long>(totals.converted));
  std::printf("threads                       %zu -> %zu\n", before.threads, after.threads);
  std::printf("open files                    %zu -> %zu\n", before.files, after.files);
  std::printf("memory                        %.1f MB -> %.1f MB\n", before.bytes / 1e6,
              after.bytes / 1e6);
#ifdef ORVEX_SANITIZED
  constexpr bool sk_memoryTells = false;  // freed memory stays with the sanitizers for a while
#else
  constexpr bool sk_memoryTells = true;
#endif
  const bool flat = after.SameHandles(before) &&
                    (!sk_memoryTells || after.bytes <= before.bytes + sk_memorySlack);
  const bool holds = flat && totals.wrong == 0 && totals.sent == totals.delivered + totals.lost;
  std::printf("%s\n", holds ? "everything held" : "SOMETHING DID NOT HOLD");
  return holds ? 0 : 1;
}

}  // namespace
}  // namespace Reliability

int main(int argc, char** argv) {
  return Reliability::Main(argc > 1 ? std::atof(argv[1]) : 30, argc > 2 ? std::atoi(argv[2]) : 1);
}
