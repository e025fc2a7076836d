// SPDX-License-Identifier: Apache-2.0
#include "producer/FrameAssembler.h"

#include <algorithm>
#include <cstring>

#include "producer/FrameSlot.h"

namespace OrvexGev {

namespace Gev = GigEVision;

namespace {

constexpr size_t sk_smallestData =
    64;  // bytes per packet that the packet bits are laid out for at least
constexpr int64_t sk_restartDistance = 1000;  // block ids; farther back is a camera that began anew
constexpr auto sk_restartPause = 1s;
constexpr size_t sk_formatByte = 4;  // of a packet header; the highest bit tells of extended ids

bool SamePlaces(const FrameInfo& a, const FrameInfo& b) {
  return a.partCount == b.partCount && a.chunkOffset == b.chunkOffset &&
         std::equal(a.parts.begin(), a.parts.begin() + static_cast<ptrdiff_t>(a.partCount),
                    b.parts.begin(), [](const FramePart& left, const FramePart& right) {
                      return left.offset == right.offset;
                    });
}

}  // namespace

FrameAssembler::FrameAssembler(const AssemblerSettings& settings, FrameSink& sink)
    : m_settings(settings),
      m_sink(sink),
      m_reorder(settings.reorderWindow),
      m_pacer(settings.packetSize, settings.resendTimeout) {
  const size_t perPacket =
      std::max(sk_smallestData, Gev::DataPerPacket(settings.packetSize, true) / 2);
  const size_t packets =
      std::min<size_t>(settings.largestBuffer / perPacket + 64, sk_maxPacketsPerFrame);
  for (auto& slot : m_slots) {
    slot = std::make_unique<Slot>();
    slot->bits.assign((packets + 63) / 64, 0);
    slot->refusedBits.assign(slot->bits.size(), 0);
  }
}

FrameAssembler::~FrameAssembler() = default;

std::chrono::microseconds FrameAssembler::ReorderWindow() const {
  return std::chrono::duration_cast<std::chrono::microseconds>(m_reorder);
}

FrameAssembler::Slot* FrameAssembler::FindSlot(uint64_t blockId) {
  for (size_t i = m_count; i-- > 0;) {
    if (At(i).id == blockId) return &At(i);
  }
  return nullptr;
}

int64_t FrameAssembler::Distance(uint64_t from, uint64_t blockId, bool extendedIds) {
  if (extendedIds) return static_cast<int64_t>(blockId - from);
  // 65535 ids, 0 is left out.
  int64_t distance = static_cast<int64_t>(blockId & 0xFFFF) - static_cast<int64_t>(from & 0xFFFF);
  if (distance > 32767) distance -= 65535;
  if (distance < -32767) distance += 65535;
  return distance;
}

bool FrameAssembler::WasDropped(uint64_t blockId) const {
  return std::ranges::find(m_dropped, blockId) != m_dropped.end();
}

// A camera that starts anew counts from 1 again; its leader is younger than one of the same id or a
// later one. Of a frame whose own leader never came that cannot be told.
bool FrameAssembler::NoteRestart(const Gev::PacketHeader& header, std::span<const uint8_t> content,
                                 Clock::time_point now) {
  const int64_t ahead = Ahead(header.blockId, header.extendedIds);
  bool restart = ahead < -sk_restartDistance ||
                 (ahead < 0 && m_count == 0 && now - m_lastPacket > sk_restartPause);
  if (!restart &&
      (header.format == Gev::PacketFormat::Leader || header.format == Gev::PacketFormat::AllIn)) {
    const auto leader = Gev::DecodeLeader(content);
    restart = leader && leader->timestamp > m_newestTimestamp && m_newestTimestamp != 0 &&
              Distance(m_newestLeader, header.blockId, header.extendedIds) <= 0;
  }
  if (!restart) return false;
  Abort();
  m_seenAny = false;
  m_dropped.fill(0);
  m_asked.fill({});
  return true;
}

FrameAssembler::Slot* FrameAssembler::StartFrame(const Gev::PacketHeader& header,
                                                 Clock::time_point now) {
  if (m_draining) return nullptr;
  if (m_seenAny) {
    const int64_t ahead = Ahead(header.blockId, header.extendedIds);
    if (ahead > 1) m_statistics.framesMissed += static_cast<uint64_t>(ahead) - 1;
  }
  m_seenAny = true;
  m_newest = header.blockId;
  ++m_statistics.framesStarted;
  if (m_count == sk_maxActiveFrames) {
    Finish(At(0));
    m_head = (m_head + 1) % sk_maxActiveFrames;
    --m_count;
    DeliverReady();
  }
  FrameTarget target;
  if (!m_sink.Take(target)) {
    ++m_statistics.framesUnderrun;
    m_dropped[m_nextDropped++ % m_dropped.size()] = header.blockId;
    return nullptr;
  }
  Slot& slot = At(m_count++);
  slot.Reset();
  slot.id = header.blockId;
  slot.extendedIds = header.extendedIds;
  slot.target = target;
  slot.info.newData = true;
  slot.info.blockId = header.blockId;
  slot.info.bigEndianPixels = m_settings.bigEndianPixels;
  slot.dataPerPacket = Gev::DataPerPacket(m_settings.packetSize, header.extendedIds);
  slot.last = now;
  return &slot;
}

void FrameAssembler::OnPacket(std::span<const uint8_t> datagram, Clock::time_point now) {
  const bool extended = datagram.size() > sk_formatByte && (datagram[sk_formatByte] & 0x80) != 0;
  const size_t header = extended ? Gev::sk_gvspExtendedHeaderSize : Gev::sk_gvspHeaderSize;
  Take(datagram, datagram.subspan(std::min(datagram.size(), header)), now);
}

void FrameAssembler::OnPlacedPacket(std::span<const uint8_t> header, std::span<const uint8_t> data,
                                    Clock::time_point now) {
  Take(header, data, now);
}

// Only whole packets of data in order, of the newest frame.
Forecast FrameAssembler::Foresee() const {
  if (m_count == 0) return {};
  const Slot& slot = *m_slots[(m_head + m_count - 1) % sk_maxActiveFrames];
  if (!slot.info.hasLeader || slot.info.partCount != 0 || slot.trailer || slot.next == 0) return {};
  const size_t full = std::min<uint64_t>(slot.expected, slot.target.size) / slot.dataPerPacket;
  if (slot.next > full) return {};
  Forecast forecast;
  forecast.place = slot.target.base + size_t{slot.next - 1} * slot.dataPerPacket;
  forecast.packets = full - slot.next + 1;
  forecast.dataBytes = slot.dataPerPacket;
  forecast.headerBytes = slot.extendedIds ? Gev::sk_gvspExtendedHeaderSize : Gev::sk_gvspHeaderSize;
  forecast.blockId = slot.id;
  forecast.packetId = slot.next;
  return forecast;
}

void FrameAssembler::Take(std::span<const uint8_t> headerBytes, std::span<const uint8_t> content,
                          Clock::time_point now) {
  ++m_statistics.packets;
  const auto header = Gev::DecodePacketHeader(headerBytes);
  if (!header) {
    ++m_statistics.malformedPackets;
    return;
  }
  m_statistics.bytes += header->Size() + content.size();
  if (header->blockId == 0) {
    ++m_statistics.testPackets;
    return;
  }
  m_marksResent = m_marksResent || header->Resent();
  Slot* slot = FindSlot(header->blockId);
  if (slot == nullptr) {
    if (WasDropped(header->blockId)) {
      ++m_statistics.packetsWithoutBuffer;
      return;
    }
    const bool newer = !m_seenAny || Ahead(header->blockId, header->extendedIds) > 0;
    if (Gev::IsError(header->status) || (!newer && !NoteRestart(*header, content, now))) {
      ++m_statistics.latePackets;
      const auto asked = std::ranges::find(m_asked, header->blockId, &AskedFrame::id);
      if (asked != m_asked.end()) NoteNeedlessRequest(asked->twice, now);
      return;
    }
    slot = StartFrame(*header, now);
    if (slot == nullptr) {
      ++m_statistics.packetsWithoutBuffer;
      return;
    }
  } else if (slot->next > 0 && slot->asked == 0) {
    m_longestPause = std::max(m_longestPause, std::min<Clock::duration>(now - slot->last, 1s));
  }
  m_lastPacket = slot->last = now;
  switch (header->format) {
    case Gev::PacketFormat::Leader:
      OnLeader(*slot, *header, content);
      break;
    case Gev::PacketFormat::Trailer:
      OnTrailer(*slot, *header, content);
      break;
    case Gev::PacketFormat::AllIn:
      OnAllIn(*slot, *header, content);
      break;
    default:
      OnData(*slot, *header, content);
      break;
  }
  if (Complete(*slot)) DeliverReady();
}

bool FrameAssembler::MarkPacket(Slot& slot, uint32_t packetId, const Gev::PacketHeader& header,
                                Clock::time_point now) {
  if (packetId >= slot.Capacity()) {
    ++m_statistics.malformedPackets;
    return false;
  }
  if (slot.Has(packetId)) {
    ++m_statistics.duplicatePackets;
    if (slot.asked > 0) NoteNeedlessRequest(slot.askedTwice, now);
    return false;
  }
  Slot::Set(slot.bits, packetId);
  ++slot.received;
  if (packetId >= slot.next) {
    if (packetId > slot.next) NoteGap(slot, slot.next, packetId - 1, now);
    slot.next = packetId + 1;
    if (slot.tail.tries > 0) NoteTailArrival(slot, packetId, header.Resent(), now);
  } else {
    NoteLateArrival(slot, packetId, header.Resent(), now);
  }
  return true;
}

void FrameAssembler::OnLeader(Slot& slot, const Gev::PacketHeader& header,
                              std::span<const uint8_t> content) {
  if (Gev::IsError(header.status)) return OnRefusal(slot, header);
  const auto leader = Gev::DecodeLeader(content);
  if (!leader) {
    ++m_statistics.malformedPackets;
    return;
  }
  if (!MarkPacket(slot, header.packetId, header, slot.last)) return;
  ApplyLeader(slot, *leader);
  m_sink.LeaderSeen(slot.id);
}

void FrameAssembler::ApplyLeader(Slot& slot, const Gev::Leader& leader) {
  slot.expected = TakeLeader(slot.info, leader);
  if (slot.placedByGuess && !SamePlaces(slot.info, m_lastGeometry)) slot.overrun = true;
  if (leader.timestamp >= m_newestTimestamp) {
    m_newestTimestamp = leader.timestamp;
    m_newestLeader = slot.id;
  }
  m_lastGeometry = slot.info;
}

void FrameAssembler::OnTrailer(Slot& slot, const Gev::PacketHeader& header,
                               std::span<const uint8_t> content) {
  if (Gev::IsError(header.status) && header.status != Gev::Status::DataOverrun)
    return OnRefusal(slot, header);
  const auto trailer = Gev::DecodeTrailer(content);
  // A trailer in front of packets that were already seen would make the frame end before its data.
  if (!trailer || header.packetId + 1 < slot.next) {
    ++m_statistics.malformedPackets;
    return;
  }
  if (!MarkPacket(slot, header.packetId, header, slot.last)) return;
  slot.trailer = true;
  slot.trailerId = m_lastTrailerId = header.packetId;
  slot.overrun = header.status == Gev::Status::DataOverrun;
  TakeTrailer(slot.info, *trailer);
}

void FrameAssembler::OnData(Slot& slot, const Gev::PacketHeader& header,
                            std::span<const uint8_t> content) {
  if (Gev::IsError(header.status)) return OnRefusal(slot, header);
  if (header.packetId == 0 || !Gev::IsDataFormat(header.format) || content.empty() ||
      (slot.trailer && header.packetId >= slot.trailerId)) {
    ++m_statistics.malformedPackets;
    return;
  }
  if (TellsItsPlace(header.format)) return OnPlacedData(slot, header, content);
  if (content.size() > slot.dataPerPacket) {
    // The camera rounded the packet size up: the first packet of a frame tells. Later ones cannot
    // move what is placed.
    if (slot.hasData) {
      ++m_statistics.malformedPackets;
      return;
    }
    slot.dataPerPacket = content.size();
  }
  if (!MarkPacket(slot, header.packetId, header, slot.last)) return;
  slot.hasData = true;
  Store(slot, uint64_t{header.packetId - 1} * slot.dataPerPacket, content);
}

// Before the leader of its frame has come, the parts of the last one tell the place.
void FrameAssembler::OnPlacedData(Slot& slot, const Gev::PacketHeader& header,
                                  std::span<const uint8_t> content) {
  const size_t size = content.size() - std::min(content.size(), Gev::sk_zoneHeaderSize);
  const auto place =
      PlaceOf(slot.info.hasLeader ? slot.info : m_lastGeometry, header.format, content, size);
  if (!place) {
    ++m_statistics.malformedPackets;
    return;
  }
  if (!MarkPacket(slot, header.packetId, header, slot.last)) return;
  slot.placedByGuess = slot.placedByGuess || !slot.info.hasLeader;
  Store(slot, *place, content.last(size));
}

void FrameAssembler::OnAllIn(Slot& slot, const Gev::PacketHeader& header,
                             std::span<const uint8_t> content) {
  if (Gev::IsError(header.status)) return OnRefusal(slot, header);
  const auto all = Gev::DecodeAllIn(content);
  if (!all || header.packetId != 0) {
    ++m_statistics.malformedPackets;
    return;
  }
  if (!MarkPacket(slot, 0, header, slot.last)) return;
  ApplyLeader(slot, all->leader);
  m_sink.LeaderSeen(slot.id);
  TakeTrailer(slot.info, all->trailer);
  slot.trailer = true;
  slot.trailerId = 0;
  Store(slot, 0, all->data);
}

void FrameAssembler::Store(Slot& slot, uint64_t offset, std::span<const uint8_t> data) {
  slot.sent += data.size();
  // The network pads short packets, and some cameras fill the last one: beyond the image there is
  // nothing.
  if (slot.expected != 0 && offset < slot.expected) {
    data = data.first(std::min<uint64_t>(data.size(), slot.expected - offset));
  }
  const uint64_t room = offset < slot.target.size ? slot.target.size - offset : 0;
  if (data.size() > room) {
    slot.info.largerThanBuffer = true;
    data = data.first(room);
  }
  if (data.empty()) return;
  uint8_t* place = slot.target.base + offset;
  if (data.data() != place) std::memcpy(place, data.data(), data.size());
  slot.info.filled += data.size();
}

bool FrameAssembler::Complete(const Slot& slot) const {
  return slot.info.hasLeader && slot.trailer && slot.received == slot.trailerId + 1;
}

void FrameAssembler::DeliverReady() {
  while (m_count > 0 && Complete(At(0))) {
    Finish(At(0));
    m_head = (m_head + 1) % sk_maxActiveFrames;
    --m_count;
  }
}

void FrameAssembler::Finish(Slot& slot) {
  FrameInfo& info = slot.info;
  const bool complete = Complete(slot) && !slot.overrun && !info.largerThanBuffer;
  info.incomplete = !complete;
  if (!info.hasLeader && m_lastGeometry.hasLeader) {
    // The format cannot have changed while it is locked; the frame stays marked as incomplete.
    FrameInfo borrowed = m_lastGeometry;
    borrowed.newData = true;
    borrowed.incomplete = true;
    borrowed.hasLeader = false;
    borrowed.hasTrailer = info.hasTrailer;
    if (info.hasTrailer) borrowed.deliveredHeight = info.deliveredHeight;
    borrowed.largerThanBuffer = info.largerThanBuffer;
    borrowed.blockId = info.blockId;
    borrowed.timestamp = 0;
    borrowed.filled = info.filled;
    borrowed.chunkSize = info.chunkSize;
    borrowed.chunkLayoutId = info.chunkLayoutId;
    info = borrowed;
  }
  info.dataSize = DataSizeOf(info, slot.expected, slot.sent);
  const uint32_t packets =
      slot.trailer ? slot.trailerId + 1 : std::max(slot.next, m_lastTrailerId + 1);
  m_statistics.lostPackets += packets - std::min(packets, slot.received);
  ++(complete ? m_statistics.framesComplete : m_statistics.framesIncomplete);
  if (slot.asked > 0) m_asked[m_nextAsked++ % m_asked.size()] = {slot.id, slot.askedTwice};
  for (size_t i = 0; i < slot.gapCount; ++i) m_pacer.Forget(slot.gaps[i].underWay);
  m_pacer.Forget(slot.tail.underWay);
  // What was measured fades, so that one bad moment does not slow all later requests.
  m_reorder = std::max<decltype(m_reorder)>(m_settings.reorderWindow / 4, m_reorder * 0.998);
  m_distance *= 0.998;
  m_longestPause -= m_longestPause / 64;
  m_sink.Deliver(slot.target, info);
}

void FrameAssembler::Abort() {
  while (m_count > 0) {
    Finish(At(0));
    m_head = (m_head + 1) % sk_maxActiveFrames;
    --m_count;
  }
}

}  // namespace OrvexGev
