// SPDX-License-Identifier: Apache-2.0
#include "producer/MessageChannel.h"

#include <pthread.h>

#include <array>

#include "gigevision/Bootstrap.h"
#include "gigevision/Event.h"
#include "producer/Device.h"
#include "producer/Limits.h"

namespace OrvexGev {

using namespace GenTL;
namespace Gev = GigEVision;
namespace Reg = GigEVision::Bootstrap;

namespace {

constexpr uint32_t sk_transmissionTimeoutMs = 100;
constexpr uint32_t sk_transmissionRetries = 3;

}  // namespace

void MessageChannel::Open() {
  const std::lock_guard lock(m_mutex);
  ControlChannel& channel = *m_device.Channel();
  Require(m_device.Controls(), GC_ERR_ACCESS_DENIED,
          "Only the application that controls the camera gets its events");
  Require(channel.ReadRegister(Reg::sk_messageChannelCount) > 0, GC_ERR_NOT_AVAILABLE,
          "The camera has no message channel");
  m_socket = UdpSocket::Bound({m_device.Host().ip, 0});
  m_stop = false;
  m_lastId = 0;
  m_thread = std::thread([this] { Run(); });
  pthread_setname_np(m_thread.native_handle(), "gev-events");
  channel.WriteRegister(Reg::sk_mcda, m_device.Host().ip);
  for (const auto& [address, value] : {std::pair{Reg::sk_mctt, sk_transmissionTimeoutMs},
                                       std::pair{Reg::sk_mcrc, sk_transmissionRetries}}) {
    try {
      channel.WriteRegister(address, value);
    } catch (const GcError& error) {
      if (error.Code() == GC_ERR_IO) throw;  // a camera without the register sends unacknowledged
    }
  }
  channel.WriteRegister(Reg::sk_mcp, m_socket.LocalPort());
}

void MessageChannel::Close() {
  const std::lock_guard lock(m_mutex);
  if (!m_thread.joinable()) return;
  if (m_device.Controls() && m_device.Connected()) {
    try {
      m_device.Channel()->WriteRegister(Reg::sk_mcp, 0);
    } catch (const GcError&) {
      // The camera closes the channel together with the control channel.
    }
  }
  m_stop = true;
  m_wake.Wake();
  m_thread.join();
  m_wake.Drain();
  m_socket = {};
}

void MessageChannel::Run() {
  const std::array<int, 2> fds{m_socket.Fd(), m_wake.Fd()};
  while (!m_stop) {
    if (!WaitReadable(fds, Clock::now() + 1s)) continue;
    std::array<uint8_t, sk_maxEventBytes> datagram;
    Endpoint from;
    const auto size = m_socket.Receive(datagram, &from);
    if (size && from.ip == m_device.Record().ip) Handle(std::span(datagram).first(*size), from);
  }
}

void MessageChannel::Handle(std::span<const uint8_t> datagram, Endpoint from) {
  const auto packet = Gev::DecodeCommand(datagram);
  if (!packet) return;
  const Gev::CommandHeader& header = packet->header;
  if (header.command != Gev::Command::Event && header.command != Gev::Command::EventData) return;
  std::array<uint8_t, sk_maxEventBytes> out;
  if (header.AckRequired()) {
    const size_t size =
        Gev::EncodeAck(out, Gev::Status::Success, Gev::AckOf(header.command), header.requestId);
    m_socket.SendTo(std::span(out).first(size), from);
    if (header.requestId == m_lastId) return;
    m_lastId = header.requestId;
  }
  const bool extended = (header.flags & Gev::sk_flagExtendedIds) != 0;
  Gev::EventWalker walker(*packet);
  while (const auto item = walker.Next()) {
    // Each event goes out as a datagram of its own, also when the camera put several into one.
    const size_t size =
        header.command == Gev::Command::EventData
            ? Gev::EncodeEventData(out, header.requestId, extended, header.AckRequired(), *item)
            : Gev::EncodeEvents(out, header.requestId, extended, header.AckRequired(), {&*item, 1});
    if (size != 0) m_device.FireRemote({out.begin(), out.begin() + static_cast<ptrdiff_t>(size)});
  }
}

}  // namespace OrvexGev
