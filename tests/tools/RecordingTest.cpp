// SPDX-License-Identifier: Apache-2.0
// Recordings: what was written is read again, from files cut off and damaged anywhere; a slow disk
// costs frames, not memory; a full one is told.
#include <gmock/gmock.h>

#include <condition_variable>
#include <mutex>

#include "MemoryBytes.h"
#include "tools/Failure.h"
#include "tools/recording/Crc32c.h"
#include "tools/recording/Limits.h"
#include "tools/recording/RecordingReader.h"
#include "tools/recording/RecordingWriter.h"

namespace OrvexTools {
namespace {

using Bytes = std::vector<std::uint8_t>;

// A disk that stands still until it is let go, and may break.
class TestDisk final : public ByteSink {
 public:
  struct State {
    std::mutex mutex;
    std::condition_variable changed;
    bool open = true;
    int error = 0;
    Bytes bytes;
    std::size_t largestWrite = 0;
    bool aligned = true;  // all writes but the last

    void LetGo() {
      const std::lock_guard lock(mutex);
      open = true;
      changed.notify_all();
    }
  };
  explicit TestDisk(State& state) : m_state(state) {}

  int Write(std::span<const std::uint8_t> bytes) override {
    std::unique_lock lock(m_state.mutex);
    m_state.changed.wait(lock, [this] { return m_state.open; });
    if (m_state.error != 0) return m_state.error;
    m_state.aligned = m_state.aligned && m_state.bytes.size() % sk_ringAlignment == 0 &&
                      reinterpret_cast<std::uintptr_t>(bytes.data()) % sk_ringAlignment == 0;
    m_state.largestWrite = std::max(m_state.largestWrite, bytes.size());
    m_state.bytes.insert(m_state.bytes.end(), bytes.begin(), bytes.end());
    return 0;
  }
  int Finish() override { return m_state.error; }

 private:
  State& m_state;
};

// Content and facts that tell which frame it is.
Bytes DataOf(std::uint64_t id, std::size_t size) {
  Bytes data(size);
  for (std::size_t i = 0; i < size; ++i) data[i] = static_cast<std::uint8_t>(i * 7 + id * 13);
  return data;
}

FrameFacts FactsOf(std::uint64_t id, std::size_t size) {
  FrameFacts facts;
  facts.frameId = id;
  facts.timestampNs = id * 1'000'000;
  facts.pixelFormat = 0x01080001;
  facts.width = static_cast<std::uint32_t>(size);
  facts.height = 1;
  facts.paddingY = 3;
  facts.imageBytes = size;
  facts.incomplete = id % 2 == 1;
  return facts;
}

Bytes Written(const std::vector<std::size_t>& sizes) {
  TestDisk::State disk;
  RecordingWriter writer(std::make_unique<TestDisk>(disk), "file", "{\"model\": \"M\"}", 4 << 20);
  for (std::size_t i = 0; i < sizes.size(); ++i)
    EXPECT_TRUE(writer.Add(FactsOf(i, sizes[i]), DataOf(i, sizes[i])));
  writer.Close();
  return disk.bytes;
}

RecordingReader Opened(Bytes bytes) {
  return RecordingReader(std::make_unique<OrvexTest::MemoryBytes>(std::move(bytes)), "file");
}

// True when that frame is there and as it was written.
bool Holds(RecordingReader& reader, std::size_t index) {
  Bytes data;
  const auto header = reader.Frame(index, data);
  if (!header) return false;
  const FrameFacts& facts = header->frame;
  EXPECT_EQ(data, DataOf(facts.frameId, data.size()));
  EXPECT_EQ(facts.timestampNs, facts.frameId * 1'000'000);
  EXPECT_EQ(facts.width, data.size());
  EXPECT_EQ(facts.incomplete, facts.frameId % 2 == 1);
  EXPECT_EQ(facts.paddingY, 3U);
  return true;
}

// The check value of the polynomial's catalogue, and both ways alike for every length and place.
TEST(Crc32c, IsTheSameByInstructionAndByTable) {
  const Bytes digits = {'1', '2', '3', '4', '5', '6', '7', '8', '9'};
  EXPECT_EQ(Crc32c(digits), 0xE3069283U);
  EXPECT_EQ(Crc32cByTable(digits), 0xE3069283U);
  const Bytes data = DataOf(1, 300);
  for (std::size_t begin = 0; begin < 9; ++begin) {
    for (std::size_t size = 0; size < 64; ++size) {
      const auto part = std::span(data).subspan(begin, size);
      EXPECT_EQ(Crc32c(part), Crc32cByTable(part));
      EXPECT_EQ(Crc32c(part.subspan(size / 3), Crc32c(part.first(size / 3))), Crc32c(part));
    }
  }
}

TEST(Recording, GivesBackWhatWasWritten) {
  RecordingReader reader = Opened(Written({100, 0, 7, 4096}));
  EXPECT_TRUE(reader.IsWhole());
  EXPECT_EQ(reader.Camera(), "{\"model\": \"M\"}");
  ASSERT_EQ(reader.Count(), 4U);
  for (std::size_t i = 0; i < 4; ++i) EXPECT_TRUE(Holds(reader, i)) << i;
}

TEST(Recording, CutOffAtAnyByteGivesEveryFrameBeforeTheCut) {
  const std::vector<std::size_t> sizes = {100, 0, 33, 64};
  const Bytes whole = Written(sizes);
  std::vector<std::size_t> ends;
  std::size_t end = sk_fileHeadSize + sk_recordHeaderSize + Padded(14);
  // The padding of a frame does not belong to it.
  for (const std::size_t size : sizes) {
    ends.push_back(end + sk_recordHeaderSize + size);
    end += sk_recordHeaderSize + Padded(size);
  }
  for (std::size_t length = 0; length < whole.size(); ++length) {
    const Bytes part(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
    if (length < sk_fileHeadSize) {
      EXPECT_THROW(Opened(part), Failure) << length;
      continue;
    }
    RecordingReader reader = Opened(part);
    EXPECT_FALSE(reader.IsWhole());
    const auto before = std::count_if(ends.begin(), ends.end(),
                                      [length](std::size_t each) { return each <= length; });
    ASSERT_EQ(reader.Count(), static_cast<std::size_t>(before)) << length;
    for (std::size_t i = 0; i < reader.Count(); ++i) ASSERT_TRUE(Holds(reader, i)) << length;
  }
}

// One wrong byte costs at most the frame that it is in, and is noticed.
TEST(Recording, AWrongByteAnywhereCostsAtMostOneFrame) {
  const Bytes whole = Written({40, 24, 56});
  for (std::size_t at = sk_fileHeadSize; at < whole.size(); ++at) {
    Bytes damaged = whole;
    damaged[at] ^= 0x40;
    RecordingReader reader = Opened(damaged);
    std::size_t good = 0;
    for (std::size_t i = 0; i < reader.Count(); ++i) good += Holds(reader, i) ? 1 : 0;
    EXPECT_GE(good, 2U) << at;
    // Reserved bytes and padding are covered by the header's checksum or by none.
    if (good == 3) {
      EXPECT_EQ(reader.Count(), 3U) << at;
    }
  }
}

TEST(Recording, WhatIsNoRecordingIsRefused) {
  EXPECT_THROW(Opened({}), Failure);
  EXPECT_THROW(Opened(Bytes(1000, 0)), Failure);
  EXPECT_THROW(RecordingReader(std::filesystem::path("/nowhere/a.rec")), Failure);
  EXPECT_THROW(RecordingReader(std::filesystem::path("/tmp")), Failure);
}

// An index with fitting checksums that points nowhere, or back, is not believed.
TEST(Recording, AnIndexThatLiesIsNotBelieved) {
  for (const std::vector<std::uint64_t>& places :
       {std::vector<std::uint64_t>{200, 200}, {1 << 20, 2 << 20}, {0, 8}}) {
    Bytes bytes = Written({16});
    // In place of index and tail: ones made by hand.
    const std::size_t frames = sk_fileHeadSize + 2 * sk_recordHeaderSize + Padded(14) + 16;
    bytes.resize(frames);
    RecordHeader header;
    header.type = RecordType::Index;
    Bytes index(16);
    PutU64(&index[0], places[0]);
    PutU64(&index[8], places[1]);
    header.payloadBytes = index.size();
    header.payloadCrc = Crc32c(index);
    const auto append = [&bytes](auto&& more) {
      bytes.insert(bytes.end(), more.begin(), more.end());
    };
    append(EncodeHeader(header));
    append(index);
    append(EncodeTail({frames, 2}));
    RecordingReader reader = Opened(bytes);
    EXPECT_FALSE(reader.IsWhole());
    ASSERT_EQ(reader.Count(), 1U);
    EXPECT_TRUE(Holds(reader, 0));
  }
}

TEST(RecordingWriter, WritesLargeAlignedBlocksAroundTheRing) {
  TestDisk::State disk;
  disk.open = false;
  RecordingWriter writer(std::make_unique<TestDisk>(disk), "file", "{}", 4 << 20);
  constexpr std::size_t sk_size = 300'001;
  std::size_t added = 0;
  for (; added < 6; ++added)
    ASSERT_TRUE(writer.Add(FactsOf(added, sk_size), DataOf(added, sk_size)));
  disk.LetGo();
  // Three times around; a frame that finds no room yet is offered again.
  while (added < 40) {
    if (writer.Add(FactsOf(added, sk_size), DataOf(added, sk_size))) ++added;
  }
  writer.Close();
  EXPECT_TRUE(disk.aligned);
  EXPECT_GE(disk.largestWrite, sk_leastWrite);
  RecordingReader reader = Opened(disk.bytes);
  ASSERT_EQ(reader.Count(), 40U);
  for (std::size_t i = 0; i < 40; ++i) EXPECT_TRUE(Holds(reader, i)) << i;
}

TEST(RecordingWriter, ADiskThatStandsStillCostsFramesNotMemory) {
  TestDisk::State disk;
  disk.open = false;
  constexpr std::size_t sk_ring = 4 << 20;
  constexpr std::size_t sk_size = 1 << 20;
  RecordingWriter writer(std::make_unique<TestDisk>(disk), "file", "{}", sk_ring);
  std::size_t taken = 0;
  for (std::uint64_t i = 0; i < 10; ++i)
    taken += writer.Add(FactsOf(i, sk_size), DataOf(i, sk_size)) ? 1 : 0;
  EXPECT_EQ(taken, 3U) << "three frames, their headers and the head of the file";
  EXPECT_EQ(writer.Frames(), 3U);
  EXPECT_EQ(writer.Dropped(), 7U);
  EXPECT_LE(writer.HighestFill(), sk_ring);
  disk.LetGo();
  while (!writer.Add(FactsOf(10, sk_size), DataOf(10, sk_size))) continue;
  writer.Close();
  RecordingReader reader = Opened(disk.bytes);
  ASSERT_EQ(reader.Count(), 4U);
  for (std::size_t i = 0; i < 4; ++i) EXPECT_TRUE(Holds(reader, i));
  EXPECT_GE(reader.Header(3)->frame.droppedBefore, 7U) << "later readers see the gap";
}

TEST(RecordingWriter, AFullDiskIsToldAndEndsTheRecording) {
  TestDisk::State disk;
  disk.error = ENOSPC;
  RecordingWriter writer(std::make_unique<TestDisk>(disk), "/data/a.rec", "{}", 4 << 20);
  while (!writer.HasFailed()) writer.Add(FactsOf(1, 1000), DataOf(1, 1000));
  EXPECT_FALSE(writer.Add(FactsOf(2, 10), DataOf(2, 10)));
  try {
    writer.Close();
    FAIL();
  } catch (const Failure& failure) {
    EXPECT_THAT(failure.what(), testing::HasSubstr("/data/a.rec: No space left on device; free"));
  }
}

TEST(RecordingWriter, LeavesAReadableFileWhenItIsNotClosed) {
  TestDisk::State disk;
  {
    RecordingWriter writer(std::make_unique<TestDisk>(disk), "file", "{}", 4 << 20);
    writer.Add(FactsOf(5, 500), DataOf(5, 500));
  }
  RecordingReader reader = Opened(disk.bytes);
  EXPECT_FALSE(reader.IsWhole());
  ASSERT_EQ(reader.Count(), 1U);
  EXPECT_TRUE(Holds(reader, 0));
}

}  // namespace
}  // namespace OrvexTools
