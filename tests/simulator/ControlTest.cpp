// SPDX-License-Identifier: Apache-2.0
// GVCP behaviour of virtual cameras, asked with bytes laid out by hand.
#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <thread>

#include "../gigevision/Hex.h"
#include "TestHost.h"

namespace {

class Control : public testing::Test {
 protected:
  RunningCamera running;
  Host host{running.camera};
  Host other{running.camera};
};

TEST_F(Control, EveryCameraAnswersBroadcastsOnce) {
  OrvexSim::CameraOptions options;
  options.address = "127.0.0.3";
  options.userName = "second";
  RunningCamera second(options);
  for (const uint32_t to : {0x7FFFFFFFu, 0xFFFFFFFFu}) {
    host.control.Send(Hex("42 11 0002 0000 0001"), to);
    std::set<std::pair<std::string, std::string>> found;
    size_t answers = 0;
    sockaddr_in from{};
    for (Bytes answer = host.control.Receive(300, &from); !answer.empty();
         answer = host.control.Receive(100, &from)) {
      ++answers;
      ASSERT_EQ(answer.size(), 256u);
      EXPECT_EQ(Bytes(answer.begin(), answer.begin() + 8), Hex("0000 0003 00F8 0001"));
      const auto ack = GigEVision::DecodeDiscoveryAck(std::span<const uint8_t>(answer).subspan(8));
      EXPECT_EQ(ack->ip, ntohl(from.sin_addr.s_addr))
          << "the answer comes from the camera's own address";
      found.insert({std::string(ack->serial), std::string(ack->userName)});
    }
    const std::set<std::pair<std::string, std::string>> wanted = {{"VC000002", ""},
                                                                  {"VC000003", "second"}};
    EXPECT_EQ(found, wanted);
    EXPECT_EQ(answers, 2u);
  }
}

TEST_F(Control, TwoCamerasCannotShareAnAddress) {
  EXPECT_THROW(OrvexSim::VirtualCamera{OrvexSim::CameraOptions{}}, std::system_error);
}

// Requests that are answered alike for everybody. "-" = no answer.
TEST_F(Control, KeepsToTheRulesOfTheWire) {
  struct Row {
    const char* what;
    const char* request;
    const char* answer;
  };
  const std::string tooMany = "42 01 0080 0220 0001 (00 x 544)";
  const Row rows[] = {
      {"other protocol", "43 01 0002 0000 0001", "-"},
      {"shorter than a header", "42 01 0002 0000 00", "-"},
      {"length beyond the datagram", "42 01 0080 0008 0001 00000934", "800E 0081 0000 0001"},
      {"length before its end", "42 01 0080 0004 0001 00000934 00000934", "800E 0081 0000 0001"},
      {"request id 0", "42 01 0080 0004 0000 00000934", "800E 0081 0000 0000"},
      {"unknown command", "42 01 0123 0000 0001", "8001 0124 0000 0001"},
      {"no acknowledge wanted", "42 00 0080 0004 0001 00000000", "-"},
      {"one register", "42 01 0080 0004 0001 00000000", "0000 0081 0004 0001 00020000"},
      {"two registers", "42 01 0080 0008 0001 00000600 00000904",
       "0000 0081 0008 0001 00000001 00000001"},
      {"read at an odd address", "42 01 0080 0004 0001 00000002", "8005 0081 0000 0001"},
      {"read of nothing", "42 01 0080 0000 0001", "8002 0081 0000 0001"},
      {"read of 136 registers", tooMany.c_str(), "8002 0081 0000 0001"},
      {"unknown register behind a known one", "42 01 0080 0008 0001 00000600 0000A100",
       "8003 0081 0004 0001 00000001"},
      {"absent second interface", "42 01 0080 0004 0001 00000680", "8003 0081 0000 0001"},
      {"write-only register", "42 01 0080 0004 0001 0000090C", "8006 0081 0000 0001"},
      {"memory", "42 01 0084 0008 0001 00000600 0000 0004",
       "0000 0085 0008 0001 00000600 00000001"},
      {"memory at an odd address", "42 01 0084 0008 0001 00000602 0000 0004",
       "8005 0085 0000 0001"},
      {"memory of an odd size", "42 01 0084 0008 0001 00000600 0000 0003", "8005 0085 0000 0001"},
      {"too much memory", "42 01 0084 0008 0001 00000200 0000 021C", "8002 0085 0000 0001"},
      {"no memory at all", "42 01 0084 0008 0001 00000200 0000 0000", "8002 0085 0000 0001"},
      {"memory that is not there", "42 01 0084 0008 0001 00F00000 0000 0004",
       "8003 0085 0000 0001"},
      {"write without control", "42 01 0082 0008 0001 00000938 00000BB8",
       "8006 0083 0004 0001 0000 0000"},
      {"memory write without control", "42 01 0086 0008 0001 000000E8 41000000",
       "8006 0087 0004 0001 0000 0000"},
      {"half a pair", "42 01 0082 0004 0001 00000A00", "8002 0083 0004 0001 0000 0000"},
      {"write at an odd address", "42 01 0082 0008 0001 00000A02 00000002",
       "8005 0083 0004 0001 0000 0000"},
  };
  for (const Row& row : rows) {
    host.control.Send(Hex(row.request), 0x7F000002);
    const Bytes answer = host.control.Receive(row.answer[0] == '-' ? 50 : 2000);
    EXPECT_EQ(answer, row.answer[0] == '-' ? Bytes{} : Hex(row.answer)) << row.what;
  }
}

TEST_F(Control, TheOwnerMeetsRegistersThatRefuse) {
  host.TakeControl();
  // The second of three pairs fails: the first took effect, the third did not.
  EXPECT_EQ(
      host.Ask(Hex("42 01 0082 0018 7001 00000938 00000FA0 00000000 00000001 00000938 00001388")),
      Hex("8004 0083 0004 7001 0000 0001"));
  EXPECT_EQ(host.Read(B::sk_heartbeatTimeout), 4000u);
  EXPECT_EQ(host.Ask(Hex("42 01 0086 0008 7002 00000010 00000000")),
            Hex("8004 0087 0004 7002 0000 0000"));
  EXPECT_EQ(host.Write(0xA100, 1), Status::InvalidAddress);
  EXPECT_EQ(host.Write(B::sk_heartbeatTimeout, 1), Status::Success);
  EXPECT_EQ(host.Read(B::sk_heartbeatTimeout), 500u) << "rounded up to the smallest one";
  EXPECT_EQ(host.Write(B::StreamRegister(B::Stream::Scps), 100), Status::InvalidParameter);
  EXPECT_EQ(host.Write(B::StreamRegister(B::Stream::Scps), 1502), Status::Success);
  EXPECT_EQ(host.Read(B::StreamRegister(B::Stream::Scps)), 1500u);
}

TEST_F(Control, AnswersARepeatedRequestWithoutRepeatingItsEffect) {
  host.TakeControl();
  const Bytes latch = Hex("42 01 0082 0008 7001 00000944 00000002");
  const Bytes first = host.Ask(latch);
  const auto value = host.ReadMem(B::sk_timestampHigh, 8);
  EXPECT_EQ(host.Ask(Hex("42 01 0082 0008 7002 00000944 00000002")),
            Hex("0000 0083 0004 7002 0000 0001"));
  const auto later = host.ReadMem(B::sk_timestampHigh, 8);
  EXPECT_NE(value, later);
  EXPECT_EQ(host.Ask(latch), first) << "an older id is a new command";
  const auto third = host.ReadMem(B::sk_timestampHigh, 8);
  EXPECT_NE(later, third);
  host.Ask(Hex("42 01 0082 0008 7003 00000944 00000002"));
  const Bytes read = Hex("42 01 0084 0008 7004 00000948 0000 0008");
  const Bytes answer = host.Ask(read);
  other.Ask(Hex("42 01 0080 0004 0005 00000934"));
  EXPECT_EQ(host.Ask(read), answer);
  // The same bytes twice in a row: one latch only.
  host.Ask(Hex("42 01 0082 0008 7005 00000944 00000002"));
  host.control.Send(Hex("42 01 0082 0008 7005 00000944 00000002"), 0x7F000002);
  EXPECT_EQ(host.control.Receive(1000), Hex("0000 0083 0004 7005 0000 0001"));
}

TEST_F(Control, IsHeldByOneApplicationAtATime) {
  host.TakeControl();
  EXPECT_EQ(host.Read(B::sk_primaryPort), host.control.Port());
  EXPECT_EQ(host.Read(B::sk_primaryIp), sk_loopback);
  EXPECT_EQ(other.Write(B::sk_ccp, B::sk_ccpControl), Status::AccessDenied);
  EXPECT_EQ(other.Write(B::sk_ccp, 0), Status::AccessDenied);
  EXPECT_EQ(other.Write(B::sk_heartbeatTimeout, 4000), Status::AccessDenied);
  EXPECT_EQ(other.Read(B::sk_ccp), B::sk_ccpControl) << "others may read under control access";
  EXPECT_EQ(host.Write(B::sk_ccp, B::sk_ccpExclusive | B::sk_ccpControl), Status::Success);
  EXPECT_EQ(host.Read(B::sk_ccp), B::sk_ccpExclusive);
  EXPECT_FALSE(other.Read(B::sk_ccp)) << "but not under exclusive access";
  EXPECT_TRUE(other.ReadMem(B::sk_firstUrl, 16).empty());
  EXPECT_EQ(host.Write(B::sk_ccp, 0), Status::Success);
  EXPECT_EQ(host.Read(B::sk_primaryPort), 0u);
  EXPECT_EQ(other.Write(B::sk_ccp, B::sk_ccpControl), Status::Success);
}

TEST_F(Control, IsHandedOverOnlyWithTheKey) {
  host.TakeControl();
  EXPECT_EQ(host.Write(B::sk_switchoverKey, 0x1234), Status::Success);
  EXPECT_EQ(other.Write(B::sk_ccp, 0x12340000 | B::sk_ccpControl), Status::AccessDenied)
      << "not yet allowed";
  EXPECT_EQ(host.Write(B::sk_ccp, B::sk_ccpControl | B::sk_ccpSwitchover), Status::Success);
  EXPECT_EQ(other.Write(B::sk_ccp, 0x43210000 | B::sk_ccpControl), Status::AccessDenied);
  EXPECT_EQ(other.Write(B::sk_ccp, 0x12340000 | B::sk_ccpControl), Status::Success);
  EXPECT_EQ(host.Write(B::sk_heartbeatTimeout, 4000), Status::AccessDenied);
}

TEST_F(Control, EndsWhenTheHeartbeatDoes) {
  host.TakeControl();
  host.OpenStream();
  host.Write(B::sk_heartbeatTimeout, 500);
  host.Set("TLParamsLocked", 1);
  ASSERT_EQ(host.Start(), Status::Success);
  // Alive as long as commands come.
  for (int i = 0; i < 4; ++i) {
    other.control.Receive(200);
    ASSERT_EQ(host.Read(B::sk_ccp), B::sk_ccpControl);
  }
  other.control.Receive(900);
  EXPECT_EQ(other.Read(B::sk_ccp), 0u);
  EXPECT_EQ(other.Read(B::StreamRegister(B::Stream::Scp)), 0u);
  EXPECT_EQ(other.Get("TLParamsLocked"), 0);
  while (!host.stream.Receive(100).empty()) {
  }
  EXPECT_TRUE(host.stream.Receive(200).empty()) << "the stream has ended";
  // The next one finds a camera as new.
  other.TakeControl();
  other.OpenStream();
  EXPECT_EQ(other.Grab(1).size(), 1u);
}

TEST_F(Control, StaysWhenTheHeartbeatIsSwitchedOff) {
  host.TakeControl();
  host.Write(B::sk_heartbeatTimeout, 500);
  host.Write(B::sk_gvcpConfiguration, B::sk_cfgHeartbeatDisable);
  other.control.Receive(900);
  EXPECT_EQ(other.Read(B::sk_ccp), B::sk_ccpControl);
}

TEST_F(Control, MovesToAForcedAddressWhenNobodyControlsIt) {
  const Bytes force =
      Hex("42 01 0004 0038 0001 0000 02567F000002 (00 x 12) 7F000009 (00 x 12) FF000000 (00 x 12) "
          "00000000");
  host.TakeControl();
  other.control.Send(force, 0x7FFFFFFF);
  EXPECT_TRUE(other.control.Receive(100).empty());
  host.Write(B::sk_ccp, 0);
  Bytes wrongMac = force;
  wrongMac[15] = 0x77;
  other.control.Send(wrongMac, 0x7FFFFFFF);
  EXPECT_TRUE(other.control.Receive(100).empty());
  other.control.Send(force, 0x7FFFFFFF);
  sockaddr_in from{};
  EXPECT_EQ(other.control.Receive(1000, &from), Hex("0000 0005 0000 0001"));
  EXPECT_EQ(ntohl(from.sin_addr.s_addr), 0x7F000009u);
  Host moved(running.camera, 0x7F000009);
  EXPECT_EQ(moved.Read(B::sk_currentIp), 0x7F000009u);
  moved.TakeControl();
  moved.OpenStream();
  EXPECT_EQ(moved.Grab(2).size(), 2u);
}

TEST_F(Control, ServesItsDescriptionThroughTheUrl) {
  const Bytes field = host.ReadMem(B::sk_firstUrl, 512);
  const std::string url(reinterpret_cast<const char*>(field.data()));
  ASSERT_TRUE(url.starts_with("Local:Orvex_VirtualCamera_1_0_0.zip;")) << url;
  const size_t first = url.find(';'), second = url.find(';', first + 1);
  const auto address = static_cast<uint32_t>(std::stoul(url.substr(first + 1), nullptr, 16));
  const size_t length = std::stoul(url.substr(second + 1), nullptr, 16);
  const Bytes archive = host.ReadMem(address, length);
  ASSERT_EQ(archive.size(), length);
  EXPECT_EQ(Bytes(archive.begin(), archive.begin() + 4), Hex("504B0304"));
  EXPECT_EQ(Bytes(archive.end() - 22, archive.end() - 18), Hex("504B0506"));
  EXPECT_LT(length, running.camera.Description().size() / 4) << "it is compressed";
  EXPECT_EQ(host.ReadMem(B::sk_secondUrl, 4), Bytes(4, 0));
}

TEST_F(Control, KeepsTheUserNameForTheNextDiscovery) {
  host.TakeControl();
  Bytes name(16, 0);
  std::copy_n("left eye", 8, name.begin());
  EXPECT_EQ(host.WriteMem(B::sk_userName, name), Status::Success);
  other.control.Send(Hex("42 01 0002 0000 0001"), 0x7F000002);
  const Bytes answer = other.control.Receive(1000);
  EXPECT_EQ(GigEVision::DecodeDiscoveryAck(std::span<const uint8_t>(answer).subspan(8))->userName,
            "left eye");
}

TEST(Camera, StopsInEveryState) {
  for (const bool streaming : {false, true}) {
    RunningCamera running;
    Host host(running.camera);
    host.TakeControl();
    if (streaming) {
      host.OpenStream();
      host.Start();
      host.NextFrame();
    }
    running.camera.Stop();
    running.camera.Start();
    EXPECT_EQ(host.Read(B::sk_ccp), 0u) << "switched off and on";
  }
}

TEST(ForeignDescription, IsServedAsItIsOverPlainMemory) {
  const std::string path = testing::TempDir() + "Other_Camera.xml";
  const std::string text = "<RegisterDescription>not looked at</RegisterDescription>";
  std::ofstream(path) << text;
  OrvexSim::CameraOptions options;
  options.descriptionFile = path;
  RunningCamera running(options);
  Host host(running.camera);
  const Bytes zipped = host.ReadMem(B::sk_firstUrl, 64), plain = host.ReadMem(B::sk_secondUrl, 64);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(zipped.data())).substr(0, 31),
            "Local:Other_Camera.zip;e0000000");
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(plain.data())),
            "Local:Other_Camera.xml;e8000000;38");
  const Bytes served = host.ReadMem(0xE8000000, text.size());
  EXPECT_EQ(std::string(served.begin(), served.end()), text);
  host.TakeControl();
  EXPECT_EQ(host.Read(0x00081234), 0u);
  EXPECT_EQ(host.Write(0x00081234, 77), Status::Success);
  EXPECT_EQ(host.Read(0x00081234), 77u);
  // Across the border of two pages.
  EXPECT_EQ(host.WriteMem(0x30000FFC, Hex("0102030405060708")), Status::Success);
  EXPECT_EQ(host.ReadMem(0x30000FF8, 16), Hex("00000000 0102030405060708 00000000"));
  EXPECT_EQ(host.Write(B::sk_version, 1), Status::WriteProtect)
      << "the standard's registers stay what they are";
}

// The features of a picture lead to the camera's own, wherever the description has them.
TEST(ForeignDescription, StreamsThroughItsRegisters) {
  const std::string path = testing::TempDir() + "Streaming_Camera.xml";
  std::ofstream(path) << R"(<RegisterDescription VendorName="Acme" ModelName="One">
<Integer Name="Width"><pValue>WidthA</pValue></Integer>
<Integer Name="WidthA"><pValue>WidthB</pValue></Integer>
<MaskedIntReg Name="WidthB"><Address>0xB000</Address><Address>0x8</Address><Length>4</Length>
  <LSB>31</LSB><MSB>16</MSB><Endianess>BigEndian</Endianess></MaskedIntReg>
<IntReg Name="Height"><pAddress>Base</pAddress><Length>4</Length><Endianess>LittleEndian</Endianess></IntReg>
<Integer Name="Base"><Value>0xC000</Value></Integer>
<Enumeration Name="PixelFormat"><EnumEntry Name="Odd"><Value>1</Value></EnumEntry>
  <EnumEntry Name="RGB8Packed"><Value>2</Value></EnumEntry>
  <EnumEntry Name="Mono8"><Value>3</Value></EnumEntry><pValue>Format</pValue></Enumeration>
<IntReg Name="Format"><Address>0xC010</Address><Length>4</Length><Endianess>BigEndian</Endianess></IntReg>
<IntReg Name="PayloadSize"><Address>0xC018</Address><Length>8</Length><Endianess>BigEndian</Endianess></IntReg>
<Command Name="AcquisitionStart"><pValue>Control</pValue><CommandValue>3</CommandValue>
  <pIsAvailable>Flag</pIsAvailable></Command>
<Command Name="AcquisitionStop"><pValue>Control</pValue><CommandValue>4</CommandValue></Command>
<IntReg Name="Control"><Address>0xC020</Address><Length>4</Length><Endianess>BigEndian</Endianess></IntReg>
<StructReg><Address>0xD000</Address><Length>4</Length><Endianess>BigEndian</Endianess>
  <StructEntry Name="Flag"><Bit>30</Bit></StructEntry></StructReg>
<Integer Name="Loop"><pValue>Loop</pValue></Integer>
</RegisterDescription>)";
  OrvexSim::CameraOptions options;
  options.descriptionFile = path;
  {  // What it serves zipped it can play as well.
    RunningCamera running(options);
    Host host(running.camera);
    const Bytes url = host.ReadMem(B::sk_firstUrl, 64);
    const std::string text(reinterpret_cast<const char*>(url.data()));
    const size_t size = std::stoul(text.substr(text.find_last_of(';') + 1), nullptr, 16);
    const Bytes archive = host.ReadMem(0xE0000000, size);
    options.descriptionFile = testing::TempDir() + "Streaming_Camera.zip";
    std::ofstream(options.descriptionFile, std::ios::binary)
        .write(reinterpret_cast<const char*>(archive.data()),
               static_cast<std::streamsize>(archive.size()));
  }
  RunningCamera running(options);
  Host host(running.camera);
  host.TakeControl();
  host.OpenStream();
  EXPECT_EQ(host.Read(0xD000), 2u) << "what it describes is there";
  EXPECT_EQ(host.Read(0xC010), 2u);
  host.Write(0xB008, 644);  // rounded
  EXPECT_EQ(host.Read(0xB008), 640u);
  host.Write(0xC000, 0xC8000000);
  EXPECT_EQ(host.ReadMem(0xC018, 8), Hex("000000000005DC00")) << "640 x 200 x 3";
  EXPECT_EQ(host.Write(0xC010, 3), Status::Success);
  EXPECT_EQ(host.Write(0xC010, 1), Status::InvalidParameter);
  EXPECT_EQ(host.Write(0xC020, 3), Status::Success);
  const auto frame = host.NextFrame();
  ASSERT_TRUE(frame && frame->complete);
  EXPECT_EQ(frame->data.size(), 640u * 200);
  EXPECT_EQ(host.Write(0xC000, 0x10000000), Status::AccessDenied) << "while it acquires";
  host.Write(0xC020, 4);
  EXPECT_EQ(host.Write(0xC000, 0x10000000), Status::Success);
  const Bytes names = host.ReadMem(B::sk_manufacturerName, 64);
  EXPECT_EQ(std::string(names.begin(), names.begin() + 4), "Acme");
  EXPECT_EQ(std::string(names.begin() + 32, names.begin() + 35), "One");
}

TEST(ForeignDescription, ThatCannotBeReadIsRefused) {
  OrvexSim::CameraOptions options;
  options.descriptionFile = "/nowhere/at/all.xml";
  EXPECT_THROW(OrvexSim::VirtualCamera{options}, std::invalid_argument);
}

}  // namespace
