// SPDX-License-Identifier: Apache-2.0
// `orvex decompress IN OUT`: the picture that a QOI stream holds.
#include <fmt/format.h>

#include "tools/Failure.h"
#include "tools/FileImages.h"
#include "tools/Limits.h"
#include "tools/PictureReader.h"

namespace OrvexTools {
namespace {

struct Options {
  FilePair files;
  std::string format;
};

struct CompressedDestroyer {
  void operator()(Orvex::ICompressedImage* pImage) const noexcept {
    try {
      Orvex::ImageFactory::DestroyCompressedImage(pImage);
    } catch (const GenICam::GenericException&) {
      // The library was closed; the image is lost, nothing else.
    }
  }
};

constexpr const char* sk_prefix = "QOI_";

// "RGB8" and "QOI_RGB8" mean the same.
std::uint64_t QoiFormat(const std::string& name) {
  if (const auto format = FormatByName(sk_prefix + name)) return *format;
  const auto format = FormatByName(name);
  if (!format || !FormatName(*format).starts_with(sk_prefix))
    throw Misuse(
        fmt::format("'{}' is no format of compressed pixels; those are Mono8, BayerRG8 and the "
                    "other Bayer formats, RGB8, BGR8, YCbCr8 and YCbCr8_CbYCr",
                    name));
  return *format;
}

// What the stream itself says: its number of channels.
std::uint64_t FormatOfStream(const std::string& name, const std::vector<std::uint8_t>& stream) {
  constexpr std::size_t sk_channelsAt = 12;
  const unsigned channels = stream.size() > sk_channelsAt ? stream[sk_channelsAt] : 0;
  if (channels == 4)
    throw Failure(fmt::format("{} has an alpha channel, for which there is no format", name));
  return channels == 1 ? Orvex::QOI_Mono8 : Orvex::QOI_RGB8;
}

void RunDecompress(const Options& options, const Output& output) {
  KindOf(options.files.out);
  const std::string& name = options.files.in;
  const std::vector<std::uint8_t> stream = ReadBytes(name, sk_maxPictureBytes - 1);
  if (stream.empty()) throw Failure(fmt::format("{} is empty", name));
  const std::string beside = FormatBeside(name);
  if (options.format.empty() && !beside.empty() && !beside.starts_with(sk_prefix))
    throw Failure(fmt::format("{} holds {}, which is not compressed", name, beside));
  const std::string& told = options.format.empty() ? beside : options.format;
  const std::uint64_t format = told.empty() ? FormatOfStream(name, stream) : QoiFormat(told);
  Library library;
  const std::unique_ptr<Orvex::ICompressedImage, CompressedDestroyer> compressed(
      Orvex::ImageFactory::CreateCompressedImage(stream.data(), stream.size(), format));
  const OwnedImage image(Orvex::ImageFactory::DecompressImage(compressed.get()));
  PrintResults(output, Record::array({SaveResult(options.files.out, *image, format)}));
}

}  // namespace

void AddDecompressCommand(CLI::App& program, Output& output) {
  auto pOptions = std::make_shared<Options>();
  CLI::App* pCommand =
      program.add_subcommand("decompress", "Take the picture out of a compressed (QOI) file");
  AddJsonFlag(*pCommand, output);
  pCommand
      ->add_option("IN", pOptions->files.in,
                   "A QOI stream of 1 or 3 channels; FILE.raw.json beside FILE.raw says what its "
                   "pixels are")
      ->required();
  pCommand->add_option("OUT", pOptions->files.out, "FILE.png, FILE.tiff or FILE.raw")->required();
  pCommand->add_option("--format", pOptions->format,
                       "What the pixels are, if it is not said beside: Mono8, BayerRG8, RGB8 ...");
  pCommand->callback([pOptions, &output] { RunDecompress(*pOptions, output); });
}

}  // namespace OrvexTools
