// SPDX-License-Identifier: Apache-2.0
#include "producer/SocketBatch.h"

#include <netinet/udp.h>

#include <algorithm>
#include <cstring>

#include "gigevision/Gvsp.h"

namespace OrvexGev {

namespace Gev = GigEVision;

namespace {

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

}  // namespace

SocketBatch::SocketBatch(size_t messages, size_t bytes)
    : m_bytes(bytes),
      m_flat(messages * bytes),
      m_control(messages * sk_controlBytes),
      m_messages(messages),
      m_came(messages) {}

bool SocketBatch::Receive(int fd, size_t messages, const Forecast& forecast, size_t segments) {
  segments = std::clamp<size_t>(segments, 1, sk_mostSegments);
  m_forecast = forecast;
  m_headers.resize(std::max(m_headers.size(), messages * segments * sk_headerRoom));
  m_vectors.resize(std::max(m_vectors.size(), messages * (2 * segments + 1)));
  size_t left = forecast.packets;
  uint8_t* place = forecast.place;
  iovec* vector = m_vectors.data();
  for (size_t i = 0; i < messages; ++i) {
    msghdr& header = m_messages[i].msg_hdr;
    header.msg_iov = vector;
    const size_t placed = m_came[i].placed = std::min(left, segments);
    left -= placed;
    uint8_t* packetHeader = &m_headers[i * segments * sk_headerRoom];
    for (size_t k = 0; k < placed; ++k) {
      *vector++ = {packetHeader, forecast.headerBytes};
      *vector++ = {place, forecast.dataBytes};
      packetHeader += sk_headerRoom;
      place += forecast.dataBytes;
    }
    *vector++ = {Flat(i).data(), m_bytes};
    header.msg_iovlen = 2 * placed + 1;
    header.msg_control = &m_control[i * sk_controlBytes];
    header.msg_controllen = sk_controlBytes;
  }
  const int count =
      recvmmsg(fd, m_messages.data(), static_cast<unsigned>(messages), MSG_DONTWAIT, nullptr);
  m_count = static_cast<size_t>(std::max(count, 0));
  for (size_t i = 0; i < m_count; ++i) {
    Message& message = m_came[i];
    const msghdr& header = m_messages[i].msg_hdr;
    message.size = m_messages[i].msg_len;
    message.cut = (header.msg_flags & MSG_TRUNC) != 0 || message.size > m_bytes;
    const int segment = Control<int>(header, SOL_UDP, UDP_GRO).value_or(0);
    message.segment = segment > 0 ? static_cast<size_t>(segment) : message.size;
  }
  return m_count > 0;
}

bool SocketBatch::AsForeseen(size_t index) const {
  const Message& message = m_came[index];
  const size_t whole = m_forecast.headerBytes + m_forecast.dataBytes;
  if (message.segment != whole || message.cut) return false;
  const size_t first = index * m_came[0].placed;  // those before the last are full
  for (size_t k = 0; k < message.placed && k * whole < message.size; ++k) {
    if (message.size - k * whole < m_forecast.headerBytes) return false;
    const auto* bytes = static_cast<const uint8_t*>(Vectors(index)[2 * k].iov_base);
    const auto header = Gev::DecodePacketHeader({bytes, m_forecast.headerBytes});
    if (!header || header->Size() != m_forecast.headerBytes ||
        header->format != Gev::PacketFormat::Payload || Gev::IsError(header->status) ||
        header->blockId != m_forecast.blockId ||
        header->packetId != m_forecast.packetId + first + k)
      return false;
  }
  return true;
}

void SocketBatch::Join(size_t index) {
  Message& message = m_came[index];
  const std::span<uint8_t> flat = Flat(index);
  const size_t whole = m_forecast.headerBytes + m_forecast.dataBytes;
  const size_t apart = std::min(message.size, message.placed * whole);
  std::memmove(flat.data() + apart, flat.data(), message.size - apart);
  size_t at = 0;
  for (const iovec* part = Vectors(index); at < apart; ++part) {
    const size_t bytes = std::min(part->iov_len, apart - at);
    std::memcpy(flat.data() + at, part->iov_base, bytes);
    at += bytes;
  }
  message.placed = 0;
}

void SocketBatch::HandOverFlat(size_t index, size_t from, PacketHandler& handler,
                               Clock::time_point now) {
  const Message& message = m_came[index];
  std::span<const uint8_t> data = Flat(index).first(message.size - from);
  while (!data.empty()) {
    const auto packet = data.first(std::min(message.segment, data.size()));
    handler.OnPacket(packet, now);
    data = data.subspan(packet.size());
  }
}

void SocketBatch::HandOver(PacketHandler& handler, Clock::time_point now) {
  // Where one message is not what was foreseen, those behind it are elsewhere too. All of them are
  // taken away before the first packet moves anything.
  size_t foreseen = 0;
  while (foreseen < m_count && m_came[foreseen].placed > 0 && AsForeseen(foreseen)) ++foreseen;
  for (size_t i = foreseen; i < m_count; ++i) {
    if (m_came[i].placed > 0 && !m_came[i].cut) Join(i);
  }
  const size_t whole = m_forecast.headerBytes + m_forecast.dataBytes;
  for (size_t i = 0; i < m_count; ++i) {
    const Message& message = m_came[i];
    if (message.cut) continue;
    size_t at = 0;
    for (const iovec* part = Vectors(i);
         i < foreseen && at < message.size && at < message.placed * whole; part += 2, at += whole) {
      const size_t data = std::min(whole, message.size - at) - m_forecast.headerBytes;
      handler.OnPlacedPacket({static_cast<const uint8_t*>(part[0].iov_base), part[0].iov_len},
                             {static_cast<const uint8_t*>(part[1].iov_base), data}, now);
    }
    if (at < message.size) HandOverFlat(i, at, handler, now);
  }
}

size_t SocketBatch::Segments() const {
  size_t most = 1;
  for (size_t i = 0; i < m_count; ++i) {
    const Message& message = m_came[i];
    if (message.segment != 0)
      most = std::max(most, (message.size + message.segment - 1) / message.segment);
  }
  return most;
}

std::optional<uint32_t> SocketBatch::Drops() const {
  return m_count == 0 ? std::nullopt
                      : Control<uint32_t>(m_messages[m_count - 1].msg_hdr, SOL_SOCKET, SO_RXQ_OVFL);
}

}  // namespace OrvexGev
