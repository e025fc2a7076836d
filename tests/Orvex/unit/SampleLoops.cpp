// SPDX-License-Identifier: Apache-2.0
// The vector loops over samples against plain ones: every instruction set of this machine, every
// length up to a few vectors, sources at the end of readable memory, destinations between canaries.
#include <gmock/gmock.h>
#include <hwy/targets.h>

#include <algorithm>

#include "ImageTools.h"
#include "primitives/SampleKernels.h"
#include "tests/primitives/Targets.h"

namespace Orvex::Testing {
namespace {

namespace SampleKernels = Primitives::SampleKernels;

constexpr size_t sk_maxSamples = 200;
constexpr uint8_t sk_canary = 0xA5;

// Once for every instruction set that this machine has, and for the portable code.
void ForEachTarget(const std::function<void(const char*)>& body) {
  const Targets::Restore restore;
  hwy::SetSupportedTargetsForTest(0);
  const int64_t available = hwy::SupportedTargets();
  for (const int64_t target : {int64_t{HWY_AVX3_DL}, int64_t{HWY_AVX3}, int64_t{HWY_AVX2},
                               int64_t{HWY_SSE4}, int64_t{HWY_NEON}, int64_t{HWY_EMU128}}) {
    if (target != HWY_EMU128 && !(available & target)) continue;
    hwy::GetChosenTarget().Update(target == HWY_EMU128 ? 0 : target);
    body(hwy::TargetName(target));
  }
}

// One loop: bytes of a sample, what it does with n of them, and what it should give.
struct Loop {
  std::string name;
  size_t sampleBytes, resultBytes;
  // n has to be a multiple of this.
  size_t multiple;
  std::function<void(const uint8_t*, size_t, uint8_t*)> run;
  std::function<Bytes(const Bytes&, size_t)> plain;
};

uint32_t Word(const Bytes& in, size_t i) {
  return in[2 * i] | uint32_t{in[2 * i + 1]} << 8;
}

Bytes EachSample(size_t n, const std::function<uint32_t(size_t)>& rule) {
  Bytes out(n);
  for (size_t i = 0; i < n; ++i) out[i] = static_cast<uint8_t>(rule(i));
  return out;
}

std::vector<Loop> Loops() {
  std::vector<Loop> loops;
  for (unsigned right = 0; right < 16; ++right) {
    loops.push_back(
        {"NarrowWords", 2, 1, 1,
         [=](auto* p, size_t n, auto* q) { SampleKernels::NarrowWords(p, n, right, q); },
         [=](const Bytes& in, size_t n) {
           return EachSample(n, [&](size_t i) { return Word(in, i) >> right; });
         }});
  }
  const auto scaled = [](uint32_t value, int right) {
    return std::min<uint64_t>(right >= 0 ? value >> right : uint64_t{value} << -right, 255);
  };
  for (int right = -8; right <= 16; ++right) {
    loops.push_back({"ScaleWords", 2, 1, 1,
                     [=](auto* p, size_t n, auto* q) { SampleKernels::ScaleWords(p, n, right, q); },
                     [=](const Bytes& in, size_t n) {
                       return EachSample(n, [&](size_t i) { return scaled(Word(in, i), right); });
                     }});
    if (right > 8) continue;
    loops.push_back({"ScaleBytes", 1, 1, 1,
                     [=](auto* p, size_t n, auto* q) { SampleKernels::ScaleBytes(p, n, right, q); },
                     [=](const Bytes& in, size_t n) {
                       return EachSample(n, [&](size_t i) { return scaled(in[i], right); });
                     }});
  }
  for (unsigned which = 0; which < 3; ++which) {
    loops.push_back(
        {"PickOfThree", 3, 1, 1,
         [=](auto* p, size_t n, auto* q) { SampleKernels::PickOfThree(p, n, which, q); },
         [=](const Bytes& in, size_t n) {
           return EachSample(n, [&](size_t i) { return in[3 * i + which]; });
         }});
  }
  for (size_t channels = 2; channels <= 4; ++channels) {
    const auto separated = [=](const Bytes& in, size_t n, size_t size) {
      Bytes out(n * size);
      for (size_t i = 0; i < n; ++i) {
        const size_t to = i % channels * (n / channels) + i / channels;
        std::copy_n(in.begin() + long(i * size), size, out.begin() + long(to * size));
      }
      return out;
    };
    loops.push_back({"SeparateBytes", 1, 1, channels,
                     [=](auto* p, size_t n, auto* q) {
                       SampleKernels::SeparateBytes(p, n, channels, q, n / channels);
                     },
                     [=](const Bytes& in, size_t n) { return separated(in, n, 1); }});
    loops.push_back({"SeparateWords", 2, 2, channels,
                     [=](auto* p, size_t n, auto* q) {
                       SampleKernels::SeparateWords(reinterpret_cast<const uint16_t*>(p), n,
                                                    channels, q, n / channels);
                     },
                     [=](const Bytes& in, size_t n) { return separated(in, n, 2); }});
  }
  static const Bytes sk_tables = RandomBytes(1024, 5);
  loops.push_back(
      {"LookUpBytes", 1, 1, 1,
       [](auto* p, size_t n, auto* q) { SampleKernels::LookUpBytes(p, n, sk_tables.data(), q); },
       [](const Bytes& in, size_t n) {
         return EachSample(n, [&](size_t i) { return sk_tables[in[i]]; });
       }});
  for (const Bytes& pattern : {Bytes{0, 1}, Bytes{0, 1, 2}, Bytes{0, 1, 2, 3}, Bytes{1, 0, 2, 0},
                               Bytes{0, 0, 1, 0, 0, 2}}) {
    loops.push_back({"LookUpBytesInPattern", 1, 1, 1,
                     [=](auto* p, size_t n, auto* q) {
                       SampleKernels::LookUpBytesInPattern(p, n, sk_tables.data(), pattern.data(),
                                                           pattern.size(), q);
                     },
                     [=](const Bytes& in, size_t n) {
                       return EachSample(n, [&](size_t i) {
                         return sk_tables[256u * pattern[i % pattern.size()] + in[i]];
                       });
                     }});
  }
  return loops;
}

TEST(SampleLoops, GiveWhatPlainLoopsGiveOnEveryInstructionSet) {
  const std::vector<Loop> loops = Loops();
  Targets::Edged source(sk_maxSamples * 3);
  ForEachTarget([&](const char* target) {
    for (const Loop& loop : loops) {
      for (size_t n = 0; n <= sk_maxSamples; n += loop.multiple) {
        const Bytes in = RandomBytes(n * loop.sampleBytes, static_cast<unsigned>(n) + 1);
        Bytes out(n * loop.resultBytes + 2, sk_canary);
        loop.run(source.Fill(in.size(), in.data()), n, out.data() + 1);
        ASSERT_EQ(out.front(), sk_canary) << loop.name << " " << target << " " << n;
        ASSERT_EQ(out.back(), sk_canary) << loop.name << " " << target << " " << n;
        ASSERT_EQ(Bytes(out.begin() + 1, out.end() - 1), loop.plain(in, n))
            << loop.name << " " << target << " " << n;
      }
    }
  });
}

TEST(SampleLoops, TakePatternsThroughManyVectors) {
  // Longer than six vectors of 64 bytes, where a pattern of six comes round.
  const Bytes tables = RandomBytes(768, 3), in = RandomBytes(1000), pattern = {1, 0, 0, 2, 0, 0};
  Bytes expected(in.size());
  for (size_t i = 0; i < in.size(); ++i) expected[i] = tables[256u * pattern[i % 6] + in[i]];
  ForEachTarget([&](const char* target) {
    Bytes out(in.size());
    SampleKernels::LookUpBytesInPattern(in.data(), in.size(), tables.data(), pattern.data(), 6,
                                        out.data());
    EXPECT_EQ(out, expected) << target;
  });
}

}  // namespace
}  // namespace Orvex::Testing
