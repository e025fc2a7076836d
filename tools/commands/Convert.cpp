// SPDX-License-Identifier: Apache-2.0
// `orvex convert IN OUT`: a picture file in another pixel format or kind.
#include <fmt/format.h>

#include <map>

#include "tools/Failure.h"
#include "tools/FileImages.h"

namespace OrvexTools {
namespace {

struct Options {
  FilePair files;
  std::string format;
  Orvex::_EBayerAlgorithm bayerAlgorithm = Orvex::DirectionalInterpolation;
};

void RunConvert(const Options& options, const Output& output) {
  const PictureKind kind = KindOf(options.files.out);
  const std::uint64_t wanted = options.format.empty() ? 0 : FormatOrMisuse(options.format);
  if (kind != PictureKind::Raw && wanted != 0 && PictureFormatFor(wanted) != wanted) {
    throw Misuse(fmt::format("picture files hold Mono8, Mono16, RGB8 and RGB16; save {} as .raw",
                             options.format));
  }
  // The factory works only while a system is open.
  Library library;
  const OwnedImage source = OpenPicture(options.files.in);
  const OwnedImage converted =
      wanted != 0 ? ConvertImage(*source, wanted, options.bayerAlgorithm) : OwnedImage();
  PrintResults(output,
               Record::array({SaveResult(options.files.out, converted ? *converted : *source,
                                         source->GetPixelFormat(), options.bayerAlgorithm)}));
}

}  // namespace

void AddConvertCommand(CLI::App& program, Output& output) {
  static const std::map<std::string, Orvex::_EBayerAlgorithm> sk_algorithms = {
      {"directional", Orvex::DirectionalInterpolation},
      {"adaptive", Orvex::AdaptiveHomogeneityDirected}};
  auto pOptions = std::make_shared<Options>();
  CLI::App* pCommand = program.add_subcommand("convert", "Convert a picture file");
  AddFilePair(*pCommand, pOptions->files, output);
  pCommand->add_option("--to", pOptions->format,
                       "Pixel format; if not given, what the kind of file can hold");
  pCommand
      ->add_option("--bayer-algorithm", pOptions->bayerAlgorithm,
                   "How to find the colours between the pixels of a Bayer pattern: directional, or "
                   "adaptive (slower, better edges; for 8-bit colour)")
      ->transform(CLI::CheckedTransformer(sk_algorithms, CLI::ignore_case).description(""))
      ->option_text("directional|adaptive");
  pCommand->callback([pOptions, &output] { RunConvert(*pOptions, output); });
}

}  // namespace OrvexTools
