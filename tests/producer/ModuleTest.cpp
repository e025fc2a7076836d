// SPDX-License-Identifier: Apache-2.0
// What modules are made of: feature rows as registers and XML, events, buffer queues.
#include <gtest/gtest.h>

#include <regex>
#include <thread>

#include "producer/Event.h"
#include "producer/FeatureTable.h"
#include "producer/Limits.h"
#include "producer/Module.h"
#include "producer/StreamBuffer.h"

namespace OrvexGev {
namespace {

using namespace GenTL;
using Bytes = std::vector<uint8_t>;

GC_ERROR CodeOf(const std::function<void()>& body) {
  return Guard(body);
}

class Features : public ::testing::Test {
 protected:
  Features() : table("Bench", "BenchPort") {
    table.Add(Feature::Integer(
                  "Plain", [this] { return value; }, [this](int64_t v) { value = v; })
                  .In("Numbers")
                  .Range(-4, 100, 4));
    table.Add(Feature::Integer(
                  "Selector", [this] { return selected; }, [this](int64_t v) { selected = v; })
                  .In("Numbers")
                  .Max([this] { return most; }));
    table.Add(Feature::String(
                  "Text", [this] { return text; }, [this](const std::string& v) { text = v; })
                  .In("Texts")
                  .SelectedBy("Selector"));
    table.Add(Feature::Enumeration(
                  "Mode", {{"Off", 0}, {"On", 7}}, [this] { return mode; },
                  [this](int64_t v) { mode = v; })
                  .In("Numbers"));
    table.Add(Feature::Float(
                  "Real", [this] { return real; }, [this](double v) { real = v; })
                  .In("Numbers")
                  .FloatRange(0, 1));
    table.Add(Feature::Command("Run", [this] { ++runs; }).In("Numbers"));
    table.Add(Feature::Integer("Fixed", [] { return int64_t{-2}; })
                  .In("Numbers")
                  .Constant()
                  .Tip("a < b & \"c\""));
    table.Finish();
  }
  template <typename T>
  T Read(const char* name) const {
    T result{};
    table.Read(table.AddressOf(name), {reinterpret_cast<uint8_t*>(&result), sizeof result});
    return result;
  }
  template <typename T>
  GC_ERROR Write(const char* name, T v) {
    return CodeOf([&] {
      table.Write(table.AddressOf(name), {reinterpret_cast<const uint8_t*>(&v), sizeof v});
    });
  }
  // The address that the XML gives to the register of a feature.
  uint64_t XmlAddress(const std::string& node) const {
    const size_t at = table.Xml().find("Name=\"" + node + "\"");
    return std::stoull(table.Xml().substr(table.Xml().find("<Address>", at) + 9), nullptr, 16);
  }

  int64_t value = 8, selected = 0, most = 3, mode = 7;
  double real = 0.25;
  std::string text = "hello";
  int runs = 0;
  FeatureTable table;
};

TEST_F(Features, XmlAndRegistersAgreeOnEveryAddress) {
  for (const char* name : {"Plain", "Selector", "SelectorMax", "Mode", "Run", "Fixed", "Real"}) {
    EXPECT_EQ(XmlAddress(std::string(name) + "Reg"), table.AddressOf(name)) << name;
  }
  EXPECT_EQ(XmlAddress("Text"), table.AddressOf("Text"));
  EXPECT_NE(table.Xml().find("<pSelected>Text</pSelected>"), std::string::npos);
  EXPECT_NE(table.Xml().find("a &lt; b &amp; &quot;c&quot;"), std::string::npos);
  EXPECT_NE(table.Xml().find("<pMax>SelectorMax</pMax>"), std::string::npos);
}

TEST_F(Features, RegistersReadAndWriteWhatTheRowsSay) {
  EXPECT_EQ(Read<int64_t>("Plain"), 8);
  EXPECT_EQ(Read<int64_t>("Fixed"), -2);
  EXPECT_EQ(Read<int64_t>("Mode"), 7);
  EXPECT_EQ(Read<double>("Real"), 0.25);
  EXPECT_EQ((Read<std::array<char, 6>>("Text")), (std::array<char, 6>{'h', 'e', 'l', 'l', 'o', 0}));
  EXPECT_EQ(Write("Plain", int64_t{-4}), GC_ERR_SUCCESS);
  EXPECT_EQ(value, -4);
  EXPECT_EQ((Write("Text", std::array<char, 3>{'a', 'b', 'c'})), GC_ERR_SUCCESS);
  EXPECT_EQ(text, "abc");
  EXPECT_EQ(Write("Run", int64_t{1}), GC_ERR_SUCCESS);
  EXPECT_EQ(Write("Run", int64_t{0}), GC_ERR_SUCCESS);
  EXPECT_EQ(runs, 1);
  EXPECT_EQ(Read<int64_t>("Run"), 0);
}

TEST_F(Features, WritesOutsideTheRowsAreRefusedAndChangeNothing) {
  EXPECT_EQ(Write("Plain", int64_t{104}), GC_ERR_INVALID_VALUE);
  EXPECT_EQ(Write("Plain", int64_t{6}), GC_ERR_INVALID_VALUE);  // not on the increment
  EXPECT_EQ(Write("Mode", int64_t{1}), GC_ERR_INVALID_VALUE);
  EXPECT_EQ(Write("Real", 1.5), GC_ERR_INVALID_VALUE);
  EXPECT_EQ(Write("Fixed", int64_t{1}), GC_ERR_ACCESS_DENIED);
  EXPECT_EQ(Write("Selector", int64_t{4}), GC_ERR_INVALID_VALUE);
  most = 4;
  EXPECT_EQ(Write("Selector", int64_t{4}), GC_ERR_SUCCESS);
  EXPECT_EQ(value, 8);
  EXPECT_EQ(mode, 7);
  EXPECT_EQ(real, 0.25);
}

TEST_F(Features, PartsOfRegistersCanBeReadAndWritten) {
  value = 0x0102030405060708;
  Bytes part(3);
  table.Read(table.AddressOf("Plain") + 2, part);
  EXPECT_EQ(part, (Bytes{0x06, 0x05, 0x04}));
  selected = 0;
  most = 0x1000;
  const Bytes one{0x01};
  EXPECT_EQ(CodeOf([&] { table.Write(table.AddressOf("Selector") + 1, one); }), GC_ERR_SUCCESS);
  EXPECT_EQ(selected, 0x100);
  EXPECT_EQ(CodeOf([&] { table.Read(0, part); }), GC_ERR_INVALID_ADDRESS);
  EXPECT_EQ(CodeOf([&] { table.Read(table.AddressOf("Plain") + 8, part); }),
            GC_ERR_INVALID_ADDRESS);
  EXPECT_EQ(CodeOf([&] { table.Read(UINT64_MAX - 1, part); }), GC_ERR_INVALID_ADDRESS);
}

// ---- events ----

class Bench final : public Module {
 public:
  Bench() : Module(Kind::System, nullptr) {}
  ~Bench() override { UnregisterAllEvents(); }
};

struct Waiter {
  explicit Waiter(std::shared_ptr<Event> event, uint64_t timeout = GENTL_INFINITE)
      : thread([this, event, timeout] {
          Bytes data(sk_maxEventBytes);
          size_t size = data.size();
          code = Guard([&] { event->GetData(data.data(), &size, timeout); });
          done = true;
        }) {}
  ~Waiter() { thread.join(); }
  std::atomic<bool> done{false};
  std::atomic<GC_ERROR> code{1};
  std::thread thread;
};

TEST(Events, AKillEndsExactlyOneWait) {
  Bench bench;
  const auto event = bench.RegisterEvent(EVENT_ERROR);
  auto first = std::make_unique<Waiter>(event), second = std::make_unique<Waiter>(event);
  event->Kill();
  while (!first->done && !second->done) std::this_thread::yield();
  // The other one still waits: it is what takes the entry.
  bench.FireError(GC_ERR_IO, "gone");
  first->thread.join();
  second->thread.join();
  first->thread = std::thread([] {});
  second->thread = std::thread([] {});
  EXPECT_EQ((first->code == GC_ERR_ABORT) + (second->code == GC_ERR_ABORT), 1);
  EXPECT_EQ((first->code == GC_ERR_SUCCESS) + (second->code == GC_ERR_SUCCESS), 1);
}

TEST(Events, AKillOutranksDataAndLeavesIt) {
  Bench bench;
  const auto event = bench.RegisterEvent(EVENT_MODULE);
  bench.FireModule(0x9001);
  event->Kill();
  Bytes data(64);
  size_t size = data.size();
  EXPECT_EQ(CodeOf([&] { event->GetData(data.data(), &size, 0); }), GC_ERR_ABORT);
  EXPECT_EQ(CodeOf([&] { event->GetData(data.data(), &size, 0); }), GC_ERR_SUCCESS);
  INFO_DATATYPE type;
  char id[8];
  size_t idSize = sizeof id;
  event->GetDataInfo(std::span(data).first(size), EVENT_DATA_ID, InfoQuery(&type, id, &idSize));
  EXPECT_STREQ(id, "9001");
}

TEST(Events, UnregisteringEndsEveryWait) {
  Bench bench;
  const auto event = bench.RegisterEvent(EVENT_ERROR);
  std::vector<std::unique_ptr<Waiter>> waiters;
  for (int i = 0; i < 3; ++i) waiters.push_back(std::make_unique<Waiter>(event));
  bench.UnregisterEvent(EVENT_ERROR);
  for (const auto& waiter : waiters) {
    while (!waiter->done) std::this_thread::yield();
    EXPECT_EQ(waiter->code, GC_ERR_ABORT);
  }
}

TEST(Events, KeepTheNewestEntriesWhenNobodyFetchesThem) {
  Bench bench;
  const auto event = bench.RegisterEvent(EVENT_ERROR);
  for (size_t i = 0; i < sk_maxQueuedEvents + 5; ++i)
    bench.FireError(GC_ERR_IO, "event " + std::to_string(i));
  Bytes data(sk_maxEventBytes);
  size_t size = 2;
  EXPECT_EQ(CodeOf([&] { event->GetData(data.data(), &size, 0); }), GC_ERR_BUFFER_TOO_SMALL);
  size = data.size();
  event->GetData(data.data(), &size, 0);
  INFO_DATATYPE type;
  char text[64];
  size_t length = sizeof text;
  event->GetDataInfo(std::span(data).first(size), EVENT_DATA_VALUE,
                     InfoQuery(&type, text, &length));
  EXPECT_STREQ(text, "event 5");
  event->Flush();
  EXPECT_EQ(CodeOf([&] { event->GetData(data.data(), &size, 0); }), GC_ERR_TIMEOUT);
}

// ---- buffers ----

TEST(Buffers, ChunksAreWalkedFromTheEndAndListedFromTheStart) {
  // Two chunks laid out by hand: data, id, length.
  Bytes memory{1, 2, 3, 4, 5, 6,    7,    8, 0, 0, 0, 1, 0, 0,    0,
               8, 9, 9, 9, 9, 0xCD, 0xEF, 0, 2, 0, 0, 0, 4, 0xFF, 0xFF};
  StreamBuffer buffer(nullptr, memory.data(), memory.size(), nullptr);
  buffer.frame.newData = true;
  buffer.frame.chunkSize = memory.size() - 2;
  SINGLE_CHUNK_DATA chunks[4];
  size_t count = 1;
  EXPECT_EQ(CodeOf([&] { buffer.Chunks(chunks, &count); }), GC_ERR_BUFFER_TOO_SMALL);
  buffer.Chunks(nullptr, &count);
  EXPECT_EQ(count, 2u);
  count = 4;
  buffer.Chunks(chunks, &count);
  ASSERT_EQ(count, 2u);
  EXPECT_EQ(chunks[0].ChunkID, 1u);
  EXPECT_EQ(chunks[0].ChunkOffset, 0);
  EXPECT_EQ(chunks[0].ChunkLength, 8u);
  EXPECT_EQ(chunks[1].ChunkID, 0xCDEF0002u);
  EXPECT_EQ(chunks[1].ChunkOffset, 16);
  EXPECT_EQ(chunks[1].ChunkLength, 4u);
  memory[27] = 200;  // a length beyond the buffer's start
  EXPECT_EQ(CodeOf([&] { buffer.Chunks(chunks, &count); }), GC_ERR_PARSING_CHUNK_DATA);
  buffer.frame.chunkSize = memory.size() + 1;
  EXPECT_EQ(CodeOf([&] { buffer.Chunks(chunks, &count); }), GC_ERR_PARSING_CHUNK_DATA);
}

TEST(Buffers, PayloadTypesAreTranslated) {
  const std::pair<uint16_t, uint64_t> rows[] = {
      {0x0001, 1}, {0x4001, 16385}, {0x0005, 16385}, {0x0002, 2},  {0x0003, 3},  {0x0004, 4},
      {0x0006, 5}, {0x0007, 6},     {0x0008, 7},     {0x000A, 10}, {0x000B, 11}, {0x8123, 9}};
  for (const auto& [wire, gentl] : rows) EXPECT_EQ(GenTlPayloadType(wire), gentl) << wire;
}

TEST(Buffers, CompressedPixelFormatsAreCompressedImages) {
  EXPECT_EQ(GenTlPayloadType(0x0001, 0x82180A01), 1001u);  // QOI_RGB8
  EXPECT_EQ(GenTlPayloadType(0x4001, 0x81080B00), 1002u);  // QOI_BayerGR8 with chunks
  EXPECT_EQ(GenTlPayloadType(0x0001, 0x810800BF), 1u);     // a custom format that is not compressed
  EXPECT_EQ(GenTlPayloadType(0x0001, 0x01080A00), 1u);
}

TEST(Buffers, TimestampsBecomeNanosecondsWithoutOverflow) {
  StreamBuffer buffer(nullptr, nullptr, 100, nullptr);
  const struct {
    uint64_t ticks, frequency, nanoseconds;
  } rows[] = {{125000000, 125000000, 1000000000},
              {1, 125000000, 8},
              {0x7FFFFFFFFFFFFFFF, 1000000000, 0x7FFFFFFFFFFFFFFF},
              {10000000000000000, 1000000, 10000000000000000000u}};
  for (const auto& row : rows) {
    buffer.frame.timestamp = row.ticks;
    INFO_DATATYPE type;
    uint64_t value = 0;
    size_t size = sizeof value;
    buffer.Info(BUFFER_INFO_TIMESTAMP_NS, InfoQuery(&type, &value, &size), row.frequency);
    EXPECT_EQ(value, row.nanoseconds);
  }
}

}  // namespace
}  // namespace OrvexGev
