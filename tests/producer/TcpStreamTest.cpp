// SPDX-License-Identifier: Apache-2.0
// Streams over TCP against a camera of hand-laid bytes: the way to the connection, records in
// pieces of any size, and what breaks off.
#include <gtest/gtest.h>

#include <future>

#include "OpenCamera.h"
#include "Packets.h"
#include "ScriptedCamera.h"

namespace OrvexGev {
namespace {

using namespace GenTL;
using Packets::Bytes;
using Packets::Put;

constexpr uint32_t sk_width = 64, sk_height = 8;

// The camera's end of one connection.
class TcpPeer {
 public:
  explicit TcpPeer(const char* address) {
    m_listener = UniqueFd(socket(AF_INET, SOCK_STREAM, 0));
    sockaddr_in local{};
    local.sin_family = AF_INET;
    inet_pton(AF_INET, address, &local.sin_addr);
    socklen_t length = sizeof local;
    if (bind(m_listener.Get(), reinterpret_cast<sockaddr*>(&local), length) != 0 ||
        listen(m_listener.Get(), 1) != 0)
      throw std::runtime_error("the TCP address is in use");
    getsockname(m_listener.Get(), reinterpret_cast<sockaddr*>(&local), &length);
    port = ntohs(local.sin_port);
  }
  // Takes the connection and the host's greeting, and answers with these bytes.
  Bytes Accept(const Bytes& answer) {
    m_connection = UniqueFd(accept(m_listener.Get(), nullptr, nullptr));
    Bytes greeting(16);
    recv(m_connection.Get(), greeting.data(), greeting.size(), MSG_WAITALL);
    Send(answer);
    return greeting;
  }
  void Send(std::span<const uint8_t> bytes) {
    send(m_connection.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
  }
  // In pieces of so many bytes, each on its own way.
  void SendInPieces(const Bytes& bytes, size_t piece) {
    for (size_t at = 0; at < bytes.size(); at += piece)
      Send(std::span(bytes).subspan(at, std::min(piece, bytes.size() - at)));
  }
  void Close() { m_connection.Reset(); }
  bool HostHasClosed() {
    uint8_t byte;
    return recv(m_connection.Get(), &byte, 1, 0) <= 0;
  }
  uint16_t port = 0;

 private:
  UniqueFd m_listener, m_connection;
};

Bytes Welcome(uint16_t status = 0) {
  Bytes out;
  Put(out, 0x4F545331, 4);
  Put(out, 1, 2), Put(out, 0, 2), Put(out, status, 2), Put(out, 0, 2), Put(out, 0x10000, 4);
  return out;
}

class TcpStream : public ::testing::Test {
 protected:
  void SetUp() override {
    const std::string xml =
        "<RegisterDescription><Boolean Name=\"TCPEnable\"/></RegisterDescription>";
    scripted.SetText(0x200, "Local:a.xml;20000;" + Hex(xml.size()));
    scripted.SetText(0x20000, xml);
    scripted.Set(0xA000, 0x4F545331), scripted.Set(0xA004, 0x00010000);
    scripted.Set(0xA008, peer.port), scripted.Set(0xA00C, 0);
    camera.emplace(sk_address);
    camera->OpenStream(4, sk_width * sk_height, 1);
    stream.extended = true;
  }
  static std::string Hex(size_t value) {
    char text[20];
    std::snprintf(text, sizeof text, "%zx", value);
    return text;
  }
  // The host's greeting.
  Bytes Start() {
    auto greeting = std::async(std::launch::async, [this] { return peer.Accept(Welcome()); });
    camera->stream->Start(ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE);
    return greeting.get();
  }
  static Bytes Record(const Bytes& packet) {
    Bytes out;
    Put(out, packet.size(), 4);
    out.insert(out.end(), packet.begin(), packet.end());
    return out;
  }
  // A block with these numbers of data bytes in its records, each byte being its record's number.
  Bytes Block(uint64_t id, std::initializer_list<size_t> sizes, uint16_t trailerStatus = 0) {
    Bytes out = Record(stream.LeaderOf(id, sk_width, sk_height));
    uint32_t packet = 0;
    for (const size_t size : sizes) {
      ++packet;
      for (const uint8_t byte : Record(stream.Data(id, packet, size, static_cast<uint8_t>(packet))))
        out.push_back(byte);
    }
    Packets::Stream last = stream;
    last.status = trailerStatus;
    for (const uint8_t byte : Record(last.TrailerOf(id, packet + 1, sk_height)))
      out.push_back(byte);
    return out;
  }

  static constexpr const char* sk_address = "127.0.0.79";
  ScriptedCamera scripted{sk_address};
  TcpPeer peer{sk_address};
  std::optional<OpenCamera> camera;
  Packets::Stream stream;
};

TEST_F(TcpStream, GreetsWithTheKeyThatItWrote) {
  const Bytes greeting = Start();
  const uint32_t key = scripted.Get(0xA00C);
  EXPECT_NE(key, 0u);
  Bytes expected;
  Put(expected, 0x4F545331, 4);
  Put(expected, 1, 2), Put(expected, 0, 2), Put(expected, key, 4), Put(expected, 0, 4);
  EXPECT_EQ(greeting, expected);
  camera->stream->Stop(ACQ_STOP_FLAGS_DEFAULT);
  EXPECT_EQ(scripted.Get(0xA00C), 0u);
  EXPECT_TRUE(peer.HostHasClosed());
  EXPECT_EQ(camera->StreamNode("StreamEngine"), 4);
}

TEST_F(TcpStream, PutsRecordsOfAnySizeTogetherHoweverTheyArrive) {
  Start();
  uint64_t id = 0;
  for (const size_t piece : {100000, 1, 7, 24, 25, 300}) {
    peer.SendInPieces(Block(++id, {1, 299, 200, 12}), piece);
    const auto buffer = camera->Next();
    ASSERT_NE(buffer, nullptr) << piece;
    EXPECT_FALSE(buffer->frame.incomplete) << piece;
    EXPECT_EQ(buffer->frame.blockId, id);
    EXPECT_EQ(buffer->frame.filled, 512u);
    EXPECT_EQ(buffer->frame.offsetX, 3u);
    const uint8_t* base = buffer->Base();
    for (const auto& [at, value] :
         {std::pair{0, 1}, {1, 2}, {299, 2}, {300, 3}, {499, 3}, {500, 4}, {511, 4}})
      EXPECT_EQ(base[at], value) << "piece " << piece << " byte " << at;
    camera->stream->Queue(buffer);
  }
}

TEST_F(TcpStream, TellsWhatIsMissing) {
  Start();
  const struct {
    const char* what;
    Bytes bytes;
    size_t filled;
    bool larger;
  } rows[] = {
      {"a block that its sensor overran", Block(1, {100}, 0x800D), 100, false},
      {"more than the buffer holds", Block(2, {400, 200}), 512, true},
      {"no trailer before the next block", Record(stream.LeaderOf(3, sk_width, sk_height)), 0,
       false},
  };
  for (const auto& row : rows) peer.Send(row.bytes);
  peer.Send(Block(5, {512}));  // block 4 is missing as a whole
  for (const auto& row : rows) {
    const auto buffer = camera->Next();
    ASSERT_NE(buffer, nullptr) << row.what;
    EXPECT_TRUE(buffer->frame.incomplete) << row.what;
    EXPECT_EQ(buffer->frame.filled, row.filled) << row.what;
    EXPECT_EQ(buffer->frame.largerThanBuffer, row.larger) << row.what;
    camera->stream->Queue(buffer);
  }
  const auto whole = camera->Next();
  ASSERT_NE(whole, nullptr);
  EXPECT_FALSE(whole->frame.incomplete);
  EXPECT_TRUE(Within(1s, [&] { return camera->StreamNode("StreamMissedFrameCount") == 1; }));
}

TEST_F(TcpStream, SkipsWhatItDoesNotKnow) {
  Start();
  Bytes odd = Record(stream.Data(0, 0, 10, 9));                 // a test packet
  for (const auto& record : {Record(stream.Data(7, 1, 30, 9)),  // no leader before
                             Record(stream.Header(7, static_cast<Packets::Format>(13), 0))})
    odd.insert(odd.end(), record.begin(), record.end());
  peer.Send(odd);
  peer.Send(Block(8, {512}));
  const auto buffer = camera->Next();
  ASSERT_NE(buffer, nullptr);
  EXPECT_EQ(buffer->frame.blockId, 8u);
  EXPECT_FALSE(buffer->frame.incomplete);
}

TEST_F(TcpStream, AConnectionThatBreaksOffIsReportedAndItsFrameDelivered) {
  for (const bool broken : {false, true}) {
    Start();
    const auto errors = camera->stream->RegisterEvent(EVENT_ERROR);
    peer.Send(Record(stream.LeaderOf(1, sk_width, sk_height)));
    if (broken) {
      peer.Send(Bytes(24, 0xFF));  // a header of no record
    } else {
      peer.Close();
    }
    const auto buffer = camera->Next();
    ASSERT_NE(buffer, nullptr);
    EXPECT_TRUE(buffer->frame.incomplete);
    uint8_t entry[256];
    size_t size = sizeof entry;
    EXPECT_EQ(CodeOf([&] { errors->GetData(entry, &size, 1000); }), GC_ERR_SUCCESS);
    camera->stream->UnregisterEvent(EVENT_ERROR);
    camera->stream->Queue(buffer);
    camera->stream->Stop(ACQ_STOP_FLAGS_DEFAULT);
  }
}

TEST_F(TcpStream, ACameraThatDoesNotPlayAlongFailsTheStart) {
  const auto start = [this] {
    return CodeOf([this] { camera->stream->Start(ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE); });
  };
  const auto answered = [&](const Bytes& answer) {
    const auto greeting = std::async(std::launch::async, [&] {
      peer.Accept(answer);
      peer.Close();
    });
    return start();
  };
  EXPECT_EQ(answered(Welcome(0x8006)), GC_ERR_ACCESS_DENIED);
  EXPECT_EQ(answered(Bytes(16, 1)), GC_ERR_IO);
  EXPECT_EQ(answered(Bytes(3, 1)), GC_ERR_IO);
  scripted.Set(0xA008, 1);  // nobody listens there
  EXPECT_EQ(start(), GC_ERR_IO);
  scripted.Set(0xA008, 0);
  EXPECT_EQ(start(), GC_ERR_NOT_AVAILABLE);
  scripted.Set(0xA004, 0x00020000);
  EXPECT_EQ(start(), GC_ERR_NOT_IMPLEMENTED);
  scripted.Set(0xA000, 0);
  EXPECT_EQ(start(), GC_ERR_NOT_IMPLEMENTED);
}

}  // namespace
}  // namespace OrvexGev
