// SPDX-License-Identifier: Apache-2.0
// The judge of resends in a closed circle: a camera, a switch of limited speed and room, and the
// assembler, in a time that the cases make pass. What the switch drops is asked for over the same
// switch.
#include <gtest/gtest.h>

#include <deque>
#include <map>

#include "Packets.h"
#include "producer/FrameAssembler.h"
#include "producer/StreamPump.h"

namespace OrvexGev {
namespace {

using Packets::Bytes;

constexpr uint32_t sk_packets = 256;  // of data in a frame
constexpr size_t sk_packetSize = 9000;
constexpr auto sk_step = 50us;

struct Road {
  const char* name;
  Clock::duration period;           // from frame to frame
  unsigned hurried;                 // frames that come together once, after the camera was late
  double loss;                      // of all packets
  Clock::duration deaf, deafEvery;  // the receiver's thread does not run
  double most;                      // packets asked for, for each that was lost
  Clock::duration within;           // from the frame's last packet to its delivery
};

static void PrintTo(const Road& road, std::ostream* out) {
  *out << road.name;
}

class Resends : public testing::TestWithParam<Road>, public FrameSink, public PacketSource {
 protected:
  static constexpr auto sk_service = 72us;  // of a packet on a gigabit
  static constexpr size_t sk_room = 420;    // packets that the switch holds
  static constexpr auto sk_way = 300us;     // of a request to the camera
  static constexpr unsigned sk_frames = 60;

  // FrameSink
  bool Take(FrameTarget& target) override {
    target = {m_memory.data(), m_memory.size(), nullptr};
    return true;
  }
  void Deliver(const FrameTarget&, const FrameInfo& info) override {
    m_longest = std::max(m_longest, m_now - m_left[info.blockId]);
    ++m_delivered;
    if (info.incomplete) ++m_incomplete;
  }
  void LeaderSeen(uint64_t) override {}
  void RequestResend(const GigEVision::PacketResend& resend) override {
    m_requests.push_back({m_now + sk_way, resend});
  }

  // PacketSource
  Engine Kind() const override { return Engine::Sockets; }
  int Fd() const override { return -1; }
  SourceStatistics Statistics() const override { return {}; }
  Drained Drain(PacketHandler& handler) override {
    if (m_queue.empty() || m_queue.front().leaves > m_now) return Drained::Nothing;
    for (int i = 0; i < 64; ++i) {
      if (m_queue.empty() || m_queue.front().leaves > m_now) return Drained::All;
      handler.OnPacket(m_queue.front().bytes, m_now);
      m_queue.pop_front();
    }
    return Drained::Part;
  }

  void Send(uint64_t block, uint32_t packet, bool resent) {
    m_random = m_random * 6364136223846793005u + 1442695040888963407u;
    size_t waiting = 0;
    for (auto it = m_queue.rbegin(); it != m_queue.rend() && it->leaves > m_now; ++it) ++waiting;
    const bool lost = static_cast<double>(m_random >> 40) < GetParam().loss * (1 << 24);
    if (lost || waiting >= sk_room) {
      if (!resent) ++m_lost;
      return;
    }
    m_stream.status = resent ? 0x0100 : 0;
    m_free = std::max(m_free, m_now) + sk_service;
    if (!resent) m_left[block] = m_free;
    m_queue.push_back({m_free, packet == 0           ? m_stream.LeaderOf(block, 8964, sk_packets)
                               : packet > sk_packets ? m_stream.TrailerOf(block, packet, sk_packets)
                                                     : m_stream.Data(block, packet, 1, 7)});
  }
  void Camera() {
    while (m_sent < sk_frames && m_now >= m_start + m_sent * GetParam().period) {
      if (m_sent == 10 && m_now < m_start + (9 + GetParam().hurried) * GetParam().period) break;
      ++m_sent;
      for (uint32_t packet = 0; packet <= sk_packets + 1; ++packet) Send(m_sent, packet, false);
    }
    while (!m_requests.empty() && m_requests.front().arrives <= m_now) {
      const GigEVision::PacketResend request = m_requests.front().what;
      m_requests.pop_front();
      const uint32_t last = std::min(request.lastPacket, sk_packets + 1);
      for (uint32_t packet = request.firstPacket; packet <= last; ++packet) {
        ++m_asked;
        Send(request.blockId, packet, true);
      }
    }
  }
  bool Deaf() const {
    const Road& road = GetParam();
    return road.deafEvery.count() != 0 && (m_now - m_start) % road.deafEvery < road.deaf;
  }

  struct Waiting {
    Clock::time_point leaves;
    Bytes bytes;
  };
  struct Request {
    Clock::time_point arrives;
    GigEVision::PacketResend what;
  };
  Packets::Stream m_stream;
  Bytes m_memory = Bytes((sk_packets + 2) * sk_packetSize);
  std::deque<Waiting> m_queue;
  std::deque<Request> m_requests;
  const Clock::time_point m_start{1s};
  Clock::time_point m_now = m_start, m_free{};
  Clock::duration m_longest{};
  std::map<uint64_t, Clock::time_point> m_left;
  uint64_t m_random = 1;
  unsigned m_sent = 0, m_delivered = 0, m_incomplete = 0, m_lost = 0, m_asked = 0;
};

TEST_P(Resends, CompleteEveryFrameAndNeverFillTheLinkThemselves) {
  AssemblerSettings settings;
  settings.packetSize = sk_packetSize;
  settings.largestBuffer = m_memory.size();
  FrameAssembler assembler(settings, *this);
  StreamPump pump(*this, assembler);
  for (; m_now < m_start + sk_frames * GetParam().period + 1s; m_now += sk_step) {
    Camera();
    if (!Deaf()) pump.Serve(m_now);
  }
  EXPECT_EQ(m_delivered, sk_frames);
  EXPECT_EQ(m_incomplete, 0u);
  EXPECT_LE(m_longest, GetParam().within);
  EXPECT_LE(m_asked, GetParam().most * m_lost)
      << m_lost << " lost, " << assembler.Statistics().duplicatePackets << " came twice";
}

INSTANTIATE_TEST_SUITE_P(
    Roads, Resends,
    testing::Values(Road{"Idle", 20ms, 1, 0, 0s, 0s, 0, 1ms},
                    Road{"Slow", 400ms, 1, 0.02, 0s, 0s, 1.1, 50ms},
                    Road{"Lossy", 20ms, 1, 0.02, 0s, 0s, 1.1, 50ms},
                    Road{"Hurried", 20ms, 2, 0, 0s, 0s, 1.1, 150ms},
                    Road{"HurriedAndLossy", 20ms, 2, 0.005, 0s, 0s, 1.1, 150ms},
                    Road{"HurriedAndFull", 19500us, 2, 0, 0s, 0s, 1.1, 150ms},
                    Road{"DeafReceiver", 20ms, 1, 0, 12ms, 50ms, 0, 15ms},
                    Road{"DeafAndLossy", 20ms, 1, 0.01, 12ms, 50ms, 1.1, 50ms}),
    [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace OrvexGev
