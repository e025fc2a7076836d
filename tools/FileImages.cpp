// SPDX-License-Identifier: Apache-2.0
#include "tools/FileImages.h"

#include <fmt/format.h>

#include "tools/Failure.h"
#include "tools/PictureReader.h"

namespace OrvexTools {
namespace {

constexpr Field sk_fields[] = {
    {"file", "File"}, {"width", "Width"}, {"height", "Height"},
    {"from", "From"}, {"to", "To"},       {"saved_as", "Saved as"},
};
constexpr Field sk_columns[] = {
    {"file", "FILE"}, {"width", "WIDTH"}, {"height", "HEIGHT"},
    {"from", "FROM"}, {"to", "TO"},       {"saved_as", "SAVED AS"},
};

}  // namespace

void AddFilePair(CLI::App& command, FilePair& files, Output& output) {
  AddJsonFlag(command, output);
  command
      .add_option("IN", files.in, "FILE.png, FILE.tiff, or FILE.raw with FILE.raw.json beside it")
      ->required();
  command.add_option("OUT", files.out, "The same kinds")->required();
}

std::uint64_t FormatOrMisuse(const std::string& name) {
  const auto format = FormatByName(name);
  if (!format)
    throw Misuse(fmt::format(
        "there is no pixel format '{}'; names are such as Mono8, BayerRG12p, RGB8", name));
  return *format;
}

OwnedImage OpenPicture(const std::filesystem::path& name) {
  const LoadedPicture picture = ReadPicture(name);
  const auto format = FormatByName(picture.format);
  if (!format)
    throw Failure(
        fmt::format("{} has the unknown pixel format '{}'", name.string(), picture.format));
  if (FormatName(*format).starts_with("QOI_"))
    throw Failure(fmt::format("{} is compressed; use `orvex decompress`", name.string()));
  // Within what ReadPicture lets through nothing overflows.
  const std::uint64_t needed = picture.width * picture.height * Orvex::GetBitsPerPixel(*format) / 8;
  if (needed == 0 || picture.bytes.size() < needed) {
    throw Failure(fmt::format("{} holds {} bytes, but {} x {} pixels of {} take {}", name.string(),
                              picture.bytes.size(), picture.width, picture.height,
                              FormatName(*format), needed));
  }
  // What a camera sends behind its pixels, such as chunks, is in a raw file too.
  return OwnedImage(Orvex::ImageFactory::Create(picture.bytes.data(), needed, picture.width,
                                                picture.height, *format));
}

Record SaveResult(const std::filesystem::path& name, Orvex::IImage& image, std::uint64_t from,
                  Orvex::_EBayerAlgorithm bayerAlgorithm) {
  const Record facts = DescribeImage(image);
  Record result = facts;
  result["from"] = FormatName(from);
  result["to"] = FormatName(image.GetPixelFormat());
  result["saved_as"] = SaveImage(name, image, facts, bayerAlgorithm);
  result["file"] = name.string();
  return result;
}

void PrintResults(const Output& output, const Record& results) {
  if (results.size() == 1) {
    PrintRecord(output, results.front(), sk_fields);
  } else {
    PrintTable(output, results, sk_columns, "");
  }
}

}  // namespace OrvexTools
