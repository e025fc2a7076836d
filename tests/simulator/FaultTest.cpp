// SPDX-License-Identifier: Apache-2.0
// Faults that a virtual camera makes on request.
#include <gtest/gtest.h>

#include <algorithm>

#include "../gigevision/Hex.h"
#include "TestHost.h"
#include "simulator/Faults.h"

namespace {

using Settings = std::vector<std::pair<std::string, std::string>>;

// One camera with the settings, under control, with an open stream.
struct Faulty {
  explicit Faulty(Settings settings) : running(Options(std::move(settings))), host(running.camera) {
    host.TakeControl();
    host.OpenStream();
  }
  static OrvexSim::CameraOptions Options(Settings settings) {
    OrvexSim::CameraOptions options;
    options.width = 320;
    options.height = 240;
    options.frameRate = 100;
    options.settings = std::move(settings);
    return options;
  }
  // The packet ids of one single frame, in the order of arrival.
  std::vector<uint32_t> Order() {
    host.Set("AcquisitionMode", 1);
    host.Start();
    std::vector<uint32_t> ids;
    for (Bytes packet = host.stream.Receive(500); !packet.empty();
         packet = host.stream.Receive(40)) {
      ids.push_back(GigEVision::DecodePacketHeader(packet)->packetId);
    }
    return ids;
  }
  RunningCamera running;
  Host host;
};

constexpr uint32_t sk_lastPacket = 54;  // the trailer of 320 x 240 bytes in packets of 1464

std::vector<uint32_t> Upto(uint32_t last) {
  std::vector<uint32_t> ids(last + 1);
  for (uint32_t i = 0; i <= last; ++i) ids[i] = i;
  return ids;
}

TEST(Faults, NoneLeavePacketsInOrder) {
  EXPECT_EQ(Faulty(Settings{}).Order(), Upto(sk_lastPacket));
}

TEST(Faults, LoseThePacketsOfTheList) {
  Faulty faulty(Settings{{"SimDropList", "1:3, *:7-9, 2:20"}});
  std::vector<uint32_t> wanted = Upto(sk_lastPacket);
  for (const uint32_t lost : {3, 7, 8, 9}) std::erase(wanted, lost);
  EXPECT_EQ(faulty.Order(), wanted);
  // What was lost on the way can still be asked for.
  faulty.host.AskAgain(1, 7, 9);
  for (const uint32_t id : {7, 8, 9}) {
    EXPECT_EQ(GigEVision::DecodePacketHeader(faulty.host.stream.Receive(500))->packetId, id);
  }
  wanted = Upto(sk_lastPacket);
  for (const uint32_t lost : {7, 8, 9, 20}) std::erase(wanted, lost);
  EXPECT_EQ(faulty.Order(), wanted) << "the second block";
}

TEST(Faults, LoseAShareInBurstsThatRepeatsWithItsSeed) {
  const auto lost = [](const char* seed, const char* burst) {
    Faulty faulty(Settings{{"SimDropRate", "20"}, {"SimDropBurst", burst}, {"SimSeed", seed}});
    std::vector<uint32_t> all;
    for (uint32_t round = 0; round < 10; ++round) {
      const auto got = faulty.Order();
      for (uint32_t id = 0; id <= sk_lastPacket; ++id) {
        if (std::find(got.begin(), got.end(), id) == got.end()) all.push_back(round * 100 + id);
      }
    }
    return all;
  };
  const auto first = lost("7", "1");
  EXPECT_NEAR(static_cast<double>(first.size()), 0.2 * 550, 45);
  EXPECT_EQ(first, lost("7", "1"));
  EXPECT_NE(first, lost("8", "1"));
  const auto bursts = lost("7", "5");
  size_t neighbours = 0;
  for (size_t i = 1; i < bursts.size(); ++i) neighbours += bursts[i] == bursts[i - 1] + 1;
  EXPECT_GT(neighbours * 10, bursts.size() * 7);
}

TEST(Faults, LetPacketsOvertake) {
  Faulty faulty(Settings{{"SimReorderRate", "5"}, {"SimReorderDistance", "4"}});
  const auto order = faulty.Order();
  auto sorted = order;
  std::sort(sorted.begin(), sorted.end());
  EXPECT_EQ(sorted, Upto(sk_lastPacket)) << "none is lost";
  EXPECT_NE(order, sorted);
  for (size_t at = 0; at < order.size(); ++at) EXPECT_LE(at, order[at] + 8) << order[at];
}

TEST(Faults, SendTwiceAndDamage) {
  EXPECT_EQ(Faulty(Settings{{"SimDuplicateRate", "100"}}).Order().size(), 2 * sk_lastPacket);
  Bytes sound;
  {
    Faulty faulty(Settings{{"SimDropList", "2:1"}});
    sound = faulty.host.Grab(1).front().raw.at(2);
  }
  Faulty faulty(Settings{{"SimCorruptRate", "100"}});
  faulty.host.Start();
  faulty.host.stream.Receive(500);  // the leader
  faulty.host.stream.Receive(500);
  const Bytes damaged = faulty.host.stream.Receive(500);
  ASSERT_EQ(damaged.size(), sound.size());
  size_t differences = 0;
  for (size_t i = 0; i < sound.size(); ++i) differences += damaged[i] != sound[i];
  EXPECT_EQ(differences, 1u);
}

TEST(Faults, LoseLeadersAndTrailers) {
  std::vector<uint32_t> wanted = Upto(sk_lastPacket);
  wanted.erase(wanted.begin());
  EXPECT_EQ(Faulty(Settings{{"SimLoseLeaderRate", "100"}}).Order(), wanted);
  wanted = Upto(sk_lastPacket - 1);
  EXPECT_EQ(Faulty(Settings{{"SimLoseTrailerRate", "100"}}).Order(), wanted);
}

TEST(Faults, RefuseResendsOrLoseThem) {
  Faulty refusing(Settings{{"SimRefuseResends", "true"}});
  refusing.Order();
  refusing.host.AskAgain(1, 5, 5);
  EXPECT_EQ(refusing.host.stream.Receive(500), Hex("800C 0001 03 000005"));
  refusing.host.Set("SimRefuseResends", 0);
  refusing.host.SetReal("SimDropResentRate", 100);
  refusing.host.AskAgain(1, 5, 5);
  EXPECT_TRUE(refusing.host.stream.Receive(100).empty());
}

TEST(Faults, PauseBetweenPackets) {
  // Some packets may leave before the clock starts.
  Faulty faulty(Settings{{"SimDelayRate", "100"}, {"SimDelayTime", "2500"}});
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(faulty.Order().size(), sk_lastPacket + 1);
  EXPECT_GT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(100));
}

TEST(Faults, GoSilentAndComeBack) {
  Faulty faulty(Settings{{"SimSilenceTime", "400"}});
  faulty.host.Start();
  ASSERT_TRUE(faulty.host.NextFrame());
  EXPECT_EQ(faulty.host.Set("SimGoSilent", 1), Status::Success);
  while (!faulty.host.stream.Receive(60).empty()) {
  }
  EXPECT_TRUE(faulty.host.stream.Receive(100).empty());
  faulty.host.control.Send(Hex("42 01 0002 0000 0001"), 0x7F000002);
  EXPECT_TRUE(faulty.host.control.Receive(100).empty());
  EXPECT_TRUE(faulty.host.NextFrame());
  EXPECT_EQ(faulty.host.Read(B::sk_ccp), B::sk_ccpControl) << "the heartbeat had not run out";
}

TEST(Faults, StopAnsweringTheHeartbeatAlone) {
  Faulty faulty(Settings{{"SimIgnoreHeartbeat", "true"}});
  faulty.host.control.Send(Hex("42 01 0080 0004 7001 00000A00"), 0x7F000002);
  EXPECT_TRUE(faulty.host.control.Receive(100).empty());
  EXPECT_TRUE(faulty.host.Read(B::sk_version));
}

TEST(Faults, LoseAnswersButNotEffects) {
  Faulty faulty(Settings{});
  faulty.host.SetReal("SimDropAckRate", 100);  // this answer is lost already
  faulty.host.control.Send(Hex("42 01 0082 0008 7001 00000938 00001388"), 0x7F000002);
  EXPECT_TRUE(faulty.host.control.Receive(100).empty());
  // A repetition is answered out of memory.
  faulty.host.control.Send(Hex("42 01 0082 0008 7001 00000938 00001388"), 0x7F000002);
  EXPECT_EQ(faulty.host.control.Receive(500), Hex("0000 0083 0004 7001 0000 0001"));
}

TEST(Faults, MeetThePacketsOfTheirLists) {
  Faulty faulty(Settings{{"SimDropList", "1:leader, *:trailer"},
                         {"SimDuplicateList", "1:4"},
                         {"SimReorderList", "*:10-11"},
                         {"SimReorderDistance", "3"}});
  std::vector<uint32_t> wanted = {1, 2, 3, 4, 4, 5, 6, 7, 8, 9, 12, 13, 10, 14, 11};
  for (uint32_t id = 15; id < sk_lastPacket; ++id) wanted.push_back(id);
  EXPECT_EQ(faulty.Order(), wanted);
  faulty.running.camera.Set("SimDropList", "");
  EXPECT_EQ(faulty.Order().front(), 0u) << "at run time";
}

TEST(Faults, DenyAndSlowRegisters) {
  Faulty faulty(Settings{{"SimSlowTime", "150"}});
  const uint32_t width = faulty.host.Address("Width"), gain = faulty.host.Address("Gain");
  faulty.running.camera.Set("SimDenyRegisters", "Width, 0x938, Gain");
  EXPECT_FALSE(faulty.host.Read(width));
  EXPECT_FALSE(faulty.host.Read(0x938));
  EXPECT_EQ(faulty.host.Write(width, 640), Status::AccessDenied);
  EXPECT_TRUE(faulty.host.ReadMem(gain + 4, 4).empty()) << "all of a wide register";
  EXPECT_TRUE(faulty.host.Read(0x934));
  faulty.running.camera.Set("SimDenyRegisters", "");
  faulty.running.camera.Set("SimSlowRegisters", "Width");
  EXPECT_THROW(faulty.running.camera.Set("SimSlowRegisters", "Breadth"), std::invalid_argument);
  faulty.host.Write(B::sk_gvcpConfiguration, B::sk_cfgPendingAck);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(faulty.host.Read(width), 320u);
  EXPECT_GT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(140));
  EXPECT_EQ(faulty.host.pendingAcks, 1u);
}

TEST(Faults, SlowRegistersHoldBackNothingElse) {
  Faulty faulty(Settings{{"SimSlowTime", "300"}, {"SimSlowRegisters", "0x938"}});
  faulty.host.Write(B::sk_gvcpConfiguration, B::sk_cfgPendingAck);
  const Bytes slow = Hex("42 01 0080 0004 7001 00000938");
  faulty.host.control.Send(slow, 0x7F000002);
  EXPECT_EQ(faulty.host.control.Receive(200), Hex("0000 0089 0004 7001 0000 012C"));
  faulty.host.control.Send(Hex("42 01 0080 0004 7002 00000A00"), 0x7F000002);
  EXPECT_EQ(faulty.host.control.Receive(200), Hex("0000 0081 0004 7002 00000002"));
  faulty.host.control.Send(slow, 0x7F000002);  // the host has lost patience
  const Bytes again = faulty.host.control.Receive(200);
  ASSERT_EQ(again.size(), 12u);
  EXPECT_EQ(Bytes(again.begin(), again.begin() + 8), Hex("0000 0089 0004 7001"));
  EXPECT_EQ(faulty.host.control.Receive(500), Hex("0000 0081 0004 7001 00004E20"));
  EXPECT_TRUE(faulty.host.control.Receive(50).empty()) << "one answer";
}

TEST(Faults, MoveToAnotherAddress) {
  Faulty faulty(Settings{});
  faulty.host.Set("SimNextAddress", 0x7F000009);
  EXPECT_EQ(faulty.host.Set("SimChangeAddress", 1), Status::Success);
  Host moved(faulty.running.camera, 0x7F000009);
  Bytes found;
  for (int tries = 0; tries < 40 && found.empty(); ++tries) {  // it answers there once it has moved
    moved.control.Send(Hex("42 01 0002 0000 0001"), 0x7F000009);
    found = moved.control.Receive(50);
  }
  EXPECT_EQ(found.size(), 256u);
  EXPECT_EQ(moved.Read(B::sk_ccp), 0u);
  EXPECT_EQ(moved.Read(B::sk_currentIp), 0x7F000009u);
  moved.TakeControl();
  moved.OpenStream();
  moved.Start();
  sockaddr_in from{};
  ASSERT_FALSE(moved.stream.Receive(1000, &from).empty());
  EXPECT_EQ(ntohl(from.sin_addr.s_addr), 0x7F000009u) << "the stream moves too";
  EXPECT_EQ(moved.Read(B::StreamRegister(B::Stream::Scsp)), ntohs(from.sin_port));
}

TEST(Faults, ResetTheCamera) {
  Faulty faulty(Settings{});
  faulty.host.Set("Width", 640);
  EXPECT_EQ(faulty.host.Set("DeviceReset", 1), Status::Success);
  faulty.host.control.Send(Hex("42 01 0002 0000 0001"), 0x7F000002);
  EXPECT_TRUE(faulty.host.control.Receive(100).empty()) << "it is starting";
  faulty.host.control.Receive(300);
  EXPECT_EQ(faulty.host.Read(B::sk_ccp), 0u);
  EXPECT_EQ(faulty.host.Get("Width"), 320);
}

TEST(Faults, DamageTheDescription) {
  Faulty sound(Settings{});
  const Bytes good = sound.host.ReadMem(0x01000000, 2048);
  sound.host.Set("SimBrokenDescription", 1);
  EXPECT_NE(sound.host.ReadMem(0x01000000, 2048), good);
}

TEST(PacketList, ReadsOnlyWhatIsWellFormed) {
  std::vector<OrvexSim::PacketRange> ranges;
  EXPECT_TRUE(OrvexSim::ParsePacketList(" 12:3 , *:4-9,", ranges));
  ASSERT_EQ(ranges.size(), 2u);
  EXPECT_EQ(ranges[0].block, 12u);
  EXPECT_EQ(ranges[1].block, 0u);
  EXPECT_EQ(ranges[1].last, 9u);
  for (const char* text :
       {"3", "0:3", "a:3", "1:", "1:3-", "1:5-3", "1:3x", "1:-3", "1:trailer-3", "1:last"}) {
    EXPECT_FALSE(OrvexSim::ParsePacketList(text, ranges)) << text;
  }
  EXPECT_EQ(ranges.size(), 2u) << "kept";
}

TEST(StartValues, AreSetByNameOrRefused) {
  Faulty faulty(Settings{{"PixelFormat", "RGB8"},
                         {"ExposureTime", "1500"},
                         {"ChunkModeActive", "true"},
                         {"DeviceUserID", "x"}});
  EXPECT_EQ(faulty.host.Get("PixelFormat"), 0x02180014);
  EXPECT_EQ(faulty.host.GetReal("ExposureTime"), 1500);
  EXPECT_EQ(faulty.host.Get("ChunkModeActive"), 1);
  for (const Settings& bad :
       {Settings{{"NoSuchThing", "1"}}, Settings{{"Width", "7"}}, Settings{{"Width", "12x"}},
        Settings{{"PixelFormat", "Mono7"}}, Settings{{"Gain", "loud"}}}) {
    OrvexSim::CameraOptions options;
    options.address = "127.0.0.77";
    options.settings = bad;
    EXPECT_THROW(OrvexSim::VirtualCamera{options}, std::invalid_argument) << bad[0].first;
  }
}

}  // namespace
