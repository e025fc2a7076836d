#pragma once
// SPDX-License-Identifier: Apache-2.0
// Synthetic colour scenes of which every pixel is known, their mosaics, and the measure of how well
// a picture meets them.

#include <cmath>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "primitives/Ipp.h"

namespace Scenes {

struct Picture {
  int width = 0, height = 0;
  std::vector<double> rgb;  // 0..1, three per pixel

  double* At(int x, int y) { return &rgb[(size_t(y) * width + x) * 3]; }
  const double* At(int x, int y) const { return &rgb[(size_t(y) * width + x) * 3]; }
};

inline Picture Blank(int width, int height) {
  return {width, height, std::vector<double>(size_t(width) * height * 3)};
}

// Each pixel is the mean of sixteen points, as a sensor's area is.
template <class Colour>
Picture Render(int width, int height, Colour colour) {
  Picture picture = Blank(width, height);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      for (int s = 0; s < 16; ++s) {
        double rgb[3];
        colour(x + (s % 4 + 0.5) / 4 - 0.5, y + (s / 4 + 0.5) / 4 - 0.5, rgb);
        for (int c = 0; c < 3; ++c) picture.At(x, y)[c] += rgb[c] / 16;
      }
    }
  }
  return picture;
}

// Rings whose frequency grows from the centre to three fifths of the sampling limit, tinted slowly.
inline Picture ZonePlate(int width, int height) {
  const double cx = width / 2.0, cy = height / 2.0, reach = std::hypot(cx, cy);
  return Render(width, height, [=](double x, double y, double* rgb) {
    const double r = std::hypot(x - cx, y - cy);
    const double wave = std::cos(M_PI * 0.6 * r * r / (2 * reach));
    const double tint = x / width;
    rgb[0] = 0.5 + 0.35 * wave * (0.7 + 0.3 * tint);
    rgb[1] = 0.5 + 0.35 * wave;
    rgb[2] = 0.5 + 0.35 * wave * (1 - 0.3 * tint);
  });
}

// Wedges and rings with edges in many directions. Tinted, they differ in brightness and a little in
// hue, as neighbouring things in photographs do; saturated, their colours have nothing to do with
// each other.
enum class Edges { Tinted, Saturated };

inline Picture ColourEdges(int width, int height, Edges edges = Edges::Tinted) {
  return Render(width, height, [=](double x, double y, double* rgb) {
    const double cx = width / 2.0, cy = height / 2.0;
    const double angle = std::atan2(y - cy, x - cx);
    const int sector = int(std::floor((angle + M_PI) / (2 * M_PI) * 24 + 0.13));
    const int ring = int(std::hypot(x - cx, y - cy) / 23.7);
    const unsigned dice = unsigned(sector * 3 + ring * 5) * 2654435761u;
    const double brightness = 0.12 + 0.7 * (dice >> 8 & 255) / 255.0;
    for (int c = 0; c < 3; ++c) {
      const double share = (dice >> (10 + 5 * c) & 31) / 31.0;
      rgb[c] = edges == Edges::Tinted ? brightness * (0.8 + 0.4 * share) : 0.04 + 0.92 * share;
    }
  });
}

// Noise whose strength falls with frequency as in photographs: octaves of smooth random lattices,
// mostly grey, partly coloured.
inline Picture NaturalNoise(int width, int height) {
  Picture picture = Blank(width, height);
  std::mt19937 random(7);
  std::uniform_real_distribution<double> uniform(-1, 1);
  for (int c = 0; c < 4; ++c) {
    for (int cell = 2; cell <= 64; cell *= 2) {
      const int columns = width / cell + 3, rows = height / cell + 3;
      std::vector<double> lattice(size_t(columns) * rows);
      for (double& v : lattice) v = uniform(random);
      const double strength = (c == 3 ? 0.16 : 0.05) * std::sqrt(cell / 64.0);
      const auto smooth = [](double t) { return t * t * (3 - 2 * t); };
      for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
          const int i = x / cell, j = y / cell;
          const double u = smooth(double(x % cell) / cell), v = smooth(double(y % cell) / cell);
          const double* top = &lattice[size_t(j) * columns + i];
          const double* low = top + columns;
          const double value =
              (top[0] * (1 - u) + top[1] * u) * (1 - v) + (low[0] * (1 - u) + low[1] * u) * v;
          for (int k = 0; k < 3; ++k) {
            if (c == k || c == 3) picture.At(x, y)[k] += strength * value;
          }
        }
      }
    }
  }
  for (double& v : picture.rgb) v = std::min(1.0, std::max(0.0, v + 0.5));
  return picture;
}

// Column and row parity of red.
constexpr int RedColumn(IppiBayerGrid grid) {
  return grid == ippiBayerGRBG || grid == ippiBayerBGGR;
}
constexpr int RedRow(IppiBayerGrid grid) {
  return grid == ippiBayerGBRG || grid == ippiBayerBGGR;
}

// 0 red, 1 green, 2 blue.
constexpr int ColourAt(IppiBayerGrid grid, int x, int y) {
  const bool redColumn = (x & 1) == RedColumn(grid), redRow = (y & 1) == RedRow(grid);
  return redColumn == redRow ? (redRow ? 0 : 2) : 1;
}

template <class T>
std::vector<T> Mosaic(const Picture& picture, IppiBayerGrid grid) {
  const double top = double(T(~T(0)));
  std::vector<T> mosaic(size_t(picture.width) * picture.height);
  for (int y = 0; y < picture.height; ++y) {
    for (int x = 0; x < picture.width; ++x) {
      mosaic[size_t(y) * picture.width + x] =
          T(std::lround(picture.At(x, y)[ColourAt(grid, x, y)] * top));
    }
  }
  return mosaic;
}

// Means of the nearest samples of each colour: what better methods are measured against.
template <class T>
std::vector<T> Bilinear(const std::vector<T>& mosaic, int width, int height, IppiBayerGrid grid) {
  std::vector<T> rgb(mosaic.size() * 3);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      double sum[3] = {}, weight[3] = {};
      for (int dy = -1; dy <= 1; ++dy) {
        for (int dx = -1; dx <= 1; ++dx) {
          const int u = x + dx, v = y + dy;
          if (u < 0 || v < 0 || u >= width || v >= height) continue;
          const int colour = ColourAt(grid, u, v);
          // At a green pixel the other greens are its diagonal neighbours; only the pixel itself
          // counts.
          if (colour == ColourAt(grid, x, y) && (dx || dy)) continue;
          sum[colour] += double(mosaic[size_t(v) * width + u]);
          weight[colour] += 1;
        }
      }
      for (int c = 0; c < 3; ++c)
        rgb[(size_t(y) * width + x) * 3 + c] = T(std::lround(sum[c] / weight[c]));
    }
  }
  return rgb;
}

// Mean squared error over the three colours, as decibels below full scale; `border` pixels are left
// out.
template <class T>
double Psnr(const Picture& truth, const std::vector<T>& rgb, int border = 4) {
  const double top = double(T(~T(0)));
  double sum = 0;
  size_t count = 0;
  for (int y = border; y < truth.height - border; ++y) {
    for (int x = border; x < truth.width - border; ++x) {
      for (int c = 0; c < 3; ++c, ++count) {
        const double e =
            double(rgb[(size_t(y) * truth.width + x) * 3 + c]) / top - truth.At(x, y)[c];
        sum += e * e;
      }
    }
  }
  return 10 * std::log10(double(count) / sum);
}

}  // namespace Scenes
