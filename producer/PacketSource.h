#pragma once
// SPDX-License-Identifier: Apache-2.0
// Where a stream's packets come from: engines that take many packets for one system call. Belongs
// to the receiver thread once started.

#include <memory>
#include <span>

#include "producer/Network.h"

namespace OrvexGev {

enum class Engine : int64_t { Automatic = 0, Sockets = 1, Offload = 2, Ring = 3, Tcp = 4 };

// The data packets that will come next, if nothing is lost: full ones of one frame, and the memory
// for their data.
struct Forecast {
  uint8_t* place = nullptr;  // of the first one's data; the others follow
  size_t packets = 0;        // 0 = unknown
  size_t dataBytes = 0;      // of each
  size_t headerBytes = 0;
  uint64_t blockId = 0;
  uint32_t packetId = 0;  // of the first
};

class PacketHandler {
 public:
  virtual ~PacketHandler() = default;
  virtual void OnPacket(std::span<const uint8_t> datagram, Clock::time_point now) = 0;
  // Holds until the next packet is handed over. The memory may be written to before that.
  virtual Forecast Foresee() const { return {}; }
  // A packet of the forecast, its data in its place.
  virtual void OnPlacedPacket(std::span<const uint8_t> /*header*/,
                              std::span<const uint8_t> /*data*/, Clock::time_point /*now*/) {}
};

// What a source had.
enum class Drained { Nothing, All, Part };

struct SourceStatistics {
  uint64_t socketDrops = 0;  // by the kernel, for want of socket buffer
  uint64_t calls = 0;
};

class PacketSource {
 public:
  virtual ~PacketSource() = default;
  virtual Engine Kind() const = 0;
  virtual int Fd() const = 0;
  // Hands over what is there without waiting, but no more than a good deal at once.
  virtual Drained Drain(PacketHandler& handler) = 0;
  // How long a packet may be here without being handed over.
  virtual Clock::duration Lag() const { return {}; }
  // How long to leave packets to gather before the next call, while they come one by one: waking up
  // for each costs more than taking it.
  virtual Clock::duration Rest() const { return {}; }
  virtual SourceStatistics Statistics() const = 0;
};

// The socket stays the caller's. packetBytes is the largest datagram that is expected.
std::unique_ptr<PacketSource> MakeSocketSource(const UdpSocket& socket, size_t packetBytes);
std::unique_ptr<PacketSource> MakeOffloadSource(
    const UdpSocket& socket);  // null where the kernel lacks it

// Where a ring listens, and how long the camera's full datagrams are.
struct RingPlace {
  unsigned interfaceIndex = 0;
  uint32_t hostIp = 0;
  uint32_t deviceIp = 0;
  size_t datagramBytes =
      0;  // UDP payload; trains of several, as the sender's kernel builds them, are cut there
};
// Null without the permission or the kernel's support. While the source lives the socket itself
// receives nothing.
std::unique_ptr<PacketSource> MakeRingSource(const UdpSocket& socket, const RingPlace& place,
                                             size_t bytes);

// Sizes the socket's receive buffer, beyond the system's limit where this process may. Returns what
// the kernel granted for packets (bytes as asked, without the kernel's own bookkeeping).
size_t SetReceiveBuffer(const UdpSocket& socket, size_t bytes);

}  // namespace OrvexGev
