// SPDX-License-Identifier: Apache-2.0
#include "Pages.h"

#include <algorithm>
#include <fstream>
#include <sstream>

#include "tests/Places.h"

namespace OrvexTest {

namespace fs = std::filesystem;

std::string ContentOf(const fs::path& name) {
  std::ifstream file(name);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<fs::path> Pages() {
  const fs::path tree = places::sk_sourceDir;
  std::vector<fs::path> pages;
  const auto take = [&pages](const auto& entry) {
    if (entry.path().extension() == ".md") pages.push_back(entry.path());
  };
  for (const auto& entry : fs::directory_iterator(tree)) take(entry);
  for (const auto& entry : fs::recursive_directory_iterator(tree / "docs")) take(entry);
  std::sort(pages.begin(), pages.end());
  return pages;
}

std::vector<Block> BlocksOf(const fs::path& page) {
  std::vector<Block> blocks;
  std::istringstream lines(ContentOf(page));
  std::string line;
  Block block;
  bool inside = false;
  for (std::size_t number = 1; std::getline(lines, line); ++number) {
    if (!line.starts_with("```")) {
      if (inside) block.text += line + '\n';
      continue;
    }
    if (inside) {
      if (block.kind == "text" && !blocks.empty()) {
        blocks.back().output = block.text;
      } else {
        blocks.push_back(block);
      }
    }
    inside = !inside;
    block = Block{line.substr(3), "", "", number};
  }
  return blocks;
}

}  // namespace OrvexTest
