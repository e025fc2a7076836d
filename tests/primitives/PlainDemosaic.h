#pragma once
// SPDX-License-Identifier: Apache-2.0
// Both demosaicing methods, pixel by pixel, a whole picture a stage.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

#include "Scenes.h"

namespace Plain {

// Values of a picture and of `margin` pixels around it.
template <class V>
class Plane {
 public:
  template <class Value>
  Plane(int width, int height, int margin, Value value)
      : m_stride(width + 2 * margin), m_margin(margin) {
    for (int y = -margin; y < height + margin; ++y) {
      for (int x = -margin; x < width + margin; ++x) m_values.push_back(value(x, y));
    }
  }
  V operator()(int x, int y) const {
    return m_values.at(size_t(y + m_margin) * size_t(m_stride) + size_t(x + m_margin));
  }

 private:
  int m_stride, m_margin;
  std::vector<V> m_values;
};
using Ints = Plane<int>;
using Floats = Plane<float>;

inline int Mirror(int i, int size) {
  if (size == 1) return 0;
  while (i < 0 || i >= size) i = i < 0 ? -i : 2 * (size - 1) - i;
  return i;
}

// The mosaic, mirrored at its edges.
struct Mosaic {
  int width, height;
  IppiBayerGrid grid;
  int top;
  Ints at;

  Mosaic(const uint8_t* src, size_t bytes, int w, int h, IppiBayerGrid pattern)
      : width(w),
        height(h),
        grid(pattern),
        top(bytes == 1 ? 255 : 65535),
        at(w, h, 9, [=](int x, int y) {
          const uint8_t* p =
              src + (size_t(Mirror(y, h)) * size_t(w) + size_t(Mirror(x, w))) * bytes;
          return bytes == 1 ? p[0] : p[0] | p[1] << 8;
        }) {}
  int Colour(int x, int y) const { return Scenes::ColourAt(grid, x, y); }
  bool IsGreen(int x, int y) const { return Colour(x, y) == 1; }
  // The colour besides green that line y measures.
  int LineColour(int y) const { return IsGreen(0, y) ? Colour(1, y) : Colour(0, y); }
  int Clamped(int v) const { return std::clamp(v, 0, top); }
};

// What leaves the range between a and b, back towards it by at most `doubt`.
inline int Limited(int v, int a, int b, int doubt) {
  const int beyond = v - std::clamp(v, std::min(a, b), std::max(a, b));
  return v - std::clamp(beyond, -doubt, doubt);
}

// Directional: between two differences to green, in proportion to how near their greens are.
inline int Between(int a, int b, int changeA, int changeB, int top) {
  const int bits = top == 255 ? 8 : 16, fraction = top == 255 ? 15 : 13;
  const int lead = (changeB - changeA) * (255 / (((changeA + changeB) >> (bits - 3)) + 1));
  const int weight = (1 << (fraction - 1)) + (top == 255 ? 2 * lead : lead >> 9);
  return b + (((a - b) * weight + (1 << (fraction - 1))) >> fraction);
}

inline std::vector<int> Directional(const Mosaic& m) {
  const auto make = [&](int margin, auto value) { return Ints(m.width, m.height, margin, value); };
  const Ints& r = m.at;
  const Ints green = make(4, [&](int x, int y) {
    const int c = r(x, y);
    if (m.IsGreen(x, y)) return c;
    // Of the two greens and the two farther colours along a direction.
    struct Way {
      int g0, g1, far0, far1;
    };
    const Way h{r(x - 1, y), r(x + 1, y), r(x - 2, y), r(x + 2, y)};
    const Way v{r(x, y - 1), r(x, y + 1), r(x, y - 2), r(x, y + 2)};
    const auto bend = [c](const Way& w) { return 2 * c - w.far0 - w.far1; };
    const auto change = [&](const Way& w) { return std::abs(w.g0 - w.g1) + std::abs(bend(w)); };
    const Way& w = change(h) <= change(v) ? h : v;
    const int doubt = std::abs((w.far1 - w.far0) - 2 * (w.g1 - w.g0));
    const int value = Limited(2 * (w.g0 + w.g1) + bend(w), 4 * w.g0, 4 * w.g1, doubt);
    return m.Clamped((value + 2) >> 2);
  });
  const auto across = [&](const Ints& less, int x, int y, int dx, int dy) {
    const int g = green(x, y);
    const int changeA = std::abs(g - green(x - dx, y - dy));
    const int changeB = std::abs(g - green(x + dx, y + dy));
    return Between(less(x - dx, y - dy), less(x + dx, y + dy), changeA, changeB, m.top);
  };
  const Ints less = make(4, [&](int x, int y) { return r(x, y) - green(x, y); });
  const Ints column = make(3, [&](int x, int y) { return across(less, x, y, 0, 1); });
  std::vector<int> rgb;
  for (int y = 0; y < m.height; ++y) {
    for (int x = 0; x < m.width; ++x) {
      for (int c = 0; c < 3; ++c) {
        int difference;
        if (c == 1 || c == m.Colour(x, y))
          difference = c == 1 ? 0 : less(x, y);
        else if (c == m.LineColour(y))
          difference = across(less, x, y, 1, 0);
        else
          difference = m.IsGreen(x, y) ? column(x, y) : across(column, x, y, 1, 0);
        rgb.push_back(m.Clamped(green(x, y) + difference));
      }
    }
  }
  return rgb;
}

inline float LabRoot(float t) {
  if (!(t > 0.008856f)) return t * 7.787f + 16.0f / 116.0f;
  int32_t bits;
  std::memcpy(&bits, &t, sizeof bits);
  bits = int32_t(float(bits) * (1.0f / 3.0f)) + 0x2A5137A0;
  float y;
  std::memcpy(&y, &bits, sizeof y);
  const float y3 = y * y * y;
  return y * ((y3 + (t + t)) / ((y3 + y3) + t));
}

inline std::vector<int> Adaptive(const Mosaic& m) {
  const auto make = [&](int margin, auto value) { return Ints(m.width, m.height, margin, value); };
  struct Picture {
    Ints green, less, own, other;  // less: what is measured, less green
    Floats light, a, b;
  };
  const auto along = [&](int dx, int dy) {
    const Ints& r = m.at;
    const Ints raw = make(7, [&](int x, int y) {
      const int near = r(x - dx, y - dy) + r(x + dx, y + dy);
      const int far = r(x - 2 * dx, y - 2 * dy) + r(x + 2 * dx, y + 2 * dy);
      const int other = m.Clamped((2 * near + 2 * r(x, y) - far + 2) >> 2);
      return m.IsGreen(x, y) ? other - r(x, y) : r(x, y) - other;
    });
    const Ints green = make(6, [&](int x, int y) {
      if (m.IsGreen(x, y)) return r(x, y);
      const int before = raw(x - dx, y - dy), after = raw(x + dx, y + dy);
      const int value = Limited(4 * r(x, y) - before - after - 2 * raw(x, y), 4 * r(x - dx, y - dy),
                                4 * r(x + dx, y + dy), 2 * std::abs(before - after));
      return m.Clamped((value + 2) >> 2);
    });
    const Ints less = make(6, [&](int x, int y) { return r(x, y) - green(x, y); });
    const Ints own = make(5, [&](int x, int y) {
      return m.Clamped(green(x, y) + ((less(x - 1, y) + less(x + 1, y) + 2 * less(x, y) + 1) >> 1));
    });
    const Ints other = make(5, [&](int x, int y) {
      int sum = 2;
      for (const int v : {y - 1, y + 1}) sum += less(x - 1, v) + 2 * less(x, v) + less(x + 1, v);
      return m.Clamped(green(x, y) + (sum >> 2));
    });
    const float unit = 1.0f / float(m.top);
    const auto root = [&](int x, int y, float kr, float kg, float kb) {
      const bool redLine = m.LineColour(y) == 0;
      const float red = float((redLine ? own : other)(x, y)),
                  blue = float((redLine ? other : own)(x, y));
      return LabRoot(red * (kr * unit) + float(green(x, y)) * (kg * unit) + blue * (kb * unit));
    };
    const auto floats = [&](auto value) { return Floats(m.width, m.height, 5, value); };
    const Floats fx =
        floats([&](int x, int y) { return root(x, y, 0.43391f, 0.37622f, 0.18986f); });
    const Floats fy =
        floats([&](int x, int y) { return root(x, y, 0.21267f, 0.71516f, 0.07217f); });
    const Floats fz =
        floats([&](int x, int y) { return root(x, y, 0.01775f, 0.10945f, 0.87278f); });
    return Picture{green,
                   less,
                   own,
                   other,
                   floats([&](int x, int y) { return fy(x, y) * 116.0f; }),
                   floats([&](int x, int y) { return (fx(x, y) - fy(x, y)) * 500.0f; }),
                   floats([&](int x, int y) { return (fy(x, y) - fz(x, y)) * 200.0f; })};
  };
  const Picture h = along(1, 0), v = along(0, 1);

  const Ints preference = make(4, [&](int x, int y) {
    constexpr int sk_step[4][2] = {{-1, 0}, {1, 0}, {0, -1}, {0, 1}};
    float light[2][4], colour[2][4];
    for (int way = 0; way < 2; ++way) {
      const Picture& p = way == 0 ? h : v;
      for (int k = 0; k < 4; ++k) {
        const int x1 = x + sk_step[k][0], y1 = y + sk_step[k][1];
        const float da = p.a(x, y) - p.a(x1, y1), db = p.b(x, y) - p.b(x1, y1);
        light[way][k] = std::abs(p.light(x, y) - p.light(x1, y1));
        colour[way][k] = da * da + db * db;
      }
    }
    const auto limit = [](const float(&of)[2][4]) {
      return std::min(std::max(of[0][0], of[0][1]), std::max(of[1][2], of[1][3]));
    };
    int count = 0;
    for (int k = 0; k < 4; ++k) {
      for (int way = 0; way < 2; ++way) {
        if (light[way][k] <= limit(light) && colour[way][k] <= limit(colour)) count += 1 - 2 * way;
      }
    }
    return count;
  });
  const Ints green = make(3, [&](int x, int y) {
    int sum = 0;
    for (int i = -1; i <= 1; ++i) {
      for (int j = -1; j <= 1; ++j) sum += preference(x + i, y + j);
    }
    const int fromH = h.green(x, y), fromV = v.green(x, y);
    return sum > 0 ? fromH : sum < 0 ? fromV : (fromH + fromV + 1) >> 1;
  });
  const Ints less = make(3, [&](int x, int y) { return m.at(x, y) - green(x, y); });
  const Ints& r = m.at;
  // Means of differences, each weighted by one over how far its green is from that at the pixel.
  const float least = float((m.top >> 7) + 1);
  const auto change = [&](int x, int y, int x1, int y1) {
    return float(std::abs(green(x, y) - green(x1, y1))) + least;
  };
  // Cut off above zero; the sum has no more bits than a float.
  const int up = 2 * m.top + 2;
  const auto rounded = [up](float v) { return int(v + (float(up) + 0.5f)) - up; };
  const Ints own = make(2, [&](int x, int y) {
    if (!m.IsGreen(x, y)) return r(x, y);
    const int a = less(x - 1, y), b = less(x + 1, y);
    const float ca = change(x, y, x - 1, y), cb = change(x, y, x + 1, y);
    const int mean = rounded((float(a) * cb + float(b) * ca) / (ca + cb));
    return m.Clamped(Limited(green(x, y) + mean, r(x - 1, y), r(x + 1, y), std::abs(a - b)));
  });
  const Ints other = make(2, [&](int x, int y) {
    float d[4], c[4];
    int samples[4];
    for (int k = 0; k < 4; ++k) {
      // The corners, or twice those above and below.
      const int x1 = m.IsGreen(x, y) ? x : x + k % 2 * 2 - 1, y1 = y + k / 2 * 2 - 1;
      d[k] = float(less(x1, y1));
      c[k] = change(x, y, x1, y1);
      samples[k] = r(x1, y1);
    }
    const float c01 = c[0] * c[1], c23 = c[2] * c[3];
    const float sum = c23 * (d[0] * c[1] + d[1] * c[0]) + c01 * (d[2] * c[3] + d[3] * c[2]);
    const int mean = rounded(sum / (c23 * (c[0] + c[1]) + c01 * (c[2] + c[3])));
    std::sort(d, d + 4);
    std::sort(samples, samples + 4);
    return m.Clamped(Limited(green(x, y) + mean, samples[0], samples[3], int(d[3] - d[0])));
  });

  std::vector<int> rgb;
  for (int y = 0; y < m.height; ++y) {
    for (int x = 0; x < m.width; ++x) {
      for (int c = 0; c < 3; ++c) {
        if (c == 1 || c == m.Colour(x, y)) {
          rgb.push_back(c == 1 ? green(x, y) : r(x, y));
          continue;
        }
        std::vector<int> around;
        for (int v1 = y - 1; v1 <= y + 1; ++v1) {
          const Ints& of = m.LineColour(v1) == c ? own : other;
          for (int x1 = x - 1; x1 <= x + 1; ++x1) around.push_back(of(x1, v1) - green(x1, v1));
        }
        const int centre = around[4];
        around.erase(around.begin() + 4);
        std::sort(around.begin(), around.end());
        rgb.push_back(m.Clamped(green(x, y) + std::clamp(centre, around[1], around[6])));
      }
    }
  }
  return rgb;
}

}  // namespace Plain
