// SPDX-License-Identifier: Apache-2.0
#include "tools/Images.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstring>
#include <vector>

#include "tools/Failure.h"

namespace OrvexTools {
namespace {

struct NamedFormat {
  std::string_view name;
  std::uint64_t value;
};

constexpr NamedFormat sk_formats[] = {
#define ORVEX_NAMED_FORMAT(name, value) {#name, value},
    ORVEX_PFNC_ALL(ORVEX_NAMED_FORMAT)
#undef ORVEX_NAMED_FORMAT
};

// What a picture file can hold as it is.
struct PlainFormat {
  std::uint64_t format;
  unsigned channels;
  unsigned bitsPerSample;
};

constexpr std::array<PlainFormat, 4> sk_plainFormats{{
    {Orvex::Mono8, 1, 8},
    {Orvex::Mono16, 1, 16},
    {Orvex::RGB8, 3, 8},
    {Orvex::RGB16, 3, 16},
}};

const PlainFormat* FindPlain(std::uint64_t format) {
  const auto* const found =
      std::find_if(sk_plainFormats.begin(), sk_plainFormats.end(),
                   [format](const PlainFormat& plain) { return plain.format == format; });
  return found != sk_plainFormats.end() ? found : nullptr;
}

Picture PictureOver(Orvex::IImage& image, const PlainFormat& plain, std::size_t padding) {
  Picture picture;
  picture.width = static_cast<std::uint32_t>(image.GetWidth());
  picture.height = static_cast<std::uint32_t>(image.GetHeight());
  picture.channels = plain.channels;
  picture.bitsPerSample = plain.bitsPerSample;
  picture.stride =
      picture.width * std::size_t{plain.channels} * (plain.bitsPerSample / 8) + padding;
  const std::size_t needed = picture.height == 0 ? 0 : picture.stride * picture.height - padding;
  if (picture.width == 0 || picture.height == 0 || image.GetSizeFilled() < needed) {
    throw Failure(fmt::format("the frame holds {} bytes, too few for {} x {} pixels",
                              image.GetSizeFilled(), picture.width, picture.height));
  }
  picture.data = {image.GetData(), needed};
  return picture;
}

// A copy without the bytes that a camera may append to each line: conversions expect lines to
// follow one another.
OwnedImage WithoutPadding(Orvex::IImage& image) {
  const std::size_t bits = image.GetBitsPerPixel() * image.GetWidth();
  const std::size_t line = bits / 8;
  const std::size_t pitch = line + image.GetPaddingX();
  const std::size_t height = image.GetHeight();
  if (bits % 8 != 0 || height == 0 || image.GetSizeFilled() < pitch * (height - 1) + line) {
    throw Failure("the frame has padded lines that cannot be converted; save it as .raw");
  }
  std::vector<std::uint8_t> packed(line * height);
  for (std::size_t row = 0; row < height; ++row) {
    std::memcpy(packed.data() + row * line, image.GetData() + row * pitch, line);
  }
  return OwnedImage(Orvex::ImageFactory::Create(packed.data(), packed.size(), image.GetWidth(),
                                                height, image.GetPixelFormat()));
}

}  // namespace

std::string FormatName(std::uint64_t pixelFormat) {
  for (const NamedFormat& format : sk_formats) {
    if (format.value == pixelFormat) return std::string(format.name);
  }
  return fmt::format("0x{:08X}", pixelFormat);
}

std::optional<std::uint64_t> FormatByName(std::string_view name) {
  for (const NamedFormat& format : sk_formats) {
    const bool same = std::equal(format.name.begin(), format.name.end(), name.begin(), name.end(),
                                 [](unsigned char left, unsigned char right) {
                                   return std::tolower(left) == std::tolower(right);
                                 });
    if (same) return format.value;
  }
  return std::nullopt;
}

std::uint64_t PictureFormatFor(std::uint64_t pixelFormat) {
  if (FindPlain(pixelFormat) != nullptr) return pixelFormat;
  const std::string name = FormatName(pixelFormat);
  const bool wide = Orvex::GetBitsPerPixel(pixelFormat) > 8;
  // Only these have conversions that do not go through 8 bits.
  if (name.starts_with("Mono") && wide && Orvex::GetBitsPerPixel(pixelFormat) <= 16)
    return Orvex::Mono16;
  if (name.starts_with("Mono")) return Orvex::Mono8;
  if (name.starts_with("Bayer") && wide && Orvex::GetBitsPerPixel(pixelFormat) <= 16)
    return Orvex::RGB16;
  return Orvex::RGB8;
}

Record DescribeImage(Orvex::IImage& image) {
  Record record;
  record["frame_id"] = image.GetFrameId();
  record["width"] = image.GetWidth();
  record["height"] = image.GetHeight();
  record["offset_x"] = image.GetOffsetX();
  record["offset_y"] = image.GetOffsetY();
  record["pixel_format"] = FormatName(image.GetPixelFormat());
  record["pixel_format_code"] = fmt::format("0x{:08X}", image.GetPixelFormat());
  record["bits_per_pixel"] = image.GetBitsPerPixel();
  record["padding_x"] = image.GetPaddingX();
  record["padding_y"] = image.GetPaddingY();
  record["bytes"] = image.GetSizeFilled();
  record["timestamp_ns"] = image.GetTimestampNs();
  return record;
}

OwnedImage ConvertImage(Orvex::IImage& image, std::uint64_t format,
                        Orvex::_EBayerAlgorithm bayerAlgorithm) {
  const std::size_t length = Orvex::ImageFactory::ConvertLen(&image, format);
  OwnedImage converted(
      Orvex::ImageFactory::CreateEmpty(length, image.GetWidth(), image.GetHeight(), format));
  // The image is ours, so its bytes may be written.
  OwnedImage(Orvex::ImageFactory::ConvertShallow(const_cast<std::uint8_t*>(converted->GetData()),
                                                 length, &image, format, bayerAlgorithm));
  return converted;
}

Rendered Render(Orvex::IImage& image, Orvex::_EBayerAlgorithm bayerAlgorithm) {
  Rendered rendered;
  rendered.format = PictureFormatFor(image.GetPixelFormat());
  // Colour of 16 bits is always made directionally.
  if (bayerAlgorithm != Orvex::DirectionalInterpolation && rendered.format == Orvex::RGB16 &&
      image.GetPixelFormat() != Orvex::RGB16)
    rendered.format = Orvex::RGB8;
  const PlainFormat& plain = *FindPlain(rendered.format);
  if (rendered.format == image.GetPixelFormat()) {
    rendered.picture = PictureOver(image, plain, image.GetPaddingX());
    return rendered;
  }
  const OwnedImage tight = image.GetPaddingX() != 0 ? WithoutPadding(image) : OwnedImage();
  rendered.owned = ConvertImage(tight ? *tight : image, rendered.format, bayerAlgorithm);
  rendered.picture = PictureOver(*rendered.owned, plain, 0);
  return rendered;
}

std::string SaveImage(const std::filesystem::path& name, Orvex::IImage& image, const Record& facts,
                      Orvex::_EBayerAlgorithm bayerAlgorithm) {
  const PictureKind kind = KindOf(name);
  if (kind == PictureKind::Raw) {
    WriteRaw(name, {image.GetData(), image.GetSizeFilled()}, facts);
    return FormatName(image.GetPixelFormat());
  }
  const Rendered rendered = Render(image, bayerAlgorithm);
  (kind == PictureKind::Png ? WritePng : WriteTiff)(name, rendered.picture);
  return FormatName(rendered.format);
}

}  // namespace OrvexTools
