// SPDX-License-Identifier: Apache-2.0
#include "gigevision/Gvcp.h"

#include <gtest/gtest.h>

#include <functional>
#include <ostream>

#include "Hex.h"
#include "gigevision/Event.h"

using namespace GigEVision;
using Bytes = std::vector<uint8_t>;
using Out = std::span<uint8_t>;

namespace {

// One row a packet: the bytes, how to make them, and what must come out of them.
struct PacketRow {
  const char* name;
  const char* bytes;
  std::function<size_t(Out)> encode;
  std::function<bool(const Bytes&)> decodes;
};

void PrintTo(const PacketRow& row, std::ostream* out) {
  *out << row.name;
}

std::span<const uint8_t> PayloadOf(const Bytes& datagram) {
  return DecodeCommand(datagram).value().payload;
}
std::span<const uint8_t> AckPayload(const Bytes& datagram) {
  return DecodeAck(datagram).value().payload;
}

constexpr uint32_t sk_addresses[] = {0x0934, 0x0A00};
constexpr uint32_t sk_values[] = {0xC0000027, 2};
constexpr RegisterWrite sk_writes[] = {{0x0A00, 2}, {0x0D04, 0xC00005DC}};
constexpr uint8_t sk_data[] = {0xDE, 0xAD, 0xBE, 0xEF};
const ForceIp sk_forceIp{0x0080112233AB, 0xC0A80164, 0xFFFFFF00, 0xC0A80101};
const EventItem sk_event{0x9001, 0, 7, 0x0000000100000002, {}};
const EventItem sk_bigEvent{0x9002, 0xFFFF, 0x1122334455667788, 9, sk_data};
const EventItem sk_events[] = {sk_event, {0x9003, 0xFFFF, 0, 5, {}}};

std::vector<EventItem> EventsOf(const Bytes& datagram) {
  std::vector<EventItem> items;
  EventWalker walker(DecodeCommand(datagram).value());
  while (const auto item = walker.Next()) items.push_back(*item);
  return walker.Valid() ? items : std::vector<EventItem>{};
}
bool Same(const EventItem& a, const EventItem& b) {
  return a.id == b.id && a.channel == b.channel && a.blockId == b.blockId &&
         a.timestamp == b.timestamp &&
         Bytes(a.data.begin(), a.data.end()) == Bytes(b.data.begin(), b.data.end());
}

const PacketRow sk_rows[] = {
    {"DiscoveryCommand", "42 11 0002 0000 FFFF",
     [](Out out) { return EncodeDiscovery(out, 0xFFFF, true); },
     [](const Bytes& b) {
       const auto header = DecodeCommand(b)->header;
       return header.command == Command::Discovery && header.AckRequired() &&
              header.requestId == 0xFFFF && (header.flags & sk_flagBroadcastAck) != 0;
     }},
    {"ForceIpCommand",
     "42 01 0004 0038 0007 0000 0080112233AB (00 x 12) C0A80164 (00 x 12) FFFFFF00 (00 x 12) "
     "C0A80101",
     [](Out out) { return EncodeForceIp(out, 7, sk_flagAckRequired, sk_forceIp); },
     [](const Bytes& b) {
       const auto force = DecodeForceIp(PayloadOf(b));
       return force && force->mac == sk_forceIp.mac && force->ip == sk_forceIp.ip &&
              force->subnetMask == sk_forceIp.subnetMask && force->gateway == sk_forceIp.gateway;
     }},
    {"ReadRegCommand", "42 01 0080 0008 0002 00000934 00000A00",
     [](Out out) { return EncodeReadReg(out, 2, sk_addresses); },
     [](const Bytes& b) {
       const auto view = DecodeReadReg(PayloadOf(b));
       return view && view->size() == 2 && (*view)[0] == 0x0934 && (*view)[1] == 0x0A00;
     }},
    {"ReadRegAck", "0000 0081 0008 0002 C0000027 00000002",
     [](Out out) { return EncodeReadRegAck(out, Status::Success, 2, sk_values); },
     [](const Bytes& b) {
       const auto view = DecodeReadRegAck(AckPayload(b));
       return view && view->size() == 2 && (*view)[0] == 0xC0000027 && (*view)[1] == 2;
     }},
    {"WriteRegCommand", "42 01 0082 0010 0019 00000A00 00000002 00000D04 C00005DC",
     [](Out out) { return EncodeWriteReg(out, 0x19, sk_writes); },
     [](const Bytes& b) {
       const auto view = DecodeWriteReg(PayloadOf(b));
       return view && view->size() == 2 && (*view)[1].address == 0x0D04 &&
              (*view)[1].value == 0xC00005DC;
     }},
    {"WriteRegAckOfAFailure", "8004 0083 0004 0019 0000 0001",
     [](Out out) { return EncodeIndexAck(out, Status::WriteProtect, Ack::WriteReg, 0x19, 1); },
     [](const Bytes& b) {
       return DecodeAck(b)->header.status == Status::WriteProtect &&
              DecodeIndexAck(AckPayload(b)) == 1;
     }},
    {"ReadMemCommand", "42 01 0084 0008 FF15 00000200 0000 0200",
     [](Out out) {
       return EncodeReadMem(out, 0xFF15, {0x200, 512});
     },
     [](const Bytes& b) {
       const auto read = DecodeReadMem(PayloadOf(b));
       return read && read->address == 0x200 && read->count == 512;
     }},
    {"ReadMemAck", "0000 0085 0008 FF15 00000200 DEADBEEF",
     [](Out out) {
       return EncodeReadMemAck(out, Status::Success, 0xFF15, {0x200, sk_data});
     },
     [](const Bytes& b) {
       const auto memory = DecodeReadMemAck(AckPayload(b));
       return memory && memory->address == 0x200 && std::ranges::equal(memory->data, sk_data);
     }},
    {"WriteMemCommand", "42 01 0086 0008 0003 000000E8 DEADBEEF",
     [](Out out) {
       return EncodeWriteMem(out, 3, {0xE8, sk_data});
     },
     [](const Bytes& b) {
       const auto memory = DecodeWriteMem(PayloadOf(b));
       return memory && memory->address == 0xE8 && std::ranges::equal(memory->data, sk_data);
     }},
    {"WriteMemAck", "0000 0087 0004 0003 0000 0218",
     [](Out out) { return EncodeIndexAck(out, Status::Success, Ack::WriteMem, 3, 536); },
     [](const Bytes& b) { return DecodeIndexAck(AckPayload(b)) == 536; }},
    {"PendingAck", "0000 0089 0004 0003 0000 03E8",
     [](Out out) { return EncodePendingAck(out, 3, 1000); },
     [](const Bytes& b) { return DecodePendingAck(AckPayload(b)) == 1000; }},
    {"PacketResendCommand", "42 00 0040 000C 0057 0000 0004 00000009 00FFFFFF",
     [](Out out) {
       return EncodePacketResend(out, 0x57, {0, false, 4, 9, sk_toLastPacketExtended});
     },
     [](const Bytes& b) {
       const auto resend = DecodePacketResend(*DecodeCommand(b));
       return resend && !resend->extendedIds && resend->blockId == 4 && resend->firstPacket == 9 &&
              resend->lastPacket == sk_toLastPacketExtended &&
              !DecodeCommand(b)->header.AckRequired();
     }},
    {"PacketResendCommandExtended",
     "42 10 0040 0014 0057 0001 0000 01000000 01000003 00000005 00000006",
     [](Out out) {
       return EncodePacketResend(out, 0x57, {1, true, 0x0000000500000006, 0x01000000, 0x01000003});
     },
     [](const Bytes& b) {
       const auto resend = DecodePacketResend(*DecodeCommand(b));
       return resend && resend->extendedIds && resend->channel == 1 &&
              resend->blockId == 0x0000000500000006 && resend->firstPacket == 0x01000000 &&
              resend->lastPacket == 0x01000003;
     }},
    {"ActionCommand", "42 01 0100 000C 0005 00000011 00000022 0000000F",
     [](Out out) {
       return EncodeAction(out, 5, sk_flagAckRequired, {0x11, 0x22, 0xF, 0});
     },
     [](const Bytes& b) {
       const auto action = DecodeAction(*DecodeCommand(b));
       return action && action->deviceKey == 0x11 && action->groupKey == 0x22 &&
              action->groupMask == 0xF && action->time == 0;
     }},
    {"ActionCommandScheduled", "42 81 0100 0014 0005 00000011 00000022 0000000F 0000000102030405",
     [](Out out) {
       return EncodeAction(out, 5, sk_flagAckRequired, {0x11, 0x22, 0xF, 0x0102030405});
     },
     [](const Bytes& b) { return DecodeAction(*DecodeCommand(b))->time == 0x0102030405; }},
    {"EventCommand",
     "42 01 00C0 0020 0001 0000 9001 0000 0007 00000001 00000002 0000 9003 FFFF 0000 00000000 "
     "00000005",
     [](Out out) { return EncodeEvents(out, 1, false, true, sk_events); },
     [](const Bytes& b) {
       const auto items = EventsOf(b);
       return items.size() == 2 && Same(items[0], sk_event) && items[1].id == 0x9003 &&
              items[1].blockId == 0;
     }},
    {"EventDataCommandExtended",
     "42 10 00C2 001C 0001 001C 9002 FFFF 0000 1122334455667788 0000000000000009 DEADBEEF",
     [](Out out) { return EncodeEventData(out, 1, true, false, sk_bigEvent); },
     [](const Bytes& b) {
       const auto items = EventsOf(b);
       return items.size() == 1 && Same(items[0], sk_bigEvent);
     }},
    {"EventDataCommandStandard",
     "42 00 00C2 0014 0001 0000 9001 0000 0007 00000001 00000002 DEADBEEF",
     [](Out out) {
       EventItem item = sk_event;
       item.data = sk_data;
       return EncodeEventData(out, 1, false, false, item);
     },
     [](const Bytes& b) {
       const auto items = EventsOf(b);
       return items.size() == 1 && items[0].blockId == 7 &&
              std::ranges::equal(items[0].data, sk_data);
     }},
};

class GvcpPacket : public testing::TestWithParam<PacketRow> {};

TEST_P(GvcpPacket, IsWrittenAsLaidOutByHand) {
  const Bytes expected = Hex(GetParam().bytes);
  Bytes out(sk_gvcpMaxDatagram, 0xAA);
  out.resize(GetParam().encode(out));
  EXPECT_EQ(out, expected);
}

TEST_P(GvcpPacket, IsUnderstood) {
  EXPECT_TRUE(GetParam().decodes(Hex(GetParam().bytes)));
}

TEST_P(GvcpPacket, IsNotWrittenIntoTooLittleRoom) {
  const size_t size = Hex(GetParam().bytes).size();
  for (size_t room = 0; room < size; ++room) {
    Bytes out(room);
    EXPECT_EQ(GetParam().encode(out), 0u) << room;
  }
}

TEST_P(GvcpPacket, IsRefusedWhenCutShort) {
  const Bytes whole = Hex(GetParam().bytes);
  const bool command = whole[0] == sk_gvcpKey;
  for (size_t size = 0; size < whole.size(); ++size) {
    const Bytes part(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(size));
    EXPECT_FALSE(command ? DecodeCommand(part).has_value() : DecodeAck(part).has_value()) << size;
  }
}

INSTANTIATE_TEST_SUITE_P(Layouts, GvcpPacket, testing::ValuesIn(sk_rows),
                         [](const auto& info) { return std::string(info.param.name); });

// Payloads whose own lengths lie, behind a header that is right.
TEST(GvcpPayload, RefusesSizesThatDoNotFitTheLayout) {
  EXPECT_FALSE(DecodeReadReg({}));
  EXPECT_FALSE(DecodeReadReg(Hex("0000093400")));
  EXPECT_FALSE(DecodeWriteReg(Hex("00000A00 00000002 00000D04")));
  EXPECT_FALSE(DecodeReadMem(Hex("00000200 0000 0200 00")));
  EXPECT_FALSE(DecodeForceIp(Hex("(00 x 55)")));
  EXPECT_FALSE(DecodeDiscoveryAck(Hex("(00 x 247)")));
  EXPECT_FALSE(DecodeIndexAck(Hex("000000")));
  EXPECT_FALSE(
      DecodeAction(*DecodeCommand(Hex("42 81 0100 000C 0005 00000011 00000022 0000000F"))));
  EXPECT_FALSE(
      DecodePacketResend(*DecodeCommand(Hex("42 10 0040 000C 0057 0000 0004 00000009 00FFFFFF"))));
  EXPECT_FALSE(
      DecodePacketResend(*DecodeCommand(Hex("42 00 0040 000C 0057 0000 0000 00000009 00FFFFFF"))))
      << "block id 0 does not exist";
}

TEST(GvcpEvents, StopsAtAnItemLongerThanThePayload) {
  for (const char* size : {"0040", "0008"}) {
    const Bytes bytes =
        Hex("42 10 00C2 001C 0001 " + std::string(size) + " 9002 FFFF 0000 (00 x 16) DEADBEEF");
    EventWalker walker(*DecodeCommand(bytes));
    EXPECT_FALSE(walker.Next()) << size;
    EXPECT_FALSE(walker.Valid()) << size;
  }
}

TEST(GvcpEvents, ReadsSeveralSizedItems) {
  const Bytes bytes = Hex(
      "42 10 00C2 0034 0001 001C 9002 0000 0000 (00 x 16) 01020304 0018 9003 0000 0000 (00 x 16)");
  EventWalker walker(*DecodeCommand(bytes));
  EXPECT_EQ(walker.Next()->data.size(), 4u);
  EXPECT_EQ(walker.Next()->id, 0x9003);
  EXPECT_FALSE(walker.Next());
  EXPECT_TRUE(walker.Valid());
}

TEST(GvcpHeader, IgnoresOtherDatagramsAndSeesLengthsThatLie) {
  EXPECT_FALSE(PeekCommand(Hex("43 01 0002 0000 0001")));
  EXPECT_FALSE(PeekCommand(Hex("42 01 0002 0000 00")));
  const Bytes lying = Hex("42 01 0080 0008 0001 00000934");
  EXPECT_TRUE(PeekCommand(lying));
  EXPECT_FALSE(DecodeCommand(lying));
}

TEST(GvcpRequestId, NeverBecomesZero) {
  EXPECT_EQ(NextRequestId(1), 2);
  EXPECT_EQ(NextRequestId(0xFFFF), 1);
  Bytes out(64);
  EXPECT_EQ(EncodeCommand(out, Command::Discovery, 1, 0), 0u);
}

TEST(GvcpDiscoveryAck, CarriesEveryFieldAtItsPlace) {
  // Texts that fill their fields have no terminator.
  const std::string full32(32, 'M'), full16(16, 'S');
  const std::string hexM = "(4D x 32)", hexS = "(53 x 16)";
  const Bytes bytes =
      Hex("0000 0003 00F8 0009 0002 0001 80000001 0000 02567F000002 00000007 00000006 (00 x 12) "
          "7F000002 (00 x 12) FF000000"
          "(00 x 12) 7F000001" +
          hexM + "41 (00 x 31) 42 (00 x 31) 43 (00 x 47)" + hexS + "44 (00 x 15)");
  DiscoveryAck ack;
  ack.versionMajor = 2;
  ack.versionMinor = 1;
  ack.deviceMode = 0x80000001;
  ack.mac = 0x02567F000002;
  ack.ipCapability = 7;
  ack.ipConfiguration = 6;
  ack.ip = 0x7F000002;
  ack.subnetMask = 0xFF000000;
  ack.gateway = 0x7F000001;
  ack.manufacturer = full32;
  ack.model = "A";
  ack.version = "B";
  ack.manufacturerInfo = "C";
  ack.serial = full16;
  ack.userName = "D";
  Bytes out(300);
  out.resize(EncodeDiscoveryAck(out, 9, ack));
  EXPECT_EQ(out, bytes);
  const auto read = DecodeDiscoveryAck(AckPayload(bytes));
  ASSERT_TRUE(read);
  EXPECT_EQ(read->mac, ack.mac);
  EXPECT_EQ(read->gateway, ack.gateway);
  EXPECT_EQ(read->manufacturer, full32);
  EXPECT_EQ(read->serial, full16);
  EXPECT_EQ(read->userName, "D");
}

}  // namespace
