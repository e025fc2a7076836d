// SPDX-License-Identifier: Apache-2.0
#include "tools/PictureFile.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cctype>

#include "tools/Failure.h"
#include "tools/WholeFile.h"

namespace OrvexTools {
namespace {

struct Ending {
  std::string_view text;
  PictureKind kind;
};

constexpr std::array<Ending, 4> sk_endings{{
    {".png", PictureKind::Png},
    {".tif", PictureKind::Tiff},
    {".tiff", PictureKind::Tiff},
    {".raw", PictureKind::Raw},
}};

}  // namespace

PictureKind KindOf(const std::filesystem::path& name) {
  std::string ending = name.extension().string();
  std::transform(ending.begin(), ending.end(), ending.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  for (const Ending& known : sk_endings) {
    if (known.text == ending) return known.kind;
  }
  throw Misuse(
      fmt::format("cannot tell the kind of picture from '{}': end the name in .png, .tiff or .raw",
                  name.string()));
}

std::filesystem::path NumberedName(const std::filesystem::path& name, std::uint64_t index,
                                   std::uint64_t count) {
  if (count <= 1) return name;
  const std::size_t digits = std::to_string(count - 1).size();
  std::filesystem::path numbered = name.parent_path() / name.stem();
  numbered += fmt::format("-{:0{}}", index, digits);
  numbered += name.extension();
  return numbered;
}

void WriteRaw(const std::filesystem::path& name, std::span<const std::uint8_t> bytes,
              const Record& facts) {
  std::filesystem::path factsName = name;
  factsName += ".json";
  WholeFile file(name);
  WholeFile factsFile(factsName);
  const std::string text = facts.dump(2, ' ', false, Record::error_handler_t::replace) + "\n";
  file.Write(bytes.data(), bytes.size());
  factsFile.Write(text.data(), text.size());
  file.Commit();
  factsFile.Commit();
}

}  // namespace OrvexTools
