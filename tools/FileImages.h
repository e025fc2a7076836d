#pragma once
// SPDX-License-Identifier: Apache-2.0
// What the commands that work on picture files share: the words IN and OUT, an image of the factory
// from a file, and the result on disk and on the screen. The library must be open where images are
// handled. Used by one thread.

#include <filesystem>
#include <string>

#include "tools/Command.h"
#include "tools/Images.h"

namespace OrvexTools {

struct FilePair {
  std::string in;
  std::string out;
};

// `IN`, `OUT` and `--json`
void AddFilePair(CLI::App& command, FilePair& files, Output& output);

// The pixel format of that name; throws Misuse when there is none.
std::uint64_t FormatOrMisuse(const std::string& name);

// The image that a picture file holds. Throws Failure when it holds less than it says, or
// compressed pixels.
OwnedImage OpenPicture(const std::filesystem::path& name);

// Saves the image under the name and returns what there is to tell of it; `from` is the format that
// it was made from.
Record SaveResult(const std::filesystem::path& name, Orvex::IImage& image, std::uint64_t from,
                  Orvex::_EBayerAlgorithm bayerAlgorithm = Orvex::DirectionalInterpolation);

// Tells the results of one call: one as lines, several as a table.
void PrintResults(const Output& output, const Record& results);

}  // namespace OrvexTools
