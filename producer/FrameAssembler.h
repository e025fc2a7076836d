#pragma once
// SPDX-License-Identifier: Apache-2.0
// Turns stream packets into frames: finds a packet's frame in constant time, puts its bytes at
// their final place, keeps one bit per packet, asks for lost packets again within bounds, and
// delivers frames in the order of their block ids. Knows no sockets and no clock of its own.
// Belongs to the one thread that receives; allocates only while constructed.

#include <array>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "gigevision/Gvsp.h"
#include "producer/FrameInfo.h"
#include "producer/Limits.h"
#include "producer/PacketSource.h"
#include "producer/ResendPacer.h"

namespace OrvexGev {

// Memory for one frame.
struct FrameTarget {
  uint8_t* base = nullptr;
  size_t size = 0;
  void* cookie = nullptr;  // the sink's
};

class FrameSink {
 public:
  virtual ~FrameSink() = default;
  // False when no buffer is free: the frame is dropped whole.
  virtual bool Take(FrameTarget& target) = 0;
  virtual void Deliver(const FrameTarget& target, const FrameInfo& info) = 0;
  virtual void LeaderSeen(uint64_t blockId) = 0;
  virtual void RequestResend(const GigEVision::PacketResend& resend) = 0;
  // Nothing more will come until the stream is started anew.
  virtual void TransportLost(const std::string& /*text*/) {}
};

struct AssemblerSettings {
  size_t packetSize = 1500;  // as in the packet size register
  bool extendedIds = false;  // of the camera's configuration; each packet tells for itself
  bool resend = true;
  uint64_t resendWindow = 0;  // newest frames that the camera remembers, 0 = not known
  size_t largestBuffer = 0;   // bytes; bounds the packets of a frame
  bool bigEndianPixels = false;
  std::chrono::microseconds reorderWindow{1000};   // first guess, adapts
  std::chrono::microseconds resendTimeout{10000};  // first guess, adapts
  int resendTries = 10;
  double resendShare = 1.0;  // packets asked again in one frame, relative to its packets
  std::chrono::milliseconds retention{200};  // of a frame that has no packets coming
};

struct AssemblerStatistics {
  uint64_t packets = 0, bytes = 0;
  uint64_t framesStarted = 0, framesComplete = 0, framesIncomplete = 0;
  uint64_t framesUnderrun = 0;                     // no buffer
  uint64_t framesMissed = 0;                       // block ids of which nothing arrived
  uint64_t lostPackets = 0;                        // missing when their frame was given up
  uint64_t resendRequests = 0, resendPackets = 0;  // commands sent, packets asked for
  uint64_t resentPackets = 0;                      // arrived after they were asked for
  uint64_t refusedPackets = 0;
  uint64_t latePackets = 0, duplicatePackets = 0, reorderedPackets = 0;
  uint64_t malformedPackets = 0, testPackets = 0, packetsWithoutBuffer = 0;
};

class FrameAssembler final : public PacketHandler {
 public:
  FrameAssembler(const AssemblerSettings& settings, FrameSink& sink);
  ~FrameAssembler() override;

  void OnPacket(std::span<const uint8_t> datagram, Clock::time_point now) override;
  Forecast Foresee() const override;
  void OnPlacedPacket(std::span<const uint8_t> header, std::span<const uint8_t> data,
                      Clock::time_point now) override;
  // Sends resend requests that are due and gives up frames whose time is over, judged by what came
  // before `now`: all of it must have been handed over. Returns when it wants to be called again at
  // the latest.
  Clock::time_point OnTimer(Clock::time_point now);
  // No frames are started any more.
  void Drain() { m_draining = true; }
  // Delivers what is begun as incomplete.
  void Abort();
  bool Idle() const { return m_count == 0; }
  // Whether a frame lacks packets that newer ones have overtaken.
  bool Lacks() const;

  void SetResendWindow(uint64_t frames) { m_settings.resendWindow = frames; }
  const AssemblerStatistics& Statistics() const { return m_statistics; }
  std::chrono::microseconds ReorderWindow() const;

 private:
  struct Slot;
  struct Gap;

  void Take(std::span<const uint8_t> headerBytes, std::span<const uint8_t> content,
            Clock::time_point now);
  Slot* FindSlot(uint64_t blockId);
  Slot* StartFrame(const GigEVision::PacketHeader& header, Clock::time_point now);
  bool NoteRestart(const GigEVision::PacketHeader& header, std::span<const uint8_t> content,
                   Clock::time_point now);
  // Ids after the newest one: positive when newer, with the wrap of 16-bit ids.
  static int64_t Distance(uint64_t from, uint64_t blockId, bool extendedIds);
  int64_t Ahead(uint64_t blockId, bool extendedIds) const {
    return Distance(m_newest, blockId, extendedIds);
  }
  bool WasDropped(uint64_t blockId) const;
  // A packet came that nobody would have had to ask for: its original was only late, or the answer
  // was.
  void NoteNeedlessRequest(bool askedTwice, Clock::time_point now);

  bool MarkPacket(Slot& slot, uint32_t packetId, const GigEVision::PacketHeader& header,
                  Clock::time_point now);
  void NoteGap(Slot& slot, uint32_t first, uint32_t last, Clock::time_point now);
  void NoteLateArrival(Slot& slot, uint32_t packetId, bool resent, Clock::time_point now);
  void NoteTailArrival(Slot& slot, uint32_t packetId, bool resent, Clock::time_point now);
  // The answer to a request for this packet came.
  void NoteAnswer(Gap& gap, Clock::time_point now);
  void OnLeader(Slot& slot, const GigEVision::PacketHeader& header,
                std::span<const uint8_t> content);
  void OnTrailer(Slot& slot, const GigEVision::PacketHeader& header,
                 std::span<const uint8_t> content);
  void OnData(Slot& slot, const GigEVision::PacketHeader& header, std::span<const uint8_t> content);
  void OnPlacedData(Slot& slot, const GigEVision::PacketHeader& header,
                    std::span<const uint8_t> content);
  void OnAllIn(Slot& slot, const GigEVision::PacketHeader& header,
               std::span<const uint8_t> content);
  void OnRefusal(Slot& slot, const GigEVision::PacketHeader& header);
  void ApplyLeader(Slot& slot, const GigEVision::Leader& leader);
  void Store(Slot& slot, uint64_t offset, std::span<const uint8_t> data);

  bool Complete(const Slot& slot) const;
  bool InResendWindow(const Slot& slot) const;
  // True when nothing can make the frame better.
  bool Hopeless(const Slot& slot, bool newest, Clock::time_point now) const;
  // `newer`: the frame behind, if one has begun.
  void AskAgain(Slot& slot, const Slot* newer, Clock::time_point now);
  void SettleGaps(Slot& slot, Clock::time_point now);
  void AskGap(Slot& slot, size_t index, Clock::time_point now);
  void AskTail(Slot& slot, bool probe, Clock::time_point now);
  void Request(Slot& slot, uint32_t first, uint32_t last, uint32_t count);
  bool Overdue(const Gap& gap, Clock::time_point now) const;
  void ExpireAnswers(Gap& gap, Clock::time_point now);
  uint32_t ResendBudget(const Slot& slot) const;
  void NoteTail(Slot& slot, bool newest, Clock::time_point now);
  uint32_t Missing(const Slot& slot, uint32_t first, uint32_t last) const;
  void DeliverReady();
  void Finish(Slot& slot);

  Slot& At(size_t position) { return *m_slots[(m_head + position) % sk_maxActiveFrames]; }

  AssemblerSettings m_settings;
  FrameSink& m_sink;
  AssemblerStatistics m_statistics;
  // A ring: frames in the order of their ids, the oldest at m_head.
  std::array<std::unique_ptr<Slot>, sk_maxActiveFrames> m_slots;
  size_t m_head = 0, m_count = 0;
  uint64_t m_newest = 0;
  bool m_seenAny = false;
  bool m_draining = false;
  Clock::time_point m_lastPacket{};
  uint64_t m_newestTimestamp = 0;  // of the leaders that came
  uint64_t m_newestLeader = 0;     // its block
  std::array<uint64_t, sk_maxActiveFrames> m_dropped{};
  size_t m_nextDropped = 0;
  // Frames that ended not long ago and for which packets were asked again.
  struct AskedFrame {
    uint64_t id = 0;
    bool twice = false;
  };
  std::array<AskedFrame, sk_maxActiveFrames> m_asked{};
  size_t m_nextAsked = 0;
  bool m_marksResent = false;  // the camera marks the packets that it sends again
  FrameInfo m_lastGeometry;    // of the newest leader, for frames that lost theirs
  uint32_t m_lastTrailerId = 0;
  std::chrono::duration<double, std::micro> m_reorder;
  double m_distance = 0;  // packets that have overtaken another lately, with some room
  ResendPacer m_pacer;
  Clock::duration m_longestPause{};  // between two packets of one frame
};

}  // namespace OrvexGev
