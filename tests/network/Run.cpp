// SPDX-License-Identifier: Apache-2.0
#include "tests/network/Run.h"

#include <arpa/inet.h>
#include <linux/capability.h>
#include <linux/filter.h>
#include <linux/if_packet.h>
#include <net/ethernet.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <Orvex.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <fstream>
#include <map>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <thread>

#include "simulator/FrameSource.h"
#include "simulator/VirtualCamera.h"

namespace NetworkLab {

namespace {

double Monotonic() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

double OwnCpuSeconds() {
  timespec time;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

double ResidentBytes() {
  std::ifstream file("/proc/self/statm");
  double total = 0, resident = 0;
  file >> total >> resident;
  return resident * static_cast<double>(sysconf(_SC_PAGESIZE));
}

uint64_t RealNanoseconds() {
  timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  return static_cast<uint64_t>(now.tv_sec) * 1000000000 + static_cast<uint64_t>(now.tv_nsec);
}

// Notes when the kernel saw each block's trailer arrive, beside the receiver and unknown to it.
class ArrivalWatch {
 public:
  ArrivalWatch() {
    // Trailers with standard ids: UDP, incoming, low half of the format byte 2.
    sock_filter code[] = {
        BPF_STMT(BPF_LD | BPF_B | BPF_ABS, 9),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, IPPROTO_UDP, 0, 7),
        BPF_STMT(BPF_LDX | BPF_B | BPF_MSH, 0),
        BPF_STMT(BPF_LD | BPF_H | BPF_IND, 4),  // a trailer is short
        BPF_JUMP(BPF_JMP | BPF_JGT | BPF_K, 64, 4, 0),
        BPF_STMT(BPF_LD | BPF_B | BPF_IND, 8 + 4),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, 2, 0, 2),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<uint32_t>(SKF_AD_OFF + SKF_AD_PKTTYPE)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, PACKET_HOST, 1, 0),
        BPF_STMT(BPF_RET | BPF_K, 0),
        BPF_STMT(BPF_RET | BPF_K, 128),
    };
    const sock_fprog program{static_cast<unsigned short>(std::size(code)), code};
    m_fd = UniqueFd(socket(AF_PACKET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    const int on = 1;
    sockaddr_ll local{};
    local.sll_family = AF_PACKET;
    local.sll_protocol = htons(ETH_P_IP);
    const timeval wait{0, 20000};
    if (!m_fd ||
        setsockopt(m_fd.Get(), SOL_SOCKET, SO_ATTACH_FILTER, &program, sizeof program) != 0 ||
        setsockopt(m_fd.Get(), SOL_SOCKET, SO_TIMESTAMPNS, &on, sizeof on) != 0 ||
        setsockopt(m_fd.Get(), SOL_SOCKET, SO_RCVTIMEO, &wait, sizeof wait) != 0 ||
        bind(m_fd.Get(), reinterpret_cast<const sockaddr*>(&local), sizeof local) != 0)
      throw std::runtime_error("arrivals cannot be watched");
    m_thread = std::thread([this] { Watch(); });
  }
  ~ArrivalWatch() {
    m_stop = true;
    m_thread.join();
  }
  std::map<uint64_t, uint64_t> Take() {
    const std::lock_guard lock(m_mutex);
    return std::move(m_arrivals);
  }

 private:
  void Watch() {
    while (!m_stop) {
      uint8_t packet[128], control[128];
      iovec part{packet, sizeof packet};
      msghdr message{};
      message.msg_iov = &part;
      message.msg_iovlen = 1;
      message.msg_control = control;
      message.msg_controllen = sizeof control;
      const ssize_t size = recvmsg(m_fd.Get(), &message, 0);
      if (size < 20 + 8 + 8) continue;
      const size_t at = size_t{packet[0] & 0x0Fu} * 4 + 8;
      const uint64_t block = uint64_t{packet[at + 2]} << 8 | packet[at + 3];
      for (cmsghdr* c = CMSG_FIRSTHDR(&message); c != nullptr; c = CMSG_NXTHDR(&message, c)) {
        if (c->cmsg_level != SOL_SOCKET || c->cmsg_type != SCM_TIMESTAMPNS) continue;
        timespec time;
        std::memcpy(&time, CMSG_DATA(c), sizeof time);
        const std::lock_guard lock(m_mutex);
        m_arrivals.emplace(block, static_cast<uint64_t>(time.tv_sec) * 1000000000 +
                                      static_cast<uint64_t>(time.tv_nsec));
      }
    }
  }

  UniqueFd m_fd;
  std::atomic<bool> m_stop{false};
  std::mutex m_mutex;
  std::map<uint64_t, uint64_t> m_arrivals;
  std::thread m_thread;
};

// Bytes that are at home in one place only.
std::vector<uint8_t> Pattern(size_t size) {
  std::vector<uint8_t> bytes(size);
  uint32_t state = 1;
  for (uint8_t& byte : bytes) {
    state = state * 1664525 + 1013904223;
    byte = static_cast<uint8_t>(state >> 24);
  }
  return bytes;
}

class PatternSource final : public OrvexSim::FrameSource {
 public:
  PatternSource(uint32_t width, uint32_t height)
      : m_width(width), m_height(height), m_bytes(Pattern(size_t{width} * height)) {}
  size_t Count() const override { return 1; }
  size_t LargestFrame() const override { return m_bytes.size(); }
  bool Immutable() const override { return true; }
  OrvexSim::SourceFrame At(size_t) override {
    OrvexSim::SourceFrame frame;
    frame.pixelFormat = 0x01080001;  // Mono8
    frame.width = m_width;
    frame.height = m_height;
    frame.data = m_bytes;
    return frame;
  }

 private:
  const uint32_t m_width, m_height;
  const std::vector<uint8_t> m_bytes;
};

void SetText(GenApi::INodeMap* map, const std::string& name, const std::string& value) {
  GenApi::CValuePtr node(map->GetNode(name.c_str()));
  if (!node.IsValid()) throw std::runtime_error("no feature " + name);
  node->FromString(value.c_str());
}

int64_t Number(GenApi::INodeMap* map, const char* name) {
  GenApi::CIntegerPtr number(map->GetNode(name));
  if (number.IsValid()) return number->GetValue();
  GenApi::CEnumerationPtr entry(map->GetNode(name));
  return entry.IsValid() ? entry->GetIntValue() : -1;
}

void TakeNodes(Outcome& outcome, GenApi::INodeMap* stream) {
  const std::pair<const char*, int64_t Outcome::*> rows[] = {
      {"StreamLostPacketCount", &Outcome::lostPackets},
      {"StreamResendRequestCount", &Outcome::requests},
      {"StreamResendRequestedPacketCount", &Outcome::requestedPackets},
      {"StreamResentPacketCount", &Outcome::resent},
      {"StreamDuplicatePacketCount", &Outcome::duplicates},
      {"StreamLatePacketCount", &Outcome::late},
      {"StreamReorderedPacketCount", &Outcome::reordered},
      {"StreamRefusedPacketCount", &Outcome::refused},
      {"StreamMissedFrameCount", &Outcome::missedFrames},
      {"StreamLostFrameCount", &Outcome::lostFrames},
      {"StreamSocketDropCount", &Outcome::socketDrops},
      {"StreamSeenPacketCount", &Outcome::packets},
      {"StreamEngine", &Outcome::engine},
      {"DeviceStreamChannelPacketSize", &Outcome::packetSize},
  };
  for (const auto& [name, member] : rows) outcome.*member = Number(stream, name);
}

// Frames taken one by one.
class Taker {
 public:
  Taker(Orvex::IDevice* device, const Plan& plan, Outcome& outcome)
      : m_device(device), m_plan(plan), m_outcome(outcome) {}

  void Run() {
    const uint64_t wait = 2000;
    double start = 0, cpu = 0, halfMemory = 0;
    unsigned taken = 0;
    while (m_outcome.frames < m_plan.frames && m_outcome.timeouts < 2) {
      if (start != 0 && Monotonic() - start > m_plan.seconds) break;
      Orvex::IBuffer* buffer = nullptr;
      try {
        buffer = m_device->GetBuffer(wait);
      } catch (const GenICam::TimeoutException&) {
        ++m_outcome.timeouts;
        continue;
      }
      const uint64_t returned = RealNanoseconds();
      if (++taken <= m_plan.warmUp) {
        m_device->RequeueBuffer(buffer);
        continue;
      }
      if (start == 0) {
        start = Monotonic();
        cpu = OwnCpuSeconds();
        m_outcome.firstId = buffer->GetFrameId();
      }
      Note(*buffer, returned);
      m_device->RequeueBuffer(buffer);
      const bool half =
          m_outcome.frames >= m_plan.frames / 2 || Monotonic() - start > m_plan.seconds / 2;
      if (m_plan.growth && halfMemory == 0 && half) halfMemory = ResidentBytes();
    }
    m_outcome.seconds = Monotonic() - start;
    m_outcome.cpuSeconds = OwnCpuSeconds() - cpu;
    if (m_plan.growth) m_outcome.memoryGrowth = ResidentBytes() - halfMemory;
  }

  // With the arrivals that were seen beside.
  void TakeLatencies(const std::map<uint64_t, uint64_t>& arrivals) {
    std::vector<double> delays;
    for (const auto& [block, returned] : m_returned) {
      const auto found = arrivals.find(block);
      if (found != arrivals.end() && returned > found->second)
        delays.push_back(static_cast<double>(returned - found->second) * 1e-3);
    }
    std::sort(delays.begin(), delays.end());
    m_outcome.latencies = static_cast<unsigned>(delays.size());
    if (delays.empty()) return;
    m_outcome.latencyMedian = delays[delays.size() / 2];
    m_outcome.latencyHigh = delays[delays.size() * 99 / 100];
  }

 private:
  void Note(Orvex::IBuffer& buffer, uint64_t returned) {
    ++m_outcome.frames;
    m_outcome.bytes += buffer.GetSizeFilled();
    if (buffer.IsIncomplete()) ++m_outcome.incomplete;
    if (m_plan.compare) Compare(buffer);
    m_outcome.lastId = buffer.GetFrameId();
    if (m_plan.latency) m_returned.emplace(buffer.GetFrameId(), returned);
  }

  void Compare(Orvex::IBuffer& buffer) {
    const size_t size = buffer.GetSizeFilled();
    if (m_pattern.size() != size) m_pattern = Pattern(size);
    const bool same = std::memcmp(buffer.GetData(), m_pattern.data(), size) == 0;
    if (!same && !buffer.IsIncomplete()) ++m_outcome.wrong;
  }

  std::vector<uint8_t> m_pattern;
  Orvex::IDevice* m_device;
  const Plan& m_plan;
  Outcome& m_outcome;
  std::map<uint64_t, uint64_t> m_returned;
};

Orvex::IDevice* OpenCamera(Orvex::ISystem* system, const std::string& address) {
  const uint32_t ip = ntohl(inet_addr(address.c_str()));
  system->UpdateDevices(1000);
  for (Orvex::DeviceInfo info : system->GetDevices()) {
    if (info.IpAddress() == ip) return system->CreateDevice(info);
  }
  throw std::runtime_error("no camera at " + address);
}

// Whatever the process may do elsewhere, it is nobody on the network from here on.
void DropNetworkRights() {
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  __user_cap_data_struct data[2]{};
  if (syscall(SYS_capget, &header, data) != 0) return;
  const uint32_t network = 1u << CAP_NET_ADMIN | 1u << CAP_NET_RAW;
  data[0].effective &= ~network;
  data[0].permitted &= ~network;
  if (syscall(SYS_capset, &header, data) != 0)
    throw std::runtime_error("the rights cannot be dropped");
}

void StreamFrom(Orvex::IDevice* device, const Plan& plan, Outcome& outcome) {
  GenApi::INodeMap* stream = device->GetTLStreamNodeMap();
  for (const auto& [name, value] : plan.features) SetText(device->GetNodeMap(), name, value);
  for (const auto& [name, value] : plan.nodes) SetText(stream, name, value);
  if (!plan.engine.empty()) SetText(stream, "StreamEngineMode", plan.engine);
  if (plan.packetSize != 0)
    SetText(stream, "DeviceStreamChannelPacketSize", std::to_string(plan.packetSize));
  std::unique_ptr<ArrivalWatch> watch;
  if (plan.latency) watch = std::make_unique<ArrivalWatch>();
  Taker taker(device, plan, outcome);
  device->StartStream(plan.buffers);
  taker.Run();
  TakeNodes(outcome, stream);
  if (watch) taker.TakeLatencies(watch->Take());
  device->StopStream();
}

void Stream(const Plan& plan, Outcome& outcome) {
  if (plan.unprivileged) DropNetworkRights();
  Orvex::ISystem* system = Orvex::OpenSystem();
  Orvex::IDevice* device = OpenCamera(system, plan.address);
  StreamFrom(device, plan, outcome);
  system->DestroyDevice(device);
  Orvex::CloseSystem(system);
}

template <class Body>
bool Guarded(char (&failure)[240], Body&& body) {
  try {
    body();
    return true;
  } catch (const std::exception& error) {
    std::snprintf(failure, sizeof failure, "%s", error.what());
    return false;
  } catch (const GenICam::GenericException& error) {
    std::snprintf(failure, sizeof failure, "%s", error.GetDescription());
    return false;
  }
}

void AfterPull(Orvex::ISystem* system, Orvex::IDevice* device, Pull& pull) {
  const double start = Monotonic();
  while (device->IsConnected() && Monotonic() - start < 5) usleep(2000);
  pull.secondsToNotice = Monotonic() - start;
  const double tearDown = Monotonic();
  char ignored[240];
  Guarded(ignored, [&] { device->StopStream(); });
  Guarded(ignored, [&] { system->DestroyDevice(device); });
  pull.secondsToTearDown = Monotonic() - tearDown;
}

Pull StreamPullStream(const Cable& cable, double seconds) {
  Pull pull;
  Guarded(pull.failure, [&] {
    Plan plan;
    plan.frames = 20;
    Orvex::ISystem* system = Orvex::OpenSystem();
    Orvex::IDevice* device = OpenCamera(system, plan.address);
    // The camera must have noticed the loss as well when it is opened again.
    SetText(device->GetNodeMap(), "GevHeartbeatTimeout", "1000");
    device->StartStream(20);
    Outcome before, after;
    Taker(device, plan, before).Run();
    cable.Plug(false);
    const double pulled = Monotonic();
    AfterPull(system, device, pull);
    while (Monotonic() - pulled < seconds) usleep(10000);
    cable.Plug(true);
    usleep(200000);
    device = OpenCamera(system, plan.address);
    StreamFrom(device, plan, after);
    system->DestroyDevice(device);
    Orvex::CloseSystem(system);
    pull.whole = before.frames == 20 && after.frames == 20 && after.incomplete == 0;
  });
  return pull;
}

}  // namespace

Child StartCameras(int nameSpace, const std::vector<OrvexSim::CameraOptions>& cameras) {
  Child child(nameSpace, [&](Child::Link& link) {
    std::vector<std::unique_ptr<OrvexSim::VirtualCamera>> running;
    for (const auto& options : cameras) {
      running.push_back(std::make_unique<OrvexSim::VirtualCamera>(options));
      running.back()->Start();
    }
    const char ready = 1;
    link.tell(&ready, 1);
    link.wait();
  });
  char ready;
  if (!child.Hear(&ready, 1, 30)) throw std::runtime_error("the virtual cameras did not start");
  return child;
}

OrvexSim::CameraOptions PatternCamera(const std::string& address, uint32_t width, uint32_t height,
                                      double frameRate) {
  OrvexSim::CameraOptions options;
  options.address = address;
  options.source = std::make_shared<PatternSource>(width, height);
  options.frameRate = frameRate;
  options.settings = {{"DeviceLinkThroughputLimitMode", "Off"}, {"ExposureTime", "20"}};
  return options;
}

Outcome Receive(const Plan& plan) {
  Outcome outcome;
  outcome.failed = !Guarded(outcome.failure, [&] { Stream(plan, outcome); });
  return outcome;
}

Outcome ReceiveAway(int nameSpace, const Plan& plan) {
  return Away<Outcome>(nameSpace, [&plan] { return Receive(plan); });
}

Outcome ReceiveMany(const std::vector<Plan>& plans) {
  std::vector<Outcome> outcomes(plans.size());
  Outcome sum;
  sum.failed = !Guarded(sum.failure, [&] {
    Orvex::ISystem* system = Orvex::OpenSystem();
    std::vector<Orvex::IDevice*> devices;
    for (const Plan& plan : plans) devices.push_back(OpenCamera(system, plan.address));
    std::vector<std::thread> threads;
    for (size_t i = 0; i < plans.size(); ++i) {
      threads.emplace_back([&, i] {
        outcomes[i].failed =
            !Guarded(outcomes[i].failure, [&] { StreamFrom(devices[i], plans[i], outcomes[i]); });
      });
    }
    for (std::thread& thread : threads) thread.join();
    for (Orvex::IDevice* device : devices) system->DestroyDevice(device);
    Orvex::CloseSystem(system);
  });
  for (const Outcome& one : outcomes) {
    sum.failed = sum.failed || one.failed;
    if (one.failed) std::memcpy(sum.failure, one.failure, sizeof sum.failure);
    sum.frames += one.frames;
    sum.incomplete += one.incomplete;
    sum.missedFrames += one.missedFrames;
    sum.lostFrames += one.lostFrames;
    sum.timeouts += one.timeouts;
    sum.bytes += one.bytes;
    sum.seconds = std::max(sum.seconds, one.seconds);
  }
  return sum;
}

double ReadRegisters(const std::string& address, unsigned count) {
  return Away<double>(-1, [&] {
    Orvex::ISystem* system = Orvex::OpenSystem();
    Orvex::IDevice* device = OpenCamera(system, address);
    GenApi::CIntegerPtr node(device->GetNodeMap()->GetNode("DeviceStreamChannelPacketSize"));
    const double start = Monotonic();
    for (unsigned i = 0; i < count; ++i) node->GetValue(false, true);
    const double seconds = Monotonic() - start;
    system->DestroyDevice(device);
    Orvex::CloseSystem(system);
    return seconds;
  });
}

Pull PullCable(double seconds) {
  const Cable cable;
  const Child cameras =
      StartCameras(cable.Camera(), {PatternCamera(Cable::sk_camera, 640, 480, 50)});
  return Away<Pull>(cable.Host(), [&] { return StreamPullStream(cable, seconds); });
}

}  // namespace NetworkLab
