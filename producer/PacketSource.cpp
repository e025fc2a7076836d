// SPDX-License-Identifier: Apache-2.0
#include "producer/PacketSource.h"

#include <netinet/udp.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace OrvexGev {
namespace {

constexpr size_t sk_batch = 128;
constexpr size_t sk_controlBytes = 128;
constexpr size_t sk_offloadBytes = 65536;
constexpr size_t sk_offloadBatch = 16;
constexpr int sk_batchesPerDrain = 4;

// Messages of one system call with room for their bytes and control data.
class MessageBatch {
 public:
  MessageBatch(size_t count, size_t bytes)
      : m_bytes(bytes),
        m_data(count * bytes),
        m_control(count * sk_controlBytes),
        m_vectors(count),
        m_messages(count) {
    for (size_t i = 0; i < count; ++i) {
      m_vectors[i] = {m_data.data() + i * bytes, bytes};
      msghdr& header = m_messages[i].msg_hdr;
      header.msg_iov = &m_vectors[i];
      header.msg_iovlen = 1;
    }
  }

  int Receive(int fd) {
    for (size_t i = 0; i < m_messages.size(); ++i) {
      msghdr& header = m_messages[i].msg_hdr;
      header.msg_control = m_control.data() + i * sk_controlBytes;
      header.msg_controllen = sk_controlBytes;
    }
    return recvmmsg(fd, m_messages.data(), static_cast<unsigned>(m_messages.size()), MSG_DONTWAIT,
                    nullptr);
  }

  std::span<const uint8_t> Data(int i) const {
    const auto index = static_cast<size_t>(i);
    return {m_data.data() + index * m_bytes, m_messages[index].msg_len};
  }
  const msghdr& Header(int i) const { return m_messages[static_cast<size_t>(i)].msg_hdr; }
  int Count() const { return static_cast<int>(m_messages.size()); }

 private:
  const size_t m_bytes;
  std::vector<uint8_t> m_data;
  std::vector<uint8_t> m_control;
  std::vector<iovec> m_vectors;
  std::vector<mmsghdr> m_messages;
};

// The value of a control message, nothing when there is none.
template <typename T>
std::optional<T> Control(const msghdr& header, int level, int type) {
  auto& writable = const_cast<msghdr&>(header);  // the macros want it so
  for (cmsghdr* c = CMSG_FIRSTHDR(&writable); c != nullptr; c = CMSG_NXTHDR(&writable, c)) {
    if (c->cmsg_level != level || c->cmsg_type != type) continue;
    T value;
    std::memcpy(&value, CMSG_DATA(c), sizeof value);
    return value;
  }
  return std::nullopt;
}

void CountDrops(const UdpSocket& socket) {
  const int on = 1;
  setsockopt(socket.Fd(), SOL_SOCKET, SO_RXQ_OVFL, &on, sizeof on);
}

class SocketSource final : public PacketSource {
 public:
  SocketSource(const UdpSocket& socket, size_t packetBytes)
      : m_fd(socket.Fd()), m_batch(sk_batch, packetBytes) {
    CountDrops(socket);
  }
  Engine Kind() const override { return Engine::Sockets; }
  int Fd() const override { return m_fd; }
  SourceStatistics Statistics() const override { return m_statistics; }

  Drained Drain(PacketHandler& handler) override {
    Drained drained = Drained::Nothing;
    for (int round = 0; round < sk_batchesPerDrain; ++round) {
      const int count = m_batch.Receive(m_fd);
      ++m_statistics.calls;
      if (count <= 0) return drained;
      drained = Drained::All;
      const auto now = Clock::now();
      for (int i = 0; i < count; ++i) {
        // A datagram that was cut is longer than any packet of this stream.
        if ((m_batch.Header(i).msg_flags & MSG_TRUNC) == 0) handler.OnPacket(m_batch.Data(i), now);
      }
      if (const auto drops =
              Control<uint32_t>(m_batch.Header(count - 1), SOL_SOCKET, SO_RXQ_OVFL)) {
        m_statistics.socketDrops = *drops;
      }
      if (count < m_batch.Count()) return drained;
    }
    return Drained::Part;
  }

 private:
  const int m_fd;
  MessageBatch m_batch;
  SourceStatistics m_statistics;
};

// The kernel joins datagrams of equal length; where it does not, each message simply holds one.
class OffloadSource final : public PacketSource {
 public:
  explicit OffloadSource(const UdpSocket& socket)
      : m_fd(socket.Fd()), m_batch(sk_offloadBatch, sk_offloadBytes) {
    CountDrops(socket);
  }
  Engine Kind() const override { return Engine::Offload; }
  int Fd() const override { return m_fd; }
  SourceStatistics Statistics() const override { return m_statistics; }

  Drained Drain(PacketHandler& handler) override {
    Drained drained = Drained::Nothing;
    for (int round = 0; round < sk_batchesPerDrain; ++round) {
      const int count = m_batch.Receive(m_fd);
      ++m_statistics.calls;
      if (count <= 0) return drained;
      drained = Drained::All;
      const auto now = Clock::now();
      for (int i = 0; i < count; ++i) Split(handler, i, now);
      if (count < m_batch.Count()) return drained;
    }
    return Drained::Part;
  }

 private:
  void Split(PacketHandler& handler, int i, Clock::time_point now) {
    std::span<const uint8_t> data = m_batch.Data(i);
    const auto segment = Control<int>(m_batch.Header(i), SOL_UDP, UDP_GRO);
    if (const auto drops = Control<uint32_t>(m_batch.Header(i), SOL_SOCKET, SO_RXQ_OVFL)) {
      m_statistics.socketDrops = *drops;
    }
    const size_t length = segment && *segment > 0 ? static_cast<size_t>(*segment) : data.size();
    while (!data.empty()) {
      const auto packet = data.first(std::min(length, data.size()));
      handler.OnPacket(packet, now);
      data = data.subspan(packet.size());
    }
  }

  const int m_fd;
  MessageBatch m_batch;
  SourceStatistics m_statistics;
};

}  // namespace

std::unique_ptr<PacketSource> MakeSocketSource(const UdpSocket& socket, size_t packetBytes) {
  return std::make_unique<SocketSource>(socket, packetBytes);
}

std::unique_ptr<PacketSource> MakeOffloadSource(const UdpSocket& socket) {
  const int on = 1;
  if (setsockopt(socket.Fd(), SOL_UDP, UDP_GRO, &on, sizeof on) != 0) return nullptr;
  return std::make_unique<OffloadSource>(socket);
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
