// SPDX-License-Identifier: Apache-2.0
// `orvex selectbits IN OUT`: eight bits of every sample of a picture file.
#include <optional>

#include "tools/Failure.h"
#include "tools/FileImages.h"

namespace OrvexTools {
namespace {

struct Options {
  FilePair files;
  std::optional<int> lowestBit;
  double scale = 0;
};

void RunSelectBits(const Options& options, const Output& output) {
  KindOf(options.files.out);
  constexpr std::size_t sk_bits = 8;
  Library library;
  const OwnedImage source = OpenPicture(options.files.in);
  const OwnedImage result(
      options.lowestBit
          ? Orvex::ImageFactory::SelectBits(source.get(), sk_bits, *options.lowestBit)
          : Orvex::ImageFactory::SelectBitsAndScale(source.get(), sk_bits, options.scale));
  PrintResults(output,
               Record::array({SaveResult(options.files.out, *result, source->GetPixelFormat())}));
}

}  // namespace

void AddSelectBitsCommand(CLI::App& program, Output& output) {
  auto pOptions = std::make_shared<Options>();
  CLI::App* pCommand =
      program.add_subcommand("selectbits", "Keep eight bits of every sample of a picture file");
  AddFilePair(*pCommand, pOptions->files, output);
  CLI::Option* pLowest =
      pCommand->add_option("--lowest-bit", pOptions->lowestBit,
                           "Position of the lowest bit kept, 0 being the sample's lowest; what "
                           "stands above the eight bits is cut off");
  pCommand
      ->add_option("--scale", pOptions->scale,
                   "Without --lowest-bit: the eight highest bits, times two to this power, at most "
                   "255")
      ->excludes(pLowest)
      ->capture_default_str();
  pCommand->callback([pOptions, &output] { RunSelectBits(*pOptions, output); });
}

}  // namespace OrvexTools
