// SPDX-License-Identifier: Apache-2.0
// Pictures of a folder before the camera, and frames of a source in place of its own.
#include <gtest/gtest.h>
#include <png.h>

#include <cstring>
#include <filesystem>
#include <fstream>

#include "../gigevision/Hex.h"
#include "TestHost.h"
#include "simulator/FrameSource.h"

namespace {

namespace fs = std::filesystem;

class Pictures : public testing::Test {
 protected:
  void SetUp() override {
    char name[] = "/tmp/orvex-pictures-XXXXXX";
    ASSERT_NE(::mkdtemp(name), nullptr);
    folder = name;
  }
  void TearDown() override { fs::remove_all(folder); }

  void Png(const char* name, uint32_t width, uint32_t height, const Bytes& rgb) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = width;
    image.height = height;
    image.format = PNG_FORMAT_RGB;
    ASSERT_TRUE(
        png_image_write_to_file(&image, (folder / name).c_str(), 0, rgb.data(), 0, nullptr));
  }
  // Grey with 16 bits, 16 x 2 pixels of the values 0x0100 to 0x2000, laid out by hand.
  void Tiff(const char* name) {
    Bytes file =
        Hex("49492A0008000000"
            "0900"
            "0001 0300 01000000 10000000"  // width 16
            "0101 0300 01000000 02000000"  // height 2
            "0201 0300 01000000 10000000"  // 16 bits
            "0301 0300 01000000 01000000"  // not compressed
            "0601 0300 01000000 01000000"  // black is zero
            "1101 0400 01000000 7A000000"  // the strip at 122
            "1501 0300 01000000 01000000"  // one sample
            "1601 0300 01000000 02000000"  // both rows
            "1701 0400 01000000 40000000"  // 64 bytes
            "00000000");
    ASSERT_EQ(file.size(), 122u);
    for (uint8_t i = 1; i <= 32; ++i) file.insert(file.end(), {0, i});
    std::ofstream(folder / name, std::ios::binary)
        .write(reinterpret_cast<const char*>(file.data()),
               static_cast<std::streamsize>(file.size()));
  }
  OrvexSim::CameraOptions Looking(const char* format) const {
    OrvexSim::CameraOptions options;
    options.pictures = folder.string();
    options.pixelFormat = format;
    options.frameRate = 200;
    return options;
  }
  static std::vector<ReceivedFrame> Frames(const OrvexSim::CameraOptions& options, size_t count) {
    RunningCamera running(options);
    Host host(running.camera);
    host.TakeControl();
    host.OpenStream();
    return host.Grab(count);
  }
  fs::path folder;
};

TEST_F(Pictures, AreSentPixelByPixelInTheOrderOfTheirNames) {
  Bytes first(16 * 4 * 3), second(16 * 4 * 3);
  for (size_t i = 0; i < first.size(); ++i) {
    first[i] = static_cast<uint8_t>(i);
    second[i] = static_cast<uint8_t>(255 - i);
  }
  Png("b.PNG", 16, 4, second);
  Png("a.png", 16, 4, first);
  std::ofstream(folder / "notes.txt") << "no picture";
  const auto frames = Frames(Looking("RGB8"), 5);
  ASSERT_EQ(frames.size(), 5u);
  for (size_t i = 0; i < frames.size(); ++i) {
    EXPECT_EQ(frames[i].data, i % 2 == 0 ? first : second) << i;
    EXPECT_EQ(frames[i].leader.image.sizeX, 16u);
    EXPECT_EQ(frames[i].leader.image.sizeY, 4u);
  }
}

TEST_F(Pictures, KeepSixteenBits) {
  Tiff("deep.tiff");
  const auto frames = Frames(Looking("Mono16"), 1);
  ASSERT_EQ(frames.size(), 1u);
  Bytes expected;
  for (uint8_t i = 1; i <= 32; ++i) expected.insert(expected.end(), {0, i});
  // The weights of the three colours add up to one only to within a step.
  ASSERT_EQ(frames[0].data.size(), expected.size());
  for (size_t i = 0; i < expected.size(); i += 2) {
    EXPECT_NEAR(frames[0].data[i] | frames[0].data[i + 1] << 8, expected[i + 1] << 8, 1);
  }
}

TEST_F(Pictures, ThatAreNoneAreRefused) {
  const auto refused = [&](OrvexSim::CameraOptions options) {
    EXPECT_THROW(OrvexSim::VirtualCamera{std::move(options)}, std::invalid_argument);
  };
  refused(Looking("Mono8"));  // an empty folder
  std::ofstream(folder / "a.png") << "no picture";
  refused(Looking("Mono8"));
  fs::remove(folder / "a.png");
  Png("small.png", 8, 8, Bytes(8 * 8 * 3));
  refused(Looking("Mono8"));
  fs::remove(folder / "small.png");
  Png("good.png", 16, 2, Bytes(16 * 2 * 3));
  auto options = Looking("");
  options.model = "3d";
  refused(options);
}

// Three frames, 20 and 40 ms apart, the second one shorter.
class ThreeFrames : public OrvexSim::FrameSource {
 public:
  size_t Count() const override { return 3; }
  size_t LargestFrame() const override { return 64; }
  OrvexSim::SourceFrame At(size_t index) override {
    m_bytes.assign(index == 1 ? 32 : 64, static_cast<uint8_t>(10 + index));
    OrvexSim::SourceFrame frame;
    frame.pixelFormat = 0x81080A00;
    frame.width = frame.height = 16;
    frame.offsetX = 3;
    frame.timestamp = 1'000'000'000 + (index == 0 ? 0 : index == 1 ? 20'000'000 : 60'000'000);
    frame.data = m_bytes;
    return frame;
  }

 private:
  Bytes m_bytes;
};

TEST(Replay, SendsTheFramesOfASourceAtTheirPace) {
  OrvexSim::CameraOptions options;
  options.source = std::make_shared<ThreeFrames>();
  options.frameRate = 1000;
  RunningCamera running(options);
  Host host(running.camera);
  host.TakeControl();
  host.OpenStream();
  EXPECT_EQ(host.Get("Width"), 16);
  EXPECT_EQ(host.GetWide("PayloadSize"), 64);
  EXPECT_EQ(host.Set("Width", 8), Status::WriteProtect);
  EXPECT_NE(running.camera.Description().find("\"QOI_Mono8\""), std::string::npos);
  const auto frames = host.Grab(4);
  ASSERT_EQ(frames.size(), 4u);
  for (size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(frames[i].data, Bytes(i == 1 ? 32 : 64, static_cast<uint8_t>(10 + i % 3)));
    EXPECT_EQ(frames[i].leader.image.pixelFormat, 0x81080A00u);
    EXPECT_EQ(frames[i].leader.image.offsetX, 3u);
  }
  EXPECT_GE(frames[1].leader.timestamp - frames[0].leader.timestamp, 19'990'000u);
  EXPECT_GE(frames[2].leader.timestamp - frames[1].leader.timestamp, 39'990'000u);
  host.Set("ReplayLoop", 0);
  host.Start();
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(host.NextFrame());
  EXPECT_FALSE(host.NextFrame(100)) << "once only";
}

}  // namespace
