#pragma once
// SPDX-License-Identifier: Apache-2.0
// A small host for tests of virtual cameras: sends datagrams over real sockets, waits for answers
// with a deadline, and puts frames together. It uses the codecs that have their own tests with
// hand-laid bytes.

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <bit>
#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "gigevision/Bootstrap.h"
#include "gigevision/Gvsp.h"
#include "simulator/VirtualCamera.h"

namespace B = GigEVision::Bootstrap;
using Bytes = std::vector<uint8_t>;
using GigEVision::Status;

inline constexpr uint32_t sk_loopback = 0x7F000001;

class UdpSocket {
 public:
  explicit UdpSocket(uint32_t ip = sk_loopback) {
    m_fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const int on = 1, big = 32 << 20;
    ::setsockopt(m_fd, SOL_SOCKET, SO_BROADCAST, &on, sizeof on);
    if (::setsockopt(m_fd, SOL_SOCKET, SO_RCVBUFFORCE, &big, sizeof big) != 0) {
      ::setsockopt(m_fd, SOL_SOCKET, SO_RCVBUF, &big, sizeof big);
    }
    sockaddr_in address = Address(ip, 0);
    EXPECT_EQ(::bind(m_fd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  }
  ~UdpSocket() { ::close(m_fd); }
  UdpSocket(const UdpSocket&) = delete;
  UdpSocket& operator=(const UdpSocket&) = delete;

  uint16_t Port() const {
    sockaddr_in address{};
    socklen_t size = sizeof address;
    ::getsockname(m_fd, reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
  }
  void Send(const Bytes& bytes, uint32_t ip, uint16_t port = GigEVision::sk_gvcpPort) {
    const sockaddr_in to = Address(ip, port);
    EXPECT_EQ(::sendto(m_fd, bytes.data(), bytes.size(), 0, reinterpret_cast<const sockaddr*>(&to),
                       sizeof to),
              static_cast<ssize_t>(bytes.size()));
  }
  // Empty when nothing comes in time.
  Bytes Receive(int milliseconds, sockaddr_in* from = nullptr) {
    pollfd poll{m_fd, POLLIN, 0};
    if (::poll(&poll, 1, milliseconds) <= 0) return {};
    Bytes bytes(65536);
    socklen_t size = sizeof(sockaddr_in);
    const ssize_t got =
        ::recvfrom(m_fd, bytes.data(), bytes.size(), 0, reinterpret_cast<sockaddr*>(from),
                   from == nullptr ? nullptr : &size);
    bytes.resize(got < 0 ? 0 : static_cast<size_t>(got));
    return bytes;
  }

 private:
  static sockaddr_in Address(uint32_t ip, uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(ip);
    address.sin_port = htons(port);
    return address;
  }
  int m_fd;
};

struct ReceivedFrame {
  uint64_t blockId = 0;
  GigEVision::Leader leader;
  GigEVision::Trailer trailer;
  uint32_t packets = 0;  // data packets
  bool complete = false;
  Bytes data;
  std::map<uint32_t, Bytes> raw;  // datagrams by packet id
};

// One application with its control socket and its stream socket.
class Host {
 public:
  explicit Host(const OrvexSim::VirtualCamera& camera, uint32_t cameraIp = 0x7F000002)
      : m_description(camera.Description()), m_camera(cameraIp) {}

  UdpSocket control, stream, messages;

  // ---- control ----
  // The answer to a datagram; PENDING_ACK is passed over.
  Bytes Ask(const Bytes& command) {
    control.Send(command, m_camera);
    for (;;) {
      Bytes answer = control.Receive(2000);
      const auto ack = GigEVision::DecodeAck(answer);
      if (ack && ack->header.ack == GigEVision::Ack::Pending) {
        ++pendingAcks;
        continue;
      }
      return answer;
    }
  }
  Status Write(uint32_t address, uint32_t value) {
    const GigEVision::RegisterWrite write{address, value};
    return Send([&](auto out) { return GigEVision::EncodeWriteReg(out, NextId(), {&write, 1}); });
  }
  Status WriteMem(uint32_t address, const Bytes& bytes) {
    return Send([&](auto out) {
      return GigEVision::EncodeWriteMem(out, NextId(), {address, bytes});
    });
  }
  std::optional<uint32_t> Read(uint32_t address) {
    if (Send([&](auto out) {
          return GigEVision::EncodeReadReg(out, NextId(), {&address, 1});
        }) != Status::Success)
      return {};
    return (*GigEVision::DecodeReadRegAck(GigEVision::DecodeAck(m_answer)->payload))[0];
  }
  Bytes ReadMem(uint32_t address, size_t count) {
    Bytes result;
    while (result.size() < count) {
      const auto step =
          static_cast<uint16_t>(std::min<size_t>(512, (count - result.size() + 3) / 4 * 4));
      const auto at = static_cast<uint32_t>(address + result.size());
      if (Send([&](auto out) {
            return GigEVision::EncodeReadMem(out, NextId(), {at, step});
          }) != Status::Success)
        return {};
      const auto memory = GigEVision::DecodeReadMemAck(GigEVision::DecodeAck(m_answer)->payload);
      result.insert(result.end(), memory->data.begin(), memory->data.end());
    }
    result.resize(count);
    return result;
  }
  uint16_t NextId() { return m_id = GigEVision::NextRequestId(m_id); }

  // ---- features, found in the description ----
  uint32_t Address(const std::string& feature, const std::string& kind = "_Reg") const {
    const size_t node = m_description.find(" Name=\"" + feature + kind + "\"");
    EXPECT_NE(node, std::string::npos) << feature;
    const size_t at = m_description.find("<Address>", node);
    return static_cast<uint32_t>(std::stoul(m_description.substr(at + 9), nullptr, 16));
  }
  Status Set(const std::string& feature, int64_t value, uint32_t index = 0) {
    return Write(Address(feature) + 4 * index, static_cast<uint32_t>(value));
  }
  Status SetReal(const std::string& feature, double value) {
    Bytes bytes(8);
    GigEVision::StoreBe64(bytes.data(), std::bit_cast<uint64_t>(value));
    return WriteMem(Address(feature), bytes);
  }
  int64_t Get(const std::string& feature) { return Read(Address(feature)).value_or(0xFFFFFFFF); }
  double GetReal(const std::string& feature) {
    return std::bit_cast<double>(GigEVision::LoadBe64(ReadMem(Address(feature), 8).data()));
  }
  int64_t GetWide(const std::string& feature, const std::string& kind = "_Reg") {
    return static_cast<int64_t>(GigEVision::LoadBe64(ReadMem(Address(feature, kind), 8).data()));
  }

  // ---- streaming ----
  void TakeControl() { ASSERT_EQ(Write(B::sk_ccp, B::sk_ccpControl), Status::Success); }
  void OpenStream(uint32_t packetSize = 1500) {
    using S = B::Stream;
    Write(B::sk_heartbeatTimeout, 20000);  // no thread keeps the connection alive
    ASSERT_EQ(Write(B::StreamRegister(S::Scda), sk_loopback), Status::Success);
    ASSERT_EQ(Write(B::StreamRegister(S::Scp), stream.Port()), Status::Success);
    ASSERT_EQ(Write(B::StreamRegister(S::Scps), packetSize), Status::Success);
  }
  void OpenMessages(uint32_t timeoutMs = 0, uint32_t retries = 0) {
    Write(B::sk_mcda, sk_loopback);
    Write(B::sk_mctt, timeoutMs);
    Write(B::sk_mcrc, retries);
    ASSERT_EQ(Write(B::sk_mcp, messages.Port()), Status::Success);
  }
  Status Start() { return Set("AcquisitionStart", 1); }
  Status Stop() { return Set("AcquisitionStop", 1); }
  // Collects packets until a trailer comes, or nothing for the time given.
  std::optional<ReceivedFrame> NextFrame(int milliseconds = 5000) {
    ReceivedFrame frame;
    for (;;) {
      Bytes packet = stream.Receive(milliseconds);
      const auto header = GigEVision::DecodePacketHeader(packet);
      if (!header) return frame.raw.empty() ? std::nullopt : std::optional(std::move(frame));
      if (header->blockId == 0) continue;
      const std::span<const uint8_t> content =
          std::span<const uint8_t>(packet).subspan(header->Size());
      frame.blockId = header->blockId;
      const bool last = header->format == GigEVision::PacketFormat::Trailer;
      if (header->format == GigEVision::PacketFormat::Leader)
        frame.leader = GigEVision::DecodeLeader(content).value();
      if (last) frame.trailer = GigEVision::DecodeTrailer(content).value();
      const uint32_t id = header->packetId;
      frame.raw[id] = std::move(packet);
      if (last) return Assemble(std::move(frame), id, header->Size());
    }
  }
  // Grabs `count` frames between a start and a stop.
  std::vector<ReceivedFrame> Grab(size_t count) {
    std::vector<ReceivedFrame> frames;
    EXPECT_EQ(Start(), Status::Success);
    while (frames.size() < count) {
      auto frame = NextFrame();
      if (!frame) break;
      frames.push_back(std::move(*frame));
    }
    EXPECT_EQ(Stop(), Status::Success);
    while (!stream.Receive(30).empty()) {
    }
    return frames;
  }
  void AskAgain(uint64_t block, uint32_t first, uint32_t last, bool extendedIds = false) {
    Bytes out(100);
    out.resize(GigEVision::EncodePacketResend(out, NextId(), {0, extendedIds, block, first, last}));
    control.Send(out, m_camera);
  }

  size_t pendingAcks = 0;

 private:
  template <typename Encode>
  Status Send(const Encode& encode) {
    Bytes command(GigEVision::sk_gvcpMaxDatagram);
    command.resize(encode(std::span<uint8_t>(command)));
    m_answer = Ask(command);
    const auto ack = GigEVision::DecodeAck(m_answer);
    return ack ? ack->header.status : Status::Error;
  }
  static ReceivedFrame Assemble(ReceivedFrame frame, uint32_t trailerId, size_t headerSize) {
    frame.packets = trailerId - 1;
    frame.complete = frame.raw.size() == trailerId + 1;
    for (uint32_t id = 1; id < trailerId && frame.complete; ++id) {
      const Bytes& packet = frame.raw[id];
      frame.data.insert(frame.data.end(), packet.begin() + static_cast<ptrdiff_t>(headerSize),
                        packet.end());
    }
    return frame;
  }

  std::string m_description;
  uint32_t m_camera;
  uint16_t m_id = 0;
  Bytes m_answer;
};

// A camera that runs for the length of one test.
struct RunningCamera {
  explicit RunningCamera(OrvexSim::CameraOptions options = {}) : camera(std::move(options)) {
    camera.Start();
  }
  OrvexSim::VirtualCamera camera;
};
