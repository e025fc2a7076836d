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

// Decibels of both methods above bilinear, or of the adaptive above the directional one.
struct Gains {
  double directional = 0, adaptiveOverDirectional = 0;
};

template <class T>
Gains GainsOn(const Picture& scene, IppiBayerGrid grid) {
  const auto mosaic = Mosaic<T>(scene, grid);
  const double bilinear = Psnr(scene, Bilinear(mosaic, scene.width, scene.height, grid));
  const double directional = Psnr(scene, Directional(mosaic, scene.width, scene.height, grid));
  const double adaptive = Psnr(scene, Adaptive(mosaic, scene.width, scene.height, grid));
  return {directional - bilinear, adaptive - directional};
}

template <class T>
class DemosaicQuality : public testing::Test {};
using SampleTypes = testing::Types<uint8_t, uint16_t>;
TYPED_TEST_SUITE(DemosaicQuality, SampleTypes);

TYPED_TEST(DemosaicQuality, DirectionalIsWellAboveBilinearOnEveryScene) {
  struct Row {
    const char* name;
    Picture scene;
    double least;
  };
  for (const auto& [name, scene, least] :
       {Row{"zone plate", ZonePlate(240, 200), 10},
        {"tinted edges", ColourEdges(240, 200), 9},
        {"saturated edges", ColourEdges(240, 200, Edges::Saturated), 2.5},
        {"natural noise", NaturalNoise(240, 200), 3}}) {
    for (const IppiBayerGrid grid : sk_grids)
      EXPECT_GE(GainsOn<TypeParam>(scene, grid).directional, least) << name << ", grid " << grid;
  }
}

TYPED_TEST(DemosaicQuality, AdaptiveIsAboveDirectionalOnEdges) {
  for (const Edges edges : {Edges::Tinted, Edges::Saturated}) {
    const Picture scene = ColourEdges(240, 200, edges);
    double gain = 0;
    for (const IppiBayerGrid grid : sk_grids)
      gain += GainsOn<TypeParam>(scene, grid).adaptiveOverDirectional / 4;
    EXPECT_GE(gain, edges == Edges::Tinted ? 0.8 : 0.3);
  }
}

// Lines as fine as the pixels: the limits that edges need must leave them alone.
TYPED_TEST(DemosaicQuality, AdaptiveKeepsFineGreyTextures) {
  const Picture scene = Render(240, 200, [](double x, double y, double* rgb) {
    const double r2 = (x - 120) * (x - 120) + (y - 100) * (y - 100);
    rgb[0] = rgb[1] = rgb[2] = 0.5 + 0.45 * std::cos(M_PI * 0.8 * r2 / 312);
  });
  for (const IppiBayerGrid grid : sk_grids)
    EXPECT_GE(GainsOn<TypeParam>(scene, grid).adaptiveOverDirectional, 6.0) << "grid " << grid;
}

// Each colour a plane with its own slope: a channel that is swapped, or shifted by a fraction of a
// pixel, leaves it.
TYPED_TEST(DemosaicQuality, ColoursStayInPlaceForEveryPattern) {
  using T = TypeParam;
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

}  // namespace
