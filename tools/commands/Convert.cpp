// SPDX-License-Identifier: Apache-2.0
// `orvex convert IN OUT`: a picture file in another pixel format or kind.
#include <fmt/format.h>

#include "tools/Command.h"
#include "tools/Failure.h"
#include "tools/Images.h"
#include "tools/PictureReader.h"

namespace OrvexTools {
namespace {

struct Options {
  std::string in;
  std::string out;
  std::string format;
  std::string bayer = "directional";
};

constexpr Field sk_fields[] = {
    {"file", "File"}, {"width", "Width"}, {"height", "Height"},
    {"from", "From"}, {"to", "To"},       {"saved_as", "Saved as"},
};

std::uint64_t FormatOrMisuse(const std::string& name) {
  const auto format = FormatByName(name);
  if (!format)
    throw Misuse(fmt::format(
        "there is no pixel format '{}'; names are such as Mono8, BayerRG12p, RGB8", name));
  return *format;
}

void RunConvert(const Options& options, const Output& output) {
  const PictureKind kind = KindOf(options.out);
  const LoadedPicture in = ReadPicture(options.in);
  const std::uint64_t from = FormatOrMisuse(in.format);
  const std::uint64_t wanted = options.format.empty() ? from : FormatOrMisuse(options.format);
  const auto algorithm = options.bayer == "adaptive" ? Orvex::AdaptiveHomogeneityDirected
                                                     : Orvex::DirectionalInterpolation;

  // The factory works only while a system is open.
  Library library;
  const OwnedImage source(
      Orvex::ImageFactory::Create(in.bytes.data(), in.bytes.size(), in.width, in.height, from));
  const OwnedImage converted(Orvex::ImageFactory::Convert(source.get(), wanted, algorithm));
  if (kind != PictureKind::Raw && !options.format.empty() && PictureFormatFor(wanted) != wanted) {
    throw Misuse(fmt::format("picture files hold Mono8, Mono16, RGB8 and RGB16; save {} as .raw",
                             options.format));
  }
  Record record = DescribeImage(*converted);
  record["from"] = FormatName(from);
  record["to"] = FormatName(wanted);
  record["saved_as"] = SaveImage(options.out, *converted, DescribeImage(*converted));
  record["file"] = options.out;
  PrintRecord(output, record, sk_fields);
}

}  // namespace

void AddConvertCommand(CLI::App& program, Output& output) {
  auto pOptions = std::make_shared<Options>();
  CLI::App* pCommand = program.add_subcommand("convert", "Convert a picture file");
  AddJsonFlag(*pCommand, output);
  pCommand
      ->add_option("IN", pOptions->in,
                   "FILE.png, FILE.tiff, or FILE.raw with FILE.raw.json beside it")
      ->required();
  pCommand->add_option("OUT", pOptions->out, "The same kinds")->required();
  pCommand->add_option("--to", pOptions->format,
                       "Pixel format; if not given, what the kind of file can hold");
  pCommand
      ->add_option("--bayer", pOptions->bayer,
                   "How to find the colours between the pixels of a Bayer pattern")
      ->check(CLI::IsMember({"directional", "adaptive"}))
      ->capture_default_str();
  pCommand->callback([pOptions, &output] { RunConvert(*pOptions, output); });
}

}  // namespace OrvexTools
