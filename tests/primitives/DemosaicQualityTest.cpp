// SPDX-License-Identifier: Apache-2.0
// How demosaiced pictures look, on scenes whose every pixel is known.
#include <gtest/gtest.h>

#include <cmath>

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
std::vector<T> Adaptive(const std::vector<T>& mosaic, int width, int height, IppiBayerGrid grid) {
  std::vector<T> rgb(mosaic.size() * 3), tmp(size_t(width + 6) * 30);
  const IppiRect region{0, 0, width, height};
  const int step = width * int(sizeof(T)), tmpStep = (width + 6) * int(sizeof(T));
  IppStatus status;
  if constexpr (sizeof(T) == 1) {
    status = ippiDemosaicAHD_8u_C1C3R(mosaic.data(), region, {width, height}, step, rgb.data(),
                                      3 * step, grid, tmp.data(), tmpStep);
  } else {
    status = ippiDemosaicAHD_16u_C1C3R(mosaic.data(), region, {width, height}, step, rgb.data(),
                                       3 * step, grid, tmp.data(), tmpStep);
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

template <class T>
void AdaptiveBeatsDirectionalOnEdges() {
  const Picture scene = ColourEdges(240, 200);
  for (const IppiBayerGrid grid : sk_grids) {
    const auto mosaic = Mosaic<T>(scene, grid);
    const double directional = Psnr(scene, Directional(mosaic, scene.width, scene.height, grid));
    EXPECT_GE(Psnr(scene, Adaptive(mosaic, scene.width, scene.height, grid)), directional + 0.3)
        << "grid " << grid;
  }
}

TEST(DemosaicQuality, AdaptiveIsAboveDirectionalOnEdgesIn8Bits) {
  AdaptiveBeatsDirectionalOnEdges<uint8_t>();
}
TEST(DemosaicQuality, AdaptiveIsAboveDirectionalOnEdgesIn16Bits) {
  AdaptiveBeatsDirectionalOnEdges<uint16_t>();
}

// Each colour a plane with its own slope: a channel that is swapped, or shifted by a fraction of a
// pixel, leaves it.
template <class T>
void ColoursStayInPlace() {
  const double top = double(T(~T(0)));
  const Picture scene = Render(67, 35, [](double x, double y, double* rgb) {
    rgb[0] = 0.15 + 0.0073 * x + 0.0041 * y;
    rgb[1] = 0.75 - 0.0067 * x + 0.0029 * y;
    rgb[2] = 0.30 + 0.0059 * x - 0.0047 * y;
  });
  for (const IppiBayerGrid grid : sk_grids) {
    const auto mosaic = Mosaic<T>(scene, grid);
    for (const auto& rgb : {Directional(mosaic, 67, 35, grid), Adaptive(mosaic, 67, 35, grid)}) {
      for (int c = 0; c < 3; ++c) {
        // Rounding moves single pixels; their mean would show a shift of a third of a pixel.
        double sum = 0, largest = 0;
        for (int y = 4; y < 31; ++y) {
          for (int x = 4; x < 63; ++x) {
            const double error =
                double(rgb[(size_t(y) * 67 + x) * 3 + c]) - scene.At(x, y)[c] * top;
            sum += error;
            largest = std::max(largest, std::abs(error));
          }
        }
        EXPECT_LE(std::abs(sum / (27 * 59)), 0.15 * 0.006 * top + 0.25)
            << "grid " << grid << " colour " << c;
        EXPECT_LE(largest, 2.5) << "grid " << grid << " colour " << c;
      }
    }
  }
}

TEST(DemosaicQuality, ColoursStayInPlaceForEveryPatternIn8Bits) {
  ColoursStayInPlace<uint8_t>();
}
TEST(DemosaicQuality, ColoursStayInPlaceForEveryPatternIn16Bits) {
  ColoursStayInPlace<uint16_t>();
}

}  // namespace
