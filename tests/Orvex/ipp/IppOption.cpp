// SPDX-License-Identifier: Apache-2.0
// Which functions of IPP's the conversion engine calls, when it is built to link that library.
#include <Base/GCException.h>
#include <gmock/gmock.h>

#include <set>
#include <string>
#include <vector>

#include "ImageFactory.h"
#include "Orvex/ImageFactoryInternal.h"
#include "PixelFormat.h"

extern std::set<std::string> g_called, g_declared;  // by the library that stands in for IPP

namespace {

using namespace Orvex;

constexpr PfncFormat_ sk_formats[] = {
#define ROW(name, value) name,
    ORVEX_PFNC_ALL(ROW)
#undef ROW
};

TEST(WithIpp, TheEngineCallsTheLibraryByItsPublishedNames) {
  OpenImageFactory();
  std::vector<uint8_t> out(4 * 4 * 32);
  for (const PfncFormat_ from : sk_formats) {
    const size_t length = 4 * 4 * GetBitsPerPixel(from) / 8;
    const std::vector<uint8_t> in(length);
    if (length == 0) continue;
    IImage* pImage = ImageFactory::Shallow(in.data(), length, 4, 4, from);
    for (const PfncFormat_ to : sk_formats) {
      for (const auto algorithm : {DirectionalInterpolation, AdaptiveHomogeneityDirected}) {
        if (algorithm == AdaptiveHomogeneityDirected && to != BGRa8) continue;
        try {
          ImageFactory::Destroy(
              ImageFactory::ConvertShallow(out.data(), out.size(), pImage, to, algorithm));
        } catch (const GenICam::GenericException&) {
          // A pair that does not convert.
        }
      }
    }
    ImageFactory::Destroy(pImage);
  }
  CloseImageFactory();
  // What the engine has no way to; nothing else of the header is there in vain.
  std::set<std::string> rest = g_declared;
  for (const std::string& name : g_called) rest.erase(name);
  EXPECT_THAT(rest, testing::ElementsAre("ippiDemosaicAHD_16u_C1C3R", "ippiGrayToRGB_8u_C1C3R"));
  EXPECT_EQ(g_called.size(), 26u);
}

}  // namespace
