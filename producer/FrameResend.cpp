// SPDX-License-Identifier: Apache-2.0
// The part of the frame assembler that deals with packets that did not come.
#include <algorithm>

#include "producer/FrameSlot.h"

namespace OrvexGev {

namespace Gev = GigEVision;

namespace {

constexpr auto sk_timerWhileMissing = 500us;
constexpr auto sk_timerWhileReceiving = 5ms;
constexpr auto sk_timerWhileIdle = 100ms;
constexpr int sk_requestsPerCall = 64;
constexpr uint32_t sk_freePackets = 64;  // that any frame may ask again whatever its share
constexpr auto sk_shortestResendTimeout = 4ms;
constexpr auto sk_longestResendTimeout = 100ms;
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
  Gap gap{first, last, now, {}, 0};
  if (slot.tail.tries > 0) {  // it was part of what was asked already
    gap.asked = slot.tail.asked;
    gap.tries = 1;
  }
  slot.gaps[slot.gapCount++] = gap;
}

void FrameAssembler::NoteNeedlessRequest() {
  m_reorder = std::min<decltype(m_reorder)>(m_reorder * 1.5, sk_longestReorder);
}

void FrameAssembler::NoteLateArrival(Slot& slot, uint32_t packetId, bool resent,
                                     Clock::time_point now) {
  const auto end = slot.gaps.begin() + static_cast<ptrdiff_t>(slot.gapCount);
  const auto gap = std::find_if(slot.gaps.begin(), end, [&](const Gap& g) {
    return g.first <= packetId && packetId <= g.last;
  });
  if (gap == end || (!resent && (gap->tries == 0 || m_marksResent))) {
    ++m_statistics.reorderedPackets;
    if (gap != end) {
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
  if (gap->tries == 1) {
    const std::chrono::duration<double, std::micro> answer = now - gap->asked;
    m_resendTimeout = std::clamp<decltype(m_resendTimeout)>(
        m_resendTimeout * 0.9 + answer * 0.3, sk_shortestResendTimeout, sk_longestResendTimeout);
  }
}

// The end was asked for and something of it comes.
void FrameAssembler::NoteTailArrival(Slot& slot, bool resent) {
  if (resent || !m_marksResent) ++m_statistics.resentPackets;
  if (!resent) {
    slot.tail = {};  // the camera had only paused
  } else if (slot.tail.last != sk_tailEnd) {
    slot.tail.last = sk_tailEnd;
    slot.tail.asked = {};  // the probe was lost, and the rest probably with it: not to wait for it
  }
}

void FrameAssembler::OnRefusal(Slot& slot, const Gev::PacketHeader& header) {
  ++m_statistics.refusedPackets;
  const uint32_t packet = header.packetId;
  if (packet >= slot.Capacity()) return;
  switch (header.status) {
    case Gev::Status::PacketNotYetAvailable:
    case Gev::Status::PacketTemporarilyUnavailable:
      if (packet >= slot.next) slot.tail = {};  // the camera has not come to its end yet
      return;                                   // worth asking again
    case Gev::Status::PacketAndPreviousRemoved:
      for (uint32_t earlier = 0; earlier < packet; ++earlier) Slot::Set(slot.refusedBits, earlier);
      break;
    default:
      break;
  }
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
  const auto timeout = std::chrono::duration_cast<Clock::duration>(m_resendTimeout);
  const auto open = [&](const Gap& gap) {
    return gap.tries < m_settings.resendTries || now - gap.asked < 2 * timeout;
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

void FrameAssembler::AskAgain(Slot& slot, const Slot* newer, Clock::time_point now) {
  const auto reorder = std::chrono::duration_cast<Clock::duration>(m_reorder);
  const auto timeout = std::chrono::duration_cast<Clock::duration>(m_resendTimeout);
  const uint32_t packets = std::max({slot.next, m_lastTrailerId + 1, slot.trailerId + 1});
  const auto budget = sk_freePackets + static_cast<uint32_t>(m_settings.resendShare * packets);
  int requests = 0;
  const auto ask = [&](uint32_t first, uint32_t last, uint32_t count) {
    m_sink.RequestResend({0, slot.extendedIds, slot.id, first, last});
    slot.asked += count;
    m_statistics.resendPackets += count;
    ++m_statistics.resendRequests;
    ++requests;
  };
  const bool paused = now - m_lastPacket >= std::max<Clock::duration>(sk_tailPause, 2 * reorder);
  const auto overdue = [&](const Gap& gap) {
    const uint32_t after =
        (slot.next > gap.last ? slot.next - gap.last - 1 : 0) + (newer ? newer->received : 0);
    return now - gap.since >= reorder && (paused || after >= m_distance);
  };
  const auto due = [&](const Gap& gap) {
    return gap.tries < m_settings.resendTries &&
           (gap.tries == 0 ? overdue(gap) : now - gap.asked >= timeout);
  };
  size_t kept = 0;
  for (size_t i = 0; i < slot.gapCount; ++i) {
    Gap gap = slot.gaps[i];
    while (gap.first <= gap.last && slot.Settled(gap.first)) ++gap.first;
    if (gap.first > gap.last) continue;
    while (slot.Settled(gap.last)) --gap.last;
    if (due(gap) && requests < sk_requestsPerCall) {
      if (slot.asked >= budget) {
        gap.tries = m_settings.resendTries;
      } else {
        for (uint32_t packet = gap.first; packet <= gap.last; ++packet) {
          if (slot.Settled(packet)) continue;
          uint32_t end = packet;
          while (end < gap.last && !slot.Settled(end + 1)) ++end;
          ask(packet, end, end - packet + 1);
          packet = end;
        }
        ++gap.tries;
        gap.asked = now;
      }
    }
    slot.gaps[kept++] = gap;
  }
  slot.gapCount = kept;
  if (!slot.trailer && !slot.refusedTail && slot.tail.since != Clock::time_point() &&
      due(slot.tail)) {
    // The newest frame may go on after a pause: one packet is asked first, to find out.
    const bool probe = newer == nullptr && slot.tail.tries == 0;
    const uint32_t end = slot.extendedIds ? Gev::sk_toLastPacketExtended : Gev::sk_toLastPacket;
    const uint32_t count =
        !probe && m_lastTrailerId >= slot.next ? m_lastTrailerId - slot.next + 1 : 1;
    if (slot.asked >= budget) {
      slot.tail.tries = m_settings.resendTries;
    } else {
      ask(slot.next, probe ? slot.next : end, count);
      slot.tail.last = probe ? slot.next : sk_tailEnd;
      ++slot.tail.tries;
      slot.tail.asked = now;
    }
  }
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
