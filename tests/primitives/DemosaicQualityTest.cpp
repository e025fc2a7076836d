// SPDX-License-Identifier: Apache-2.0
// How demosaiced pictures look, on scenes whose every pixel is known.
#include <gtest/gtest.h>

#include "Scenes.h"
#include "primitives/Ipp.h"

namespace {

using namespace Scenes;

constexpr IppiBayerGrid sk_grids[] = {ippiBayerBGGR, ippiBayerRGGB, ippiBayerGBRG, ippiBayerGRBG};

template <class T>
std::vector<T> Directional(const std::vector<T>& mosaic, int width, int height,
                           IppiBayerGrid grid) {
  std::vector<T> rgb(mosaic.size() * 3);
  const IppiRect region{0, 0, width, height};
  const int step = width * int(sizeof(T));
  IppStatus status;
  if constexpr (sizeof(T) == 1) {
    status = ippiCFAToRGB_8u_C1C3R(mosaic.data(), region, {width, height}, step, rgb.data(),
                                   3 * step, grid, 0);
  } else {
    status = ippiCFAToRGB_16u_C1C3R(mosaic.data(), region, {width, height}, step, rgb.data(),
                                    3 * step, grid, 0);
  }
  EXPECT_EQ(status, ippStsNoErr);
  return rgb;
}

template <class T>
void DirectionalBeatsBilinear() {
  double gain = 0;
  int scenes = 0;
  for (const Picture& scene :
       {ZonePlate(240, 200), ColourEdges(240, 200), NaturalNoise(240, 200)}) {
    for (const IppiBayerGrid grid : sk_grids) {
      const auto mosaic = Mosaic<T>(scene, grid);
      const double bilinear = Psnr(scene, Bilinear(mosaic, scene.width, scene.height, grid));
      const double directional = Psnr(scene, Directional(mosaic, scene.width, scene.height, grid));
      gain += directional - bilinear;
      ++scenes;
    }
  }
  EXPECT_GE(gain / scenes, 3.0);
}

TEST(DemosaicQuality, DirectionalIsThreeDecibelsAboveBilinearIn8Bits) {
  DirectionalBeatsBilinear<uint8_t>();
}
TEST(DemosaicQuality, DirectionalIsThreeDecibelsAboveBilinearIn16Bits) {
  DirectionalBeatsBilinear<uint16_t>();
}

}  // namespace
