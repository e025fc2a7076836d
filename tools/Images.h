#pragma once
// SPDX-License-Identifier: Apache-2.0
// From a frame to a picture file: names of pixel formats, the facts of an image, and the conversion
// into what picture files hold. Images are read, never changed; the library must be open. Used by
// one thread.

#include <Orvex.h>

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "tools/PictureFile.h"
#include "tools/Report.h"
#include "tools/Session.h"

namespace OrvexTools {

// "Mono8", or the number in hexadecimal when nobody has named it.
std::string FormatName(std::uint64_t pixelFormat);

// By name, letter case aside.
std::optional<std::uint64_t> FormatByName(std::string_view name);

// The format in which a picture file holds an image of this format: grey of 8 or 16 bits for Mono,
// else red-green-blue of 8 bits, or of 16 where the camera's samples are wider and the conversion
// keeps them.
std::uint64_t PictureFormatFor(std::uint64_t pixelFormat);

// Size, format, time and number of an image.
Record DescribeImage(Orvex::IImage& image);

// An image as a picture; owns the converted pixels, else refers to the image's own.
struct Rendered {
  OwnedImage owned;
  Picture picture;
  std::uint64_t format = 0;
};
Rendered Render(Orvex::IImage& image,
                Orvex::_EBayerAlgorithm bayerAlgorithm = Orvex::DirectionalInterpolation);

// The image in another format, 0 where the conversion leaves bytes unwritten.
OwnedImage ConvertImage(Orvex::IImage& image, std::uint64_t format,
                        Orvex::_EBayerAlgorithm bayerAlgorithm);

// Writes one image in the kind that the name's ending says; `facts` go beside raw bytes. Returns
// the name of the pixel format that the file holds.
std::string SaveImage(const std::filesystem::path& name, Orvex::IImage& image, const Record& facts,
                      Orvex::_EBayerAlgorithm bayerAlgorithm = Orvex::DirectionalInterpolation);

}  // namespace OrvexTools
