// SPDX-License-Identifier: Apache-2.0
#include "producer/PacketSource.h"

#include <netinet/udp.h>
#include <sys/socket.h>

#include <algorithm>

#include "producer/SocketBatch.h"

namespace OrvexGev {
namespace {

constexpr size_t sk_batch = 128;
constexpr size_t sk_fewest = 16;
constexpr auto sk_rest = std::chrono::microseconds(50);
constexpr auto sk_soon = std::chrono::microseconds(200);
constexpr size_t sk_offloadBytes = 65536;
constexpr size_t sk_offloadBatch = 16;
constexpr size_t sk_trains = 4;  // joined packets taken at once
constexpr int sk_batchesPerDrain = 4;

void CountDrops(const UdpSocket& socket) {
  const int on = 1;
  setsockopt(socket.Fd(), SOL_SOCKET, SO_RXQ_OVFL, &on, sizeof on);
}

// One class for both: without offload each message simply holds one packet.
class SocketSource final : public PacketSource {
 public:
  SocketSource(const UdpSocket& socket, Engine kind, size_t messages, size_t bytes)
      : m_fd(socket.Fd()), m_kind(kind), m_messages(messages), m_batch(messages, bytes) {
    CountDrops(socket);
  }
  Engine Kind() const override { return m_kind; }
  int Fd() const override { return m_fd; }
  SourceStatistics Statistics() const override { return m_statistics; }
  Clock::duration Rest() const override { return m_oneByOne ? sk_rest : Clock::duration(); }

  Drained Drain(PacketHandler& handler) override {
    Drained drained = Drained::Nothing;
    for (int round = 0; round < sk_batchesPerDrain; ++round) {
      // Long messages are worth a call of their own, which finds each in its place.
      const size_t messages = m_segments > 1 ? sk_trains : m_wanted;
      const bool any = m_batch.Receive(m_fd, messages, handler.Foresee(), m_segments);
      ++m_statistics.calls;
      if (!any) return drained;
      drained = Drained::All;
      const auto now = Clock::now();
      m_batch.HandOver(handler, now);
      m_segments = m_batch.Segments();
      m_statistics.socketDrops = m_batch.Drops().value_or(m_statistics.socketDrops);
      // Asking for many costs a little for each, whether it comes or not.
      m_wanted = std::clamp(2 * m_batch.Count(), std::min(sk_fewest, m_messages), m_messages);
      m_oneByOne = m_segments == 1 && m_batch.Count() < sk_fewest && now - m_last < sk_soon;
      m_last = now;
      if (m_batch.Count() < messages) return drained;
    }
    return Drained::Part;
  }

 private:
  const int m_fd;
  const Engine m_kind;
  const size_t m_messages;
  SocketBatch m_batch;
  size_t m_segments = 1;  // that one message joined lately
  size_t m_wanted = sk_fewest;
  bool m_oneByOne = false;  // packets come fast, but each alone
  Clock::time_point m_last{};
  SourceStatistics m_statistics;
};

}  // namespace

std::unique_ptr<PacketSource> MakeSocketSource(const UdpSocket& socket, size_t packetBytes) {
  return std::make_unique<SocketSource>(socket, Engine::Sockets, sk_batch, packetBytes);
}

std::unique_ptr<PacketSource> MakeOffloadSource(const UdpSocket& socket) {
  const int on = 1;
  if (setsockopt(socket.Fd(), SOL_UDP, UDP_GRO, &on, sizeof on) != 0) return nullptr;
  return std::make_unique<SocketSource>(socket, Engine::Offload, sk_offloadBatch, sk_offloadBytes);
}

size_t SetReceiveBuffer(const UdpSocket& socket, size_t bytes) {
  const int wanted = static_cast<int>(std::min<size_t>(bytes, size_t{1} << 30));
  if (setsockopt(socket.Fd(), SOL_SOCKET, SO_RCVBUFFORCE, &wanted, sizeof wanted) != 0) {
    setsockopt(socket.Fd(), SOL_SOCKET, SO_RCVBUF, &wanted, sizeof wanted);
  }
  int granted = 0;
  socklen_t length = sizeof granted;
  getsockopt(socket.Fd(), SOL_SOCKET, SO_RCVBUF, &granted, &length);
  return static_cast<size_t>(granted) / 2;  // the kernel doubles what it grants for its bookkeeping
}

}  // namespace OrvexGev
