// SPDX-License-Identifier: Apache-2.0
// The part of the frame assembler that deals with packets that did not come.
#include <algorithm>
#include <utility>

#include "producer/FrameSlot.h"

namespace OrvexGev {

namespace Gev = GigEVision;

namespace {

constexpr auto sk_timerWhileMissing = 500us;
constexpr auto sk_timerWhileReceiving = 5ms;
constexpr auto sk_timerWhileIdle = 100ms;
constexpr uint64_t sk_requestsPerCall = 64;
constexpr uint32_t sk_freePackets = 64;  // that any frame may ask again whatever its share
constexpr std::chrono::duration<double, std::micro> sk_longestReorder = 20ms;
constexpr auto sk_tailPause = 10ms;  // after the last packet of the newest frame
constexpr auto sk_longestRetention = 5s;
constexpr uint32_t sk_tailEnd = UINT32_MAX;  // unless one packet of it is asked alone
constexpr double sk_longestDistance = 1024;

}  // namespace

void FrameAssembler::NoteGap(Slot& slot, uint32_t first, uint32_t last, Clock::time_point now) {
  if (slot.gapCount == slot.gaps.size()) {
    // No room for one more: the newest range grows over what lies between.
    slot.gaps.back().last = last;
    return;
  }
  Gap gap{first, last, now, {}, {}, 0, 0};
  if (slot.tail.tries > 0) {  // it was part of what was asked already
    gap.asked = slot.tail.asked;
    gap.tries = 1;
    gap.underWay = std::min(slot.tail.underWay, last - first + 1);
    slot.tail.underWay -= gap.underWay;
  }
  slot.gaps[slot.gapCount++] = gap;
}

void FrameAssembler::NoteNeedlessRequest(bool askedTwice, Clock::time_point now) {
  if (askedTwice) return m_pacer.Hasty(now);
  m_reorder = std::min<decltype(m_reorder)>(m_reorder * 1.5, sk_longestReorder);
}

void FrameAssembler::NoteAnswer(Gap& gap, Clock::time_point now) {
  if (gap.underWay > 0) {
    --gap.underWay;
    m_pacer.Answered(gap.asked, gap.tries == 1, now);
  }
  gap.heard = now;
}

void FrameAssembler::NoteLateArrival(Slot& slot, uint32_t packetId, bool resent,
                                     Clock::time_point now) {
  Gap* gap = slot.GapOf(packetId);
  if (gap == nullptr || (!resent && (gap->tries == 0 || m_marksResent))) {
    ++m_statistics.reorderedPackets;
    if (gap != nullptr) {
      // In packets as well: a sender that pauses makes a gap old without overtaking anything.
      const double overtaken = slot.next - 1 - packetId;
      m_distance = std::clamp(overtaken * 1.5, m_distance, sk_longestDistance);
      const std::chrono::duration<double, std::micro> delay = now - gap->since;
      m_reorder = std::clamp<decltype(m_reorder)>(std::max(m_reorder, delay * 1.5), 100us,
                                                  sk_longestReorder);
    }
    return;
  }
  ++m_statistics.resentPackets;
  NoteAnswer(*gap, now);
}

// The end was asked for and something of it comes.
void FrameAssembler::NoteTailArrival(Slot& slot, uint32_t packetId, bool resent,
                                     Clock::time_point now) {
  if (resent || !m_marksResent) ++m_statistics.resentPackets;
  if (!resent) {
    m_pacer.Forget(slot.tail.underWay);
    slot.tail = {};  // the camera had only paused
    return;
  }
  NoteAnswer(slot.tail, now);
  if (packetId < slot.tail.last || slot.tail.last == sk_tailEnd) return;
  // All that was asked of it came: the rest is asked for without waiting.
  slot.tail.last = sk_tailEnd;
  slot.tail.asked = slot.tail.heard = {};
  slot.tail.tries = 1;
}

void FrameAssembler::OnRefusal(Slot& slot, const Gev::PacketHeader& header) {
  ++m_statistics.refusedPackets;
  const uint32_t packet = header.packetId;
  if (packet >= slot.Capacity()) return;
  switch (header.status) {
    case Gev::Status::PacketNotYetAvailable:
    case Gev::Status::PacketTemporarilyUnavailable:
      if (packet >= slot.next) {  // the camera has not come to its end yet
        m_pacer.Forget(slot.tail.underWay);
        slot.tail = {};
      }
      return;  // worth asking again
    case Gev::Status::PacketAndPreviousRemoved:
      for (uint32_t earlier = 0; earlier < packet; ++earlier) Slot::Set(slot.refusedBits, earlier);
      break;
    default:
      break;
  }
  if (Gap* gap = slot.GapOf(packet)) NoteAnswer(*gap, slot.last);
  Slot::Set(slot.refusedBits, packet);
  slot.refusedEnd = std::max(slot.refusedEnd, packet + 1);
  if (packet >= slot.next) slot.refusedTail = true;
}

uint32_t FrameAssembler::Missing(const Slot& slot, uint32_t first, uint32_t last) const {
  uint32_t count = 0;
  for (uint32_t packet = first; packet <= last; ++packet) count += slot.Settled(packet) ? 0 : 1;
  return count;
}

bool FrameAssembler::InResendWindow(const Slot& slot) const {
  if (!m_settings.resend) return false;
  if (m_settings.resendWindow == 0) return true;
  const auto window = std::min<uint64_t>(m_settings.resendWindow, INT64_MAX);
  return Ahead(slot.id, slot.extendedIds) > -static_cast<int64_t>(window);
}

bool FrameAssembler::Hopeless(const Slot& slot, bool newest, Clock::time_point now) const {
  const auto pause = now - slot.last;
  const auto retention =
      std::clamp<Clock::duration>(m_longestPause * 10, m_settings.retention, sk_longestRetention);
  if (pause > retention) return true;
  if (newest && !slot.trailer && !slot.refusedTail) return false;
  if (!InResendWindow(slot)) {
    return pause > 2 * std::chrono::duration_cast<Clock::duration>(m_reorder);
  }
  // Still hoping as long as one range can be asked again, or its answer may be under way.
  const auto timeout = m_pacer.Timeout();
  const auto open = [&](const Gap& gap) {
    return gap.tries < m_settings.resendTries || now - std::max(gap.asked, gap.heard) < 2 * timeout;
  };
  for (size_t i = 0; i < slot.gapCount; ++i) {
    if (Missing(slot, slot.gaps[i].first, slot.gaps[i].last) != 0 && open(slot.gaps[i]))
      return false;
  }
  return slot.trailer || slot.refusedTail || !open(slot.tail);
}

// A frame whose end did not come: asked for like any gap once newer frames arrive, or after a pause
// that is long for this stream.
void FrameAssembler::NoteTail(Slot& slot, bool newest, Clock::time_point now) {
  if (slot.trailer || slot.tail.since != Clock::time_point()) return;
  const auto pause = newest ? std::max<Clock::duration>(sk_tailPause, m_longestPause * 4)
                            : std::chrono::duration_cast<Clock::duration>(m_reorder);
  if (now - slot.last <= pause) return;
  slot.tail.since = slot.last;
  slot.tail.last = sk_tailEnd;
}

uint32_t FrameAssembler::ResendBudget(const Slot& slot) const {
  const uint32_t packets = std::max({slot.next, m_lastTrailerId + 1, slot.trailerId + 1});
  return sk_freePackets + static_cast<uint32_t>(m_settings.resendShare * packets);
}

void FrameAssembler::Request(Slot& slot, uint32_t first, uint32_t last, uint32_t count) {
  m_sink.RequestResend({0, slot.extendedIds, slot.id, first, last});
  m_pacer.Asked(count);
  slot.asked += count;
  m_statistics.resendPackets += count;
  ++m_statistics.resendRequests;
}

bool FrameAssembler::Overdue(const Gap& gap, Clock::time_point now) const {
  return m_pacer.Overdue(gap.asked, gap.heard,
                         std::chrono::duration_cast<Clock::duration>(m_reorder), now);
}

void FrameAssembler::ExpireAnswers(Gap& gap, Clock::time_point now) {
  if (gap.underWay != 0 && Overdue(gap, now)) m_pacer.Lost(std::exchange(gap.underWay, 0), now);
}

// Cuts from the ranges what came, and no longer waits for answers that are overdue.
void FrameAssembler::SettleGaps(Slot& slot, Clock::time_point now) {
  size_t kept = 0;
  for (size_t i = 0; i < slot.gapCount; ++i) {
    Gap gap = slot.gaps[i];
    while (gap.first <= gap.last && slot.Settled(gap.first)) ++gap.first;
    if (gap.first > gap.last) {
      m_pacer.Forget(gap.underWay);
      continue;
    }
    while (slot.Settled(gap.last)) --gap.last;
    ExpireAnswers(gap, now);
    slot.gaps[kept++] = gap;
  }
  slot.gapCount = kept;
  ExpireAnswers(slot.tail, now);
}

// As much of the range as may be asked for now; the rest becomes a range of its own.
void FrameAssembler::AskGap(Slot& slot, size_t index, Clock::time_point now) {
  Gap& gap = slot.gaps[index];
  const uint32_t allowed = m_pacer.Allowance();
  uint32_t count = 0;
  uint32_t packet = gap.first;
  while (packet <= gap.last && count < allowed) {
    if (slot.Settled(packet)) {
      ++packet;
      continue;
    }
    const uint32_t first = packet;
    while (packet <= gap.last && !slot.Settled(packet) && count < allowed) ++packet, ++count;
    Request(slot, first, packet - 1, packet - first);
  }
  if (packet <= gap.last && slot.gapCount < slot.gaps.size()) {
    Gap rest = gap;
    rest.first = packet;
    rest.underWay = 0;
    gap.last = packet - 1;
    const auto behind = slot.gaps.begin() + static_cast<ptrdiff_t>(index) + 1;
    const auto end = slot.gaps.begin() + static_cast<ptrdiff_t>(slot.gapCount++);
    std::move_backward(behind, end, end + 1);
    *behind = rest;
  }
  slot.askedTwice = slot.askedTwice || gap.tries > 0;
  ++gap.tries;
  gap.asked = now;
  gap.underWay = count;
}

// The newest frame may go on after a pause: one packet is asked for first, to find out.
void FrameAssembler::AskTail(Slot& slot, bool probe, Clock::time_point now) {
  const uint32_t whole = m_lastTrailerId >= slot.next ? m_lastTrailerId - slot.next + 1 : 1;
  const uint32_t count = probe ? 1 : std::min(whole, m_pacer.Allowance());
  slot.tail.last = count < whole || probe ? slot.next + count - 1 : sk_tailEnd;
  const uint32_t end = slot.extendedIds ? Gev::sk_toLastPacketExtended : Gev::sk_toLastPacket;
  Request(slot, slot.next, slot.tail.last == sk_tailEnd ? end : slot.tail.last, count);
  slot.askedTwice = slot.askedTwice || slot.tail.asked != Clock::time_point();
  ++slot.tail.tries;
  slot.tail.asked = now;
  slot.tail.underWay += count;
}

void FrameAssembler::AskAgain(Slot& slot, const Slot* newer, Clock::time_point now) {
  SettleGaps(slot, now);
  const auto reorder = std::chrono::duration_cast<Clock::duration>(m_reorder);
  const uint32_t budget = ResendBudget(slot);
  const uint64_t requestsBefore = m_statistics.resendRequests;
  const bool paused = now - m_lastPacket >= std::max<Clock::duration>(sk_tailPause, 2 * reorder);
  const auto overtaken = [&](const Gap& gap) {
    const uint32_t after =
        (slot.next > gap.last ? slot.next - gap.last - 1 : 0) + (newer ? newer->received : 0);
    return now - gap.since >= reorder && (paused || after >= m_distance);
  };
  // Whether to ask for the range now; one whose budget is used up is not asked for any more.
  const auto due = [&](Gap& gap) {
    const bool time = gap.tries == 0 ? overtaken(gap) : Overdue(gap, now);
    if (!time || gap.tries >= m_settings.resendTries || m_pacer.Allowance() == 0 ||
        m_statistics.resendRequests - requestsBefore >= sk_requestsPerCall)
      return false;
    if (slot.asked >= budget) gap.tries = m_settings.resendTries;
    return slot.asked < budget;
  };
  for (size_t i = 0; i < slot.gapCount; ++i) {
    if (due(slot.gaps[i])) AskGap(slot, i, now);
  }
  if (!slot.trailer && !slot.refusedTail && slot.tail.since != Clock::time_point() &&
      due(slot.tail))
    AskTail(slot, newer == nullptr && slot.tail.tries == 0, now);
}

bool FrameAssembler::Lacks() const {
  for (size_t i = 0; i < m_count; ++i) {
    const Slot& slot = *m_slots[(m_head + i) % sk_maxActiveFrames];
    if (slot.gapCount != 0 || slot.tail.since != Clock::time_point()) return true;
  }
  return m_count > 1;
}

Clock::time_point FrameAssembler::OnTimer(Clock::time_point now) {
  bool missing = false;
  for (size_t i = 0; i < m_count; ++i) {
    Slot& slot = At(i);
    if (Complete(slot)) continue;
    const bool newest = i + 1 == m_count;
    NoteTail(slot, newest, now);
    if (slot.gapCount == 0 && slot.tail.since == Clock::time_point()) continue;
    missing = true;
    if (InResendWindow(slot)) AskAgain(slot, newest ? nullptr : &At(i + 1), now);
  }
  while (m_count > 0 && (Complete(At(0)) || Hopeless(At(0), m_count == 1, now))) {
    Finish(At(0));
    m_head = (m_head + 1) % sk_maxActiveFrames;
    --m_count;
  }
  return now + (missing       ? Clock::duration(sk_timerWhileMissing)
                : m_count > 0 ? Clock::duration(sk_timerWhileReceiving)
                              : Clock::duration(sk_timerWhileIdle));
}

}  // namespace OrvexGev
