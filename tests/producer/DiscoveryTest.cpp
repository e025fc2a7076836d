// SPDX-License-Identifier: Apache-2.0
// Finding cameras, forcing addresses, message channel and description URLs against cameras made of
// hand-laid bytes.
#include "producer/Discovery.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "OpenCamera.h"
#include "ScriptedCamera.h"
#include "producer/Limits.h"

namespace OrvexGev {
namespace {

using namespace GenTL;
using Bytes = ScriptedPeer::Bytes;

constexpr const char* sk_address = "127.0.0.91";
constexpr uint32_t sk_ip = 0x7F00005B;

HostInterface Loopback() {
  for (const HostInterface& host : ListHostInterfaces()) {
    if (host.loopback) return host;
  }
  throw std::runtime_error("this machine has no loopback interface");
}

uint32_t Long(const Bytes& bytes, size_t at) {
  return uint32_t{bytes.at(at)} << 24 | uint32_t{bytes.at(at + 1)} << 16 |
         uint32_t{bytes.at(at + 2)} << 8 | bytes.at(at + 3);
}

TEST(Interfaces, LoopbackIsKnownWithItsWholeSubnet) {
  const HostInterface lo = Loopback();
  EXPECT_EQ(lo.id, "lo");
  EXPECT_EQ(lo.ip, 0x7F000001u);
  EXPECT_EQ(lo.broadcast, 0x7FFFFFFFu);
  EXPECT_GT(lo.index, 0u);
  EXPECT_GE(lo.mtu, 1280u);
}

TEST(Discovery, UnderstandsEveryFieldOfAnAnswer) {
  ScriptedCamera camera(sk_address);
  const auto answer = DiscoverAt(Loopback(), sk_ip);
  ASSERT_TRUE(answer);
  const DeviceRecord& record = *answer;
  EXPECT_EQ(record.id, "GEV_021122334455");
  EXPECT_EQ(record.mac, 0x021122334455u);
  EXPECT_EQ(record.vendor, "Maker");
  EXPECT_EQ(record.model, "A model name that fills a field.");  // all 32 bytes, no terminator
  EXPECT_EQ(record.version, "1");
  EXPECT_EQ(record.serial, "SN-0815");
  EXPECT_EQ(record.userName, "left camera");
  EXPECT_EQ(record.ip, sk_ip);
  EXPECT_EQ(record.mask, 0xFF000000u);
  EXPECT_EQ(record.gateway, 0x7F0000FEu);
  EXPECT_EQ(record.ipConfiguration, 5u);
  EXPECT_EQ(record.versionMajor, 2);
  EXPECT_EQ(record.versionMinor, 1);
  const Bytes request = camera.Requests().at(0);
  EXPECT_EQ(Bytes(request.begin(), request.begin() + 6), (Bytes{0x42, 0x01, 0x00, 0x02, 0, 0}));
}

TEST(Discovery, ListedAddressesAreAskedDirectly) {
  ScriptedCamera camera(sk_address);  // deaf to broadcasts
  const HostInterface lo = Loopback();
  EXPECT_TRUE(Discover(lo, {}, 200ms).empty());
  const uint32_t listed[] = {sk_ip};
  const auto found = Discover(lo, listed, 1000ms);
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].serial, "SN-0815");
}

TEST(Discovery, TakesTheTimeItIsGivenWhereCamerasMayBeSlow) {
  HostInterface host = Loopback();
  const auto start = Clock::now();
  Discover(host, {}, 2000ms);
  EXPECT_LT(Clock::now() - start, 2000ms);  // those of this machine are not
  host.loopback = false;
  const auto again = Clock::now();
  Discover(host, {}, 500ms);
  EXPECT_GE(Clock::now() - again, 500ms);
}

TEST(Discovery, SpoiledAnswersAreNoCameras) {
  const std::pair<const char*, std::function<Bytes(Bytes)>> rows[] = {
      {"cut",
       [](Bytes bytes) {
         bytes.resize(200);
         return bytes;
       }},
      {"empty", [](Bytes) { return Bytes(); }},
  };
  const uint32_t listed[] = {sk_ip};
  for (const auto& [name, spoil] : rows) {
    SCOPED_TRACE(name);
    ScriptedCamera camera(sk_address, spoil);
    EXPECT_TRUE(Discover(Loopback(), listed, 300ms).empty());
  }
}

TEST(Discovery, ForceIpLaysOutItsAddressesAsTheStandardSays) {
  // A listener on the broadcast address of loopback.
  Bytes seen;
  std::mutex mutex;
  for (const bool refuse : {false, true}) {
    ScriptedPeer listener("127.255.255.255", [&](const Bytes& request, const auto& reply) {
      const std::lock_guard lock(mutex);
      seen = request;
      const uint8_t high = refuse ? 0x80 : 0, low = refuse ? 0x06 : 0;
      reply({high, low, 0, 5, 0, 0, request[6], request[7]});
    });
    const auto system = System::Create();
    const auto interface = system->OpenInterface("lo");
    EXPECT_EQ(Guard([&] {
                interface->ForceIp({0xA1B2C3D4E5F6, 0x0A000001, 0xFFFFFF00, 0x0A0000FE});
              }),
              refuse ? GC_ERR_ACCESS_DENIED : GC_ERR_SUCCESS);
    system->Close();
  }
  ASSERT_EQ(seen.size(), 64u);
  EXPECT_EQ(seen[3], 0x04);
  EXPECT_EQ(Long(seen, 8), 0x0000A1B2u);
  EXPECT_EQ(Long(seen, 12), 0xC3D4E5F6u);
  EXPECT_EQ(Long(seen, 8 + 20), 0x0A000001u);
  EXPECT_EQ(Long(seen, 8 + 36), 0xFFFFFF00u);
  EXPECT_EQ(Long(seen, 8 + 52), 0x0A0000FEu);
}

// ---- the description's place ----

struct UrlCase {
  const char* text;
  const char* url;
  uint64_t address, size;
  int schemaMinor, fileMinor;
};

class DescriptionUrl : public ::testing::TestWithParam<UrlCase> {};

TEST_P(DescriptionUrl, IsPassedOnInTheFormThatConsumersParse) {
  ScriptedCamera simple(sk_address);
  simple.SetText(0x200, GetParam().text);
  const auto channel = std::make_shared<ControlChannel>(0x7F000001, sk_ip);
  RemotePort port(channel, {}, true);
  const PortUrl url = port.Urls().at(0);
  EXPECT_EQ(url.url, GetParam().url);
  EXPECT_EQ(url.address, GetParam().address);
  EXPECT_EQ(url.size, GetParam().size);
  EXPECT_EQ(url.schema[1], GetParam().schemaMinor);
  EXPECT_EQ(url.file[1], GetParam().fileMinor);
}

INSTANTIATE_TEST_SUITE_P(
    Forms, DescriptionUrl,
    testing::Values(UrlCase{"Local:Maker_Model_1_7_3.zip;A000;1F4C",
                            "local:Maker_Model_1_7_3.zip;A000;1F4C", 0xA000, 0x1F4C, 0, 7},
                    UrlCase{"LOCAL:x.xml; 0xF0000000 ;0x10?SchemaVersion=1.1.0",
                            "local:x.xml;F0000000;10", 0xF0000000, 0x10, 1, 0},
                    UrlCase{"local:///x.zip;ab;cd", "local:x.zip;AB;CD", 0xAB, 0xCD, 0, 0},
                    UrlCase{"http://example.com/x.xml", "http://example.com/x.xml", 0, 0, 0, 0}));

// ---- events ----

class MessageChannels : public ::testing::Test {
 protected:
  MessageChannels() : scripted(sk_address) { scripted.Set(0x0900, 1); }
  // Sends a command from the camera to the port that it was given; the answer, empty when none
  // came.
  Bytes Tell(const Bytes& command) {
    const UdpSocket& socket = m_socket;
    EXPECT_TRUE(const_cast<UdpSocket&>(socket).SendTo(
        command, {0x7F000001, static_cast<uint16_t>(scripted.Get(0x0B00))}));
    const int fd = socket.Fd();
    Bytes answer(600);
    if (!WaitReadable({&fd, 1}, Clock::now() + 500ms)) return {};
    answer.resize(m_socket.Receive(answer).value_or(0));
    return answer;
  }
  static Bytes Take(Event& event, uint64_t timeoutMs = 1000) {
    Bytes entry(sk_maxEventBytes);
    size_t size = entry.size();
    if (CodeOf([&] { event.GetData(entry.data(), &size, timeoutMs); }) != GC_ERR_SUCCESS) return {};
    entry.resize(size);
    return entry;
  }
  ScriptedCamera scripted;
  UdpSocket m_socket = UdpSocket::Bound({sk_ip, 0});
};

TEST_F(MessageChannels, EventsAreAcknowledgedDeliveredOnceAndOneByOne) {
  const auto system = System::Create();
  const auto interface = system->OpenInterface("lo");
  interface->AddUnicast(sk_ip);
  const auto device = interface->OpenDevice(sk_address, DEVICE_ACCESS_CONTROL);
  const auto event = device->RegisterEvent(EVENT_REMOTE_DEVICE);
  EXPECT_EQ(scripted.Get(0x0B10), 0x7F000001u);
  ASSERT_NE(scripted.Get(0x0B00), 0xDEADBEEFu);

  const Bytes data = {0x42, 0x01, 0x00, 0xC2, 0x00, 0x14, 0x00, 0x07,  // EVENTDATA, id 7
                      0x00, 0x00, 0x90, 0x02, 0xFF, 0xFF, 0x00, 0x05,
                      0,    0,    0,    0,    0,    0,    1,    2,  // 0x9002, block 5
                      0xCA, 0xFE, 0xBA, 0xBE};
  EXPECT_EQ(Tell(data), (Bytes{0, 0, 0, 0xC3, 0, 0, 0, 7}));
  EXPECT_EQ(Tell(data), (Bytes{0, 0, 0, 0xC3, 0, 0, 0, 7}));  // the acknowledge was lost: repeated
  EXPECT_EQ(Take(*event), data);
  EXPECT_TRUE(Take(*event, 50).empty());
  INFO_DATATYPE type;
  char id[8];
  size_t size = sizeof id;
  event->GetDataInfo(data, EVENT_DATA_ID, InfoQuery(&type, id, &size));
  EXPECT_STREQ(id, "9002");
  uint8_t value[64];
  size = sizeof value;
  event->GetDataInfo(data, EVENT_DATA_VALUE, InfoQuery(&type, value, &size));
  EXPECT_EQ(Bytes(value, value + size), Bytes(data.begin() + 8, data.end()));

  Bytes two = {0x42, 0x00, 0x00, 0xC0,
               0x00, 0x20, 0x00, 0x08};  // EVENT with two items, no acknowledge wanted
  for (const uint8_t last : {uint8_t{0x10}, uint8_t{0x11}}) {
    const Bytes item = {0, 0, 0x90, last, 0xFF, 0xFF, 0, 0, 0, 0, 0, 0, 0, 0, 0, last};
    for (const uint8_t byte : item) two.push_back(byte);
  }
  EXPECT_TRUE(Tell(two).empty());
  for (const uint8_t last : {uint8_t{0x10}, uint8_t{0x11}}) {
    const Bytes entry = Take(*event);
    ASSERT_EQ(entry.size(), 24u);
    EXPECT_EQ(entry[11], last);
    EXPECT_EQ(entry[5], 16);
  }
  // Noise is neither answered nor delivered.
  EXPECT_TRUE(Tell({0x42, 0x01, 0x00}).empty());
  EXPECT_TRUE(Tell({0x42, 0x01, 0x00, 0xC0, 0x00, 0x10, 0x00, 0x09}).empty());
  EXPECT_TRUE(Take(*event, 50).empty());
  device->UnregisterEvent(EVENT_REMOTE_DEVICE);
  EXPECT_EQ(scripted.Get(0x0B00), 0u);
  system->Close();
  EXPECT_EQ(scripted.Get(0x0A00), 0u);  // control was given back
}

TEST_F(MessageChannels, ACameraWithoutOneSaysSo) {
  scripted.Set(0x0900, 0);
  const auto system = System::Create();
  const auto interface = system->OpenInterface("lo");
  interface->AddUnicast(sk_ip);
  const auto device =
      interface->OpenDevice("left camera", DEVICE_ACCESS_CONTROL);  // by its user-defined name
  EXPECT_EQ(CodeOf([&] { device->RegisterEvent(EVENT_REMOTE_DEVICE); }), GC_ERR_NOT_AVAILABLE);
  system->Close();
}

}  // namespace
}  // namespace OrvexGev
