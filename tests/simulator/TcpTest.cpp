// SPDX-License-Identifier: Apache-2.0
// A camera that streams over TCP: registers, greetings and records as docs/protocols.md has them.
#include <gtest/gtest.h>
#include <sys/socket.h>

#include "../gigevision/Hex.h"
#include "TestHost.h"

namespace {

class TcpSocket {
 public:
  TcpSocket(uint32_t ip, uint16_t port, uint32_t from = sk_loopback) {
    m_fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int small = 1 << 16;
    ::setsockopt(m_fd, SOL_SOCKET, SO_RCVBUF, &small, sizeof small);
    sockaddr_in own = Address(from, 0), to = Address(ip, port);
    EXPECT_EQ(::bind(m_fd, reinterpret_cast<sockaddr*>(&own), sizeof own), 0);
    EXPECT_EQ(::connect(m_fd, reinterpret_cast<sockaddr*>(&to), sizeof to), 0);
  }
  ~TcpSocket() { ::close(m_fd); }
  void Send(const Bytes& bytes) {
    EXPECT_EQ(::send(m_fd, bytes.data(), bytes.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(bytes.size()));
  }
  // Exactly that many bytes; fewer when the other end closes or stays silent.
  Bytes Receive(size_t count, int milliseconds = 2000) {
    Bytes bytes(count);
    size_t got = 0;
    while (got < count) {
      pollfd poll{m_fd, POLLIN, 0};
      if (::poll(&poll, 1, milliseconds) <= 0) break;
      const ssize_t now = ::recv(m_fd, &bytes[got], count - got, 0);
      if (now <= 0) break;
      got += static_cast<size_t>(now);
    }
    bytes.resize(got);
    return bytes;
  }
  bool Closed(int milliseconds) {
    pollfd poll{m_fd, POLLIN, 0};
    uint8_t byte;
    return ::poll(&poll, 1, milliseconds) > 0 && ::recv(m_fd, &byte, 1, 0) <= 0;
  }

 private:
  static sockaddr_in Address(uint32_t ip, uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(ip);
    address.sin_port = htons(port);
    return address;
  }
  int m_fd;
};

struct Record {
  Bytes header;  // 20 bytes of packet header
  Bytes content;
};

class Tcp : public testing::Test {
 protected:
  static OrvexSim::CameraOptions Options() {
    OrvexSim::CameraOptions options;
    options.width = 640;
    options.height = 480;
    options.frameRate = 100;
    return options;
  }
  void SetUp() override {
    host.TakeControl();
    port = static_cast<uint16_t>(host.Read(0xA008).value_or(0));
    EXPECT_EQ(host.Write(0xA00C, 0xDEADBEEF), Status::Success);
  }
  static Record Next(TcpSocket& socket) {
    const Bytes length = socket.Receive(4);
    if (length.size() != 4) return {};
    const uint32_t size = GigEVision::LoadBe32(length.data());
    return {socket.Receive(20), socket.Receive(size - 20)};
  }
  RunningCamera running{Options()};
  Host host{running.camera};
  uint16_t port = 0;
};

const char* const sk_hello = "4F545331 0001 0000 DEADBEEF 0000 0000";

TEST_F(Tcp, NamesItselfInItsRegisters) {
  EXPECT_EQ(host.ReadMem(0xA000, 8), Hex("4F545331 00010000"));
  EXPECT_NE(port, 0);
  EXPECT_EQ(host.Read(0xA00C), 0u) << "the key is not told";
  EXPECT_EQ(host.Read(0xA010), 0u);
  EXPECT_EQ(host.Read(0xA014), 65536u);
  EXPECT_EQ(host.Write(0xA000, 1), Status::WriteProtect);
  Host stranger(running.camera);
  EXPECT_EQ(stranger.Write(0xA00C, 7), Status::AccessDenied);
  EXPECT_NE(running.camera.Description().find("Name=\"TCPEnable\""), std::string::npos);
}

TEST_F(Tcp, SendsBlocksAsRecords) {
  host.OpenStream();
  TcpSocket socket(0x7F000002, port);
  socket.Send(Hex(sk_hello));
  EXPECT_EQ(socket.Receive(16), Hex("4F545331 0001 0000 0000 0000 00010000"));
  EXPECT_EQ(host.Read(0xA010), 1u);
  host.Set("AcquisitionMode", 2);
  host.Set("AcquisitionFrameCount", 2);
  host.Start();
  EXPECT_EQ(host.Write(0xA00C, 5), Status::WriteProtect) << "not while it acquires";
  Bytes frame;
  for (uint64_t block = 1; block <= 2; ++block) {
    Record record = Next(socket);
    EXPECT_EQ(record.header, Hex(block == 1 ? "0000 0000 81 000000 0000000000000001 00000000"
                                            : "0000 0000 81 000000 0000000000000002 00000000"));
    ASSERT_EQ(record.content.size(), 36u);
    EXPECT_EQ(Bytes(record.content.begin() + 12, record.content.begin() + 24),
              Hex("01080001 00000280 000001E0"));
    frame.clear();
    for (uint32_t id = 1; id <= 5; ++id) {  // 307200 bytes in records of 65536
      record = Next(socket);
      ASSERT_EQ(record.header.size(), 20u);
      EXPECT_EQ(record.header[4], 0x83);
      EXPECT_EQ(GigEVision::LoadBe32(&record.header[16]), id);
      frame.insert(frame.end(), record.content.begin(), record.content.end());
    }
    record = Next(socket);
    EXPECT_EQ(record.header[4], 0x82);
    EXPECT_EQ(record.content, Hex("0000 0001 000001E0"));
    EXPECT_EQ(frame.size(), 640u * 480u);
  }
  EXPECT_TRUE(host.stream.Receive(50).empty()) << "nothing over UDP";
  host.AskAgain(2, 1, 1, true);
  EXPECT_TRUE(host.stream.Receive(50).empty());
  EXPECT_EQ(host.Write(0xA00C, 0), Status::Success);
  EXPECT_TRUE(socket.Closed(1000));
  EXPECT_EQ(host.Read(0xA010), 0u);
  // The second frame of the same scene, over UDP.
  const auto frames = host.Grab(2);
  ASSERT_EQ(frames.size(), 2u);
  EXPECT_TRUE(frames[1].data == frame);
}

TEST_F(Tcp, AcceptsOnlyTheApplicationInControl) {
  struct Case {
    const char* hello;
    uint32_t from;
    const char* status;
  };
  for (const Case& row : {Case{"4F545331 0002 0000 DEADBEEF 0000 0000", sk_loopback, "8001"},
                          Case{"4F545331 0001 0000 DEADBEEF 0001 0000", sk_loopback, "8002"},
                          Case{"4F545331 0001 0000 DEADBEEE 0000 0000", sk_loopback, "8006"},
                          Case{"4F545331 0001 0000 00000000 0000 0000", sk_loopback, "8006"},
                          Case{sk_hello, 0x7F000009, "8006"}}) {
    TcpSocket socket(0x7F000002, port, row.from);
    socket.Send(Hex(row.hello));
    const Bytes answer = socket.Receive(16);
    ASSERT_EQ(answer.size(), 16u) << row.hello;
    EXPECT_EQ(Bytes(answer.begin() + 8, answer.begin() + 10), Hex(row.status)) << row.hello;
    EXPECT_TRUE(socket.Closed(1000));
  }
  TcpSocket noise(0x7F000002, port);
  noise.Send(Bytes(16, 'x'));
  EXPECT_TRUE(noise.Closed(1000)) << "without an answer";
  TcpSocket first(0x7F000002, port), second(0x7F000002, port);
  first.Send(Hex(sk_hello));
  EXPECT_EQ(first.Receive(16).size(), 16u);
  second.Send(Hex("4F545331 0001"));
  second.Send(Hex("0000 DEADBEEF 0000 0000"));
  EXPECT_EQ(second.Receive(16).size(), 16u);
  EXPECT_TRUE(first.Closed(1000)) << "the new connection ends the one before";
  host.Write(B::sk_ccp, 0);
  EXPECT_TRUE(second.Closed(1000)) << "as does the end of control";
}

TEST_F(Tcp, LeavesOutWholeBlocksWhenTheHostIsSlow) {
  host.Set("Width", 1936);
  host.Set("Height", 1216);
  TcpSocket socket(0x7F000002, port);
  socket.Send(Hex(sk_hello));
  socket.Receive(16);
  host.Start();
  // Nobody reads until the socket buffers are full; the next triggers pass.
  const int64_t full = [&] {
    int64_t last = -1;
    for (;;) {
      host.stream.Receive(200);  // nothing comes: time passes
      const int64_t now = host.GetWide("SimFramesSent");
      if (now == last) return now;
      last = now;
    }
  }();
  uint64_t previous = 0;
  for (int64_t block = 0; block <= full + 1; ++block) {
    Record leader = Next(socket);
    ASSERT_EQ(leader.header.size(), 20u);
    const uint64_t id = GigEVision::LoadBe64(&leader.header[8]);
    EXPECT_EQ(leader.header[3], id == previous + 1 ? 0 : 2) << id;
    if (block == full + 1) {
      EXPECT_GT(id, previous + 1) << "ids of blocks left out are consumed";
    }
    previous = id;
    Record record;
    size_t bytes = 0;
    for (record = Next(socket); !record.header.empty() && record.header[4] == 0x83;
         record = Next(socket)) {
      bytes += record.content.size();
    }
    EXPECT_EQ(bytes, 1936u * 1216u) << "blocks that were begun are whole";
  }
}

}  // namespace
