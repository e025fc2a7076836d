#pragma once
// SPDX-License-Identifier: Apache-2.0
// Sender and receiver with nothing but sockets: what the kernel itself can do between two
// processes, as the peer of everything that the stream benchmarks measure. For the body of a child
// process.

#include <netinet/in.h>
#include <netinet/udp.h>
#include <sys/socket.h>
#include <time.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <vector>

#include "producer/Network.h"

namespace Bench {

using OrvexGev::Endpoint;
using OrvexGev::UdpSocket;

struct BareOutcome {
  double seconds = 0, cpuSeconds = 0;
  uint64_t bytes = 0, packets = 0;
};

inline double CpuSeconds() {
  timespec time;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}
inline double WallSeconds() {
  timespec time;
  clock_gettime(CLOCK_MONOTONIC, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

// Sends datagrams of so many bytes until the process is ended: as fast as it goes with segmentation
// offload, or in bursts of `burst` single datagrams, `bursts` times a second.
inline void SendBare(Endpoint from, Endpoint to, size_t bytes, unsigned burst, double bursts) {
  UdpSocket socket = UdpSocket::Bound(from);
  socket.Connect(to);
  const size_t train = burst != 0 ? 1 : 65000 / bytes;
  if (train > 1) {
    const int segment = static_cast<int>(bytes);
    if (setsockopt(socket.Fd(), SOL_UDP, UDP_SEGMENT, &segment, sizeof segment) != 0)
      throw std::runtime_error("no segmentation offload");
  }
  const std::vector<uint8_t> data(bytes * train, 0x55);
  double next = WallSeconds();
  for (;;) {
    if (burst == 0) {
      send(socket.Fd(), data.data(), data.size(), MSG_NOSIGNAL);
      continue;
    }
    for (unsigned i = 0; i < burst; ++i) send(socket.Fd(), data.data(), bytes, MSG_NOSIGNAL);
    next += 1 / bursts;
    const double left = next - WallSeconds();
    if (left <= 0) continue;
    const timespec pause{0, static_cast<long>(left * 1e9)};
    nanosleep(&pause, nullptr);
  }
}

inline UdpSocket BareReceiver(Endpoint at) {
  UdpSocket socket = UdpSocket::Bound(at);
  const int bytes = 64 << 20;
  setsockopt(socket.Fd(), SOL_SOCKET, SO_RCVBUFFORCE, &bytes, sizeof bytes);
  return socket;
}

// Takes trains as the kernel joins them, and throws them away.
inline BareOutcome TakeTrains(Endpoint at, double seconds) {
  const UdpSocket socket = BareReceiver(at);
  const int on = 1;
  setsockopt(socket.Fd(), SOL_UDP, UDP_GRO, &on, sizeof on);
  std::vector<uint8_t> data(65536);
  BareOutcome outcome;
  double start = 0, cpu = 0;
  const int fd = socket.Fd();
  while (start == 0 || WallSeconds() - start < seconds) {
    const ssize_t got = recv(fd, data.data(), data.size(), 0 | MSG_DONTWAIT);
    if (got <= 0) {
      OrvexGev::WaitReadable({&fd, 1}, OrvexGev::Clock::now() + std::chrono::seconds(1));
      continue;
    }
    if (start == 0) start = WallSeconds(), cpu = CpuSeconds();
    outcome.bytes += static_cast<uint64_t>(got);
  }
  outcome.seconds = WallSeconds() - start;
  outcome.cpuSeconds = CpuSeconds() - cpu;
  return outcome;
}

// Takes many datagrams a call and copies the payload of each to a frame's memory.
inline BareOutcome TakeAndCopy(Endpoint at, double seconds) {
  constexpr size_t batch = 128, room = 2048;
  const UdpSocket socket = BareReceiver(at);
  std::vector<uint8_t> data(batch * room), frame(4 << 20);
  std::array<iovec, batch> parts;
  std::array<mmsghdr, batch> messages{};
  for (size_t i = 0; i < batch; ++i) {
    parts[i] = {data.data() + i * room, room};
    messages[i].msg_hdr.msg_iov = &parts[i];
    messages[i].msg_hdr.msg_iovlen = 1;
  }
  BareOutcome outcome;
  double start = 0, cpu = 0;
  size_t place = 0;
  const int fd = socket.Fd();
  while (start == 0 || WallSeconds() - start < seconds) {
    const int count = recvmmsg(fd, messages.data(), batch, MSG_DONTWAIT, nullptr);
    if (count <= 0) {
      OrvexGev::WaitReadable({&fd, 1}, OrvexGev::Clock::now() + std::chrono::seconds(1));
      continue;
    }
    if (start == 0) start = WallSeconds(), cpu = CpuSeconds();
    for (int i = 0; i < count; ++i) {
      const size_t size = messages[static_cast<size_t>(i)].msg_len;
      if (place + size > frame.size()) place = 0;
      std::memcpy(frame.data() + place, data.data() + static_cast<size_t>(i) * room, size);
      place += size;
      outcome.bytes += size;
      ++outcome.packets;
    }
  }
  outcome.seconds = WallSeconds() - start;
  outcome.cpuSeconds = CpuSeconds() - cpu;
  return outcome;
}

}  // namespace Bench
