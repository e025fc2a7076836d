#pragma once
// SPDX-License-Identifier: Apache-2.0
// Messages of one system call. Where the handler knows what comes next, headers and data are
// received apart, the data at its final place; what turns out to be something else is brought
// together again before anybody looks at it. Belongs to the receiver thread.

#include <sys/socket.h>

#include <array>
#include <optional>
#include <vector>

#include "producer/PacketSource.h"

namespace OrvexGev {

class SocketBatch {
 public:
  static constexpr size_t sk_mostSegments = 64;

  // At most so many messages of at most so many bytes.
  SocketBatch(size_t messages, size_t bytes);

  // Takes messages without waiting, each of which is expected to join so many packets. False when
  // there was none.
  bool Receive(int fd, size_t messages, const Forecast& forecast, size_t segments);
  void HandOver(PacketHandler& handler, Clock::time_point now);

  size_t Count() const { return m_count; }
  // Packets in the longest message.
  size_t Segments() const;
  // What the socket has dropped for want of room so far, where the kernel told.
  std::optional<uint32_t> Drops() const;

 private:
  struct Message {
    size_t placed = 0;   // packets that were expected, each with its header and data apart
    size_t size = 0;     // as it came
    size_t segment = 0;  // bytes of each packet in it but the last
    bool cut = false;    // longer than any packet of this stream
  };
  std::span<uint8_t> Flat(size_t message) {
    return std::span(m_flat).subspan(message * m_bytes, m_bytes);
  }
  const iovec* Vectors(size_t message) const { return m_messages[message].msg_hdr.msg_iov; }
  bool AsForeseen(size_t message) const;
  void Join(size_t message);
  void HandOverFlat(size_t message, size_t from, PacketHandler& handler, Clock::time_point now);

  static constexpr size_t sk_controlBytes = 128;
  static constexpr size_t sk_headerRoom = 32;

  const size_t m_bytes;
  std::vector<uint8_t> m_flat;
  std::vector<uint8_t> m_headers, m_control;
  std::vector<iovec> m_vectors;
  std::vector<mmsghdr> m_messages;
  std::vector<Message> m_came;
  size_t m_count = 0;
  Forecast m_forecast;
};

}  // namespace OrvexGev
