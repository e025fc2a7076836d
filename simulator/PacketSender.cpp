// SPDX-License-Identifier: Apache-2.0
#include "simulator/PacketSender.h"

#include <netinet/udp.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

#ifndef UDP_SEGMENT
#define UDP_SEGMENT 103
#endif

namespace OrvexSim {

using GigEVision::PacketFormat;
using GigEVision::PacketHeader;
using GigEVision::sk_gvspExtendedHeaderSize;
using GigEVision::sk_ipUdpOverhead;

namespace {

constexpr size_t sk_maxSegments = 64;  // of one send with segmentation offload
constexpr size_t sk_maxSegmentedBytes =
    65000;  // the kernel limits the whole to one IP datagram's length
constexpr auto sk_shortestSleep = std::chrono::microseconds(20);
constexpr uint32_t sk_batchSpanNs =
    50'000;  // with a packet delay: packets sent back to back span no more than this
constexpr int sk_sendBuffer = 4 << 20;

// The header of a packet and the bytes behind it, in place.
struct Packet {
  uint8_t header[sk_gvspExtendedHeaderSize];
  size_t headerSize = 0;
  const uint8_t* content = nullptr;
  size_t contentSize = 0;
};

Packet MakePacket(const Frame& frame, uint32_t packetId, Status status, bool resent) {
  PacketHeader header;
  header.status = status;
  header.extendedIds = frame.extendedIds;
  header.flags = resent ? GigEVision::sk_gvspFlagResent : uint16_t{0};
  header.blockId = frame.blockId;
  header.packetId = packetId;
  Packet packet;
  const FramePart part = frame.Part(packetId);
  header.format = part.format;
  packet.content = part.content.data();
  packet.contentSize = part.content.size();
  packet.headerSize = EncodePacketHeader(packet.header, header);
  return packet;
}

}  // namespace

PacketSender::PacketSender(uint32_t ip, uint32_t mtu, uint32_t pathLimit)
    : m_fd(BindUdp(ip, 0, false)), m_mtu(mtu), m_pathLimit(pathLimit) {
  ::setsockopt(m_fd.Get(), SOL_SOCKET, SO_SNDBUF, &sk_sendBuffer, sizeof sk_sendBuffer);
}

void PacketSender::Rebind(uint32_t ip, uint32_t mtu) {
  const UniqueFd fresh = BindUdp(ip, 0, false);
  ::setsockopt(fresh.Get(), SOL_SOCKET, SO_SNDBUF, &sk_sendBuffer, sizeof sk_sendBuffer);
  // Replaced under its number, because the streaming thread may be sending the rest of a frame.
  ::dup2(fresh.Get(), m_fd.Get());
  m_doNotFragment = -1;
  m_mtu = mtu;
  m_segmentation = true;
}

void PacketSender::SetDoNotFragment(bool on) {
  if (m_doNotFragment == (on ? 1 : 0)) return;
  m_doNotFragment = on ? 1 : 0;
  const int mode = on ? IP_PMTUDISC_DO : IP_PMTUDISC_DONT;
  ::setsockopt(m_fd.Get(), IPPROTO_IP, IP_MTU_DISCOVER, &mode, sizeof mode);
}

void PacketSender::Wait(const Route& route, Clock::time_point next) {
  if (route.bytesPerSecond != 0 || route.packetDelayNs != 0) Sleep(next);
}

void PacketSender::Sleep(Clock::time_point next) {
  if (next - Clock::now() < sk_shortestSleep) return;
  const auto nanoseconds =
      std::chrono::duration_cast<std::chrono::nanoseconds>(next.time_since_epoch()).count();
  const timespec until{static_cast<time_t>(nanoseconds / 1'000'000'000),
                       static_cast<long>(nanoseconds % 1'000'000'000)};
  ::clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr);
}

bool PacketSender::SendSegmented(const Frame& frame, uint32_t firstPacket, size_t count,
                                 const Route& route) {
  Packet packets[sk_maxSegments];
  iovec parts[2 * sk_maxSegments];
  for (size_t i = 0; i < count; ++i) {
    packets[i] = MakePacket(frame, firstPacket + static_cast<uint32_t>(i), Status::Success, false);
    parts[2 * i] = {packets[i].header, packets[i].headerSize};
    parts[2 * i + 1] = {const_cast<uint8_t*>(packets[i].content), packets[i].contentSize};
  }
  sockaddr_in to = SocketAddress(route.destination.ip, route.destination.port);
  alignas(cmsghdr) char control[CMSG_SPACE(sizeof(uint16_t))] = {};
  msghdr message{};
  message.msg_name = &to;
  message.msg_namelen = sizeof to;
  message.msg_iov = parts;
  message.msg_iovlen = 2 * count;
  message.msg_control = control;
  message.msg_controllen = sizeof control;
  cmsghdr* item = CMSG_FIRSTHDR(&message);
  item->cmsg_level = SOL_UDP;
  item->cmsg_type = UDP_SEGMENT;
  item->cmsg_len = CMSG_LEN(sizeof(uint16_t));
  const auto segment = static_cast<uint16_t>(packets[0].headerSize + frame.dataPerPacket);
  std::memcpy(CMSG_DATA(item), &segment, sizeof segment);
  return ::sendmsg(m_fd.Get(), &message, 0) >= 0;
}

void PacketSender::SendEach(const Frame& frame, uint32_t firstPacket, size_t count,
                            const Route& route) {
  Packet packets[sk_maxSegments];
  iovec parts[2 * sk_maxSegments];
  mmsghdr messages[sk_maxSegments] = {};
  sockaddr_in to = SocketAddress(route.destination.ip, route.destination.port);
  for (size_t i = 0; i < count; ++i) {
    packets[i] = MakePacket(frame, firstPacket + static_cast<uint32_t>(i), Status::Success, false);
    parts[2 * i] = {packets[i].header, packets[i].headerSize};
    parts[2 * i + 1] = {const_cast<uint8_t*>(packets[i].content), packets[i].contentSize};
    messages[i].msg_hdr.msg_name = &to;
    messages[i].msg_hdr.msg_namelen = sizeof to;
    messages[i].msg_hdr.msg_iov = &parts[2 * i];
    messages[i].msg_hdr.msg_iovlen = 2;
  }
  for (size_t sent = 0; sent < count;) {
    const int now = ::sendmmsg(m_fd.Get(), messages + sent, static_cast<unsigned>(count - sent), 0);
    sent += now > 0 ? static_cast<size_t>(now) : 1;  // a packet that cannot leave is a lost packet
  }
}

size_t PacketSender::SendRun(const Frame& frame, uint32_t firstPacket, size_t count,
                             const Route& route) {
  if (m_pathLimit != 0 && route.packetSize > m_pathLimit) return count;
  const size_t wire = route.packetSize - sk_ipUdpOverhead;
  if (route.segmentation && m_segmentation && count > 1 && route.packetSize <= m_mtu) {
    count = std::min({count, sk_maxSegments, sk_maxSegmentedBytes / wire});
    if (SendSegmented(frame, firstPacket, count, route)) return count;
    // Interfaces without checksum offload refuse. Other failures are packets lost on the way.
    const bool refused =
        errno == EINVAL || errno == EIO || errno == EOPNOTSUPP || errno == EMSGSIZE;
    if (!refused) return count;
    m_segmentation = false;
  }
  count = std::min(count, sk_maxSegments);
  SendEach(frame, firstPacket, count, route);
  return count;
}

void PacketSender::SendFrame(Frame& frame, const Route& route, const std::atomic<bool>& stop) {
  SetDoNotFragment(route.doNotFragment);
  const size_t wire = route.packetSize - sk_ipUdpOverhead;
  size_t batch = std::clamp<size_t>(sk_maxSegmentedBytes / wire, 1, sk_maxSegments);
  if (route.packetDelayNs != 0) {
    batch = std::clamp<size_t>(sk_batchSpanNs / route.packetDelayNs, 1, batch);
  }
  SendPacket(frame, 0, route, Status::Success, false);
  frame.sentPackets.store(1, std::memory_order_release);
  Clock::time_point next = Clock::now();
  const uint32_t dataPackets = frame.DataPackets();
  for (uint32_t packet = 1; packet <= dataPackets && !stop.load(std::memory_order_relaxed);) {
    Wait(route, next);
    const size_t count =
        SendRun(frame, packet, std::min<size_t>(batch, dataPackets + 1 - packet), route);
    packet += static_cast<uint32_t>(count);
    frame.sentPackets.store(packet, std::memory_order_release);
    uint64_t nanoseconds = uint64_t{route.packetDelayNs} * count;
    if (route.bytesPerSecond != 0) {
      nanoseconds = std::max(
          nanoseconds, uint64_t{route.packetSize} * count * 1'000'000'000 / route.bytesPerSecond);
    }
    next += std::chrono::nanoseconds(nanoseconds);
  }
  Wait(route, next);
  SendPacket(frame, frame.TrailerId(), route, Status::Success, false);
  frame.sentPackets.store(frame.TrailerId() + 1, std::memory_order_release);
}

void PacketSender::SendFaulty(Frame& frame, const Route& route, const FaultSettings& faults,
                              const std::atomic<bool>& stop) {
  SetDoNotFragment(route.doNotFragment);
  FaultDice dice(faults, frame.blockId, frame.TrailerId());
  struct Held {
    uint32_t packet, after;  // goes out once this many packets have overtaken it
  };
  std::vector<Held> held;
  const auto send = [&](uint32_t packet) {
    if (dice.Happens(PacketFault::Corrupt, packet)) {
      SendCorrupt(frame, packet, route, dice);
    } else {
      SendPacket(frame, packet, route, Status::Success, false);
    }
    if (dice.Happens(PacketFault::Duplicate, packet))
      SendPacket(frame, packet, route, Status::Success, false);
  };
  Clock::time_point next = Clock::now();
  const uint32_t trailer = frame.TrailerId();
  for (uint32_t packet = 0; packet <= trailer && !stop.load(std::memory_order_relaxed); ++packet) {
    Wait(route, next);
    const double share = packet == 0         ? faults.loseLeader
                         : packet == trailer ? faults.loseTrailer
                                             : 0;
    const bool lost = dice.Hit(share) || dice.Happens(PacketFault::Drop, packet);
    if (dice.Happens(PacketFault::Delay, packet)) {
      next = std::max(next, Clock::now()) + std::chrono::microseconds(faults.delayUs);
      Sleep(next);
    }
    if (!lost && dice.Happens(PacketFault::Reorder, packet)) {
      held.push_back({packet, faults.reorderDistance});
    } else if (!lost) {
      send(packet);
    }
    for (Held& late : held) {
      if (late.packet != packet && --late.after == 0) send(late.packet);
    }
    std::erase_if(held, [](const Held& late) { return late.after == 0; });
    frame.sentPackets.store(packet + 1, std::memory_order_release);
    uint64_t nanoseconds = route.packetDelayNs;
    if (route.bytesPerSecond != 0) {
      nanoseconds = std::max<uint64_t>(
          nanoseconds, uint64_t{route.packetSize} * 1'000'000'000 / route.bytesPerSecond);
    }
    next += std::chrono::nanoseconds(nanoseconds);
  }
  for (const Held& late : held) send(late.packet);
}

void PacketSender::SendCorrupt(const Frame& frame, uint32_t packetId, const Route& route,
                               FaultDice& dice) {
  const Packet packet = MakePacket(frame, packetId, Status::Success, false);
  std::vector<uint8_t> bytes(packet.header, packet.header + packet.headerSize);
  bytes.insert(bytes.end(), packet.content, packet.content + packet.contentSize);
  bytes[dice.Below(static_cast<uint32_t>(bytes.size()))] ^= 0x5A;
  const sockaddr_in to = SocketAddress(route.destination.ip, route.destination.port);
  ::sendto(m_fd.Get(), bytes.data(), bytes.size(), 0, reinterpret_cast<const sockaddr*>(&to),
           sizeof to);
}

void PacketSender::SendPacket(const Frame& frame, uint32_t packetId, const Route& route,
                              Status status, bool resent) {
  Packet packet = MakePacket(frame, packetId, status, resent);
  const size_t size = packet.headerSize + packet.contentSize;
  if (m_pathLimit != 0 && size + sk_ipUdpOverhead > m_pathLimit) return;
  iovec parts[2] = {{packet.header, packet.headerSize},
                    {const_cast<uint8_t*>(packet.content), packet.contentSize}};
  sockaddr_in to = SocketAddress(route.destination.ip, route.destination.port);
  msghdr message{};
  message.msg_name = &to;
  message.msg_namelen = sizeof to;
  message.msg_iov = parts;
  message.msg_iovlen = 2;
  ::sendmsg(m_fd.Get(), &message, 0);  // a packet that cannot leave is a lost packet
}

void PacketSender::SendRefusal(uint64_t blockId, uint32_t packetId, bool extendedIds,
                               const Route& route, Status status, bool rangeError) {
  PacketHeader header;
  header.status = status;
  header.format = PacketFormat::Payload;
  header.extendedIds = extendedIds;
  header.flags = static_cast<uint16_t>(GigEVision::sk_gvspFlagResent |
                                       (rangeError ? GigEVision::sk_gvspFlagRangeError : 0));
  header.blockId = blockId;
  header.packetId = packetId;
  uint8_t bytes[sk_gvspExtendedHeaderSize];
  const size_t size = EncodePacketHeader(bytes, header);
  const sockaddr_in to = SocketAddress(route.destination.ip, route.destination.port);
  ::sendto(m_fd.Get(), bytes, size, 0, reinterpret_cast<const sockaddr*>(&to), sizeof to);
}

bool PacketSender::SendTest(uint32_t size, const Endpoint& destination) {
  if (size > m_mtu || (m_pathLimit != 0 && size > m_pathLimit)) return false;
  SetDoNotFragment(true);
  std::vector<uint8_t> bytes(size - sk_ipUdpOverhead, 0);
  PacketHeader header;
  header.format = PacketFormat::Leader;
  EncodePacketHeader(bytes, header);
  const sockaddr_in to = SocketAddress(destination.ip, destination.port);
  return ::sendto(m_fd.Get(), bytes.data(), bytes.size(), 0, reinterpret_cast<const sockaddr*>(&to),
                  sizeof to) >= 0;
}

}  // namespace OrvexSim
