// SPDX-License-Identifier: Apache-2.0
#include "producer/UdpReceiver.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/prctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <system_error>

#include "gigevision/Bootstrap.h"
#include "producer/Device.h"
#include "producer/StreamPump.h"

namespace OrvexGev {

using namespace GenTL;
namespace Gev = GigEVision;
namespace Reg = GigEVision::Bootstrap;

namespace {

constexpr size_t sk_smallestSocketBuffer = 4u << 20;
constexpr size_t sk_largestSocketBuffer = 256u << 20;
constexpr double sk_socketBufferTime = 0.1;  // seconds of data that the receiver thread may be late
constexpr uint32_t sk_smallestPacketSize = 576;
constexpr uint32_t sk_largestTriedPacketSize = 9000;
constexpr auto sk_testPacketWait = 60ms;
constexpr int sk_testPacketAttempts = 2;
constexpr double sk_ringRate = 50e6;  // bytes per second
constexpr auto sk_stopGrace = 200ms;
constexpr unsigned long sk_timerSlackNs = 1000;

uint32_t StreamReg(Reg::Stream which) {
  return Reg::StreamRegister(which, 0);
}

bool IsMulticast(uint32_t ip) {
  return ip >> 28 == 0xE;
}

}  // namespace

UdpReceiver::UdpReceiver(Device& device, FrameSink& sink, const ReceiverSettings& settings)
    : Receiver(settings), m_device(device), m_sink(sink) {}

UdpReceiver::~UdpReceiver() {
  Stop(true);
}

void UdpReceiver::OpenSocket() {
  m_socket = UdpSocket::Bound({m_device.Host().ip, 0});
  // The kernel counts its own bookkeeping per packet as well, about as much again for 1500-byte
  // packets.
  const double rate = m_settings.frameRate > 0 ? m_settings.frameRate : 100;
  const auto burst =
      static_cast<size_t>(static_cast<double>(m_settings.frameBytes) * rate * sk_socketBufferTime);
  m_bufferWanted = std::clamp(2 * std::max(burst, m_settings.frameBytes), sk_smallestSocketBuffer,
                              sk_largestSocketBuffer);
  m_bufferGranted = SetReceiveBuffer(m_socket, m_bufferWanted);
}

// Multicast without control: listens to what the controlling application has set up.
static UdpSocket JoinMulticast(ControlChannel& channel, const HostInterface& host) {
  const uint32_t group = channel.ReadRegister(StreamReg(Reg::Stream::Scda));
  const uint32_t port = channel.ReadRegister(StreamReg(Reg::Stream::Scp)) & Reg::sk_portMask;
  Require(IsMulticast(group) && port != 0, GC_ERR_ACCESS_DENIED,
          "The camera is open for reading only and does not stream to a multicast group");
  UdpSocket socket = UdpSocket::Bound({group, static_cast<uint16_t>(port)});
  const ip_mreqn request{in_addr{htonl(group)}, in_addr{htonl(host.ip)},
                         static_cast<int>(host.index)};
  if (setsockopt(socket.Fd(), IPPROTO_IP, IP_ADD_MEMBERSHIP, &request, sizeof request) != 0) {
    throw std::system_error(errno, std::generic_category(), "Unable to join the multicast group");
  }
  return socket;
}

bool UdpReceiver::TestPacketArrives(uint32_t sizeRegister, size_t size) {
  std::vector<uint8_t> datagram(sk_maxPacketBytes);
  for (int attempt = 0; attempt < sk_testPacketAttempts; ++attempt) {
    m_device.Channel()->WriteRegister(StreamReg(Reg::Stream::Scps),
                                      sizeRegister | Reg::sk_scpsFireTestPacket);
    const auto deadline = Clock::now() + sk_testPacketWait;
    const int fd = m_socket.Fd();
    while (WaitReadable({&fd, 1}, deadline)) {
      const auto received = m_socket.Receive(datagram);
      if (received && *received + Gev::sk_ipUdpOverhead == size) return true;
    }
  }
  return false;
}

// Tries the largest sizes first. Without any test packet the camera does not offer them, and its
// own size stays.
void UdpReceiver::NegotiatePacketSize(uint32_t current) {
  ControlChannel& channel = *m_device.Channel();
  const uint32_t flags = (current & Reg::sk_scpsBigEndian) | Reg::sk_scpsDoNotFragment;
  const uint32_t limit = std::min(m_device.Host().mtu & ~3u, sk_largestTriedPacketSize);
  for (const uint32_t candidate :
       {limit, 9000u, 8192u, 4096u, 1500u, 1400u, sk_smallestPacketSize}) {
    if (candidate > limit) continue;
    try {
      channel.WriteRegister(StreamReg(Reg::Stream::Scps), candidate | flags);
      const uint32_t taken =
          channel.ReadRegister(StreamReg(Reg::Stream::Scps)) & Reg::sk_scpsSizeMask;
      if (taken <= limit && TestPacketArrives(taken | flags, taken)) return;
    } catch (const GcError& error) {
      if (error.Code() == GC_ERR_IO) throw;  // a size that the camera refuses is only one size less
    }
  }
  channel.WriteRegister(StreamReg(Reg::Stream::Scps), current & ~Reg::sk_scpsFireTestPacket);
}

void UdpReceiver::OpenChannel() {
  ControlChannel& channel = *m_device.Channel();
  if (!m_device.Controls()) {
    m_socket = JoinMulticast(channel, m_device.Host());
    m_bufferGranted = SetReceiveBuffer(m_socket, m_bufferWanted);
  } else {
    const uint32_t group = channel.ReadRegister(StreamReg(Reg::Stream::Scda));
    if (!IsMulticast(group))
      channel.WriteRegister(StreamReg(Reg::Stream::Scda), m_device.Host().ip);
    Require(m_device.ClaimChannel(), GC_ERR_RESOURCE_IN_USE,
            "Another data stream uses the camera's stream channel");
    m_channelOpen = true;
    channel.WriteRegister(StreamReg(Reg::Stream::Scp), m_socket.LocalPort());
    if (IsMulticast(group)) {
      m_socket = JoinMulticast(channel, m_device.Host());
      m_bufferGranted = SetReceiveBuffer(m_socket, m_bufferWanted);
    } else {
      const uint32_t current = channel.ReadRegister(StreamReg(Reg::Stream::Scps));
      if (m_settings.negotiatePacketSize) NegotiatePacketSize(current);
    }
  }
  const uint32_t scps = channel.ReadRegister(StreamReg(Reg::Stream::Scps));
  m_packetSize = std::max(scps & Reg::sk_scpsSizeMask, sk_smallestPacketSize);
  m_bigEndianPixels = (scps & Reg::sk_scpsBigEndian) != 0;
  try {
    m_extendedIds =
        (channel.ReadRegister(Reg::sk_gvspConfiguration) & Reg::sk_gvspCfgExtendedIds) != 0;
    // A datagram towards the camera opens the way back through firewalls that follow connections.
    const uint32_t port = channel.ReadRegister(StreamReg(Reg::Stream::Scsp)) & Reg::sk_portMask;
    const std::array<uint8_t, 1> nothing{0};
    if (port != 0) m_socket.SendTo(nothing, {m_device.Record().ip, static_cast<uint16_t>(port)});
  } catch (const GcError& error) {
    if (error.Code() == GC_ERR_IO) throw;  // registers that an older camera does not have
  }
}

// On loopback the kernel hands over whole trains of packets, which no ring can beat. Elsewhere the
// ring saves most of the work per packet, at the price of up to a millisecond, so that it is for
// streams that have many.
void UdpReceiver::PickEngine() {
  const HostInterface& host = m_device.Host();
  const double rate = m_settings.frameRate * static_cast<double>(m_settings.frameBytes);
  const bool ring = m_settings.engine == Engine::Ring || (m_settings.engine == Engine::Automatic &&
                                                          !host.loopback && rate > sk_ringRate);
  if (ring) {
    const RingPlace place{host.index, host.ip, m_device.Record().ip,
                          m_packetSize - Gev::sk_ipUdpOverhead};
    m_source = MakeRingSource(m_socket, place, m_bufferWanted);
  }
  if (!m_source && m_settings.engine != Engine::Sockets) m_source = MakeOffloadSource(m_socket);
  if (!m_source) {
    m_source = MakeSocketSource(m_socket, std::min(m_packetSize + 512, sk_maxPacketBytes));
  }
  m_engine = m_source->Kind();
}

void UdpReceiver::Start() {
  OpenSocket();
  try {
    OpenChannel();
    PickEngine();
    AssemblerSettings settings;
    settings.packetSize = m_packetSize;
    settings.extendedIds = m_extendedIds;
    settings.resend = m_settings.resend && m_device.Controls() &&
                      (m_device.Channel()->Capability() & Reg::sk_capPacketResend) != 0;
    settings.resendWindow = m_settings.resendWindow;
    settings.resendTries = m_settings.resendTries;
    settings.retention = m_settings.retention;
    settings.largestBuffer = m_settings.frameBytes;
    settings.bigEndianPixels = m_bigEndianPixels;
    m_assembler = std::make_unique<FrameAssembler>(settings, m_sink);
    Launch([](Receiver& self) { static_cast<UdpReceiver&>(self).Run(); });
  } catch (...) {
    Stop(true);
    throw;
  }
}

void UdpReceiver::Stop(bool kill) {
  m_kill = kill;
  m_stop = true;
  m_wake.Wake();
  if (m_thread.joinable()) m_thread.join();
  if (!m_channelOpen) return;
  m_channelOpen = false;
  m_device.ReleaseChannel();
  if (!m_device.Controls() || !m_device.Connected()) return;
  try {
    m_device.Channel()->WriteRegisterBriefly(StreamReg(Reg::Stream::Scp), 0);
  } catch (const GcError&) {
    // The camera closes the channel together with the control channel.
  }
}

void UdpReceiver::Run() {
  prctl(PR_SET_TIMERSLACK, sk_timerSlackNs, 0, 0, 0);  // rests are short
  const std::array<int, 2> fds{m_source->Fd(), m_wake.Fd()};
  StreamPump pump(*m_source, *m_assembler);
  Clock::time_point drainEnd = Clock::time_point::max();
  while (true) {
    const auto now = Clock::now();
    const StreamPump::Served served = pump.Serve(now);
    if (served.timer) Publish(m_assembler->Statistics(), m_source->Statistics());
    if (m_stop) {
      if (drainEnd == Clock::time_point::max()) {
        m_assembler->Drain();
        m_wake.Drain();
        drainEnd = now + sk_stopGrace;
      }
      if (m_kill || m_assembler->Idle() || now >= drainEnd) break;
    }
    if (!served.any) {
      WaitReadable(fds, std::min(pump.Next(), drainEnd));
    } else if (const auto rest = m_source->Rest(); rest.count() != 0) {
      std::this_thread::sleep_for(rest);
    }
  }
  m_assembler->Abort();
  Publish(m_assembler->Statistics(), m_source->Statistics());
}

}  // namespace OrvexGev
