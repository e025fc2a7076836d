// SPDX-License-Identifier: Apache-2.0
// The control channel against a scripted peer: request ids, retries, pending acknowledges,
// strangers, splitting.
#include "producer/ControlChannel.h"

#include <gtest/gtest.h>

#include <future>
#include <numeric>

#include "ScriptedPeer.h"
#include "producer/GcError.h"

namespace OrvexGev {
namespace {

using namespace std::chrono_literals;
using Bytes = ScriptedPeer::Bytes;

constexpr const char* sk_address = "127.0.0.61";
constexpr uint32_t sk_ip = 0x7F00003D;
constexpr uint32_t sk_host = 0x7F000001;

uint16_t Word(const Bytes& bytes, size_t at) {
  return static_cast<uint16_t>(bytes.at(at) << 8 | bytes.at(at + 1));
}
uint32_t Long(const Bytes& bytes, size_t at) {
  return uint32_t{Word(bytes, at)} << 16 | Word(bytes, at + 2);
}

// Status, acknowledge code and payload for the id of a request.
Bytes Ack(const Bytes& request, uint16_t status, uint16_t code, const Bytes& payload = {}) {
  Bytes out;
  for (const uint16_t word :
       {status, code, static_cast<uint16_t>(payload.size()), Word(request, 6)}) {
    out.push_back(static_cast<uint8_t>(word >> 8));
    out.push_back(static_cast<uint8_t>(word));
  }
  for (const uint8_t byte : payload) out.push_back(byte);
  return out;
}

GenTL::GC_ERROR CodeOf(const std::function<void()>& body) {
  try {
    body();
  } catch (const GcError& error) {
    return error.Code();
  }
  return GenTL::GC_ERR_SUCCESS;
}

TEST(ControlChannel, ReadsARegisterWithTheBytesOfTheStandard) {
  ScriptedPeer peer(sk_address, [](const Bytes& request, const auto& reply) {
    reply(Ack(request, 0, 0x0081, {0x12, 0x34, 0x56, 0x78}));
  });
  ControlChannel channel(sk_host, sk_ip);
  EXPECT_EQ(channel.ReadRegister(0x0A00), 0x12345678u);
  const Bytes request = peer.Requests().at(0);
  ASSERT_EQ(request.size(), 12u);
  EXPECT_EQ(Bytes(request.begin(), request.begin() + 6),
            (Bytes{0x42, 0x01, 0x00, 0x80, 0x00, 0x04}));
  EXPECT_NE(Word(request, 6), 0);
  EXPECT_EQ(Long(request, 8), 0x0A00u);
}

TEST(ControlChannel, RepeatsWithTheSameIdAndCountsUpForTheNextCommand) {
  std::atomic<int> seen{0};
  ScriptedPeer peer(sk_address, [&](const Bytes& request, const auto& reply) {
    if (++seen >= 3) reply(Ack(request, 0, 0x0083, {0, 0, 0, 1}));
  });
  ControlChannel channel(sk_host, sk_ip);
  channel.SetSettings({20ms, 3});
  channel.WriteRegister(0x1000, 7);
  channel.WriteRegister(0x1004, 8);
  const auto requests = peer.Requests();
  ASSERT_EQ(requests.size(), 4u);
  EXPECT_EQ(requests[0], requests[1]);
  EXPECT_EQ(requests[1], requests[2]);
  EXPECT_NE(Word(requests[3], 6), Word(requests[2], 6));
  EXPECT_EQ(channel.GetStatistics().retries, 2u);
}

TEST(ControlChannel, GivesUpAfterItsRetries) {
  ScriptedPeer peer(sk_address, [](const Bytes&, const auto&) {});
  ControlChannel channel(sk_host, sk_ip);
  channel.SetSettings({10ms, 3});
  EXPECT_EQ(CodeOf([&] { channel.ReadRegister(0); }), GenTL::GC_ERR_IO);
  EXPECT_EQ(peer.Requests().size(), 4u);
}

TEST(ControlChannel, AnAddressWhereNobodyListensFailsWithinTwoSeconds) {
  const auto start = Clock::now();
  ControlChannel channel(sk_host, sk_ip);
  EXPECT_EQ(CodeOf([&] { channel.ReadRegister(0); }), GenTL::GC_ERR_IO);
  EXPECT_LT(Clock::now() - start, 2s);
}

TEST(ControlChannel, PendingAcknowledgesProlongTheWaitWithoutRepeating) {
  ScriptedPeer peer(sk_address, [](const Bytes& request, const auto& reply) {
    for (int i = 0; i < 2; ++i) {
      reply(Ack(request, 0, 0x0089, {0, 0, 0, 100}));
      std::this_thread::sleep_for(60ms);
    }
    reply(Ack(request, 0, 0x0083, {0, 0, 0, 1}));
  });
  ControlChannel channel(sk_host, sk_ip);
  channel.SetSettings({30ms, 0});
  channel.WriteRegister(0x1000, 1);
  EXPECT_EQ(peer.Requests().size(), 1u);
  EXPECT_EQ(channel.GetStatistics().pendingAcks, 2u);
}

TEST(ControlChannel, IgnoresWhatIsNotItsAcknowledge) {
  ScriptedPeer peer(sk_address, [](const Bytes& request, const auto& reply) {
    Bytes other = Ack(request, 0, 0x0081, {0xFF, 0xFF, 0xFF, 0xFF});
    other[7] ^= 0x55;
    reply(other);                                              // another id
    reply(Ack(request, 0, 0x0085, {0xFF, 0xFF, 0xFF, 0xFF}));  // another command
    reply({0x00, 0x00, 0x00});                                 // no header
    Bytes cut = Ack(request, 0, 0x0081, {1, 2, 3, 4});
    cut.pop_back();
    reply(cut);  // shorter than it says
    reply(Ack(request, 0, 0x0081, {0, 0, 0, 42}));
    reply(Ack(request, 0, 0x0081, {0, 0, 0, 43}));  // twice
  });
  ControlChannel channel(sk_host, sk_ip);
  for (int i = 0; i < 5; ++i) EXPECT_EQ(channel.ReadRegister(0), 42u);
  EXPECT_EQ(channel.GetStatistics().retries, 0u);
}

struct StatusCase {
  uint16_t status;
  GenTL::GC_ERROR code;
};

class ControlStatus : public ::testing::TestWithParam<StatusCase> {};

TEST_P(ControlStatus, BecomesItsError) {
  ScriptedPeer peer(sk_address, [](const Bytes& request, const auto& reply) {
    reply(Ack(request, GetParam().status, 0x0081));  // without payload, as cameras may
  });
  ControlChannel channel(sk_host, sk_ip);
  EXPECT_EQ(CodeOf([&] { channel.ReadRegister(0); }), GetParam().code);
}

INSTANTIATE_TEST_SUITE_P(Statuses, ControlStatus,
                         testing::Values(StatusCase{0x8001, GenTL::GC_ERR_NOT_IMPLEMENTED},
                                         StatusCase{0x8002, GenTL::GC_ERR_INVALID_VALUE},
                                         StatusCase{0x8003, GenTL::GC_ERR_INVALID_ADDRESS},
                                         StatusCase{0x8004, GenTL::GC_ERR_ACCESS_DENIED},
                                         StatusCase{0x8006, GenTL::GC_ERR_ACCESS_DENIED},
                                         StatusCase{0x8007, GenTL::GC_ERR_BUSY},
                                         StatusCase{0x8FFF, GenTL::GC_ERR_IO},
                                         StatusCase{0xC001, GenTL::GC_ERR_IO}));

// Memory whose byte at an address is the address' low byte; refuses blocks over 512 bytes as some
// cameras do.
void ServeMemory(const Bytes& request, const ScriptedPeer::Reply& reply) {
  const uint32_t address = Long(request, 8);
  const size_t count = Word(request, 14);
  if (count > 512 || count % 4 != 0 || address % 4 != 0) return reply(Ack(request, 0x8002, 0x0085));
  Bytes payload(request.begin() + 8, request.begin() + 12);
  for (size_t i = 0; i < count; ++i) payload.push_back(static_cast<uint8_t>(address + i));
  reply(Ack(request, 0, 0x0085, payload));
}

TEST(ControlChannel, SplitsLongMemoryReadsIntoBlocks) {
  ScriptedPeer peer(sk_address, ServeMemory);
  ControlChannel channel(sk_host, sk_ip);
  Bytes target(512 * 3 + 40);
  channel.ReadMemory(0x2000, target);
  for (size_t i = 0; i < target.size(); ++i) ASSERT_EQ(target[i], static_cast<uint8_t>(i));
  EXPECT_EQ(peer.Requests().size(), 4u);
}

TEST(ControlChannel, JoinsRegistersOnlyWhereTheCameraCan) {
  const auto serve = [](const Bytes& request, const auto& reply) {
    reply(Ack(request, 0, 0x0081,
              Bytes(request.begin() + 8, request.end())));  // each register reads its address
  };
  std::vector<uint32_t> addresses(100);
  std::iota(addresses.begin(), addresses.end(), 0x100);
  for (const uint32_t capability : {0u, 1u}) {
    ScriptedPeer peer(sk_address, serve);
    ControlChannel channel(sk_host, sk_ip);
    channel.SetCapability(capability);
    EXPECT_EQ(channel.ReadRegisters(addresses), addresses);
    EXPECT_EQ(peer.Requests().size(), capability == 0 ? 100u : 2u);
  }
}

TEST(ControlChannel, WritesMemoryWordByWordWithoutTheCapability) {
  for (const uint32_t capability : {0u, 2u}) {
    ScriptedPeer peer(sk_address, [](const Bytes& request, const auto& reply) {
      reply(Ack(request, 0, static_cast<uint16_t>(Word(request, 2) + 1), {0, 0, 0, 8}));
    });
    ControlChannel channel(sk_host, sk_ip);
    channel.SetCapability(capability);
    const Bytes data{1, 2, 3, 4, 5, 6, 7, 8};
    channel.WriteMemory(0x100, data);
    const auto requests = peer.Requests();
    if (capability == 0) {
      ASSERT_EQ(requests.size(), 2u);
      EXPECT_EQ(Word(requests[1], 2), 0x0082);
      EXPECT_EQ(Long(requests[1], 8), 0x104u);
      EXPECT_EQ(Long(requests[1], 12), 0x05060708u);
    } else {
      ASSERT_EQ(requests.size(), 1u);
      EXPECT_EQ(Word(requests[0], 2), 0x0086);
      EXPECT_EQ(Bytes(requests[0].begin() + 12, requests[0].end()), data);
    }
  }
}

TEST(ControlChannel, TheHeartbeatGoesBesideASlowFeature) {
  std::promise<void> started;
  ScriptedPeer peer(sk_address, [&, first = true](const Bytes& request, const auto& reply) mutable {
    if (Word(request, 2) == 0x0080) return reply(Ack(request, 0, 0x0081, {0, 0, 0, 2}));
    // The slow write asks for time and is answered only after the heartbeat was.
    reply(Ack(request, 0, 0x0089, {0, 0, 0x0B, 0xB8}));
    if (std::exchange(first, false)) started.set_value();
  });
  ControlChannel channel(sk_host, sk_ip);
  channel.SetSettings({50ms, 0});
  auto slow = std::async(std::launch::async,
                         [&] { return CodeOf([&] { channel.WriteRegister(0x1000, 1); }); });
  started.get_future().wait();
  const auto start = Clock::now();
  EXPECT_EQ(channel.Probe(0x0A00, 50ms, 500ms), 2u);
  EXPECT_LT(Clock::now() - start, 1s);
  // Tear-down ends the wait of the slow one at once.
  channel.Abort();
  EXPECT_EQ(slow.get(), GenTL::GC_ERR_IO);
  EXPECT_LT(Clock::now() - start, 2s);
}

TEST(ControlChannel, ManyThreadsShareIt) {
  ScriptedPeer peer(sk_address, [](const Bytes& request, const auto& reply) {
    reply(Ack(request, 0, 0x0081, Bytes(request.begin() + 8, request.begin() + 12)));
  });
  ControlChannel channel(sk_host, sk_ip);
  std::vector<std::thread> threads;
  std::atomic<int> wrong{0};
  for (uint32_t t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (uint32_t i = 0; i < 100; ++i)
        wrong += channel.ReadRegister(t * 0x1000 + i * 4) == t * 0x1000 + i * 4 ? 0 : 1;
    });
  }
  for (int i = 0; i < 50; ++i) wrong += channel.Probe(0x0A00, 0ms, 1000ms) == 0x0A00u ? 0 : 1;
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
}

}  // namespace
}  // namespace OrvexGev
