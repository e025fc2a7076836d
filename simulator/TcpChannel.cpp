// SPDX-License-Identifier: Apache-2.0
#include "simulator/TcpChannel.h"

#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/uio.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "simulator/Limits.h"

namespace OrvexSim {
namespace {

using GigEVision::PacketFormat;

constexpr uint32_t sk_recordsAtOnce = 16;
constexpr int sk_sendBuffer = 4 << 20;
constexpr auto sk_greetingTime = std::chrono::milliseconds(GigEVision::sk_tcpGreetingTimeoutMs);

}  // namespace

void TcpConnection::End() {
  m_ended = true;
  ::shutdown(m_fd.Get(), SHUT_RDWR);
}

bool TcpConnection::SendRecords(const Frame& frame, uint32_t first, uint32_t last,
                                bool previousDropped, bool& waited) {
  uint8_t headers[sk_recordsAtOnce][GigEVision::sk_tcpRecordHeaderSize];
  iovec parts[2 * sk_recordsAtOnce];
  while (first <= last) {
    const uint32_t count = std::min(last - first + 1, sk_recordsAtOnce);
    for (uint32_t i = 0; i < count; ++i) {
      const FramePart part = frame.Part(first + i);
      GigEVision::TcpRecordHeader header;
      header.packet.format = part.format;
      header.packet.blockId = frame.blockId;
      header.packet.packetId = first + i;
      if (previousDropped && first + i == 0)
        header.packet.flags = GigEVision::sk_gvspFlagPreviousDropped;
      header.contentSize = static_cast<uint32_t>(part.content.size());
      EncodeTcpRecordHeader(headers[i], header);
      parts[2 * i] = {headers[i], sizeof headers[i]};
      parts[2 * i + 1] = {const_cast<uint8_t*>(part.content.data()), part.content.size()};
    }
    msghdr message{};
    message.msg_iov = parts;
    message.msg_iovlen = 2 * count;
    while (message.msg_iovlen != 0) {
      const ssize_t sent = ::sendmsg(m_fd.Get(), &message, MSG_NOSIGNAL | MSG_DONTWAIT);
      if (sent < 0 && (errno == EAGAIN || errno == EINTR)) {
        waited = true;
        pollfd poll{m_fd.Get(), POLLOUT, 0};
        ::poll(&poll, 1, -1);  // End() wakes it
      } else if (sent < 0) {
        return false;
      }
      for (auto left = static_cast<size_t>(std::max<ssize_t>(sent, 0)); left != 0;) {
        iovec& part = *message.msg_iov;
        const size_t step = std::min(left, part.iov_len);
        part.iov_base = static_cast<uint8_t*>(part.iov_base) + step;
        part.iov_len -= step;
        left -= step;
        if (part.iov_len == 0) ++message.msg_iov, --message.msg_iovlen;
      }
    }
    first += count;
  }
  return !m_ended;
}

void TcpChannel::Listen(uint32_t ip) {
  UniqueFd fd(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  const sockaddr_in address = SocketAddress(ip, 0);
  if (!fd || ::bind(fd.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
      ::listen(fd.Get(), static_cast<int>(sk_maxGreetings)) != 0) {
    throw std::system_error(errno, std::generic_category(),
                            "Unable to listen at " + AddressText(ip));
  }
  m_listener = std::move(fd);
  Close();
}

std::shared_ptr<TcpConnection> TcpChannel::Connection() const {
  const std::lock_guard lock(m_mutex);
  return m_connection;
}

void TcpChannel::Close() {
  m_key = 0;
  const std::lock_guard lock(m_mutex);
  if (m_connection) m_connection->End();
  m_connection.reset();
}

void TcpChannel::AddPolls(std::vector<pollfd>& polls) const {
  polls.push_back({m_listener.Get(), POLLIN, 0});
  for (const Greeting& greeting : m_greetings) polls.push_back({greeting.fd.Get(), POLLIN, 0});
  if (const auto connection = Connection())
    polls.push_back({connection->Descriptor(), POLLIN | POLLRDHUP, 0});
}

std::optional<Clock::time_point> TcpChannel::Deadline() const {
  const auto next = std::ranges::min_element(m_greetings, {}, &Greeting::deadline);
  return next == m_greetings.end() ? std::nullopt : std::optional(next->deadline);
}

void TcpChannel::Service() {
  Accept();
  std::erase_if(m_greetings, [this](Greeting& greeting) { return !Read(greeting); });
  WatchConnection();
}

void TcpChannel::Accept() {
  sockaddr_in from{};
  socklen_t size = sizeof from;
  UniqueFd fd(::accept4(m_listener.Get(), reinterpret_cast<sockaddr*>(&from), &size,
                        SOCK_CLOEXEC | SOCK_NONBLOCK));
  if (!fd || m_greetings.size() >= sk_maxGreetings) return;
  m_greetings.push_back({std::move(fd), ToEndpoint(from).ip, {}, Clock::now() + sk_greetingTime});
}

bool TcpChannel::Read(Greeting& greeting) {
  uint8_t bytes[GigEVision::sk_tcpGreetingSize];
  const ssize_t got = ::recv(greeting.fd.Get(), bytes,
                             GigEVision::sk_tcpGreetingSize - greeting.bytes.size(), MSG_DONTWAIT);
  if (got == 0 || (got < 0 && errno != EAGAIN && errno != EINTR)) return false;
  if (got > 0) greeting.bytes.insert(greeting.bytes.end(), bytes, bytes + got);
  if (greeting.bytes.size() < GigEVision::sk_tcpGreetingSize)
    return Clock::now() < greeting.deadline;
  Answer(greeting);
  return false;
}

void TcpChannel::Answer(Greeting& greeting) {
  const auto hello = GigEVision::DecodeTcpHello(greeting.bytes);
  if (!hello) return;
  const std::lock_guard cameraLock(m_camera.Mutex());
  const ControlState& control = m_camera.control;
  GigEVision::TcpWelcome welcome;
  welcome.maxContent = GigEVision::sk_tcpUsualContent;
  if (hello->major != GigEVision::sk_tcpMajor) {
    welcome.status = Status::NotImplemented;
  } else if (hello->channel != 0) {
    welcome.status = Status::InvalidParameter;
  } else if (hello->key == 0 || hello->key != m_key || !control.owner ||
             control.owner->ip != greeting.ip) {
    welcome.status = Status::AccessDenied;
  }
  uint8_t bytes[GigEVision::sk_tcpGreetingSize];
  EncodeTcpWelcome(bytes, welcome);
  ::send(greeting.fd.Get(), bytes, sizeof bytes, MSG_NOSIGNAL | MSG_DONTWAIT);
  if (IsError(welcome.status)) return;
  const int on = 1;
  ::setsockopt(greeting.fd.Get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  ::setsockopt(greeting.fd.Get(), SOL_SOCKET, SO_SNDBUF, &sk_sendBuffer, sizeof sk_sendBuffer);
  ++m_camera.stream.openCount;
  auto fresh = std::make_shared<TcpConnection>(std::move(greeting.fd));
  const std::lock_guard lock(m_mutex);
  if (m_connection) m_connection->End();
  m_connection = std::move(fresh);
}

// The host says nothing after its greeting; what can be read is its end.
void TcpChannel::WatchConnection() {
  const auto connection = Connection();
  if (!connection) return;
  uint8_t bytes[256];
  const ssize_t got = ::recv(connection->Descriptor(), bytes, sizeof bytes, MSG_DONTWAIT);
  if (got > 0 || (got < 0 && (errno == EAGAIN || errno == EINTR))) return;
  connection->End();
  const std::lock_guard lock(m_mutex);
  if (m_connection == connection) m_connection.reset();
}

}  // namespace OrvexSim
