// SPDX-License-Identifier: Apache-2.0
// `orvex deinterleave IN OUT`: the channels of a polarised, dual or quad picture as planes.
#include <fmt/format.h>

#include "tools/Failure.h"
#include "tools/FileImages.h"

namespace OrvexTools {
namespace {

struct Options {
  FilePair files;
  bool split = false;
};

void RunDeinterleave(const Options& options, const Output& output) {
  const PictureKind kind = KindOf(options.files.out);
  Library library;
  const OwnedImage source = OpenPicture(options.files.in);
  const std::uint64_t format = source->GetPixelFormat();
  Record results = Record::array();
  if (options.split) {
    std::vector<OwnedImage> channels;
    for (Orvex::IImage* pChannel : Orvex::ImageFactory::SplitChannels(source.get()))
      channels.emplace_back(pChannel);
    for (const OwnedImage& channel : channels) {
      results.push_back(SaveResult(NumberedName(options.files.out, results.size(), channels.size()),
                                   *channel, format));
    }
  } else {
    const OwnedImage planes(Orvex::ImageFactory::DeinterleaveChannels(source.get()));
    // A Bayer pattern goes on from plane to plane only when each has an even number of lines.
    if (kind != PictureKind::Raw && source->GetHeight() % 2 != 0 &&
        FormatName(planes->GetPixelFormat()).starts_with("Bayer")) {
      throw Failure(fmt::format(
          "planes of {} lines do not continue each other's Bayer pattern; use --split or save "
          "them as .raw",
          source->GetHeight()));
    }
    results.push_back(SaveResult(options.files.out, *planes, format));
  }
  PrintResults(output, results);
}

}  // namespace

void AddDeinterleaveCommand(CLI::App& program, Output& output) {
  auto pOptions = std::make_shared<Options>();
  CLI::App* pCommand = program.add_subcommand(
      "deinterleave", "Separate the channels of a polarised, dual or quad picture file");
  AddFilePair(*pCommand, pOptions->files, output);
  pCommand->add_flag("--split", pOptions->split,
                     "One numbered file for each channel, instead of all stacked in one");
  pCommand->callback([pOptions, &output] { RunDeinterleave(*pOptions, output); });
}

}  // namespace OrvexTools
