// SPDX-License-Identifier: Apache-2.0
// usage: reliability_matrix [--faults NAME,...] [--states NAME,...] [--cameras 1,4] [--markdown]
// Every fault of the virtual camera in every state of the library, with one camera and with four of
// which one is faulty. Each cell checks: no call takes longer than its documented time; what is
// thrown is what the fault may cause; the other cameras go on; afterwards no thread and no file is
// left over, and the next use delivers whole frames. Ends with 1 when a cell fails.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <functional>
#include <iostream>
#include <map>
#include <set>
#include <sstream>

#include "Cameras.h"

namespace Reliability {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr uint64_t sk_discoveryTime = 300;  // ms
constexpr uint64_t sk_frameTime = 1000;     // ms
// What the documentation promises for one call, and what a busy machine may add to it.
constexpr auto sk_callTime = 3000ms;
constexpr auto sk_slack = 1500ms;

// What may be thrown for the faulty camera.
enum class Harm {
  None,     // nothing: the library mends it, or delivers the frame as incomplete
  Refusal,  // the camera refuses a register: AccessException, or what depends on the register
  Loss,     // the camera is not there any more
};

struct Fault {
  const char* name;
  Harm harm;
  void (*arm)(OrvexSim::VirtualCamera&);
};

constexpr Fault sk_faults[] = {
    {"none", Harm::None, [](OrvexSim::VirtualCamera&) {}},
    {"drop packets", Harm::None, [](auto& camera) { camera.Set("SimDropRate", "5"); }},
    {"duplicate packets", Harm::None, [](auto& camera) { camera.Set("SimDuplicateRate", "5"); }},
    {"reorder packets", Harm::None, [](auto& camera) { camera.Set("SimReorderRate", "5"); }},
    {"corrupt packets", Harm::None, [](auto& camera) { camera.Set("SimCorruptRate", "5"); }},
    {"delay packets", Harm::None, [](auto& camera) { camera.Set("SimDelayRate", "2"); }},
    {"lose leaders", Harm::None, [](auto& camera) { camera.Set("SimLoseLeaderRate", "50"); }},
    {"lose trailers", Harm::None, [](auto& camera) { camera.Set("SimLoseTrailerRate", "50"); }},
    {"refuse resends", Harm::None,
     [](auto& camera) {
       camera.Set("SimDropRate", "5");
       camera.Set("SimRefuseResends", "true");
     }},
    {"lose resends", Harm::None,
     [](auto& camera) {
       camera.Set("SimDropRate", "5");
       camera.Set("SimDropResentRate", "50");
     }},
    {"lose acknowledges", Harm::None, [](auto& camera) { camera.Set("SimDropAckRate", "10"); }},
    {"stop heartbeat answers", Harm::Loss,
     [](auto& camera) { camera.Set("SimIgnoreHeartbeat", "true"); }},
    {"go silent", Harm::Loss, [](auto& camera) { camera.Set("SimGoSilent"); }},
    {"deny registers", Harm::Refusal,
     [](auto& camera) { camera.Set("SimDenyRegisters", "0x0D04, Width, ExposureTime"); }},
    {"slow registers", Harm::None,
     [](auto& camera) {
       camera.Set("SimSlowTime", "300");
       camera.Set("SimSlowRegisters", "0x0D04, Width, ExposureTime");
     }},
    {"reset", Harm::Loss, [](auto& camera) { camera.Set("DeviceReset"); }},
    {"change address", Harm::Loss,
     [](auto& camera) {
       camera.Set("SimNextAddress", "2130709448");  // 127.0.11.200
       camera.Set("SimChangeAddress");
     }},
    {"broken description", Harm::Loss,
     [](auto& camera) { camera.Set("SimBrokenDescription", "true"); }},
    {"switch off", Harm::Loss, [](auto& camera) { camera.Stop(); }},
};

constexpr const char* sk_states[] = {"discovering", "opening",  "idle",   "starting",
                                     "streaming",   "stopping", "closing"};

class Cell {
 public:
  Cell(const Fault& fault, std::string state, std::size_t count)
      : m_fault(fault), m_state(std::move(state)), m_count(count) {}

  // What went wrong, empty when nothing did.
  std::string Run();
  Clock::duration Longest() const { return m_longest; }
  const std::set<std::string>& Thrown() const { return m_thrown; }

 private:
  struct Side {
    Orvex::IDevice* pDevice = nullptr;
    bool streaming = false;
    int whole = 0;
  };

  void Enter(const char* state) {
    if (m_state == state) m_fault.arm(*m_cameras[0]);
  }
  bool Faulty(std::size_t index) const { return index == 0; }
  bool Allowed(std::size_t index, const GenICam::GenericException& error) const;
  bool Try(std::size_t index, const char* call, const std::function<void()>& action);
  void Use();
  void Pump(int frames, const char* when);
  void CheckNextUse();
  void Complain(const std::string& text) {
    m_complaint += (m_complaint.empty() ? "" : "; ") + text;
  }

  const Fault& m_fault;
  std::string m_state;
  std::size_t m_count;
  Cameras m_cameras;
  Orvex::ISystem* m_pSystem = nullptr;
  std::vector<Side> m_sides;
  std::string m_complaint;
  Clock::duration m_longest{};
  std::set<std::string> m_thrown;
};

// The class at the front of a description: "RuntimeException (GC_ERR_IO): ..."
std::string KindOf(const std::string& description) {
  return description.substr(0, description.find(':'));
}

bool Cell::Allowed(std::size_t index, const GenICam::GenericException& error) const {
  if (!Faulty(index)) return false;
  if (dynamic_cast<const GenICam::TimeoutException*>(&error) != nullptr)
    return m_fault.harm != Harm::None;
  if (m_fault.harm == Harm::Refusal) return true;
  if (m_fault.harm != Harm::Loss) return false;
  return dynamic_cast<const GenICam::RuntimeException*>(&error) != nullptr ||
         dynamic_cast<const GenICam::AccessException*>(&error) != nullptr;
}

// True when the call came through.
bool Cell::Try(std::size_t index, const char* call, const std::function<void()>& action) {
  const auto begin = Clock::now();
  bool done = false;
  try {
    action();
    done = true;
  } catch (const GenICam::GenericException& error) {
    const std::string text = error.GetDescription();
    m_thrown.insert(KindOf(text));
    if (!Allowed(index, error))
      Complain(std::string(call) + " of camera " + std::to_string(index) + " threw " + text);
  } catch (const std::exception& error) {
    Complain(std::string(call) + " threw " + error.what());
  }
  const auto time = Clock::now() - begin;
  m_longest = std::max(m_longest, time);
  if (time > sk_callTime + sk_slack) {
    Complain(std::string(call) + " took " +
             std::to_string(std::chrono::duration_cast<std::chrono::milliseconds>(time).count()) +
             " ms");
  }
  return done;
}

void Cell::Pump(int frames, const char* when) {
  for (std::size_t i = 0; i < m_sides.size(); ++i) {
    if (!m_sides[i].streaming) continue;
    for (int n = 0; n < frames; ++n) {
      const bool came = Try(i, when, [&] {
        Orvex::IBuffer* pFrame = m_sides[i].pDevice->GetBuffer(sk_frameTime);
        if (!pFrame->IsIncomplete()) ++m_sides[i].whole;
        m_sides[i].pDevice->RequeueBuffer(pFrame);
      });
      if (!came) break;
    }
  }
}

void Cell::Use() {
  Enter("discovering");
  Try(0, "UpdateDevices", [&] { m_pSystem->UpdateDevices(sk_discoveryTime); });
  Enter("opening");
  m_sides.resize(m_count);
  for (std::size_t i = 0; i < m_count; ++i) {
    Try(i, "CreateDevice", [&] { m_sides[i].pDevice = OpenAt(*m_pSystem, AddressOf(i)); });
    const bool mayBeGone = Faulty(i) && m_fault.harm != Harm::None;
    if (m_sides[i].pDevice == nullptr && !mayBeGone)
      Complain("camera " + std::to_string(i) + " was not opened");
  }
  const auto each = [&](const char* call, auto action) {
    for (std::size_t i = 0; i < m_count; ++i) {
      if (m_sides[i].pDevice != nullptr) Try(i, call, [&] { action(m_sides[i]); });
    }
  };
  Enter("idle");
  each("a feature", [](Side& side) {
    GenApi::INodeMap* pNodes = side.pDevice->GetNodeMap();
    Orvex::SetNodeValue<double>(pNodes, "ExposureTime", 1500.0);
    Orvex::GetNodeValue<int64_t>(pNodes, "Width");
  });
  each("IsConnected", [](Side& side) { side.pDevice->IsConnected(); });
  Enter("starting");
  each("StartStream", [](Side& side) {
    side.pDevice->StartStream(8);
    side.streaming = true;
  });
  Pump(3, "GetBuffer");
  Enter("streaming");
  Pump(25, "GetBuffer");
  Enter("stopping");
  each("StopStream", [](Side& side) {
    if (side.streaming) side.pDevice->StopStream();
    side.streaming = false;
  });
  Enter("closing");
  // Destroying must work at the first call, whatever has become of the camera.
  for (std::size_t i = 0; i < m_count; ++i) {
    if (m_sides[i].pDevice == nullptr) continue;
    try {
      const auto begin = Clock::now();
      m_pSystem->DestroyDevice(m_sides[i].pDevice);
      m_longest = std::max(m_longest, Clock::now() - begin);
      if (Clock::now() - begin > sk_callTime + sk_slack) Complain("DestroyDevice took too long");
    } catch (const GenICam::GenericException& error) {
      Complain(std::string("DestroyDevice threw ") + error.GetDescription());
    }
  }
  for (std::size_t i = 1; i < m_count; ++i) {
    if (m_sides[i].whole < 28)
      Complain("camera " + std::to_string(i) + " delivered " + std::to_string(m_sides[i].whole) +
               " whole frames of 28");
  }
}

void Cell::CheckNextUse() {
  m_cameras.clear();
  m_cameras = StartCameras(m_count);
  m_pSystem = Orvex::OpenSystem();
  m_pSystem->UpdateDevices(sk_discoveryTime);
  for (std::size_t i = 0; i < m_count; ++i) {
    Orvex::IDevice* pDevice = OpenAt(*m_pSystem, AddressOf(i));
    if (pDevice == nullptr) {
      Complain("next use: camera " + std::to_string(i) + " is not found");
      continue;
    }
    pDevice->StartStream(8);
    for (int n = 0; n < 5; ++n) {
      Orvex::IBuffer* pFrame = pDevice->GetBuffer(2 * sk_frameTime);
      if (pFrame->IsIncomplete()) Complain("next use: an incomplete frame");
      pDevice->RequeueBuffer(pFrame);
    }
    pDevice->StopStream();
    m_pSystem->DestroyDevice(pDevice);
  }
  Orvex::CloseSystem(m_pSystem);
  m_cameras.clear();
}

std::string Cell::Run() {
  const Holdings before = Holdings::Now();
  try {
    m_cameras = StartCameras(m_count);
    m_pSystem = Orvex::OpenSystem();
    Use();
    Orvex::CloseSystem(m_pSystem);
    CheckNextUse();
  } catch (const GenICam::GenericException& error) {
    Complain(error.GetDescription());
  } catch (const std::exception& error) {
    Complain(error.what());
  }
  m_cameras.clear();
  const Holdings after = Holdings::Now();
  if (!after.SameHandles(before)) {
    Complain("threads " + std::to_string(before.threads) + " -> " + std::to_string(after.threads) +
             ", files " + std::to_string(before.files) + " -> " + std::to_string(after.files));
  }
  return m_complaint;
}

struct Selection {
  std::set<std::string> faults, states;
  std::vector<std::size_t> cameras{1, 4};
  bool markdown = false;
};

std::set<std::string> Words(const char* text) {
  std::set<std::string> words;
  std::istringstream stream(text);
  for (std::string word; std::getline(stream, word, ',');) words.insert(word);
  return words;
}

bool Parse(int argc, char** argv, Selection& selection) {
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--markdown") == 0) {
      selection.markdown = true;
    } else if (i + 1 == argc) {
      return false;
    } else if (std::strcmp(argv[i], "--faults") == 0) {
      selection.faults = Words(argv[++i]);
    } else if (std::strcmp(argv[i], "--states") == 0) {
      selection.states = Words(argv[++i]);
    } else if (std::strcmp(argv[i], "--cameras") == 0) {
      selection.cameras.clear();
      for (const std::string& word : Words(argv[++i]))
        selection.cameras.push_back(std::stoul(word));
    } else {
      return false;
    }
  }
  return true;
}

bool Wanted(const std::set<std::string>& chosen, const char* name) {
  return chosen.empty() || chosen.contains(name);
}

int Main(int argc, char** argv) {
  Selection selection;
  if (!Parse(argc, argv, selection)) {
    std::cerr << "usage: reliability_matrix [--faults NAME,...] [--states NAME,...] "
                 "[--cameras 1,4] [--markdown]\n";
    return 2;
  }
  // Whatever the process keeps for ever (pools, loaded producer) is there before the first cell.
  Cell(sk_faults[0], "none", 1).Run();
  int cells = 0, failed = 0;
  for (const std::size_t count : selection.cameras) {
    if (selection.markdown) {
      std::cout << "\n| fault, " << count << (count == 1 ? " camera" : " cameras") << " |";
      for (const char* state : sk_states) std::cout << ' ' << state << " |";
      std::cout << "\n|---|" << std::string(std::size(sk_states) * 4, '-') << "|\n";
    }
    for (const Fault& fault : sk_faults) {
      if (!Wanted(selection.faults, fault.name)) continue;
      if (selection.markdown) std::cout << "| " << fault.name << " |";
      for (const char* state : sk_states) {
        if (!Wanted(selection.states, state)) continue;
        Cell cell(fault, state, count);
        const std::string complaint = cell.Run();
        ++cells;
        failed += complaint.empty() ? 0 : 1;
        std::string thrown;
        for (const std::string& kind : cell.Thrown()) thrown += (thrown.empty() ? "" : ", ") + kind;
        const auto longest =
            std::chrono::duration_cast<std::chrono::milliseconds>(cell.Longest()).count();
        if (selection.markdown) {
          std::cout << ' ' << (complaint.empty() ? "ok" : "FAILED") << ", " << longest << " ms |"
                    << std::flush;
        } else {
          std::printf("%-24s %-12s %zu  %-6s longest call %5lld ms%s%s%s%s\n", fault.name, state,
                      count, complaint.empty() ? "ok" : "FAILED", static_cast<long long>(longest),
                      thrown.empty() ? "" : "; thrown: ", thrown.c_str(),
                      complaint.empty() ? "" : "; ", complaint.c_str());
          std::fflush(stdout);
        }
        if (selection.markdown && !complaint.empty())
          std::cerr << fault.name << ", " << state << ", " << count << ": " << complaint << '\n';
      }
      if (selection.markdown) std::cout << '\n';
    }
  }
  std::cout << (selection.markdown ? "\n" : "") << cells - failed << " of " << cells
            << " cells hold\n";
  return failed == 0 ? 0 : 1;
}

}  // namespace
}  // namespace Reliability

int main(int argc, char** argv) {
  return Reliability::Main(argc, argv);
}
