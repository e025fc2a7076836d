#pragma once
// SPDX-License-Identifier: Apache-2.0
// Where a stream's packets come from: engines that take many packets for one system call. Belongs
// to the receiver thread once started.

#include <memory>
#include <span>

#include "producer/Network.h"

namespace OrvexGev {

enum class Engine : int64_t { Automatic = 0, Sockets = 1, Offload = 2, Ring = 3, Tcp = 4 };

class PacketHandler {
 public:
  virtual ~PacketHandler() = default;
  virtual void OnPacket(std::span<const uint8_t> datagram, Clock::time_point now) = 0;
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
