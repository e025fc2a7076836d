// SPDX-License-Identifier: Apache-2.0
#include "producer/TcpReceiver.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <random>
#include <system_error>

#include "producer/Device.h"

namespace OrvexGev {

using namespace GenTL;
namespace Gev = GigEVision;

namespace {

constexpr int sk_readsPerRound = 64;
constexpr auto sk_stopGrace = 200ms;
constexpr auto sk_publishInterval = 5ms;

struct Announcement {
  uint16_t port = 0;
};

// What the camera's registers say; cameras without them do not stream over TCP.
Announcement ReadAnnouncement(ControlChannel& channel) {
  uint32_t signature = 0, version = 0, port = 0;
  try {
    signature = channel.ReadRegister(Gev::sk_tcpSignatureRegister);
    if (signature == Gev::sk_tcpSignature) {
      version = channel.ReadRegister(Gev::sk_tcpVersionRegister);
      port = channel.ReadRegister(Gev::sk_tcpPortRegister);
    }
  } catch (const GcError& error) {
    if (error.Code() == GC_ERR_IO) throw;
  }
  Require(signature == Gev::sk_tcpSignature, GC_ERR_NOT_IMPLEMENTED,
          "The camera does not tell how it streams over TCP");
  Require(version >> 16 == Gev::sk_tcpMajor, GC_ERR_NOT_IMPLEMENTED,
          "The camera streams over TCP by another version of the protocol");
  Require((port & 0xFFFF) != 0, GC_ERR_NOT_AVAILABLE, "The camera does not listen for TCP streams");
  return {static_cast<uint16_t>(port)};
}

uint32_t RandomKey() {
  std::random_device random;
  uint32_t key = 0;
  while (key == 0) key = random();
  return key;
}

[[noreturn]] void Fail(const std::string& reason) {
  throw GcError(GC_ERR_IO, "The connection for the stream failed: " + reason);
}

bool WaitWritable(int fd, Clock::time_point deadline) {
  pollfd polled{fd, POLLOUT, 0};
  const auto left =
      std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
  return poll(&polled, 1, static_cast<int>(std::max<int64_t>(0, left))) > 0;
}

void SetOption(int fd, int level, int name, int value) {
  setsockopt(fd, level, name, &value, sizeof value);
}

UniqueFd Connect(uint32_t hostIp, Endpoint camera, Clock::time_point deadline) {
  UniqueFd result(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!result) Fail(std::generic_category().message(errno));
  const int fd = result.Get();
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(hostIp);
  if (bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
    Fail(std::generic_category().message(errno));
  SetOption(fd, IPPROTO_TCP, TCP_NODELAY, 1);
  // A camera that vanished is noticed although it owes no answer.
  SetOption(fd, SOL_SOCKET, SO_KEEPALIVE, 1);
  SetOption(fd, IPPROTO_TCP, TCP_KEEPIDLE, 2);
  SetOption(fd, IPPROTO_TCP, TCP_KEEPINTVL, 1);
  SetOption(fd, IPPROTO_TCP, TCP_KEEPCNT, 3);
  address.sin_port = htons(camera.port);
  address.sin_addr.s_addr = htonl(camera.ip);
  if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    if (errno != EINPROGRESS) Fail(std::generic_category().message(errno));
    if (!WaitWritable(fd, deadline)) Fail("the camera does not answer");
    int error = 0;
    socklen_t length = sizeof error;
    getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &length);
    if (error != 0) Fail(std::generic_category().message(error));
  }
  return result;
}

}  // namespace

TcpReceiver::TcpReceiver(Device& device, FrameSink& sink, const ReceiverSettings& settings)
    : Receiver(settings), m_device(device), m_sink(sink), m_scratch(Gev::sk_tcpMaxContent) {}

TcpReceiver::~TcpReceiver() {
  Stop(true);
}

void TcpReceiver::Start() {
  Require(m_device.Controls(), GC_ERR_ACCESS_DENIED,
          "Only the application in control can stream over TCP");
  Require(m_device.ClaimChannel(), GC_ERR_RESOURCE_IN_USE,
          "Another data stream uses the camera's stream channel");
  m_channelOpen = true;
  try {
    OpenConnection();
    Expect(Step::Header, m_headerBytes.data(), m_headerBytes.size());
    Launch([](Receiver& self) { static_cast<TcpReceiver&>(self).Run(); });
  } catch (...) {
    Stop(true);
    throw;
  }
}

void TcpReceiver::OpenConnection() {
  const auto deadline = Clock::now() + sk_tcpOpenTimeout;
  ControlChannel& channel = *m_device.Channel();
  const Announcement announcement = ReadAnnouncement(channel);
  const uint32_t key = RandomKey();
  channel.WriteRegister(Gev::sk_tcpKeyRegister, key);
  m_socket = Connect(m_device.Host().ip, {m_device.Record().ip, announcement.port}, deadline);
  Greet(key, deadline);
}

void TcpReceiver::Greet(uint32_t key, Clock::time_point deadline) {
  std::array<uint8_t, Gev::sk_tcpGreetingSize> greeting;
  Gev::EncodeTcpHello(greeting, {Gev::sk_tcpMajor, Gev::sk_tcpMinor, key, 0});
  const int fd = m_socket.Get();
  if (send(fd, greeting.data(), greeting.size(), MSG_NOSIGNAL) !=
      static_cast<ssize_t>(greeting.size()))
    Fail("the greeting cannot be sent");
  for (size_t filled = 0; filled < greeting.size();) {
    if (!WaitReadable({&fd, 1}, deadline)) Fail("the camera does not answer the greeting");
    const ssize_t got = recv(fd, greeting.data() + filled, greeting.size() - filled, 0);
    if (got == 0) Fail("the camera closes it");
    if (got < 0 && errno != EAGAIN && errno != EINTR) Fail(std::generic_category().message(errno));
    filled += static_cast<size_t>(std::max<ssize_t>(got, 0));
  }
  const auto welcome = Gev::DecodeTcpWelcome(greeting);
  if (!welcome) Fail("the camera's greeting is none");
  Require(!Gev::IsError(welcome->status), GC_ERR_ACCESS_DENIED,
          "The camera refuses the stream's connection");
}

void TcpReceiver::Stop(bool kill) {
  m_kill = kill;
  m_stop = true;
  m_wake.Wake();
  if (m_thread.joinable()) m_thread.join();
  if (!m_channelOpen) return;
  m_channelOpen = false;
  m_device.ReleaseChannel();
  if (m_socket && m_device.Controls() && m_device.Connected()) {
    try {
      m_device.Channel()->WriteRegisterBriefly(Gev::sk_tcpKeyRegister, 0);
    } catch (const GcError&) {
      // Closing the connection says the same.
    }
  }
  m_socket.Reset();
}

void TcpReceiver::Run() {
  const std::array<int, 2> fds{m_socket.Get(), m_wake.Fd()};
  Clock::time_point published{};
  Clock::time_point stopAt = Clock::time_point::max();
  while (true) {
    bool any = false;
    if (!m_lost) {
      for (int i = 0; i < sk_readsPerRound && ReadSome(); ++i) any = true;
    }
    const auto now = Clock::now();
    if (now - published >= sk_publishInterval || !any) {
      published = now;
      Publish(m_frames, m_source);
    }
    if (m_stop) {
      if (stopAt == Clock::time_point::max()) {
        m_wake.Drain();
        stopAt = now + sk_stopGrace;
      }
      if (m_kill || !m_inFrame || m_lost || now >= stopAt) break;
    }
    if (!any) {
      const auto until = std::min(now + 1s, stopAt);
      WaitReadable(m_lost ? std::span(fds).last(1) : std::span(fds), until);
    }
  }
  if (m_inFrame) EndFrame(nullptr);
  Publish(m_frames, m_source);
}

// Reads what is there for the step under way; false when there is nothing, or nothing any more.
bool TcpReceiver::ReadSome() {
  // The next record's header comes with the last bytes of this one, which saves every other call.
  iovec parts[2] = {{m_target, m_left}, {m_headerBytes.data(), m_headerBytes.size()}};
  const bool ahead = m_step == Step::Data && m_overflow == 0;
  msghdr message{};
  message.msg_iov = parts;
  message.msg_iovlen = ahead ? 2 : 1;
  const ssize_t got = recvmsg(m_socket.Get(), &message, MSG_DONTWAIT);
  ++m_source.calls;
  if (got <= 0) {
    if (got < 0 && (errno == EAGAIN || errno == EINTR)) return false;
    Lose(got == 0 ? "the camera closed it" : std::generic_category().message(errno));
    return false;
  }
  const auto bytes = static_cast<size_t>(got);
  m_frames.bytes += bytes;
  m_headerFilled = bytes > m_left ? bytes - m_left : 0;
  const size_t taken = std::min(bytes, m_left);
  if (m_step == Step::Data) m_info.filled += taken;
  m_target += taken;
  m_left -= taken;
  while (m_left == 0 && !m_lost) Next();
  return !m_lost;
}

void TcpReceiver::Expect(Step step, uint8_t* target, size_t size) {
  m_step = step;
  m_target = target;
  m_left = size;
}

// The step is done: what comes next. Steps of no length are done at once.
void TcpReceiver::Next() {
  const auto nextHeader = [this] {
    const size_t filled = std::exchange(m_headerFilled, 0);
    Expect(Step::Header, m_headerBytes.data() + filled, m_headerBytes.size() - filled);
  };
  switch (m_step) {
    case Step::Header:
      return OnHeader();
    case Step::Place:
      return OnPlace();
    case Step::Whole:
      OnWhole();
      return nextHeader();
    case Step::Data:
      if (m_overflow != 0)
        return Expect(Step::Skip, m_scratch.data(), std::exchange(m_overflow, 0));
      return nextHeader();
    case Step::Skip:
      return nextHeader();
  }
}

void TcpReceiver::OnHeader() {
  const auto record = Gev::DecodeTcpRecordHeader(m_headerBytes);
  if (!record) return Lose("a record's header is broken");
  m_record = *record;
  ++m_frames.packets;
  const Gev::PacketHeader& packet = m_record.packet;
  const bool begins =
      packet.format == Gev::PacketFormat::Leader || packet.format == Gev::PacketFormat::AllIn;
  if (packet.blockId == 0) {
    ++m_frames.testPackets;
  } else if (begins || (m_inFrame && packet.blockId == m_info.blockId)) {
    return ExpectContent();
  } else {
    ++(packet.blockId == m_lastBlock ? m_frames.packetsWithoutBuffer : m_frames.malformedPackets);
  }
  Expect(Step::Skip, m_scratch.data(), m_record.contentSize);
}

void TcpReceiver::ExpectContent() {
  const Gev::PacketHeader& packet = m_record.packet;
  if (!Gev::IsDataFormat(packet.format))
    return Expect(Step::Whole, m_scratch.data(), m_record.contentSize);
  if (packet.packetId != m_nextPacket++) m_broken = true;
  if (TellsItsPlace(packet.format) && m_record.contentSize >= Gev::sk_zoneHeaderSize)
    return Expect(Step::Place, m_scratch.data(), Gev::sk_zoneHeaderSize);
  ExpectData(m_offset, m_record.contentSize);
}

void TcpReceiver::OnPlace() {
  const size_t size = m_record.contentSize - Gev::sk_zoneHeaderSize;
  const std::span<const uint8_t> header = std::span(m_scratch).first(Gev::sk_zoneHeaderSize);
  const auto place = PlaceOf(m_info, m_record.packet.format, header, size);
  if (place) return ExpectData(*place, size);
  ++m_frames.malformedPackets;
  m_broken = true;
  Expect(Step::Skip, m_scratch.data(), size);
}

void TcpReceiver::ExpectData(uint64_t offset, size_t size) {
  m_offset = offset + size;
  if (!m_hasBuffer) {
    ++m_frames.packetsWithoutBuffer;
    return Expect(Step::Skip, m_scratch.data(), size);
  }
  const uint64_t room = offset < m_frame.size ? m_frame.size - offset : 0;
  const auto fits = static_cast<size_t>(std::min<uint64_t>(size, room));
  if (fits < size) m_info.largerThanBuffer = true;
  m_overflow = size - fits;
  Expect(Step::Data, fits != 0 ? m_frame.base + offset : m_scratch.data(), fits);
}

// A leader, a trailer, or a block in one record.
void TcpReceiver::OnWhole() {
  const std::span<const uint8_t> content = std::span(m_scratch).first(m_record.contentSize);
  switch (m_record.packet.format) {
    case Gev::PacketFormat::Leader:
      if (const auto leader = Gev::DecodeLeader(content)) return BeginFrame(*leader);
      break;
    case Gev::PacketFormat::Trailer:
      if (const auto trailer = Gev::DecodeTrailer(content)) {
        m_broken = m_broken || m_record.packet.packetId != m_nextPacket ||
                   Gev::IsError(m_record.packet.status);
        return EndFrame(&*trailer);
      }
      break;
    case Gev::PacketFormat::AllIn:
      if (const auto all = Gev::DecodeAllIn(content)) {
        BeginFrame(all->leader);
        const size_t fits = m_hasBuffer ? std::min(all->data.size(), m_frame.size) : 0;
        std::copy_n(all->data.begin(), fits, m_frame.base);
        m_info.filled = fits;
        m_info.largerThanBuffer = m_hasBuffer && fits < all->data.size();
        m_offset = all->data.size();
        return EndFrame(&all->trailer);
      }
      break;
    default:
      break;
  }
  ++m_frames.malformedPackets;
  m_broken = true;
}

void TcpReceiver::BeginFrame(const Gev::Leader& leader) {
  if (m_inFrame) EndFrame(nullptr);
  const uint64_t block = m_record.packet.blockId;
  if (m_lastBlock != 0 && block > m_lastBlock + 1) m_frames.framesMissed += block - m_lastBlock - 1;
  m_lastBlock = block;
  if (m_stop) return;
  m_inFrame = true;
  m_broken = false;
  m_nextPacket = 1;
  m_offset = 0;
  ++m_frames.framesStarted;
  m_sink.LeaderSeen(block);
  m_info = {};
  m_info.newData = true;
  m_info.blockId = block;
  m_expected = TakeLeader(m_info, leader);
  m_hasBuffer = m_sink.Take(m_frame);
  if (!m_hasBuffer) ++m_frames.framesUnderrun;
}

void TcpReceiver::EndFrame(const Gev::Trailer* trailer) {
  m_inFrame = false;
  if (!m_hasBuffer) return;
  m_hasBuffer = false;
  if (trailer != nullptr) TakeTrailer(m_info, *trailer);
  m_info.incomplete = trailer == nullptr || m_broken || m_info.largerThanBuffer;
  m_info.dataSize = DataSizeOf(m_info, m_expected, m_offset);
  ++(m_info.incomplete ? m_frames.framesIncomplete : m_frames.framesComplete);
  m_sink.Deliver(m_frame, m_info);
}

void TcpReceiver::Lose(const std::string& reason) {
  m_lost = true;
  if (m_inFrame) EndFrame(nullptr);
  if (!m_stop) m_sink.TransportLost("The connection of the stream is lost: " + reason);
}

}  // namespace OrvexGev
