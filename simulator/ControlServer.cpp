// SPDX-License-Identifier: Apache-2.0
#include "simulator/ControlServer.h"

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "gigevision/Bootstrap.h"
#include "simulator/Limits.h"

namespace OrvexSim {

namespace B = GigEVision::Bootstrap;

namespace {

constexpr uint32_t sk_limitedBroadcast = 0xFFFFFFFF;
constexpr auto sk_longestWait = std::chrono::seconds(10);

}  // namespace

ControlServer::ControlServer(CameraCore& camera, Streamer& streamer, TcpChannel& tcp)
    : m_camera(camera), m_streamer(streamer), m_tcp(tcp), m_handler(camera), m_events(camera) {
  OpenSockets();
  m_wake = UniqueFd(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
  if (!m_wake)
    throw std::system_error(errno, std::generic_category(), "Unable to make an event descriptor");
  m_handler.resend = [this](const GigEVision::PacketResend& request, const Route& route,
                            bool extendedStatus, const FaultSettings& faults) {
    m_streamer.Resend(request, route, extendedStatus, faults);
  };
  m_handler.moveTo = [this](uint32_t ip) { MoveTo(ip); };
  m_camera.wakeControl = [this] { Wake(); };
  m_camera.messageSourcePort = [this] { return uint32_t{m_events.Port()}; };
}

ControlServer::~ControlServer() {
  Stop();
  m_camera.wakeControl = {};
}

void ControlServer::OpenSockets() {
  const NetworkState& network = m_camera.network;
  m_own = BindUdp(network.ip, GigEVision::sk_gvcpPort, false);
  m_events.Open(network.ip);
  m_tcp.Listen(network.ip);
  // Shared, because every camera of this machine needs its own copy of each broadcast.
  m_allBroadcast = BindUdp(sk_limitedBroadcast, GigEVision::sk_gvcpPort, true);
  if (network.broadcast != network.ip)
    m_netBroadcast = BindUdp(network.broadcast, GigEVision::sk_gvcpPort, true);
}

void ControlServer::Start() {
  m_stop = false;
  m_thread = std::thread(&ControlServer::Run, this);
}

void ControlServer::Stop() {
  m_stop = true;
  Wake();
  if (m_thread.joinable()) m_thread.join();
}

void ControlServer::Wake() {
  const uint64_t one = 1;
  [[maybe_unused]] const ssize_t written = ::write(m_wake.Get(), &one, sizeof one);
}

void ControlServer::Run() {
  pthread_setname_np(pthread_self(), "camera-control");
  std::vector<pollfd> polls;
  while (!m_stop) {
    polls = {{m_own.Get(), POLLIN, 0},
             {m_allBroadcast.Get(), POLLIN, 0},
             {m_netBroadcast.Get(), POLLIN, 0},  // ignored by poll when there is none
             {m_events.Descriptor(), POLLIN, 0},
             {m_wake.Get(), POLLIN, 0}};
    m_tcp.AddPolls(polls);
    ::poll(polls.data(), polls.size(), NextTimeoutMs());
    if ((polls[4].revents & POLLIN) != 0) {
      uint64_t count = 0;
      [[maybe_unused]] const ssize_t got = ::read(m_wake.Get(), &count, sizeof count);
    }
    if ((polls[0].revents & POLLIN) != 0) Receive(polls[0].fd, false);
    if ((polls[1].revents & POLLIN) != 0) Receive(polls[1].fd, true);
    if ((polls[2].revents & POLLIN) != 0) Receive(polls[2].fd, true);
    if ((polls[3].revents & POLLIN) != 0) m_events.ReceiveAck();
    SendLate();
    CheckHeartbeat();
    ChangeAddress();
    m_handler.RunScheduledActions();
    m_events.Send();
    m_tcp.Service();
  }
}

void ControlServer::Receive(int fd, bool broadcast) {
  uint8_t bytes[2048];
  sockaddr_in from{};
  socklen_t fromSize = sizeof from;
  const ssize_t size = ::recvfrom(fd, bytes, sizeof bytes, MSG_DONTWAIT,
                                  reinterpret_cast<sockaddr*>(&from), &fromSize);
  if (size <= 0) return;
  const std::span<const uint8_t> datagram(bytes, static_cast<size_t>(size));
  const Endpoint sender = ToEndpoint(from);
  if (IsHeld(datagram, sender)) return;
  const CommandHandler::Outcome outcome = m_handler.Handle(datagram, sender, broadcast);
  if (outcome.delayMs != 0) {
    Hold(outcome, sender);
  } else if (outcome.reply.size != 0) {
    Send(outcome.reply, sender);
  }
}

void ControlServer::Send(const Reply& reply, const Endpoint& to) {
  const sockaddr_in address = SocketAddress(to.ip, to.port);
  ::sendto(m_own.Get(), reply.bytes.data(), reply.size, 0,
           reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

void ControlServer::Hold(const CommandHandler::Outcome& outcome, const Endpoint& to) {
  if (m_late.size() >= sk_maxLateAnswers) return;
  m_late.push_back({outcome.reply, to, outcome.requestId, outcome.askForTime,
                    Clock::now() + std::chrono::milliseconds(outcome.delayMs)});
  AskForTime(m_late.back());
}

// A repeated command whose answer is being held: it gets no second one.
bool ControlServer::IsHeld(std::span<const uint8_t> datagram, const Endpoint& from) {
  const auto header = GigEVision::PeekCommand(datagram);
  const auto it = std::ranges::find_if(m_late, [&](const Late& late) {
    return header && late.to == from && late.requestId == header->requestId;
  });
  if (it == m_late.end()) return false;
  AskForTime(*it);
  return true;
}

void ControlServer::AskForTime(const Late& late) {
  if (!late.askForTime) return;
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(late.due - Clock::now()).count();
  Reply pending;
  pending.size = GigEVision::EncodePendingAck(
      pending.bytes, late.requestId, static_cast<uint16_t>(std::clamp<int64_t>(left, 1, 0xFFFF)));
  Send(pending, late.to);
}

void ControlServer::SendLate() {
  if (m_late.empty()) return;
  const Clock::time_point now = Clock::now();
  const std::lock_guard lock(m_camera.Mutex());
  std::erase_if(m_late, [&](const Late& late) {
    if (now < late.due) return false;
    ControlState& control = m_camera.control;
    if (control.owner == late.to) control.lastHeard = now;
    if (late.reply.size != 0 && now >= m_camera.silentUntil) Send(late.reply, late.to);
    return true;
  });
}

// Called with the camera's lock held.
void ControlServer::MoveTo(uint32_t ip) {
  NetworkState& network = m_camera.network;
  const NetworkState before = network;
  try {
    FindInterface(ip, network);
    if (network.ip == before.ip) return;
    OpenSockets();
    m_streamer.Rebind(ip, network.mtu);
  } catch (const std::exception&) {
    network = before;  // an address that this machine does not have: the camera stays where it is
  }
}

void ControlServer::ChangeAddress() {
  const std::lock_guard lock(m_camera.Mutex());
  if (!m_camera.nextAddress) return;
  m_camera.CloseControl();
  MoveTo(*std::exchange(m_camera.nextAddress, std::nullopt));
}

void ControlServer::CheckHeartbeat() {
  const std::lock_guard lock(m_camera.Mutex());
  const ControlState& control = m_camera.control;
  if (!control.owner || (control.gvcpConfiguration & B::sk_cfgHeartbeatDisable) != 0) return;
  const bool busy =
      std::ranges::any_of(m_late, [&](const Late& late) { return late.to == *control.owner; });
  if (!busy && Clock::now() - control.lastHeard > std::chrono::milliseconds(control.heartbeatMs))
    m_camera.CloseControl();
}

int ControlServer::NextTimeoutMs() {
  const Clock::time_point now = Clock::now();
  Clock::time_point next = now + sk_longestWait;
  for (const Late& late : m_late) next = std::min(next, late.due);
  for (const auto& deadline : {m_events.Deadline(), m_tcp.Deadline()}) {
    if (deadline) next = std::min(next, *deadline);
  }
  const std::lock_guard lock(m_camera.Mutex());
  const ControlState& control = m_camera.control;
  if (control.owner && (control.gvcpConfiguration & B::sk_cfgHeartbeatDisable) == 0) {
    const auto silent = std::chrono::milliseconds(control.heartbeatMs + 1);
    next = std::min(next, std::max(control.lastHeard + silent, now + std::chrono::milliseconds(1)));
  }
  if (const auto action = m_handler.NextActionTime()) {
    const uint64_t device = m_camera.Now();
    const uint64_t wait = *action > device ? *action - device : 0;
    const auto longest = std::chrono::nanoseconds(sk_longestWait).count();
    next = std::min(next,
                    now + std::chrono::nanoseconds(std::min(wait, static_cast<uint64_t>(longest))));
  }
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(next - now).count();
  return static_cast<int>(std::max<int64_t>(left, 0));
}

}  // namespace OrvexSim
