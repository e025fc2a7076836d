// SPDX-License-Identifier: Apache-2.0
// Packets from a ring that the kernel shares with this process (AF_PACKET, TPACKET_V3): no system
// call and no copy per packet. Needs CAP_NET_RAW. The UDP socket stays open, so that the port
// belongs to us, but takes nothing itself.
#include <arpa/inet.h>
#include <linux/filter.h>
#include <linux/if_packet.h>
#include <net/ethernet.h>
#include <netinet/udp.h>
#include <sys/mman.h>
#include <sys/socket.h>

#include <algorithm>
#include <atomic>
#include <cstring>

#include "gigevision/Bytes.h"
#include "producer/PacketSource.h"

namespace OrvexGev {
namespace {

// A block is handed over after a millisecond, full or not: their number is how many milliseconds
// the receiver thread may be late. Each has room for three of the longest trains.
constexpr unsigned sk_blockBytes = 1u << 18;
constexpr unsigned sk_fewestBlocks = 256;
constexpr unsigned sk_mostBlocks = 1024;
constexpr unsigned sk_frameBytes =
    2048;  // only has to divide the block: packets of any size share blocks
constexpr unsigned sk_retireMs = 1;  // a block that is not full is handed over after this
constexpr auto sk_ringLag = 2 * std::chrono::milliseconds(sk_retireMs);
constexpr size_t sk_udpHeader = 8;
constexpr size_t sk_smallestIpHeader = 20;
constexpr int sk_blocksPerDrain = 32;
constexpr size_t sk_cacheLine = 64;

// Whole UDP datagrams from the camera to the port, judged from the IP header on.
bool FilterStream(int fd, uint32_t hostIp, uint16_t port, uint32_t deviceIp) {
  sock_filter code[] = {
      BPF_STMT(BPF_LD | BPF_B | BPF_ABS, 9),  // protocol
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, IPPROTO_UDP, 0, 9),
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, 12),  // source
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, deviceIp, 0, 7),
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, 16),  // destination
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, hostIp, 0, 5),
      BPF_STMT(BPF_LD | BPF_H | BPF_ABS, 6),  // fragments
      BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, 0x3FFF, 3, 0),
      BPF_STMT(BPF_LDX | BPF_B | BPF_MSH, 0),
      BPF_STMT(BPF_LD | BPF_H | BPF_IND, 2),  // destination port
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, port, 1, 0),
      BPF_STMT(BPF_RET | BPF_K, 0),
      BPF_STMT(BPF_RET | BPF_K, 0x40000),
  };
  const sock_fprog program{static_cast<unsigned short>(std::size(code)), code};
  return setsockopt(fd, SOL_SOCKET, SO_ATTACH_FILTER, &program, sizeof program) == 0;
}

bool TakeNothing(int fd) {
  sock_filter code[] = {BPF_STMT(BPF_RET | BPF_K, 0)};
  const sock_fprog program{1, code};
  return setsockopt(fd, SOL_SOCKET, SO_ATTACH_FILTER, &program, sizeof program) == 0;
}

class RingSource final : public PacketSource {
 public:
  ~RingSource() override {
    if (m_ring != nullptr) munmap(m_ring, m_ringBytes);
    const int nothing = 0;
    setsockopt(m_udpFd, SOL_SOCKET, SO_DETACH_FILTER, &nothing, sizeof nothing);
  }

  // False where the system does not let us.
  bool Open(const UdpSocket& udp, const RingPlace& place, size_t bytes) {
    m_udpFd = udp.Fd();
    m_datagramBytes = place.datagramBytes;
    // Protocol 0: nothing arrives before the filter stands.
    m_fd = UniqueFd(socket(AF_PACKET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!m_fd) return false;
    const int version = TPACKET_V3;
    if (setsockopt(m_fd.Get(), SOL_PACKET, PACKET_VERSION, &version, sizeof version) != 0)
      return false;
    const auto wanted = static_cast<unsigned>(bytes / sk_blockBytes);
    m_blocks = std::clamp(wanted, sk_fewestBlocks, sk_mostBlocks);
    tpacket_req3 request{};
    request.tp_block_size = sk_blockBytes;
    request.tp_block_nr = m_blocks;
    request.tp_frame_size = sk_frameBytes;
    request.tp_frame_nr = m_blocks * (sk_blockBytes / sk_frameBytes);
    request.tp_retire_blk_tov = sk_retireMs;
    if (setsockopt(m_fd.Get(), SOL_PACKET, PACKET_RX_RING, &request, sizeof request) != 0)
      return false;
    m_ringBytes = size_t{m_blocks} * sk_blockBytes;
    void* ring = mmap(nullptr, m_ringBytes, PROT_READ | PROT_WRITE, MAP_SHARED, m_fd.Get(), 0);
    if (ring == MAP_FAILED) return false;
    m_ring = static_cast<uint8_t*>(ring);
    if (!FilterStream(m_fd.Get(), place.hostIp, udp.LocalPort(), place.deviceIp)) return false;
    sockaddr_ll local{};
    local.sll_family = AF_PACKET;
    local.sll_protocol = htons(ETH_P_IP);
    local.sll_ifindex = static_cast<int>(place.interfaceIndex);
    if (bind(m_fd.Get(), reinterpret_cast<const sockaddr*>(&local), sizeof local) != 0)
      return false;
    return TakeNothing(m_udpFd);
  }

  Engine Kind() const override { return Engine::Ring; }
  int Fd() const override { return m_fd.Get(); }

  SourceStatistics Statistics() const override {
    tpacket_stats_v3 stats{};
    socklen_t length = sizeof stats;
    // The kernel counts from zero again after each question.
    if (getsockopt(m_fd.Get(), SOL_PACKET, PACKET_STATISTICS, &stats, &length) == 0)
      m_statistics.socketDrops += stats.tp_drops;
    return m_statistics;
  }

  Clock::duration Lag() const override { return sk_ringLag; }

  Drained Drain(PacketHandler& handler) override {
    Drained drained = Drained::Nothing;
    for (int i = 0; i < sk_blocksPerDrain; ++i) {
      auto* block =
          reinterpret_cast<tpacket_block_desc*>(m_ring + size_t{m_current} * sk_blockBytes);
      std::atomic_ref<uint32_t> status(block->hdr.bh1.block_status);
      if ((status.load(std::memory_order_acquire) & TP_STATUS_USER) == 0) return drained;
      Walk(handler, *block);
      status.store(TP_STATUS_KERNEL, std::memory_order_release);
      m_current = (m_current + 1) % m_blocks;
      ++m_statistics.calls;
      drained = Drained::All;
    }
    return Drained::Part;
  }

 private:
  void Walk(PacketHandler& handler, const tpacket_block_desc& block) {
    const auto now = Clock::now();
    const auto* base = reinterpret_cast<const uint8_t*>(&block);
    size_t offset = block.hdr.bh1.offset_to_first_pkt;
    for (uint32_t i = 0; i < block.hdr.bh1.num_pkts; ++i) {
      const auto* packet = reinterpret_cast<const tpacket3_hdr*>(base + offset);
      // Written by another core: the next one's headers come while this one's data is copied.
      __builtin_prefetch(base + offset + packet->tp_next_offset);
      __builtin_prefetch(base + offset + packet->tp_next_offset + sk_cacheLine);
      // The kernel vouches for the places, the camera for nothing inside them.
      Datagram(handler,
               {reinterpret_cast<const uint8_t*>(packet) + packet->tp_net, packet->tp_snaplen},
               now);
      offset += packet->tp_next_offset;
    }
  }

  void Datagram(PacketHandler& handler, std::span<const uint8_t> ip, Clock::time_point now) {
    if (ip.size() < sk_smallestIpHeader) return;
    const size_t header = size_t{ip[0] & 0x0Fu} * 4;
    if (header < sk_smallestIpHeader || ip.size() < header + sk_udpHeader) return;
    const size_t length = GigEVision::LoadBe16(&ip[header + 4]);
    std::span<const uint8_t> payload = ip.subspan(header + sk_udpHeader);
    // Below 64 KiB the header tells where padding begins; a train that was not cut into datagrams
    // yet has no length.
    if (length >= sk_udpHeader)
      payload = payload.first(std::min(payload.size(), length - sk_udpHeader));
    while (!payload.empty()) {
      const auto one = payload.first(std::min(payload.size(), m_datagramBytes));
      handler.OnPacket(one, now);
      payload = payload.subspan(one.size());
    }
  }

  UniqueFd m_fd;
  int m_udpFd = -1;
  uint8_t* m_ring = nullptr;
  size_t m_ringBytes = 0;
  size_t m_datagramBytes = 0;
  unsigned m_blocks = 0;
  unsigned m_current = 0;
  mutable SourceStatistics m_statistics;
};

}  // namespace

std::unique_ptr<PacketSource> MakeRingSource(const UdpSocket& socket, const RingPlace& place,
                                             size_t bytes) {
  auto source = std::make_unique<RingSource>();
  if (!source->Open(socket, place, bytes)) return nullptr;
  return source;
}

}  // namespace OrvexGev
