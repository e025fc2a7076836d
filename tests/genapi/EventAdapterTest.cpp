// SPDX-License-Identifier: Apache-2.0
// Event messages laid out by hand, delivered to a map: ports hold their bytes, callbacks fire,
// malformed ones are refused.
#include <GenApi/EventAdapter1394.h>
#include <GenApi/EventAdapterCL.h>
#include <GenApi/EventAdapterGEV.h>
#include <GenApi/EventAdapterGeneric.h>
#include <GenApi/EventAdapterU3V.h>
#include <GenApi/GenApi.h>
#include <gtest/gtest.h>

#include "SmallMap.h"

namespace {

using GenApi::CEventAdapterGEV;
using GenApi::IInteger;
using OrvexTest::SmallMap;
using Bytes = std::vector<uint8_t>;

std::string Register(const char* pName, int address, int length,
                     const char* pByteOrder = "BigEndian") {
  return "<IntReg Name=\"" + std::string(pName) + "\"><Address>" + std::to_string(address) +
         "</Address><Length>" + std::to_string(length) +
         "</Length><AccessMode>RO</AccessMode><pPort>EndPort</pPort><Endianess>" + pByteOrder +
         "</Endianess></IntReg>\n";
}

const std::string sk_nodes =
    "<Category Name=\"Root\"><pFeature>Data</pFeature></Category>\n"
    "<Port Name=\"EndPort\"><EventID>9001</EventID></Port>\n"
    "<Integer Name=\"EventExposureEnd\"><EventID>9001</EventID><Value>1</Value></Integer>\n"
    "<Integer Name=\"Other\"><EventID>9002</EventID><Value>2</Value></Integer>\n" +
    Register("Id", 2, 2) + Register("BlockId", 6, 2) + Register("BlockId64", 8, 8) +
    Register("Timestamp", 8, 8) + Register("TimestampExtended", 16, 8) + Register("Data", 16, 2) +
    Register("DataExtended", 24, 2) + Register("SerialTimestamp", 4, 8) +
    Register("SerialData", 12, 1) + Register("BusData", 4, 4) +
    Register("UsbTimestamp", 4, 8, "LittleEndian") + Register("UsbData", 12, 1);

class EventAdapter : public testing::Test {
 protected:
  EventAdapter() {
    for (const char* pName : {"EventExposureEnd", "Other", "Data"}) {
      GenApi::Register(map.Map._GetNode(pName),
                       [this](GenApi::INode* pNode) { ++calls[pNode->GetName().c_str()]; });
    }
  }
  int64_t Value(const char* pName) { return map.Get<IInteger>(pName).GetValue(); }
  void Deliver(GenApi::CEventAdapter& adapter, const Bytes& message) {
    adapter.DeliverMessage(message.data(), uint32_t(message.size()));
  }

  SmallMap map{sk_nodes};
  std::map<std::string, int> calls;
};

// EVENT with one standard entry: event 0x9001, stream channel 0, block 7, timestamp 0x100000002.
const Bytes sk_event = {0x42, 0, 0x00, 0xC0, 0, 16, 0, 1, 0, 0, 0x90, 0x01,
                        0,    0, 0,    7,    0, 0,  0, 1, 0, 0, 0,    2};

TEST_F(EventAdapter, StandardEventFillsThePortAndTellsItsNodesAlone) {
  CEventAdapterGEV adapter(map.Map._Ptr);
  EXPECT_FALSE(GenApi::IsReadable(&map.Get<IInteger>("Id")));
  calls.clear();
  Deliver(adapter, sk_event);
  EXPECT_EQ(Value("Id"), 0x9001);
  EXPECT_EQ(Value("BlockId"), 7);
  EXPECT_EQ(Value("Timestamp"), 0x100000002);
  EXPECT_THROW(Value("Data"), GenICam::OutOfRangeException);
  EXPECT_EQ(calls["EventExposureEnd"], 1);
  EXPECT_EQ(calls["Data"], 1);
  EXPECT_EQ(calls["Other"], 0);
}

TEST_F(EventAdapter, CallbacksSeeTheNewEvent) {
  CEventAdapterGEV adapter(map.Map._Ptr);
  Bytes message = sk_event;
  std::vector<int64_t> seen;
  GenApi::Register(map.Map._GetNode("EventExposureEnd"),
                   [&](GenApi::INode*) { seen.push_back(Value("BlockId")); });
  Deliver(adapter, message);
  message[15] = 8;
  Deliver(adapter, message);
  EXPECT_EQ(seen, (std::vector<int64_t>{7, 8}));
}

TEST_F(EventAdapter, SeveralEntriesOfOneMessageAreDeliveredInOrder) {
  CEventAdapterGEV adapter(map.Map._Ptr);
  Bytes message = sk_event;
  message[5] = 48;
  const Bytes entry(sk_event.begin() + 8, sk_event.end());
  for (const int block : {8, 9}) {
    message.insert(message.end(), entry.begin(), entry.end());
    message[message.size() - 9] = uint8_t(block);
  }
  message[8 + 16 + 3] = 0x02;  // the middle one is event 0x9002
  calls.clear();
  Deliver(adapter, message);
  EXPECT_EQ(calls["EventExposureEnd"], 2);
  EXPECT_EQ(calls["Other"], 1);
  EXPECT_EQ(Value("BlockId"), 9);
}

TEST_F(EventAdapter, EventDataReachToTheEndOfTheMessage) {
  CEventAdapterGEV adapter(map.Map._Ptr);
  Bytes message = sk_event;
  message[3] = 0xC2;
  message[5] = 18;
  message.insert(message.end(), {0x12, 0x34, /*padding of the datagram*/ 0xFF});
  Deliver(adapter, message);
  EXPECT_EQ(Value("Data"), 0x1234);
}

// EVENTDATA with extended ids: block 5, timestamp 9, two bytes of data, twice; sizes 26 each.
TEST_F(EventAdapter, SizedExtendedEventsFollowEachOther) {
  CEventAdapterGEV adapter(map.Map._Ptr);
  Bytes message = {0x42, 0x10, 0x00, 0xC2, 0, 52, 0, 1};
  for (const int id : {0x02, 0x01}) {
    const Bytes entry = {0, 26, 0x90, uint8_t(id), 0, 0, 0, 0, 0, 0, 0, 0,    0,
                         0, 0,  5,    0,           0, 0, 0, 0, 0, 0, 9, 0xAB, uint8_t(id)};
    message.insert(message.end(), entry.begin(), entry.end());
  }
  calls.clear();
  Deliver(adapter, message);
  EXPECT_EQ(calls["Other"], 1);
  EXPECT_EQ(calls["EventExposureEnd"], 1);
  EXPECT_EQ(Value("BlockId64"), 5);
  EXPECT_EQ(Value("TimestampExtended"), 9);
  EXPECT_EQ(Value("DataExtended"), 0xAB01);
}

TEST_F(EventAdapter, TypedMessagesAreAsLongAsTheirHeadersSay) {
  CEventAdapterGEV adapter(map.Map._Ptr);
  adapter.DeliverEventMessage(reinterpret_cast<const GenApi::GVCP_EVENT_REQUEST*>(sk_event.data()));
  EXPECT_EQ(Value("BlockId"), 7);
}

struct Malformed {
  const char* Name;
  std::function<Bytes()> Make;
};

class MalformedEvent : public testing::TestWithParam<Malformed> {};

TEST_P(MalformedEvent, IsRefusedWithoutReachingANode) {
  SmallMap map(sk_nodes);
  CEventAdapterGEV adapter(map.Map._Ptr);
  const Bytes message = GetParam().Make();
  EXPECT_THROW(adapter.DeliverMessage(message.data(), uint32_t(message.size())),
               GenICam::RuntimeException);
  EXPECT_FALSE(GenApi::IsReadable(&map.Get<IInteger>("Id")));
}

Malformed With(const char* pName, size_t at, uint8_t byte) {
  return {pName, [=] {
            Bytes message = sk_event;
            message[at] = byte;
            return message;
          }};
}

INSTANTIATE_TEST_SUITE_P(
    Messages, MalformedEvent,
    testing::Values(Malformed{"ShorterThanItsHeader",
                              [] { return Bytes(sk_event.begin(), sk_event.begin() + 7); }},
                    Malformed{"HeaderAlone", [] { return Bytes{0x42, 0, 0, 0xC0, 0, 0, 0, 1}; }},
                    Malformed{"ShorterThanAnnounced",
                              [] { return Bytes(sk_event.begin(), sk_event.end() - 1); }},
                    With("NoMagic", 0, 0x43), With("AnotherCommand", 3, 0x40),
                    With("EntryCutOff", 5, 15), With("ExtendedButShort", 1, 0x10),
                    Malformed{"SizeBeyondTheMessage",
                              [] {
                                Bytes message(8 + 24);
                                const Bytes begin = {0x42, 0x10, 0, 0xC2, 0,    24,
                                                     0,    1,    0, 25,   0x90, 0x01};
                                std::copy(begin.begin(), begin.end(), message.begin());
                                return message;
                              }},
                    Malformed{"SizeBelowAnEntry",
                              [] {
                                Bytes message(8 + 24);
                                const Bytes begin = {0x42, 0x10, 0, 0xC2, 0,    24,
                                                     0,    1,    0, 23,   0x90, 0x01};
                                std::copy(begin.begin(), begin.end(), message.begin());
                                return message;
                              }}),
    [](const auto& info) { return std::string(info.param.Name); });

TEST_F(EventAdapter, Usb3VisionEventsAreLittleEndianBehindTheirCommandHeader) {
  GenApi::CEventAdapterU3V adapter(map.Map._Ptr);
  Bytes message = {'U', '3',  'V',  'E', 0, 0, 0x00, 0x0C, 13, 0, 1, 0,   0,
                   0,   0x01, 0x90, 3,   0, 0, 0,    0,    0,  0, 0, 0x5A};
  Deliver(adapter, message);
  EXPECT_EQ(Value("UsbTimestamp"), 3);
  EXPECT_EQ(Value("UsbData"), 0x5A);
  message[8] = 14;
  EXPECT_THROW(Deliver(adapter, message), GenICam::RuntimeException);
  message[8] = 11;
  EXPECT_THROW(Deliver(adapter, message), GenICam::RuntimeException);
}

TEST_F(EventAdapter, CameraLinkEventsAreBigEndianBehindTheirCommandHeader) {
  GenApi::CEventAdapterCL adapter(map.Map._Ptr);
  const Bytes message = {0x01, 0x00, 0, 0,    0,    0, 0, 0, 0, 0, 0x0C, 0x00, 0, 13,  0,
                         1,    0,    0, 0x90, 0x01, 0, 0, 0, 0, 0, 0,    0,    3, 0x5A};
  Deliver(adapter, message);
  EXPECT_EQ(Value("SerialTimestamp"), 3);
  EXPECT_EQ(Value("SerialData"), 0x5A);
  for (const auto& [at, byte] : {std::pair{0, 2}, {10, 0x08}, {13, 14}, {13, 11}}) {
    Bytes wrong = message;
    wrong[size_t(at)] = uint8_t(byte);
    EXPECT_THROW(Deliver(adapter, wrong), GenICam::RuntimeException) << "byte " << at;
  }
}

TEST_F(EventAdapter, Ieee1394EventsBeginWithTheirIdInBusOrder) {
  GenApi::CEventAdapter1394 adapter(map.Map._Ptr);
  const Bytes message = {0, 0, 0x90, 0x01, 0, 0, 1, 2};
  Deliver(adapter, message);
  EXPECT_EQ(Value("Id"), 0x9001);
  EXPECT_EQ(Value("BusData"), 0x102);
  EXPECT_THROW(Deliver(adapter, {0, 0, 0x90}), GenICam::RuntimeException);
}

TEST_F(EventAdapter, GenericIsToldTheIdAsNumberOrText) {
  GenApi::CEventAdapterGeneric adapter(map.Map._Ptr);
  const Bytes message = {0, 0, 0x11, 0x22};
  adapter.DeliverMessage(message.data(), 4, uint64_t(0x9001));
  EXPECT_EQ(Value("Id"), 0x1122);
  calls.clear();
  adapter.DeliverMessage(message.data(), 4, GenICam::gcstring("009002"));
  EXPECT_EQ(calls["Other"], 1);
  EXPECT_EQ(calls["EventExposureEnd"], 0);
  EXPECT_THROW(adapter.DeliverMessage(message.data(), 4, GenICam::gcstring("x")),
               GenICam::InvalidArgumentException);
  EXPECT_THROW(adapter.DeliverMessage(message.data(), 4), GenICam::LogicalErrorException);
}

TEST_F(EventAdapter, DetachedMapsHearNothing) {
  CEventAdapterGEV adapter(map.Map._Ptr);
  Deliver(adapter, sk_event);
  adapter.DetachNodeMap();
  EXPECT_FALSE(GenApi::IsReadable(&map.Get<IInteger>("Id")));
  calls.clear();
  Deliver(adapter, sk_event);
  EXPECT_EQ(calls["EventExposureEnd"], 0);
}

}  // namespace
