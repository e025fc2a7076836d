// SPDX-License-Identifier: Apache-2.0
#include "tools/doctor/Measure.h"

#include <arpa/inet.h>
#include <fmt/format.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <sstream>

#include "tools/Nodes.h"
#include "tools/RateMeter.h"
#include "tools/Stop.h"
#include "tools/StreamFacts.h"

namespace OrvexTools {
namespace {

using Clock = std::chrono::steady_clock;

// Registers of stream channel 0, clause 28 of GigE Vision 2.2.
constexpr std::int64_t sk_hostPortRegister = 0x0D00;
constexpr std::int64_t sk_packetSizeRegister = 0x0D04;
constexpr std::int64_t sk_destinationRegister = 0x0D18;
constexpr std::uint32_t sk_fireTestPacket = 0x80000000;
constexpr std::uint32_t sk_doNotFragment = 0x40000000;
constexpr std::uint32_t sk_packetSizeMask = 0x0000FFFF;

constexpr unsigned sk_triedSizes[] = {576, 1500, 4000, 8192, 9000, 16'000};
constexpr unsigned sk_ipUdpHeaders = 28;
constexpr int sk_tries = 3;
constexpr Milliseconds sk_testPacketWait{100};
constexpr Milliseconds sk_frameWait{200};
constexpr Milliseconds sk_patience{3000};

// The way to the camera's registers: the port node of its description.
GenApi::IPort* PortOf(GenApi::INodeMap& nodes) {
  GenApi::NodeList_t list;
  nodes.GetNodes(list);
  for (GenApi::INode* pNode : list) {
    if (pNode->GetPrincipalInterfaceType() != GenApi::intfIPort) continue;
    if (pNode->GetName() == "Device") return dynamic_cast<GenApi::IPort*>(pNode);
  }
  return nullptr;
}

std::uint32_t ReadRegister(GenApi::IPort& port, std::int64_t address) {
  std::uint32_t value = 0;
  port.Read(&value, address, sizeof value);
  return ntohl(value);
}

void WriteRegister(GenApi::IPort& port, std::int64_t address, std::uint32_t value) {
  value = htonl(value);
  port.Write(&value, address, sizeof value);
}

// A UDP socket of the link on any port.
class TestSocket {
 public:
  explicit TestSocket(std::uint32_t ip) : m_fd(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(ip);
    socklen_t size = sizeof address;
    auto* pAddress = reinterpret_cast<sockaddr*>(&address);
    if (m_fd >= 0 && ::bind(m_fd, pAddress, size) == 0 && ::getsockname(m_fd, pAddress, &size) == 0)
      m_port = ntohs(address.sin_port);
  }
  ~TestSocket() {
    if (m_fd >= 0) ::close(m_fd);
  }
  TestSocket(const TestSocket&) = delete;
  TestSocket& operator=(const TestSocket&) = delete;

  std::uint16_t Port() const { return m_port; }

  // True when a datagram of so many bytes comes in time; others are passed over.
  bool Receives(std::size_t bytes) {
    const auto end = Clock::now() + sk_testPacketWait;
    while (true) {
      const auto left = std::chrono::ceil<Milliseconds>(end - Clock::now());
      pollfd readable{m_fd, POLLIN, 0};
      if (left.count() <= 0 || ::poll(&readable, 1, static_cast<int>(left.count())) <= 0)
        return false;
      char byte = 0;
      const ssize_t count = ::recv(m_fd, &byte, sizeof byte, MSG_TRUNC | MSG_DONTWAIT);
      if (count == static_cast<ssize_t>(bytes)) return true;
    }
  }

 private:
  int m_fd;
  std::uint16_t m_port = 0;
};

// Points the camera's stream channel at a socket; puts its registers back.
class Channel {
 public:
  Channel(GenApi::IPort& port, std::uint32_t ip, std::uint16_t hostPort)
      : m_port(port),
        m_packetSize(ReadRegister(port, sk_packetSizeRegister)),
        m_destination(ReadRegister(port, sk_destinationRegister)) {
    WriteRegister(port, sk_destinationRegister, ip);
    WriteRegister(port, sk_hostPortRegister, hostPort);
  }
  ~Channel() {
    try {
      WriteRegister(m_port, sk_packetSizeRegister, m_packetSize & ~sk_fireTestPacket);
      WriteRegister(m_port, sk_hostPortRegister, 0);
      WriteRegister(m_port, sk_destinationRegister, m_destination);
    } catch (...) {
      // The camera has gone, and its settings with it.
    }
  }
  Channel(const Channel&) = delete;
  Channel& operator=(const Channel&) = delete;

  // False when the camera does not take that size.
  bool Fire(unsigned bytes) {
    const std::uint32_t value = (m_packetSize & ~sk_packetSizeMask & ~sk_fireTestPacket) | bytes;
    WriteRegister(m_port, sk_packetSizeRegister, value | sk_doNotFragment | sk_fireTestPacket);
    return (ReadRegister(m_port, sk_packetSizeRegister) & sk_packetSizeMask) == bytes;
  }

 private:
  GenApi::IPort& m_port;
  std::uint32_t m_packetSize;
  std::uint32_t m_destination;
};

std::optional<bool> Arrives(Channel& channel, TestSocket& socket, unsigned bytes) {
  try {
    for (int i = 0; i < sk_tries && !StopRequested(); ++i) {
      if (!channel.Fire(bytes)) return std::nullopt;
      if (socket.Receives(bytes - sk_ipUdpHeaders)) return true;
    }
    return false;
  } catch (const GenICam::GenericException&) {
    return std::nullopt;  // a size that the camera refuses says nothing about the way
  }
}

struct LinkCounts {
  std::optional<std::int64_t> packets;
  std::int64_t drops = 0;
  std::int64_t errors = 0;
  std::int64_t backlogDrops = 0;
};

LinkCounts CountsOf(const Host& host, const std::string& link) {
  const std::string folder = "/sys/class/net/" + link + "/statistics/";
  const auto sum = [&](std::initializer_list<const char*> names) {
    std::int64_t total = 0;
    for (const char* pName : names) total += ReadNumber(host, folder + pName).value_or(0);
    return total;
  };
  LinkCounts counts;
  counts.packets = ReadNumber(host, folder + "rx_packets");
  counts.drops = sum({"rx_missed_errors", "rx_fifo_errors", "rx_over_errors"});
  counts.errors = sum({"rx_crc_errors", "rx_frame_errors", "rx_length_errors"});
  // One line a processor; the second word counts what its backlog did not take.
  std::istringstream table(host.ReadFile("/proc/net/softnet_stat").value_or(""));
  std::string line;
  while (std::getline(table, line)) {
    std::istringstream words(line);
    std::string processed;
    std::string dropped;
    words >> processed >> dropped;
    std::int64_t value = 0;
    std::from_chars(dropped.data(), dropped.data() + dropped.size(), value, 16);
    counts.backlogDrops += value;
  }
  return counts;
}

// "... of 6291456 bytes; ..."
std::int64_t WantedBuffer(const std::string& advice) {
  constexpr std::string_view sk_before = "rmem_max=";
  const std::size_t at = advice.find(sk_before);
  std::int64_t value = 0;
  if (at != std::string::npos)
    std::from_chars(advice.data() + at + sk_before.size(), advice.data() + advice.size(), value);
  return value;
}

void FillFrom(GenApi::INodeMap* pNodes, TestStream& test) {
  Record facts;
  ReadStreamFacts(pNodes, facts);
  test.seenPackets = FactOf(facts, "seen_packets");
  test.lostPackets = FactOf(facts, "lost_packets");
  test.resentPackets = FactOf(facts, "resent_packets");
  test.socketDrops = FactOf(facts, "socket_drops");
  test.framesWithoutBuffer = FactOf(facts, "lost_frames");
  test.bufferWanted = WantedBuffer(TryRead(pNodes, "StreamSocketBufferAdvice").value_or(""));
  test.bufferGranted = FactOf(facts, "socket_buffer");
}

}  // namespace

std::vector<ProbedSize> ProbePath(Camera& camera, const HostLink& link) {
  std::vector<ProbedSize> probed;
  GenApi::IPort* pPort = PortOf(camera.Nodes());
  TestSocket socket(link.ip);
  if (pPort == nullptr || socket.Port() == 0) return probed;
  try {
    Channel channel(*pPort, link.ip, socket.Port());
    std::vector<unsigned> sizes(std::begin(sk_triedSizes), std::end(sk_triedSizes));
    sizes.push_back(link.mtu & ~3U);
    std::sort(sizes.begin(), sizes.end());
    sizes.erase(std::unique(sizes.begin(), sizes.end()), sizes.end());
    for (const unsigned bytes : sizes) {
      if (bytes > link.mtu || bytes > sk_triedSizes[std::size(sk_triedSizes) - 1]) break;
      const std::optional<bool> arrived = Arrives(channel, socket, bytes);
      if (arrived) probed.push_back({bytes, *arrived});
    }
  } catch (const GenICam::GenericException&) {
    // Without these registers the test stream alone has to tell.
  }
  return probed;
}

TestStream RunTestStream(Camera& camera, const Host& host, const std::string& link,
                         double seconds) {
  TestStream test;
  RateMeter meter;
  const LinkCounts before = CountsOf(host, link);
  try {
    const Setting mode(camera, "AcquisitionMode", "Continuous");
    Stream stream(camera);
    const auto begin = Clock::now();
    const auto end =
        begin + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
    auto lastFrame = begin;
    auto now = begin;
    while (!StopRequested() && now < end) {
      const Frame frame = stream.Next(sk_frameWait);
      now = Clock::now();
      if (frame) {
        meter.AddFrame(now, frame->GetSizeFilled(), frame->GetFrameId(), frame->IsIncomplete());
        lastFrame = now;
      } else if (now - lastFrame >= sk_patience) {
        if (!camera.Answers()) throw LostCamera(camera.Facts());
        const std::string trigger = TryRead(&camera.Nodes(), "TriggerMode").value_or("");
        if (trigger == "On")
          test.failure = "the camera waits for a trigger, so nothing was streamed";
        break;
      }
    }
    test.seconds = std::chrono::duration<double>(now - begin).count();
    FillFrom(camera.Device().GetTLStreamNodeMap(), test);
    stream.Stop();
  } catch (...) {
    test.failure = "the test stream failed: " + PlainLine(std::current_exception());
  }
  const LinkCounts after = CountsOf(host, link);
  test.frames = meter.Frames();
  test.incompleteFrames = meter.Incomplete();
  test.missingFrames = meter.Missing();
  if (before.packets && after.packets) test.linkPackets = *after.packets - *before.packets;
  test.linkDrops = after.drops - before.drops;
  test.linkErrors = after.errors - before.errors;
  test.backlogDrops = after.backlogDrops - before.backlogDrops;
  return test;
}

}  // namespace OrvexTools
