// SPDX-License-Identifier: Apache-2.0
// Adaptive homogeneity-directed demosaicing after K. Hirakawa and T. W. Parks, IEEE Transactions on
// Image Processing 14(3), 2005. Green is interpolated once along lines and once along columns; each
// pixel takes it from the picture that is more homogeneous around the pixel, as CIELab sees it; red
// and blue follow by their difference to green, whose centre-weighted median removes false colour.
// Lines stream through the stages, each of which runs a line or more behind the one before it.
//
// All of that expects colours to change alike. Between saturated colours they don't. There the
// difference to green counts more whose green is nearer, which is that of the same side of an edge;
// and what leaves the range of the samples that it stands between is taken back as far as the
// differences to green at these samples disagree. Textures, where they agree, keep their peaks.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "primitives/DemosaicAhd.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "primitives/Mosaic-inl.h"
#include "primitives/RowThreads.h"
#include "primitives/Scratch.h"

HWY_BEFORE_NAMESPACE();
namespace Orvex::Primitives::HWY_NAMESPACE {

template <class T>
class AhdWorker {
  using L = LaneOf<T>;
  using D = hn::ScalableTag<L>;
  using DF = hn::ScalableTag<float>;

 public:
  // Converts the lines [first, last) of the region. False when memory is short.
  static bool Run(const MosaicJob<T>& job, int first, int last) {
    AhdWorker worker(job);
    if (!worker.m_ready) return false;
    // Each stage starts as far above `first` as the later ones look up.
    for (int t = first - sk_reach; t < last + sk_reach; ++t) {
      LoadMosaicLine(job, t, sk_reach, worker.m_raw[t]);
      if (t - 2 >= first - 6) worker.Differences(t - 2);
      if (t - 3 >= first - 5) worker.Green(t - 3);
      if (t - 4 >= first - 4) worker.Pictures(t - 4);
      if (t - 5 >= first - 3) worker.Homogeneity(t - 5);
      if (t - 6 >= first - 2) worker.Select(t - 6);
      if (t - 7 >= first - 1) worker.FinalColours(t - 7);
      if (t - 8 >= first) worker.Output(t - 8);
    }
    return true;
  }

 private:
  // Lines and columns around a pixel that decide about it.
  static constexpr int sk_reach = 8;

  using Lines = LineRing<L, 4>;
  using FloatLines = LineRing<float, 4>;

  // Green, and by their difference to it the colour that the line measures and the other one.
  struct Picture {
    Lines green, difference, own, other;
  };
  struct Direction {
    Lines raw;  // colour minus green as the line itself tells, at every pixel
    Picture picture;
    FloatLines light, a, b;
  };

  explicit AhdWorker(const MosaicJob<T>& job) : m_job(job) {
    const int w = job.region.width;
    uint8_t* at = ThreadScratch(decltype(m_raw)::Bytes(w) + (3 * 4 + 2 + 1) * Lines::Bytes(w) +
                                6 * FloatLines::Bytes(w));
    m_ready = at != nullptr;
    if (!m_ready) return;
    at = m_raw.Place(at, w);
    for (FloatLines* lines : {&m_h.light, &m_h.a, &m_h.b, &m_v.light, &m_v.a, &m_v.b})
      at = lines->Place(at, w);
    for (Picture* picture : {&m_h.picture, &m_v.picture, &m_selected}) {
      for (Lines* lines : {&picture->green, &picture->difference, &picture->own, &picture->other})
        at = lines->Place(at, w);
    }
    for (Lines* lines : {&m_h.raw, &m_v.raw, &m_preference}) at = lines->Place(at, w);
  }

  HWY_INLINE static auto At(const L* line, int x) { return hn::LoadU(D(), line + x); }
  HWY_INLINE static auto AtF(const float* line, int x) { return hn::LoadU(DF(), line + x); }

  template <class V>
  HWY_INLINE static V Clamped(V v) {
    const D d;
    return hn::Min(hn::Max(v, hn::Zero(d)), hn::Set(d, hwy::HighestValue<T>()));
  }

  // What leaves the range [low, high], back towards it by at most `doubt`.
  template <class V>
  HWY_INLINE static V Limited(V v, V low, V high, V doubt) {
    const V notAbove = hn::Min(v, hn::Max(high, hn::Sub(v, doubt)));
    return hn::Max(notAbove, hn::Min(low, hn::Add(v, doubt)));
  }

  void Differences(int y) {
    if (ColourInEvenLanes(m_job, y))
      DifferencesOf<true>(y);
    else
      DifferencesOf<false>(y);
  }

  // The colour that is not measured, by the five-point filter (-1 2 2 2 -1) / 4 along the line and
  // along the column, gives the difference of the line's colour to green at every pixel.
  template <bool ColourIsEven>
  HWY_INLINE void DifferencesOf(int y) {
    const D d;
    const int n = int(hn::Lanes(d)), w = m_job.region.width;
    const auto two = hn::Set(d, 2);
    const L *row = m_raw[y], *up1 = m_raw[y - 1], *up2 = m_raw[y - 2], *down1 = m_raw[y + 1],
            *down2 = m_raw[y + 2];
    L *outH = m_h.raw[y], *outV = m_v.raw[y];
    for (int x = -6; x < w + 6; x += n) {
      const auto c = At(row, x), c2 = hn::Add(c, c);
      const auto h = hn::Add(hn::ShiftLeft<1>(hn::Add(At(row, x - 1), At(row, x + 1))),
                             hn::Sub(c2, hn::Add(At(row, x - 2), At(row, x + 2))));
      const auto v = hn::Add(hn::ShiftLeft<1>(hn::Add(At(up1, x), At(down1, x))),
                             hn::Sub(c2, hn::Add(At(up2, x), At(down2, x))));
      const auto difference = [&](auto along4) HWY_ATTR {
        const auto other = Clamped(hn::ShiftRight<2>(hn::Add(along4, two)));
        const auto atColour = hn::Sub(c, other), atGreen = hn::Sub(other, c);
        return ColourIsEven ? hn::OddEven(atGreen, atColour) : hn::OddEven(atColour, atGreen);
      };
      hn::StoreU(difference(h), d, outH + x);
      hn::StoreU(difference(v), d, outV + x);
    }
  }

  void Green(int y) {
    if (ColourInEvenLanes(m_job, y))
      GreenOf<true>(y);
    else
      GreenOf<false>(y);
  }

  // Green is the measured colour less the difference, smoothed by (1 2 1) / 4 along the direction.
  template <bool ColourIsEven>
  HWY_INLINE void GreenOf(int y) {
    const D d;
    const int n = int(hn::Lanes(d)), w = m_job.region.width;
    const auto two = hn::Set(d, 2);
    const L *row = m_raw[y], *up = m_raw[y - 1], *down = m_raw[y + 1], *mid = m_h.raw[y];
    const L *above = m_v.raw[y - 1], *here = m_v.raw[y], *below = m_v.raw[y + 1];
    for (int x = -6; x < w + 5; x += n) {
      const auto c = At(row, x), c4 = hn::ShiftLeft<2>(c);
      // From the differences and the greens on both sides; all of it four times.
      const auto store = [&](auto before, auto own, auto after, auto g0, auto g1,
                             const Picture& picture) HWY_ATTR {
        const auto sum = hn::Add(hn::Add(before, after), hn::ShiftLeft<1>(own));
        const auto doubt = hn::ShiftLeft<1>(hn::Abs(hn::Sub(before, after)));
        const auto limited = Limited(hn::Sub(c4, sum), hn::ShiftLeft<2>(hn::Min(g0, g1)),
                                     hn::ShiftLeft<2>(hn::Max(g0, g1)), doubt);
        const auto green = Clamped(hn::ShiftRight<2>(hn::Add(limited, two)));
        const auto full = ColourIsEven ? hn::OddEven(c, green) : hn::OddEven(green, c);
        hn::StoreU(full, d, picture.green[y] + x);
        hn::StoreU(hn::Sub(c, full), d, picture.difference[y] + x);
      };
      store(At(mid, x - 1), At(mid, x), At(mid, x + 1), At(row, x - 1), At(row, x + 1),
            m_h.picture);
      store(At(above, x), At(here, x), At(below, x), At(up, x), At(down, x), m_v.picture);
    }
  }

  void Pictures(int y) {
    for (Direction* direction : {&m_h, &m_v}) {
      Colours(direction->picture, y);
      ToLab(*direction, y);
    }
  }

  // Red and blue by their mean difference to green; the difference lines are zero where green is
  // measured, so one weighted sum serves all kinds of pixel.
  void Colours(const Picture& picture, int y) {
    const D d;
    const int n = int(hn::Lanes(d)), w = m_job.region.width;
    const auto one = hn::Set(d, 1), two = hn::Set(d, 2);
    const L *green = picture.green[y], *mid = picture.difference[y];
    const L *up = picture.difference[y - 1], *down = picture.difference[y + 1];
    L *own = picture.own[y], *other = picture.other[y];
    for (int x = -4; x < w + 4; x += n) {
      const auto g = At(green, x);
      const auto own2 =
          hn::Add(hn::Add(At(mid, x - 1), At(mid, x + 1)), hn::ShiftLeft<1>(At(mid, x)));
      const auto other4 = hn::Add(
          hn::Add(hn::Add(At(up, x - 1), At(up, x + 1)), hn::Add(At(down, x - 1), At(down, x + 1))),
          hn::ShiftLeft<1>(hn::Add(At(up, x), At(down, x))));
      hn::StoreU(Clamped(hn::Add(g, hn::ShiftRight<1>(hn::Add(own2, one)))), d, own + x);
      hn::StoreU(Clamped(hn::Add(g, hn::ShiftRight<2>(hn::Add(other4, two)))), d, other + x);
    }
  }

  void FinalColours(int y) {
    if (ColourInEvenLanes(m_job, y))
      FinalColoursOf<true>(y);
    else
      FinalColoursOf<false>(y);
  }

  // Between the differences to green on both sides, or at four corners, each counting the more the
  // nearer its green is; with limits.
  template <bool ColourIsEven>
  HWY_INLINE void FinalColoursOf(int y) {
    const D d;
    using V = hn::VFromD<D>;
    const int n = int(hn::Lanes(d)), w = m_job.region.width;
    const L *green = m_selected.green[y], *mid = m_selected.difference[y], *row = m_raw[y];
    const int lines[] = {y - 1, y - 1, y + 1, y + 1}, columns[] = {-1, 1, -1, 1};
    L *own = m_selected.own[y], *other = m_selected.other[y];
    const auto atColour = [](V colour, V rest) HWY_ATTR {
      return ColourIsEven ? hn::OddEven(rest, colour) : hn::OddEven(colour, rest);
    };
    for (int x = -2; x < w + 1; x += n) {
      const V g = At(green, x);
      const auto change = [g](V v) HWY_ATTR {
        return hn::Add(hn::Abs(hn::Sub(g, v)), hn::Set(D(), (hwy::HighestValue<T>() >> 7) + 1));
      };
      const V left = At(mid, x - 1), right = At(mid, x + 1);
      const V l = At(row, x - 1), r = At(row, x + 1);
      const V ownMean =
          InFloats<2>([](auto* a, auto* e) HWY_ATTR { return Between(a, e); }, {left, right},
                      {change(At(green, x - 1)), change(At(green, x + 1))});
      const V ownLimited =
          Limited(hn::Add(g, ownMean), hn::Min(l, r), hn::Max(l, r), hn::Abs(hn::Sub(left, right)));
      hn::StoreU(atColour(At(row, x), Clamped(ownLimited)), d, own + x);
      // At the corners of pixels that measure a colour; above and below the others, twice.
      V measured[4], less[4], changes[4];
      for (int k = 0; k < 4; ++k) {
        const int line = lines[k], column = x + columns[k];
        const auto at = [&](const L* of) HWY_ATTR { return atColour(At(of, column), At(of, x)); };
        measured[k] = at(m_raw[line]);
        less[k] = at(m_selected.difference[line]);
        changes[k] = change(at(m_selected.green[line]));
      }
      const V otherMean =
          InFloats<4>([](auto* a, auto* e) HWY_ATTR { return Among(a, e); }, less, changes);
      const V doubt = hn::Sub(Highest(less), Lowest(less));
      const V otherLimited =
          Limited(hn::Add(g, otherMean), Lowest(measured), Highest(measured), doubt);
      hn::StoreU(Clamped(otherLimited), d, other + x);
    }
  }

  template <class V>
  HWY_INLINE static V Lowest(const V (&v)[4]) {
    return hn::Min(hn::Min(v[0], v[1]), hn::Min(v[2], v[3]));
  }
  template <class V>
  HWY_INLINE static V Highest(const V (&v)[4]) {
    return hn::Max(hn::Max(v[0], v[1]), hn::Max(v[2], v[3]));
  }

  // Means weighted by one over their changes.
  template <class V>
  HWY_INLINE static V Between(const V* a, const V* change) {
    return hn::Div(hn::Add(hn::Mul(a[0], change[1]), hn::Mul(a[1], change[0])),
                   hn::Add(change[0], change[1]));
  }
  template <class V>
  HWY_INLINE static V Among(const V* a, const V* change) {
    const V first = hn::Mul(change[0], change[1]), second = hn::Mul(change[2], change[3]);
    const V sum0 = hn::Add(hn::Mul(a[0], change[1]), hn::Mul(a[1], change[0]));
    const V sum1 = hn::Add(hn::Mul(a[2], change[3]), hn::Mul(a[3], change[2]));
    return hn::Div(hn::Add(hn::Mul(second, sum0), hn::Mul(first, sum1)),
                   hn::Add(hn::Mul(second, hn::Add(change[0], change[1])),
                           hn::Mul(first, hn::Add(change[2], change[3]))));
  }

  // What `of` makes of the values as floats, to the nearest.
  template <int Count, class Of, class V = hn::VFromD<D>>
  HWY_INLINE static V InFloats(Of of, const V (&a)[Count], const V (&change)[Count]) {
    const DF d;
    const hn::Rebind<int32_t, DF> dInt;
    const auto rounded = [&](auto part) HWY_ATTR {
      hn::VFromD<DF> inA[Count], inChange[Count];
      for (int k = 0; k < Count; ++k) {
        inA[k] = hn::ConvertTo(d, part(a[k]));
        inChange[k] = hn::ConvertTo(d, part(change[k]));
      }
      // Far enough above zero that cutting off rounds down.
      const float up = 2.0f * float(hwy::HighestValue<T>()) + 2.0f;
      const auto above = hn::ConvertTo(dInt, hn::Add(of(inA, inChange), hn::Set(d, up + 0.5f)));
      return hn::Sub(above, hn::Set(dInt, int32_t(up)));
    };
    if constexpr (sizeof(L) == 4) {
      return rounded([](auto v) HWY_ATTR { return v; });
    } else {
      const hn::Half<D> half;
      const auto low =
          rounded([&](auto v) HWY_ATTR { return hn::PromoteTo(dInt, hn::LowerHalf(half, v)); });
      const auto high =
          rounded([&](auto v) HWY_ATTR { return hn::PromoteTo(dInt, hn::UpperHalf(half, v)); });
      return hn::Combine(D(), hn::DemoteTo(half, high), hn::DemoteTo(half, low));
    }
  }

  HWY_INLINE static auto ToFloat(const int16_t* p) {
    const hn::Rebind<int32_t, DF> dInt;
    return hn::ConvertTo(DF(), hn::PromoteTo(dInt, hn::LoadU(hn::Rebind<int16_t, DF>(), p)));
  }
  HWY_INLINE static auto ToFloat(const int32_t* p) {
    return hn::ConvertTo(DF(), hn::LoadU(hn::Rebind<int32_t, DF>(), p));
  }

  // The cube root, or the line that CIELab puts in its place near zero. One step of Halley's method
  // from a guess that divides the exponent by three; no fused operations, so that every instruction
  // set rounds alike.
  template <class V>
  HWY_INLINE static V LabRoot(V t) {
    const DF d;
    const hn::Rebind<int32_t, DF> dInt;
    const auto third = hn::Mul(hn::ConvertTo(d, hn::BitCast(dInt, t)), hn::Set(d, 1.0f / 3.0f));
    const V y = hn::BitCast(d, hn::Add(hn::ConvertTo(dInt, third), hn::Set(dInt, 0x2A5137A0)));
    const V y3 = hn::Mul(hn::Mul(y, y), y);
    const V root = hn::Mul(y, hn::Div(hn::Add(y3, hn::Add(t, t)), hn::Add(hn::Add(y3, y3), t)));
    const V line = hn::Add(hn::Mul(t, hn::Set(d, 7.787f)), hn::Set(d, 16.0f / 116.0f));
    return hn::IfThenElse(hn::Gt(t, hn::Set(d, 0.008856f)), root, line);
  }

  void ToLab(const Direction& direction, int y) {
    const DF d;
    const int n = int(hn::Lanes(d)), w = m_job.region.width;
    const bool redLine = IsRedLine(m_job, y);
    const Picture& picture = direction.picture;
    const L* r = redLine ? picture.own[y] : picture.other[y];
    const L* b = redLine ? picture.other[y] : picture.own[y];
    const L* g = picture.green[y];
    float *light = direction.light[y], *aOut = direction.a[y], *bOut = direction.b[y];
    // Linear RGB to XYZ over the white point D65, and full scale to 1.
    const float unit = 1.0f / float(hwy::HighestValue<T>());
    const auto row = [&](float kr, float kg, float kb, auto vr, auto vg, auto vb) HWY_ATTR {
      return hn::Add(
          hn::Add(hn::Mul(vr, hn::Set(d, kr * unit)), hn::Mul(vg, hn::Set(d, kg * unit))),
          hn::Mul(vb, hn::Set(d, kb * unit)));
    };
    for (int x = -4; x < w + 4; x += n) {
      const auto vr = ToFloat(r + x), vg = ToFloat(g + x), vb = ToFloat(b + x);
      const auto fx = LabRoot(row(0.43391f, 0.37622f, 0.18986f, vr, vg, vb));
      const auto fy = LabRoot(row(0.21267f, 0.71516f, 0.07217f, vr, vg, vb));
      const auto fz = LabRoot(row(0.01775f, 0.10945f, 0.87278f, vr, vg, vb));
      hn::StoreU(hn::Mul(fy, hn::Set(d, 116.0f)), d, light + x);
      hn::StoreU(hn::Mul(hn::Sub(fx, fy), hn::Set(d, 500.0f)), d, aOut + x);
      hn::StoreU(hn::Mul(hn::Sub(fy, fz), hn::Set(d, 200.0f)), d, bOut + x);
    }
  }

  // How many more of the four neighbours are alike in the lines' picture than in the columns' one.
  // Alike is what differs no more than neighbours along the direction of interpolation do, in the
  // picture where they differ less.
  void Homogeneity(int y) {
    const DF d;
    const hn::Rebind<int32_t, DF> dInt;
    const hn::Rebind<L, DF> dOut;
    const int n = int(hn::Lanes(d)), w = m_job.region.width;
    L* out = m_preference[y];
    for (int x = -3; x < w + 3; x += n) {
      // Left, right, up, down.
      decltype(hn::Zero(d)) lightH[4], colourH[4], lightV[4], colourV[4];
      Neighbours(m_h, y, x, lightH, colourH);
      Neighbours(m_v, y, x, lightV, colourV);
      const auto limitLight = hn::Min(hn::Max(lightH[0], lightH[1]), hn::Max(lightV[2], lightV[3]));
      const auto limitColour =
          hn::Min(hn::Max(colourH[0], colourH[1]), hn::Max(colourV[2], colourV[3]));
      auto count = hn::Zero(d);
      const auto one = hn::Set(d, 1.0f);
      for (int k = 0; k < 4; ++k) {
        const auto alikeH = hn::And(hn::Le(lightH[k], limitLight), hn::Le(colourH[k], limitColour));
        const auto alikeV = hn::And(hn::Le(lightV[k], limitLight), hn::Le(colourV[k], limitColour));
        count = hn::Add(count, hn::IfThenElseZero(alikeH, one));
        count = hn::Sub(count, hn::IfThenElseZero(alikeV, one));
      }
      const auto lanes = hn::ConvertTo(dInt, count);
      if constexpr (sizeof(L) == 2)
        hn::StoreU(hn::DemoteTo(dOut, lanes), dOut, out + x);
      else
        hn::StoreU(lanes, dOut, out + x);
    }
  }

  template <class V>
  HWY_INLINE static void Neighbours(const Direction& direction, int y, int x, V* light, V* colour) {
    const float* lights[3] = {direction.light[y - 1], direction.light[y], direction.light[y + 1]};
    const float* as[3] = {direction.a[y - 1], direction.a[y], direction.a[y + 1]};
    const float* bs[3] = {direction.b[y - 1], direction.b[y], direction.b[y + 1]};
    const V l0 = AtF(lights[1], x), a0 = AtF(as[1], x), b0 = AtF(bs[1], x);
    constexpr int sk_line[] = {1, 1, 0, 2}, sk_column[] = {-1, 1, 0, 0};
    for (int k = 0; k < 4; ++k) {
      const int line = sk_line[k], column = x + sk_column[k];
      const V da = hn::Sub(a0, AtF(as[line], column)), db = hn::Sub(b0, AtF(bs[line], column));
      light[k] = hn::Abs(hn::Sub(l0, AtF(lights[line], column)));
      colour[k] = hn::Add(hn::Mul(da, da), hn::Mul(db, db));
    }
  }

  // Green from the picture that is more homogeneous in the three by three pixels around, or the
  // mean of both.
  void Select(int y) {
    const D d;
    const int n = int(hn::Lanes(d)), w = m_job.region.width;
    const L *up = m_preference[y - 1], *mid = m_preference[y], *down = m_preference[y + 1];
    const L *row = m_raw[y], *fromH = m_h.picture.green[y], *fromV = m_v.picture.green[y];
    L *green = m_selected.green[y], *difference = m_selected.difference[y];
    const auto zero = hn::Zero(d), one = hn::Set(d, 1);
    for (int x = -2; x < w + 2; x += n) {
      auto sum = hn::Zero(d);
      for (int i = -1; i <= 1; ++i) {
        sum = hn::Add(sum, hn::Add(hn::Add(At(up, x + i), At(mid, x + i)), At(down, x + i)));
      }
      const auto h = At(fromH, x), v = At(fromV, x);
      const auto mean = hn::ShiftRight<1>(hn::Add(hn::Add(h, v), one));
      const auto g =
          hn::IfThenElse(hn::Gt(sum, zero), h, hn::IfThenElse(hn::Lt(sum, zero), v, mean));
      hn::StoreU(g, d, green + x);
      // Zero where green is measured, as both pictures have it there.
      hn::StoreU(hn::Sub(At(row, x), g), d, difference + x);
    }
  }

  // Of two pairs in order, the lowest two in order; the highest two by Min and Max turned round.
  template <class V, class Low, class High>
  HWY_INLINE static void Merge(Low low, High high, V (&a)[2], const V (&b)[2]) {
    const V next = low(high(a[0], b[0]), low(a[1], b[1]));
    a[0] = low(a[0], b[0]);
    a[1] = next;
  }

  // The centre of three by three, taken back between the second and the last but one of the eight
  // around it: their median when the centre counts five times.
  template <class V>
  HWY_INLINE static V CentreWeightedMedian(const V* p) {
    constexpr int sk_around[] = {0, 1, 2, 3, 5, 6, 7, 8};
    const auto min = [](V a, V b) HWY_ATTR { return hn::Min(a, b); };
    const auto max = [](V a, V b) HWY_ATTR { return hn::Max(a, b); };
    V low[4][2], high[4][2];
    for (int k = 0; k < 4; ++k) {
      const V a = p[sk_around[2 * k]], b = p[sk_around[2 * k + 1]];
      low[k][0] = high[k][1] = hn::Min(a, b);
      low[k][1] = high[k][0] = hn::Max(a, b);
    }
    for (const auto& [into, from] : {std::pair{0, 1}, {2, 3}, {0, 2}}) {
      Merge(min, max, low[into], low[from]);
      Merge(max, min, high[into], high[from]);
    }
    return hn::Min(hn::Max(p[4], low[0][1]), high[0][1]);
  }

  void Output(int y) {
    if (ColourInEvenLanes(m_job, y))
      OutputOf<true>(y);
    else
      OutputOf<false>(y);
  }

  // Red and blue become green plus the centre-weighted median of their difference to green; what
  // was measured stays.
  template <bool ColourIsEven>
  HWY_INLINE void OutputOf(int y) {
    const D d;
    using V = hn::VFromD<D>;
    const int n = int(hn::Lanes(d)), w = m_job.region.width;
    const bool redLine = IsRedLine(m_job, y);
    const Picture& in = m_selected;
    const L* green[] = {in.green[y - 1], in.green[y], in.green[y + 1]};
    // The lines above and below measure the other colour.
    const L* own[] = {in.other[y - 1], in.own[y], in.other[y + 1]};
    const L* other[] = {in.own[y - 1], in.other[y], in.own[y + 1]};
    T* out = m_job.Out(y);
    for (int x = 0; x < w; x += n) {
      V ownLess[9], otherLess[9];
      for (int j = 0; j < 3; ++j) {
        for (int i = 0; i < 3; ++i) {
          const V g = At(green[j], x + i - 1);
          ownLess[j * 3 + i] = hn::Sub(At(own[j], x + i - 1), g);
          otherLess[j * 3 + i] = hn::Sub(At(other[j], x + i - 1), g);
        }
      }
      const V g = At(green[1], x), measured = At(own[1], x);
      const V smooth = hn::Add(g, CentreWeightedMedian(ownLess)),
              otherColour = hn::Add(g, CentreWeightedMedian(otherLess));
      const V ownColour =
          ColourIsEven ? hn::OddEven(smooth, measured) : hn::OddEven(measured, smooth);
      StoreRgb(d, redLine ? ownColour : otherColour, g, redLine ? otherColour : ownColour,
               out + size_t(x) * 3, w - x);
    }
  }

  const MosaicJob<T>& m_job;
  LineRing<L, 16> m_raw;
  Direction m_h, m_v;  // interpolated along lines and along columns
  Lines m_preference;  // above zero where the former is the more homogeneous
  Picture m_selected;
  bool m_ready = false;
};

bool Ahd8(const MosaicJob<uint8_t>& job, int first, int last) {
  return AhdWorker<uint8_t>::Run(job, first, last);
}
bool Ahd16(const MosaicJob<uint16_t>& job, int first, int last) {
  return AhdWorker<uint16_t>::Run(job, first, last);
}

}  // namespace Orvex::Primitives::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE && !defined(ORVEX_WITH_IPP)

#include <atomic>

namespace Orvex::Primitives {
HWY_EXPORT(Ahd8);
HWY_EXPORT(Ahd16);

namespace {

template <class T, class Kernel>
IppStatus DemosaicAhd(const T* src, IppiRect region, IppiSize size, int srcStep, T* dst,
                      int dstStep, IppiBayerGrid grid, const T* tmp, int tmpStep, Kernel kernel) {
  MosaicJob<T> job;
  if (const IppStatus status = MakeMosaicJob(src, region, size, srcStep, dst, dstStep, grid, &job))
    return status;
  // The line buffers are the threads' own, because several of them work at once.
  if (tmp == nullptr) return ippStsNullPtrErr;
  if (tmpStep <= 0) return ippStsStepErr;
  std::atomic<bool> done{true};
  SplitRows(
      size_t(region.height), size_t(region.height) * size_t(region.width) * 16 * sizeof(T),
      [&](size_t first, size_t last) {
        if (!kernel(job, int(first), int(last))) done = false;
      },
      64);
  return done ? ippStsNoErr : ippStsMemAllocErr;
}

}  // namespace
}  // namespace Orvex::Primitives

using namespace Orvex::Primitives;  // NOLINT: the functions below have IPP's global names

extern "C" IppStatus ippiDemosaicAHD_8u_C1C3R(const Ipp8u* pSrc, IppiRect srcRoi, IppiSize srcSize,
                                              int srcStep, Ipp8u* pDst, int dstStep,
                                              IppiBayerGrid grid, Ipp8u* pTmp, int tmpStep) {
  return DemosaicAhd(pSrc, srcRoi, srcSize, srcStep, pDst, dstStep, grid, pTmp, tmpStep,
                     HWY_DYNAMIC_DISPATCH(Ahd8));
}

extern "C" IppStatus ippiDemosaicAHD_16u_C1C3R(const Ipp16u* pSrc, IppiRect srcRoi,
                                               IppiSize srcSize, int srcStep, Ipp16u* pDst,
                                               int dstStep, IppiBayerGrid grid, Ipp16u* pTmp,
                                               int tmpStep) {
  return DemosaicAhd(pSrc, srcRoi, srcSize, srcStep, pDst, dstStep, grid, pTmp, tmpStep,
                     HWY_DYNAMIC_DISPATCH(Ahd16));
}

#endif
