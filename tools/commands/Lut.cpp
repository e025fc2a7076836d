// SPDX-License-Identifier: Apache-2.0
// `orvex lut IN OUT`: replaces every sample of a picture file by what a table holds for it.
#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <optional>

#include "tools/Failure.h"
#include "tools/FileImages.h"
#include "tools/Limits.h"
#include "tools/PictureReader.h"

namespace OrvexTools {
namespace {

struct Options {
  FilePair files;
  std::string table;
  std::optional<double> gamma;
  bool invert = false;
};

using Table = std::vector<std::uint8_t>;

unsigned EntryBytes(unsigned bits) {
  return bits <= 8 ? 1 : bits <= 16 ? 2 : 3;
}

void Append(Table& table, std::uint32_t entry, unsigned bytes) {
  for (unsigned i = 0; i < bytes; ++i) table.push_back(static_cast<std::uint8_t>(entry >> 8 * i));
}

// Significant bits of a sample; for formats without layout facts, the last number of the name
// ("DualMono12").
unsigned SampleBits(std::uint64_t format) {
  try {
    return static_cast<unsigned>(Orvex::GetBitsPerChannel(format));
  } catch (const GenICam::GenericException&) {
    const std::string name = FormatName(format);
    const auto end = name.find_last_of("0123456789");
    if (end == std::string::npos) throw;
    auto begin = end;
    while (begin > 0 && std::isdigit(static_cast<unsigned char>(name[begin - 1]))) --begin;
    unsigned bits = 0;
    std::from_chars(name.data() + begin, name.data() + end + 1, bits);
    if (bits < 8 || bits > 24) throw;
    return bits;
  }
}

template <typename Rule>
Table MakeTable(unsigned bits, Rule&& rule) {
  const std::uint32_t most = (std::uint32_t{1} << bits) - 1;
  Table table;
  table.reserve((std::size_t{most} + 1) * EntryBytes(bits));
  for (std::uint32_t value = 0;; ++value) {
    Append(table, rule(value, most), EntryBytes(bits));
    if (value == most) return table;
  }
}

// Numbers between blanks, commas, semicolons or line ends, one for each entry.
Table ReadText(const std::string& name, unsigned bits) {
  const std::vector<std::uint8_t> bytes = ReadBytes(name, sk_maxTextBytes);
  const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  const std::uint32_t most = (std::uint32_t{1} << 8 * EntryBytes(bits)) - 1;
  constexpr std::string_view sk_between = " \t\r\n,;";
  Table table;
  for (std::size_t at = text.find_first_not_of(sk_between); at != std::string_view::npos;) {
    const std::string_view word =
        text.substr(at, std::min(text.find_first_of(sk_between, at), text.size()) - at);
    std::uint32_t entry = 0;
    const auto [pEnd, error] = std::from_chars(word.data(), word.data() + word.size(), entry);
    if (error != std::errc() || pEnd != word.data() + word.size() || entry > most) {
      throw Failure(
          fmt::format("'{}' in {} is no number from 0 to {}", word.substr(0, 40), name, most));
    }
    Append(table, entry, EntryBytes(bits));
    at = text.find_first_not_of(sk_between, at + word.size());
  }
  return table;
}

Table TableFor(const Options& options, std::uint64_t format) {
  if (!options.table.empty()) {
    std::string ending = std::filesystem::path(options.table).extension().string();
    std::transform(ending.begin(), ending.end(), ending.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    const bool isText = ending == ".txt" || ending == ".csv";
    return isText ? ReadText(options.table, SampleBits(format))
                  : ReadBytes(options.table, sk_maxTableBytes);
  }
  if (options.invert) {
    return MakeTable(SampleBits(format),
                     [](std::uint32_t value, std::uint32_t most) { return most - value; });
  }
  return MakeTable(SampleBits(format), [&](std::uint32_t value, std::uint32_t most) {
    const double share = static_cast<double>(value) / most;
    return static_cast<std::uint32_t>(std::lround(std::pow(share, *options.gamma) * most));
  });
}

void RunLut(const Options& options, const Output& output) {
  KindOf(options.files.out);
  if (int{!options.table.empty()} + int{options.gamma.has_value()} + int{options.invert} != 1)
    throw Misuse("give the table by one of --table, --gamma and --invert");
  Library library;
  const OwnedImage source = OpenPicture(options.files.in);
  const std::uint64_t format = source->GetPixelFormat();
  const Table table = TableFor(options, format);
  const OwnedImage result(
      Orvex::ImageFactory::ProcessSoftwareLUT(source.get(), table.data(), table.size()));
  PrintResults(output, Record::array({SaveResult(options.files.out, *result, format)}));
}

}  // namespace

void AddLutCommand(CLI::App& program, Output& output) {
  auto pOptions = std::make_shared<Options>();
  CLI::App* pCommand =
      program.add_subcommand("lut", "Apply a lookup table to the samples of a picture file");
  AddFilePair(*pCommand, pOptions->files, output);
  pCommand->add_option("--table", pOptions->table,
                       "File with one entry for each sample value: numbers if it ends in .txt or "
                       ".csv; else bytes, for samples of 8 bits one an entry, up to 16 bits two "
                       "and for 24 bits three, low byte first. For colour one table, or one for "
                       "each channel end to end");
  pCommand
      ->add_option("--gamma", pOptions->gamma,
                   "Share of the largest value to this power; below 1 brightens")
      ->check(CLI::Range(0.01, 100.0));
  pCommand->add_flag("--invert", pOptions->invert, "Negative");
  pCommand->callback([pOptions, &output] { RunLut(*pOptions, output); });
}

}  // namespace OrvexTools
