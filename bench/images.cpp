// SPDX-License-Identifier: Apache-2.0
// Speed of everything that touches pixels, on 12 megapixels: against copying as many bytes, and
// against general-purpose libraries in the same process, on one thread and on all.
#include <zlib.h>

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <new>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "IBuffer.h"
#include "ImageFactory.h"
#include "Orvex/ImageFactoryInternal.h"
#include "Orvex/Qoi.h"
#include "bench/Rows.h"
#include "primitives/BitDepth.h"
#include "primitives/Ipp.h"
#include "primitives/RowThreads.h"
#include "tests/primitives/Scenes.h"

#define QOI_IMPLEMENTATION
#define QOI_NO_STDIO
#include <qoi.h>

namespace {

using namespace Orvex;
using Bench::Medians;
using Bytes = std::vector<uint8_t>;

constexpr int sk_width = 4096, sk_height = 3000;
constexpr size_t sk_pixels = size_t(sk_width) * sk_height;
constexpr IppiSize sk_size{sk_width, sk_height};

// Blocks of at least a page that C++ code has asked for.
std::atomic<size_t> g_allocations{0};

// A smooth scene with noise, as cameras see it, in 8-bit colour.
Bytes CameraPicture() {
  const Scenes::Picture tile = Scenes::NaturalNoise(512, 500);
  std::minstd_rand random(5);
  Bytes rgb(sk_pixels * 3);
  for (int y = 0; y < sk_height; ++y) {
    for (int x = 0; x < sk_width; ++x) {
      const double* colour = tile.At(x % 512, y % 500);
      for (int c = 0; c < 3; ++c) {
        const double noise = (int(random() >> 8 & 7) - 3) * 0.5;
        rgb[(size_t(y) * sk_width + size_t(x)) * 3 + size_t(c)] =
            uint8_t(std::clamp(colour[c] * 255 + noise, 0.0, 255.0));
      }
    }
  }
  return rgb;
}

Bytes MosaicOf(const Bytes& rgb) {
  Bytes mosaic(sk_pixels);
  for (size_t i = 0; i < sk_pixels; ++i) {
    const int x = int(i % sk_width), y = int(i / sk_width);
    mosaic[i] = rgb[i * 3 + size_t(Scenes::ColourAt(ippiBayerRGGB, x, y))];
  }
  return mosaic;
}

struct Destroyer {
  void operator()(IImage* pImage) const { ImageFactory::Destroy(pImage); }
};
using Owned = std::unique_ptr<IImage, Destroyer>;

Owned Over(const Bytes& bytes, size_t size, PfncFormat_ format) {
  return Owned(ImageFactory::Shallow(bytes.data(), size, sk_width, sk_height, format));
}

// One thread, or all.
struct Mode {
  const char* name;
  int threads;
};
constexpr Mode sk_modes[] = {{", one thread", 1}, {", all threads", 0}};
Bench::Clock g_clock = Bench::Clock::Thread;

void Use(const Mode& mode) {
  g_clock = mode.threads == 1 ? Bench::Clock::Thread : Bench::Clock::Wall;
  Primitives::SetRowThreads(unsigned(mode.threads));
  cv::setNumThreads(mode.threads == 0 ? int(Primitives::RowThreads()) : mode.threads);
}

class Images {
 public:
  explicit Images(Bench::Rows& rows)
      : m_rows(rows), m_in(sk_pixels * 8), m_out(sk_pixels * 8), m_copy(sk_pixels * 8) {
    m_rgb = CameraPicture();
    m_mosaic = MosaicOf(m_rgb);
    for (size_t i = 0; i < m_in.size(); ++i) m_in[i] = uint8_t(m_rgb[i % m_rgb.size()] ^ (i >> 3));
  }

  void Run() {
    for (const Mode& mode : sk_modes) {
      Use(mode);
      Depths(mode);
      Tables(mode);
      Mosaics(mode);
      Colours(mode);
    }
    Use(sk_modes[0]);
    Quality();
    Qoi();
    Checksum();
    Allocations();
  }

 private:
  // A row in bytes read and written, against memcpy of as many on one thread.
  void AgainstCopy(const std::string& name, size_t bytes, const std::function<void()>& work,
                   double goal) {
    const auto [ours, copy] = Medians(
        work, [&] { std::memcpy(m_copy.data(), m_in.data(), bytes / 2); }, g_clock);
    m_rows.Add(name, double(bytes) / ours / 1e9, "GB/s", "memcpy of as many bytes", copy / ours,
               goal);
  }
  void AgainstPeer(const std::string& name, const char* peer, const std::function<void()>& work,
                   const std::function<void()>& theirs, double goal) {
    const auto [ours, other] = Medians(work, theirs, g_clock);
    m_rows.Add(name, double(sk_pixels) / ours / 1e6, "MP/s", peer, other / ours, goal);
  }

  void Depths(const Mode& mode) {
    for (const Primitives::DepthKernelRow& kernel : Primitives::sk_depthKernels) {
      const size_t bytes =
          Primitives::BytesOf(kernel.from, sk_pixels) + Primitives::BytesOf(kernel.to, sk_pixels);
      AgainstCopy(
          kernel.name + std::string(mode.name), bytes,
          [&] { kernel.run(m_in.data(), m_out.data(), sk_width, sk_height); }, 0.5);
    }
  }

  void Tables(const Mode& mode) {
    const Owned eight = Over(m_in, sk_pixels, Mono8),
                twelve = Over(m_in, sk_pixels * 3 / 2, Mono12p);
    Bytes table(256);
    for (int i = 0; i < 256; ++i) table[size_t(i)] = uint8_t(255 - i);
    AgainstCopy(
        "SelectBits of Mono12p" + std::string(mode.name), sk_pixels * 5 / 2,
        [&] {
          Owned(ImageFactory::SelectBitsShallow(m_out.data(), sk_pixels, twelve.get(), 8, 4));
        },
        0.5);
    AgainstCopy(
        "SelectBitsAndScale of Mono12p, new image" + std::string(mode.name), sk_pixels * 5 / 2,
        [&] { Owned(ImageFactory::SelectBitsAndScale(twelve.get(), 8, 0)); }, 0.5);
    AgainstCopy(
        "ProcessSoftwareLUT of Mono8, new image" + std::string(mode.name), sk_pixels * 2,
        [&] { Owned(ImageFactory::ProcessSoftwareLUT(eight.get(), table.data(), table.size())); },
        0.5);
  }

  void Directional() {
    ippiCFAToRGB_8u_C1C3R(m_mosaic.data(), {0, 0, sk_width, sk_height}, sk_size, sk_width,
                          m_out.data(), 3 * sk_width, ippiBayerRGGB, 0);
  }

  // OpenCV names a pattern by its second line's pixels: ours of RG is its BG.
  void Mosaics(const Mode& mode) {
    const cv::Mat mosaic(sk_height, sk_width, CV_8UC1, m_mosaic.data());
    cv::Mat rgb, bgra;
    const std::string name = mode.name;
    AgainstPeer(
        "Bayer 8 to RGB8, directional" + name, "OpenCV, edge-aware", [&] { Directional(); },
        [&] { cv::cvtColor(mosaic, rgb, cv::COLOR_BayerBG2RGB_EA); }, 1.0);
    const Owned image = Over(m_mosaic, sk_pixels, BayerRG8);
    AgainstPeer(
        "ConvertShallow of BayerRG8 to RGB8, directional" + name, "OpenCV, edge-aware",
        [&] {
          Owned(ImageFactory::ConvertShallow(m_out.data(), sk_pixels * 3, image.get(), RGB8));
        },
        [&] { cv::cvtColor(mosaic, rgb, cv::COLOR_BayerBG2RGB_EA); }, 1.0);
    AgainstPeer(
        "ConvertShallow of BayerRG8 to BGRa8, directional" + name, "OpenCV, edge-aware, then alpha",
        [&] {
          Owned(ImageFactory::ConvertShallow(m_out.data(), sk_pixels * 4, image.get(), BGRa8));
        },
        [&] {
          cv::cvtColor(mosaic, rgb, cv::COLOR_BayerBG2BGR_EA);
          cv::cvtColor(rgb, bgra, cv::COLOR_BGR2BGRA);
        },
        1.0);
    const auto adaptive = [&] {
      static Bytes tmp((sk_width + 6) * 30);
      ippiDemosaicAHD_8u_C1C3R(m_mosaic.data(), {0, 0, sk_width, sk_height}, sk_size, sk_width,
                               m_out.data(), 3 * sk_width, ippiBayerRGGB, tmp.data(), sk_width + 6);
    };
    std::vector<double> seconds;
    for (int i = 0; i < 9; ++i) seconds.push_back(Bench::Seconds(adaptive, g_clock));
    const double rate = double(sk_pixels) / Bench::MedianOf(seconds) / 1e6;
    m_rows.Add("Bayer 8 to RGB8, adaptive" + name, rate, "MP/s", "100 MP/s a core",
               rate / 100 / (mode.threads == 1 ? 1 : Primitives::RowThreads()), 1.0);
  }

  void Colours(const Mode& mode) {
    const std::string name = mode.name;
    const cv::Mat bgr(sk_height, sk_width, CV_8UC3, m_in.data()),
        bgra(sk_height, sk_width, CV_8UC4, m_in.data());
    const cv::Mat uyvy(sk_height, sk_width, CV_8UC2, m_in.data()),
        grey8(sk_height, sk_width, CV_8UC1, m_in.data());
    cv::Mat grey, swapped, four;
    const int turn[] = {2, 1, 0, 3};
    AgainstPeer(
        "grey of 3 channels" + name, "OpenCV cvtColor",
        [&] { ippiRGBToGray_8u_C3C1R(m_in.data(), 3 * sk_width, m_out.data(), sk_width, sk_size); },
        [&] { cv::cvtColor(bgr, grey, cv::COLOR_RGB2GRAY); }, 1.0);
    AgainstPeer(
        "grey of 4 channels" + name, "OpenCV cvtColor",
        [&] {
          ippiRGBToGray_8u_AC4C1R(m_in.data(), 4 * sk_width, m_out.data(), sk_width, sk_size);
        },
        [&] { cv::cvtColor(bgra, grey, cv::COLOR_RGBA2GRAY); }, 1.0);
    AgainstPeer(
        "grey to 4 channels" + name, "OpenCV cvtColor",
        [&] {
          ippiGrayToRGB_8u_C1C4R(m_in.data(), sk_width, m_out.data(), 4 * sk_width, sk_size, 0);
        },
        [&] { cv::cvtColor(grey8, four, cv::COLOR_GRAY2BGRA); }, 1.0);
    AgainstPeer(
        "channel swap, 3 to 3" + name, "OpenCV cvtColor",
        [&] {
          ippiSwapChannels_8u_C3R(m_in.data(), 3 * sk_width, m_out.data(), 3 * sk_width, sk_size,
                                  turn);
        },
        [&] { cv::cvtColor(bgr, swapped, cv::COLOR_RGB2BGR); }, 1.0);
    AgainstPeer(
        "channel swap, 3 to 4" + name, "OpenCV cvtColor",
        [&] {
          ippiSwapChannels_8u_C3C4R(m_in.data(), 3 * sk_width, m_out.data(), 4 * sk_width, sk_size,
                                    turn, 0);
        },
        [&] { cv::cvtColor(bgr, four, cv::COLOR_RGB2BGRA); }, 1.0);
    AgainstPeer(
        "channel swap, 4 to 3" + name, "OpenCV cvtColor",
        [&] {
          ippiSwapChannels_8u_C4C3R(m_in.data(), 4 * sk_width, m_out.data(), 3 * sk_width, sk_size,
                                    turn);
        },
        [&] { cv::cvtColor(bgra, swapped, cv::COLOR_RGBA2BGR); }, 1.0);
    AgainstPeer(
        "YCbCr 4:2:2 to BGRa8" + name, "OpenCV cvtColor",
        [&] {
          ippiCbYCr422ToBGR_8u_C2C4R(m_in.data(), 2 * sk_width, m_out.data(), 4 * sk_width, sk_size,
                                     0);
        },
        [&] { cv::cvtColor(uyvy, four, cv::COLOR_YUV2BGRA_UYVY); }, 1.0);
    // This OpenCV writes no 4:2:2; of what it has, the subsampled 4:2:0 is nearest.
    AgainstPeer(
        "BGRa8 to YCbCr 4:2:2" + name, "OpenCV cvtColor to 4:2:0",
        [&] {
          ippiBGRToCbYCr422_8u_AC4C2R(m_in.data(), 4 * sk_width, m_out.data(), 2 * sk_width,
                                      sk_size);
        },
        [&] { cv::cvtColor(bgra, swapped, cv::COLOR_BGRA2YUV_I420); }, 1.0);
    AgainstPeer(
        "RGB8 to YCbCr 4:4:4" + name, "OpenCV cvtColor",
        [&] {
          ippiRGBToYCbCr_8u_C3R(m_in.data(), 3 * sk_width, m_out.data(), 3 * sk_width, sk_size);
        },
        [&] { cv::cvtColor(bgr, swapped, cv::COLOR_RGB2YCrCb); }, 1.0);
  }

  static double PsnrOf(const Bytes& truth, const uint8_t* rgb) {
    double sum = 0;
    for (size_t i = 0; i < truth.size(); ++i)
      sum += double(truth[i] - rgb[i]) * (truth[i] - rgb[i]);
    return 10 * std::log10(255.0 * 255.0 * double(truth.size()) / sum);
  }

  void Quality() {
    constexpr int sk_w = 480, sk_h = 400;
    for (const auto& [name, scene] :
         {std::pair{"zone plate", Scenes::ZonePlate(sk_w, sk_h)},
          {"tinted edges", Scenes::ColourEdges(sk_w, sk_h)},
          {"saturated edges", Scenes::ColourEdges(sk_w, sk_h, Scenes::Edges::Saturated)},
          {"natural noise", Scenes::NaturalNoise(sk_w, sk_h)}}) {
      Bytes mosaic = Scenes::Mosaic<uint8_t>(scene, ippiBayerRGGB), rgb(mosaic.size() * 3),
            tmp((sk_w + 6) * 30);
      cv::Mat theirs;
      cv::cvtColor(cv::Mat(sk_h, sk_w, CV_8UC1, mosaic.data()), theirs, cv::COLOR_BayerBG2RGB_EA);
      const double peer = Scenes::Psnr(scene, Bytes(theirs.data, theirs.data + rgb.size()));
      const double bilinear =
          Scenes::Psnr(scene, Scenes::Bilinear(mosaic, sk_w, sk_h, ippiBayerRGGB));
      ippiCFAToRGB_8u_C1C3R(mosaic.data(), {0, 0, sk_w, sk_h}, {sk_w, sk_h}, sk_w, rgb.data(),
                            3 * sk_w, ippiBayerRGGB, 0);
      const double directional = Scenes::Psnr(scene, rgb);
      ippiDemosaicAHD_8u_C1C3R(mosaic.data(), {0, 0, sk_w, sk_h}, {sk_w, sk_h}, sk_w, rgb.data(),
                               3 * sk_w, ippiBayerRGGB, tmp.data(), sk_w + 6);
      const double adaptive = Scenes::Psnr(scene, rgb);
      const std::string what = name;
      m_rows.Add("PSNR of " + what + ", directional", directional, "dB", "OpenCV, edge-aware",
                 directional / peer, 1.0);
      m_rows.Add("PSNR of " + what + ", adaptive", adaptive, "dB", "OpenCV, edge-aware",
                 adaptive / peer, 1.0);
      m_rows.Add("PSNR of " + what + ", directional above bilinear", directional - bilinear, "dB");
      m_rows.Add("PSNR of " + what + ", adaptive above directional", adaptive - directional, "dB");
    }
  }

  void Qoi() {
    const ::qoi_desc theirs{sk_width, sk_height, 3, 0};
    Orvex::qoi_desc ours{sk_width, sk_height, 3, 0};
    int size = 0, ourSize = 0;
    uint8_t* stream = static_cast<uint8_t*>(::qoi_encode(m_rgb.data(), &theirs, &size));
    AgainstPeer(
        "QOI colour encode", "QOI reference",
        [&] { std::free(Orvex::qoi_colour_encode(m_rgb.data(), &ours, &ourSize)); },
        [&] { std::free(::qoi_encode(m_rgb.data(), &theirs, &size)); }, 1.0);
    const auto decode = [&] {
      ::qoi_desc desc;
      std::free(::qoi_decode(stream, size, &desc, 3));
    };
    AgainstPeer(
        "QOI colour decode", "QOI reference",
        [&] {
          Orvex::qoi_desc desc;
          std::free(Orvex::qoi_colour_decode(stream, size, &desc, 3));
        },
        decode, 1.0);
    Bytes mono(sk_pixels);
    for (size_t i = 0; i < sk_pixels; ++i) mono[i] = m_rgb[3 * i + 1];
    for (const auto& [name, picture] : {std::pair{"mosaic", &m_mosaic}, {"monochrome", &mono}}) {
      Orvex::qoi_desc greyDesc{sk_width, sk_height, 1, 0};
      int greySize = 0;
      uint8_t* grey = Orvex::qoi_grey_encode(picture->data(), &greyDesc, &greySize);
      const auto [seconds, reference] = Medians(
          [&, g = grey, n = greySize] {
            Orvex::qoi_desc desc;
            std::free(Orvex::qoi_grey_decode(g, n, &desc, 1));
          },
          decode, g_clock);
      const double rate = double(sk_pixels) / seconds;
      m_rows.Add(std::string("QOI grey decode, ") + name, rate / 1e6, "MB/s",
                 "QOI reference in colour, a byte out", rate / (3 * double(sk_pixels) / reference),
                 1.2);
      std::free(grey);
    }
    std::free(stream);
  }

  void Checksum() {
    const size_t size = sk_pixels;
    volatile uint64_t sink = 0;
    const auto [ours, zlib] = Medians([&] { sink = CalculateCRC32(m_in.data(), size); },
                                      [&] { sink = crc32(0, m_in.data(), uInt(size)); }, g_clock);
    m_rows.Add("CRC-32 of a frame", double(size) / ours / 1e6, "MB/s", "zlib", zlib / ours);
  }

  void Allocations() {
    const Owned image = Over(m_mosaic, sk_pixels, BayerRG8);
    for (const auto& [name, format, size, named] :
         {std::tuple{"BGRa8, directional", BGRa8, sk_pixels * 4, 0},
          {"YCbCr422_8", YCbCr422_8, sk_pixels * 2, 1},
          {"Mono12p", Mono12p, sk_pixels * 3 / 2, 0}}) {
      const auto convert = [&, f = format, s = size] {
        Owned(ImageFactory::ConvertShallow(m_out.data(), s, image.get(), f));
      };
      convert();
      const size_t before = g_allocations;
      convert();
      const size_t count = g_allocations - before;
      m_rows.Add(std::string("large allocations of a repeated conversion to ") + name,
                 double(count), "", "the intermediate",
                 count <= size_t(named) ? 1 : double(named) / double(count) + 1e-9, 1.0);
    }
  }

  Bench::Rows& m_rows;
  Bytes m_in, m_out, m_copy, m_rgb, m_mosaic;
};

}  // namespace

void* operator new(size_t size) {
  if (size >= 4096) ++g_allocations;
  if (void* p = std::malloc(size ? size : 1)) return p;
  throw std::bad_alloc();
}
void operator delete(void* p) noexcept {
  std::free(p);
}
void operator delete(void* p, size_t) noexcept {
  std::free(p);
}

int main(int argc, char** argv) {
  OpenImageFactory();
  {
    Bench::Rows rows("images", argc > 1 ? argv[1] : nullptr);
    Images(rows).Run();
  }
  CloseImageFactory();
  return 0;
}
