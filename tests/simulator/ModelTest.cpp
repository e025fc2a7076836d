// SPDX-License-Identifier: Apache-2.0
// Models other than the plain area camera: their formats hold what is known of their scenes.
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <set>

#include "TestHost.h"

namespace {

struct Rig {
  explicit Rig(const std::string& model, const std::string& format = {})
      : running(Options(model, format)) {
    host.TakeControl();
    host.OpenStream(9000);
    host.SetReal("AcquisitionFrameRate", 1000);
    host.Set("DeviceLinkThroughputLimitMode", 0);
  }
  static OrvexSim::CameraOptions Options(const std::string& model, const std::string& format) {
    OrvexSim::CameraOptions options;
    options.model = model;
    options.pixelFormat = format;
    return options;
  }
  // The first frame: phase 0 of the scene.
  ReceivedFrame First() {
    host.Set("AcquisitionMode", 1);
    host.Start();
    ReceivedFrame frame = host.NextFrame(5000).value_or(ReceivedFrame{});
    host.Stop();  // the trailer comes a moment before the camera has ended the acquisition
    return frame;
  }
  RunningCamera running;
  Host host{running.camera};
};

double U16(const ReceivedFrame& frame, size_t sample) {
  return (frame.data[2 * sample] | frame.data[2 * sample + 1] << 8) / 65535.0;
}

// All entries of PixelFormat in the description.
std::vector<uint32_t> FormatsOf(const std::string& description) {
  std::vector<uint32_t> values;
  const size_t begin = description.find("<Enumeration Name=\"PixelFormat\"");
  const size_t end = description.find("</Enumeration>", begin);
  for (size_t at = description.find("<Value>", begin); at < end;
       at = description.find("<Value>", at + 1)) {
    values.push_back(static_cast<uint32_t>(std::stoul(description.substr(at + 7))));
  }
  return values;
}

TEST(Models, SendFramesOfTheSizeOfEachFormat) {
  for (const std::string& model : OrvexSim::VirtualCamera::Models()) {
    if (model == "area" || model == "event") continue;
    Rig rig(model);
    rig.host.Set("Width", 64);
    rig.host.Set("Height", 16);
    const std::vector<uint32_t> formats = FormatsOf(rig.running.camera.Description());
    EXPECT_GE(formats.size(), 9u) << model;
    EXPECT_EQ(std::set<uint32_t>(formats.begin(), formats.end()).size(), formats.size()) << model;
    for (const uint32_t format : formats) {
      ASSERT_EQ(rig.host.Set("PixelFormat", format), Status::Success);
      const ReceivedFrame frame = rig.First();
      ASSERT_TRUE(frame.complete) << model << std::hex << format;
      EXPECT_EQ(frame.leader.image.pixelFormat, format);
      if (model != "qoi") {
        EXPECT_EQ(frame.data.size(), 64u * 16 * (format >> 16 & 0xFF) / 8)
            << model << std::hex << format;
      }
    }
  }
}

TEST(Polarised, StokesParametersAreThoseOfTheScene) {
  Rig rig("polarised", "PolarizedStokes_S0_S1_S2_Mono16");
  const ReceivedFrame frame = rig.First();
  ASSERT_TRUE(frame.complete);
  for (const auto& [x, y] :
       {std::pair<size_t, size_t>{0, 1023}, {306, 512}, {612, 1023}, {1000, 0}}) {
    const size_t at = (y * 1224 + x) * 3;
    const double s0 = U16(frame, at), s1 = 2 * U16(frame, at + 1) - 1,
                 s2 = 2 * U16(frame, at + 2) - 1;
    const double degree = static_cast<double>(y) / 1023,
                 angle = std::numbers::pi * static_cast<double>(x) / 1224;
    EXPECT_NEAR(s0, 0.8, 1e-4);
    EXPECT_NEAR(std::hypot(s1, s2) / s0, degree, 1e-3) << x << " " << y;
    if (degree > 0) {
      EXPECT_NEAR(std::cos(std::atan2(s2, s1) - 2 * angle), 1, 1e-3) << x << " " << y;
    }
  }
}

TEST(Polarised, TheMosaicHoldsTheFourPolarisers) {
  Rig rig("polarised", "PolarizeMono16");
  const ReceivedFrame mosaic = rig.First();
  rig.host.Set("PixelFormat", 0x8240002F);  // PolarizedAngles_0d_45d_90d_135d_Mono16
  const ReceivedFrame angles = rig.First();
  ASSERT_TRUE(mosaic.complete && angles.complete);
  for (size_t y = 600; y < 604; ++y) {
    for (size_t x = 400; x < 404; ++x) {
      constexpr size_t sk_channel[2][2] = {{2, 1}, {3, 0}};
      const size_t at = y * 1224 + x;
      EXPECT_EQ(U16(mosaic, at), U16(angles, 4 * at + sk_channel[y & 1][x & 1])) << x << " " << y;
      // Malus: the intensities behind crossed polarisers add up to the whole.
      EXPECT_NEAR(U16(angles, 4 * at) + U16(angles, 4 * at + 2), 0.8, 1e-4);
      EXPECT_NEAR(U16(angles, 4 * at + 1) + U16(angles, 4 * at + 3), 0.8, 1e-4);
    }
  }
}

TEST(Dual, SensorsAlternateAndSeeShiftedPictures) {
  Rig rig("dual", "DualMono8");
  const ReceivedFrame frame = rig.First();
  ASSERT_TRUE(frame.complete);
  const size_t row = 300 * size_t{1280};
  size_t differences = 0;
  for (size_t column = 0; column + 16 < 640; ++column) {
    EXPECT_EQ(frame.data[row + 2 * column + 1], frame.data[row + 2 * (column + 16)]) << column;
    differences += frame.data[row + 2 * column] != frame.data[row + 2 * column + 1];
  }
  EXPECT_GT(differences, 50u);
}

TEST(Depth, CoordinatesLieOnTableAndBall) {
  Rig rig("3d", "Coord3D_ABC16");
  const double scale = rig.host.GetReal("Scan3dCoordinateScale");
  double offsets[3];
  for (int axis = 0; axis < 3; ++axis) {
    rig.host.Set("Scan3dCoordinateSelector", axis);
    offsets[axis] = rig.host.GetReal("Scan3dCoordinateOffset");
  }
  const ReceivedFrame plain = rig.First();
  rig.host.Set("PixelFormat", 0x82300401);  // Coord3D_ABC16s
  EXPECT_EQ(rig.host.GetReal("Scan3dCoordinateOffset"), 0);
  const ReceivedFrame withSign = rig.First();
  ASSERT_TRUE(plain.complete && withSign.complete);
  size_t onBall = 0;
  for (size_t pixel = 0; pixel < 640 * 480; pixel += 7) {
    double point[3];
    for (size_t axis = 0; axis < 3; ++axis) {
      const size_t at = 2 * (3 * pixel + axis);
      point[axis] = (plain.data[at] | plain.data[at + 1] << 8) * scale + offsets[axis];
      const auto raw = static_cast<int16_t>(withSign.data[at] | withSign.data[at + 1] << 8);
      ASSERT_NEAR(raw * scale, point[axis], scale) << pixel;
    }
    ASSERT_NEAR(point[0], (static_cast<double>(pixel % 640) - 320) * 2, scale);
    const double fromMiddle = std::hypot(std::hypot(point[0] + 140, point[1]), point[2] - 850);
    const bool ball = point[2] < 990;
    onBall += ball;
    if (ball) {
      ASSERT_NEAR(fromMiddle, 150, 1.0) << pixel;
    } else {
      ASSERT_GT(point[2], 845);
    }
  }
  EXPECT_GT(onBall, 1000u);
}

}  // namespace
