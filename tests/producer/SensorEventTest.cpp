// SPDX-License-Identifier: Apache-2.0
// Words of event sensors, the frames made of them, and what the producer learns from a description.
// Words and files are laid out by hand.
#include <gtest/gtest.h>
#include <zlib.h>

#include "producer/CameraTraits.h"
#include "producer/EventFrames.h"

namespace OrvexGev {
namespace {

using Bytes = std::vector<uint8_t>;

Bytes Words(std::initializer_list<uint16_t> words) {
  Bytes out;
  for (const uint16_t word : words) {
    out.push_back(static_cast<uint8_t>(word));
    out.push_back(static_cast<uint8_t>(word >> 8));
  }
  return out;
}

struct Collector final : Evt3Sink {
  void OnEvent(const SensorEvent& event) override { events.push_back(event); }
  void OnTrigger(const SensorTrigger& trigger) override { triggers.push_back(trigger); }
  std::vector<SensorEvent> events;
  std::vector<SensorTrigger> triggers;
};

TEST(Evt3, ReadsSingleEventsWithTimePlaceAndPolarity) {
  Evt3Decoder decoder;
  Collector seen;
  decoder.Decode(Words({0x8001, 0x6002, 0x0803 /* slave bit set: y is 3 */, 0x2805, 0x2006}), seen);
  ASSERT_EQ(seen.events.size(), 2u);
  EXPECT_EQ(seen.events[0].x, 5);
  EXPECT_EQ(seen.events[0].y, 3);
  EXPECT_TRUE(seen.events[0].on);
  EXPECT_EQ(seen.events[0].time, 0x1002u);
  EXPECT_EQ(seen.events[1].x, 6);
  EXPECT_FALSE(seen.events[1].on);
}

TEST(Evt3, ReadsVectorsAndMovesTheBaseOverEmptyOnes) {
  Evt3Decoder decoder;
  Collector seen;
  decoder.Decode(Words({0x8000, 0x6000, 0x0001, 0x380A, 0x4801, 0x4000, 0x5F81}), seen);
  ASSERT_EQ(seen.events.size(), 4u);
  EXPECT_EQ(seen.events[0].x, 10);       // bit 0 of the first twelve
  EXPECT_EQ(seen.events[1].x, 10 + 11);  // bit 11
  EXPECT_EQ(seen.events[2].x, 10 + 24);  // behind twelve without events
  EXPECT_EQ(seen.events[3].x, 10 + 31);  // the upper bits of a word of eight do not count
  EXPECT_TRUE(seen.events[3].on);
}

TEST(Evt3, SaysNothingBeforeTimeRowAndBaseAreKnown) {
  Evt3Decoder decoder;
  Collector seen;
  decoder.Decode(Words({0x2001, 0xA001}), seen);  // neither time nor row
  decoder.Decode(Words({0x8001, 0x2001}), seen);  // no row
  decoder.Decode(Words({0x0001, 0x4FFF}), seen);  // no base
  EXPECT_TRUE(seen.events.empty());
  EXPECT_TRUE(seen.triggers.empty());
  decoder.Decode(Words({0x2001}), seen);
  EXPECT_EQ(seen.events.size(), 1u);
  decoder.Resynchronise();
  decoder.Decode(Words({0x2001}), seen);
  EXPECT_EQ(seen.events.size(), 1u);
}

TEST(Evt3, CountsTimeOnOverItsWrapAndNotOverDisorder) {
  Evt3Decoder decoder;
  Collector seen;
  decoder.Decode(
      Words({0x0001, 0x8FFF, 0x6123, 0x2001, 0x8FFE, 0x2001, 0x8000, 0x2001, 0x6001, 0x2001}),
      seen);
  ASSERT_EQ(seen.events.size(), 4u);
  EXPECT_EQ(seen.events[0].time, 0xFFF123u);
  EXPECT_EQ(seen.events[1].time, 0xFFF123u);   // one step back is disorder
  EXPECT_EQ(seen.events[2].time, 0x1000000u);  // the old low part is not taken along
  EXPECT_EQ(seen.events[3].time, 0x1000001u);
}

TEST(Evt3, DropsWhatLiesOutsideTheSensorAndSkipsOtherWords) {
  Evt3Decoder decoder;
  decoder.SetGeometry(100, 50);
  Collector seen;
  decoder.Decode(Words({0x8000, 0x0031, 0x2063, 0x2064, 0x0032, 0x2001, 0x1FFF, 0xE018, 0xF123,
                        0x7001, 0x0000, 0x2000}),
                 seen);
  EXPECT_EQ(seen.events.size(), 2u);
  EXPECT_EQ(decoder.Dropped(), 2u);
  Bytes odd = Words({0x2001});
  odd.push_back(0x20);
  decoder.Decode(odd, seen);
  EXPECT_EQ(seen.events.size(), 3u);
}

class Frames : public ::testing::Test {
 protected:
  FrameInfo Convert(EvsFormat format, EvsDepth depth = EvsDepth::Bits8) {
    EventFrames frames({format, depth, 4, 2},
                       [this](const SensorTrigger& trigger) { triggers.push_back(trigger); });
    FrameInfo info;
    info.blockId = 1;
    frames.Convert(words, target, info);
    return info;
  }
  // A trigger, a brighter event at (1, 0) and a darker one at (3, 1).
  const Bytes words = Words({0x8000, 0x6007, 0xA301, 0x0000, 0x2801, 0x0001, 0x2003});
  Bytes target = Bytes(64, 0xEE);
  std::vector<SensorTrigger> triggers;
};

TEST_F(Frames, EventListsHoldSixteenBytesAnEvent) {
  const FrameInfo info = Convert(EvsFormat::Xytp);
  EXPECT_EQ(info.filled, 32u);
  EXPECT_EQ(Bytes(target.begin(), target.begin() + 16),
            (Bytes{1, 0, 0, 0, 7, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0}));
  EXPECT_EQ(Bytes(target.begin() + 16, target.begin() + 32),
            (Bytes{3, 0, 1, 0, 7, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(target[32], 0xEE);
  target.resize(20);
  EXPECT_TRUE(Convert(EvsFormat::Xytp).largerThanBuffer);
}

TEST_F(Frames, ChangeFramesShowTheLastEventOfEachPixel) {
  const FrameInfo grey = Convert(EvsFormat::ChangeFrame);
  EXPECT_EQ(grey.filled, 8u);
  EXPECT_EQ(grey.width, 4u);
  EXPECT_EQ(grey.height, 2u);
  EXPECT_EQ(Bytes(target.begin(), target.begin() + 8),
            (Bytes{128, 255, 128, 128, 128, 128, 128, 0}));
  EXPECT_EQ(target[8], 0xEE);
  const FrameInfo colour = Convert(EvsFormat::ChangeFrame, EvsDepth::Bits24);
  EXPECT_EQ(colour.filled, 24u);
  EXPECT_EQ(Bytes(target.begin() + 3, target.begin() + 6), (Bytes{255, 255, 255}));
  EXPECT_EQ(Bytes(target.begin() + 21, target.begin() + 24), (Bytes{0, 0, 255}));
  EXPECT_EQ(target[0], 0);
}

TEST_F(Frames, DecodedWordsAreTypeAndPayload) {
  const FrameInfo info = Convert(EvsFormat::RawDecoded);
  EXPECT_EQ(info.filled, words.size() * 2);
  EXPECT_EQ(Bytes(target.begin() + 8, target.begin() + 12),
            (Bytes{0x01, 0x03, 0x0A, 0x00}));  // the trigger's word
}

TEST_F(Frames, TriggersComeWithEveryFormat) {
  for (const EvsFormat format :
       {EvsFormat::RawEncoded, EvsFormat::RawDecoded, EvsFormat::Xytp, EvsFormat::ChangeFrame}) {
    triggers.clear();
    Convert(format);
    ASSERT_EQ(triggers.size(), 1u);
    EXPECT_EQ(triggers[0].channel, 3);
    EXPECT_TRUE(triggers[0].rising);
    EXPECT_EQ(triggers[0].time, 7u);
  }
}

// ---- descriptions ----

void Put(Bytes& out, uint32_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) out.push_back(static_cast<uint8_t>(value >> 8 * i));
}

// A zip archive's first member: the local header and the data, deflated or stored.
Bytes Zip(const std::string& text, bool deflated) {
  Bytes data(text.begin(), text.end());
  if (deflated) {
    uLongf size = compressBound(text.size());
    Bytes packed(size);
    compress2(packed.data(), &size, reinterpret_cast<const Bytef*>(text.data()), text.size(), 9);
    data.assign(packed.begin() + 2,
                packed.begin() + static_cast<ptrdiff_t>(size) - 4);  // without zlib's own frame
  }
  Bytes out{'P', 'K', 3, 4};
  Put(out, 20, 2);
  Put(out, 0, 2);
  Put(out, deflated ? 8 : 0, 2);
  Put(out, 0, 4);
  Put(out, 0, 4);
  Put(out, static_cast<uint32_t>(data.size()), 4);
  Put(out, static_cast<uint32_t>(text.size()), 4);
  Put(out, 5, 2);
  Put(out, 3, 2);
  for (const char c : {'x', '.', 'x', 'm', 'l', '?', '?', '?'})
    out.push_back(static_cast<uint8_t>(c));
  out.insert(out.end(), data.begin(), data.end());
  return out;
}

TEST(Traits, TellWhichStreamsACameraOffers) {
  const struct {
    const char* text;
    uint32_t streams;
  } rows[] = {{"<Integer Name=\"Width\"/>", 1},
              {"<Boolean Name=\"TCPEnable\"/>", 2},
              {"<Boolean Name=\"TCPEnable\"/><Enumeration "
               "Name=\"TransportStreamProtocol\"><EnumEntry Name=\"RDMA\"/>",
               3},
              {"<Enumeration Name=\"EventFormat\"/>", 4},
              {"<Enumeration Name=\"EventFormatOther\"/>", 1}};
  for (const auto& row : rows) {
    const std::string text = row.text;
    EXPECT_EQ(FindTraits(Bytes(text.begin(), text.end())).StreamCount(), row.streams) << text;
    EXPECT_EQ(FindTraits(Zip(text, true)).StreamCount(), row.streams) << text;
    EXPECT_EQ(FindTraits(Zip(text, false)).StreamCount(), row.streams) << text;
  }
}

TEST(Traits, OfBrokenFilesThereAreNone) {
  const Bytes whole = Zip("<Enumeration Name=\"EventFormat\"/>", true);
  for (size_t length = 0; length < whole.size(); ++length) {
    const Bytes cut(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(length));
    EXPECT_EQ(FindTraits(cut).StreamCount(), 1u) << length;
  }
  Bytes far = whole;
  far[28] = far[29] = 0xFF;  // an extra field that reaches beyond the file
  EXPECT_EQ(FindTraits(far).StreamCount(), 1u);
}

}  // namespace
}  // namespace OrvexGev
