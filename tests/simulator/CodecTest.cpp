// SPDX-License-Identifier: Apache-2.0
// Streams of the compressed and the event camera, read back by small decoders that follow the
// published rules.
#include <gtest/gtest.h>

#include <array>
#include <set>
#include <tuple>

#include "../gigevision/Hex.h"
#include "TestHost.h"
#include "simulator/EventModel.h"
#include "simulator/Evt3.h"
#include "simulator/Qoi.h"

using namespace OrvexSim;

namespace {

Bytes DecodeQoi(const Bytes& stream, size_t pixels) {
  Bytes out;
  std::array<std::array<uint8_t, 4>, 64> index{};
  std::array<uint8_t, 4> p{0, 0, 0, 255};
  size_t at = 14;
  while (out.size() < 3 * pixels) {
    const uint8_t tag = stream.at(at++);
    size_t count = 1;
    if (tag == 0xFE) {
      for (size_t c = 0; c < 3; ++c) p[c] = stream.at(at++);
    } else if (tag >> 6 == 0) {
      p = index[tag];
    } else if (tag >> 6 == 1) {
      for (size_t c = 0; c < 3; ++c)
        p[c] = static_cast<uint8_t>(p[c] + (tag >> (4 - 2 * c) & 3) - 2);
    } else if (tag >> 6 == 2) {
      const uint8_t more = stream.at(at++);
      const int green = (tag & 63) - 32;
      p[0] = static_cast<uint8_t>(p[0] + green + (more >> 4) - 8);
      p[1] = static_cast<uint8_t>(p[1] + green);
      p[2] = static_cast<uint8_t>(p[2] + green + (more & 15) - 8);
    } else {
      count = (tag & 63) + size_t{1};
    }
    index[(p[0] * 3 + p[1] * 5 + p[2] * 7 + p[3] * 11) % 64] = p;
    for (size_t i = 0; i < count; ++i) out.insert(out.end(), p.begin(), p.begin() + 3);
  }
  // Zeros behind the end bring a frame to a multiple of four bytes.
  Bytes end(stream.begin() + static_cast<ptrdiff_t>(at), stream.end());
  EXPECT_LT(end.size(), 12u);
  while (!end.empty() && end.back() == 0) end.pop_back();
  EXPECT_EQ(end, Hex("00000000 00000001"));
  return out;
}

TEST(Qoi, WritesTheChunksOfThePublishedFormat) {
  const Bytes pixels = Hex("000000 000000 010000 0A0B0C C80000 010000 000000");
  Bytes out;
  EncodeQoi(pixels, 7, 1, 3, out);
  EXPECT_EQ(out, Hex("716F6966 00000007 00000001 03 00"
                     "C1"         // twice the pixel before the first
                     "7A"         // one more red
                     "AB 69"      // 11 more green; red 2 below that, blue 1 above
                     "FE C80000"  // too far away for anything shorter
                     "38"         // seen before
                     "5A"         // one less red
                     "00000000 00000001"));
  EXPECT_EQ(DecodeQoi(out, 7), pixels);
}

TEST(Evt3, WritesWordsLowByteFirst) {
  Bytes out;
  Evt3Writer writer(out);
  writer.Begin();
  writer.Trigger(0x1234567, 0, true);
  writer.Run(0x1234567, 100, 5, 2, true);
  writer.Run(0x1234568, 100, 8, 22, false);
  writer.Run(0x1235000, 101, 8, 1, false);
  EXPECT_EQ(out, Hex("3482 6765 01A0"          // time high 0x234, low 0x567, trigger 0 rising
                     "6400 0528 0628"          // row 100, columns 5 and 6 brighter
                     "6865 0830 FF4F FF43"     // low 0x568, base 8 darker, 12 and 10 pixels
                     "3582 0060 6500 0820"));  // high 0x235, low 0, row 101, column 8 darker
}

using Event = std::tuple<uint64_t, uint32_t, uint32_t, bool>;  // time, y, x, brighter

struct Decoded {
  std::set<Event> events;
  size_t triggers = 0, words = 0;
};

Decoded DecodeEvt3(const Bytes& bytes) {
  Decoded result;
  uint64_t high = 0, low = 0;
  uint32_t y = 0, base = 0;
  bool polarity = false;
  for (size_t at = 0; at + 1 < bytes.size(); at += 2, ++result.words) {
    const uint32_t word = bytes[at] | bytes[at + 1] << 8, payload = word & 0xFFF;
    const auto event = [&](uint32_t x, bool on) {
      result.events.insert({high << 12 | low, y, x, on});
    };
    switch (word >> 12) {
      case 0x0:
        y = payload & 0x7FF;
        break;
      case 0x2:
        event(payload & 0x7FF, payload >> 11);
        break;
      case 0x3:
        base = payload & 0x7FF;
        polarity = payload >> 11;
        break;
      case 0x4:
      case 0x5: {
        const uint32_t width = word >> 12 == 4 ? 12 : 8;
        for (uint32_t i = 0; i < width; ++i) {
          if (payload >> i & 1) event(base + i, polarity);
        }
        base += width;
        break;
      }
      case 0x6:
        low = payload;
        break;
      case 0x8:
        if (payload != high) low = 0;
        high = payload;
        break;
      case 0xA:
        ++result.triggers;
        break;
      default:
        ADD_FAILURE() << "word " << std::hex << word;
    }
  }
  return result;
}

TEST(EventCamera, TellsEveryPixelThatTheDiscCoversOrFrees) {
  CameraOptions options;
  options.model = "event";
  options.frameRate = 50;
  RunningCamera running(options);
  Host host(running.camera);
  host.TakeControl();
  host.OpenStream(9000);
  const auto frames = host.Grab(3);
  ASSERT_EQ(frames.size(), 3u);
  for (uint64_t number = 0; number < 3; ++number) {
    const ReceivedFrame& frame = frames[number];
    ASSERT_TRUE(frame.complete);
    EXPECT_EQ(frame.leader.payloadType, 2);
    EXPECT_EQ(frame.leader.payloadSize, frame.data.size());
    EXPECT_LE(static_cast<int64_t>(frame.data.size()), host.GetWide("PayloadSize"));
    const Decoded decoded = DecodeEvt3(frame.data);
    EXPECT_EQ(decoded.triggers, 1u);
    std::set<Event> wanted;
    const uint64_t begin = number * 20000;
    for (uint32_t y = 0; y < 720; ++y) {
      const auto before = EventModel::Disc(begin, y), after = EventModel::Disc(begin + 20000, y);
      const auto inside = [](const EventModel::Span& span, int64_t x) {
        return x >= span.first && x < span.last;
      };
      for (uint32_t x = 0; x < 1280; ++x) {
        if (inside(before, x) != inside(after, x)) {
          wanted.insert({begin + 20000 * uint64_t{y} / 720, y, x, inside(after, x)});
        }
      }
    }
    EXPECT_GT(wanted.size(), 500u);
    EXPECT_TRUE(decoded.events == wanted)
        << decoded.events.size() << " instead of " << wanted.size();
    EXPECT_LT(decoded.words, wanted.size() * 2) << "dense runs are vectors";
  }
  host.Set("ErcEnable", 1);
  host.SetReal("ErcRateLimit", 0.005);  // 100 events in 20 ms
  EXPECT_EQ(DecodeEvt3(host.Grab(1).front().data).events.size(), 100u);
}

TEST(QoiCamera, SendsItsPicturesCompressed) {
  CameraOptions options;
  options.model = "qoi";
  options.pixelFormat = "QOI_RGB8";
  options.width = 640;
  options.height = 480;
  Bytes packed;
  {
    RunningCamera running(options);
    Host host(running.camera);
    host.TakeControl();
    host.OpenStream(9000);
    const auto frame = host.Grab(1).front();
    ASSERT_TRUE(frame.complete);
    EXPECT_EQ(frame.leader.image.pixelFormat, 0x82180A01u);
    EXPECT_EQ(Bytes(frame.data.begin(), frame.data.begin() + 14),
              Hex("716F6966 00000280 000001E0 03 00"));
    EXPECT_LT(frame.data.size(), 640u * 480 * 3 / 2);
    packed = frame.data;
    EXPECT_EQ(packed.size() % 4, 0u);
    host.Set("PixelFormat", 0x81080B01);  // QOI_BayerRG8
    EXPECT_EQ(host.Grab(1).front().data[12], 1) << "one channel";
  }
  options.model = "area";
  options.pixelFormat = "RGB8";
  RunningCamera running(options);
  Host host(running.camera);
  host.TakeControl();
  host.OpenStream(9000);
  EXPECT_TRUE(DecodeQoi(packed, 640 * 480) == host.Grab(1).front().data) << "nothing is lost";
}

TEST(GreyQoi, HoldsRunsDifferencesAndLiterals) {
  Bytes out;
  EncodeQoi(Hex("00 00 00 05 05 60 C0 C1"), 8, 1, 1, out);
  EXPECT_EQ(out, Hex("716F6966 00000008 00000001 01 00  C2 25 C0 41 60C0 21  0000000000000001"));
}

}  // namespace
