// SPDX-License-Identifier: Apache-2.0
// Stream packets from leader to delivered frame. The first two bytes set the receiver up; then come
// packets: two bytes of length, one of time that passes, the datagram. Headers of streams over TCP
// are read from the same bytes.
#include <algorithm>
#include <cstdlib>
#include <memory>
#include <vector>

#include "gigevision/TcpStream.h"
#include "producer/FrameAssembler.h"
#include "producer/StreamBuffer.h"

namespace {

using namespace OrvexGev;

constexpr size_t sk_room = 4096;

class Sink final : public FrameSink {
 public:
  explicit Sink(size_t buffers) : m_free(buffers) {}
  bool Take(FrameTarget& target) override {
    if (m_free == 0) return false;
    --m_free;
    // From the heap, one each, so that a byte beyond is found.
    m_memory.push_back(std::make_unique<uint8_t[]>(sk_room));
    target = {m_memory.back().get(), sk_room, nullptr};
    return true;
  }
  void Deliver(const FrameTarget& target, const FrameInfo& info) override {
    ++m_free;
    if (info.partCount > info.parts.size()) std::abort();
    StreamBuffer buffer(nullptr, target.base, target.size, nullptr);
    buffer.frame = info;
    size_t chunks = 0;
    try {
      buffer.Chunks(nullptr, &chunks);
    } catch (const GcError&) {
      // It has none, or broken ones.
    }
    const auto owned = std::ranges::find(m_memory, target.base, &std::unique_ptr<uint8_t[]>::get);
    if (owned == m_memory.end()) std::abort();
    m_memory.erase(owned);
  }
  void LeaderSeen(uint64_t) override {}
  void RequestResend(const GigEVision::PacketResend& resend) override {
    if (resend.firstPacket > resend.lastPacket) std::abort();
    if (++m_requests > 1u << 20) std::abort();
  }

 private:
  size_t m_free;
  size_t m_requests = 0;
  std::vector<std::unique_ptr<uint8_t[]>> m_memory;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  GigEVision::DecodeTcpRecordHeader({data, size});
  AssemblerSettings settings;
  settings.packetSize = 64 + size_t{data[0]} * 2;
  settings.resend = data[1] % 2 != 0;
  settings.resendWindow = data[1] / 2 % 4;
  settings.largestBuffer = sk_room;
  Sink sink(1 + data[1] / 8 % 8);
  FrameAssembler assembler(settings, sink);
  Clock::time_point now{std::chrono::seconds(1)};
  size_t at = 2;
  while (at + 3 <= size) {
    const size_t length = std::min<size_t>(size_t{data[at]} << 8 | data[at + 1], size - at - 3);
    now += std::chrono::microseconds(uint32_t{data[at + 2]} * data[at + 2] * 16);
    assembler.OnTimer(now);
    const std::vector<uint8_t> packet(data + at + 3, data + at + 3 + length);
    // All that is foreseen may be written to.
    const Forecast forecast = assembler.Foresee();
    std::fill_n(forecast.place, forecast.packets * forecast.dataBytes, uint8_t{0x5A});
    assembler.OnPacket(packet, now);
    at += 3 + length;
  }
  for (int i = 0; i < 8; ++i) assembler.OnTimer(now += std::chrono::milliseconds(40));
  assembler.Abort();
  if (!assembler.Idle()) std::abort();
  return 0;
}
