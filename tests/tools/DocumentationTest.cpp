// SPDX-License-Identifier: Apache-2.0
// What the documentation shows is what is built: its programs are files of examples/, its links
// lead somewhere.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tests/Places.h"

namespace {

const std::filesystem::path sk_tree = places::sk_sourceDir;

std::string Content(const std::filesystem::path& name) {
  std::ifstream file(name);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::filesystem::path> Pages() {
  std::vector<std::filesystem::path> pages;
  for (const auto& entry : std::filesystem::directory_iterator(sk_tree)) {
    if (entry.path().extension() == ".md") pages.push_back(entry.path());
  }
  for (const auto& entry : std::filesystem::recursive_directory_iterator(sk_tree / "docs")) {
    if (entry.path().extension() == ".md") pages.push_back(entry.path());
  }
  return pages;
}

TEST(Documentation, ShowsProgramsThatAreExamples) {
  std::size_t blocks = 0;
  for (const auto& page : Pages()) {
    const std::string text = Content(page);
    std::size_t begin = 0;
    while ((begin = text.find("```cpp\n", begin)) != std::string::npos) {
      begin += 7;
      const std::size_t end = text.find("```", begin);
      ASSERT_NE(end, std::string::npos) << page;
      const std::string block = text.substr(begin, end - begin);
      bool found = false;
      for (const auto& entry : std::filesystem::directory_iterator(sk_tree / "examples")) {
        found = found || Content(entry.path()).find(block) != std::string::npos;
      }
      EXPECT_TRUE(found) << page << " shows a program that is in no example:\n" << block;
      begin = end + 3;
      ++blocks;
    }
  }
  EXPECT_GE(blocks, 1U);
}

TEST(Documentation, LinksToFilesThatExist) {
  for (const auto& page : Pages()) {
    const std::string text = Content(page);
    for (std::size_t begin = text.find("]("); begin != std::string::npos;
         begin = text.find("](", begin + 2)) {
      const std::string target = text.substr(begin + 2, text.find(')', begin) - begin - 2);
      if (target.find_first_of("#:") != std::string::npos) continue;  // elsewhere
      EXPECT_TRUE(std::filesystem::exists(page.parent_path() / target))
          << page << " links to " << target;
    }
  }
}

}  // namespace
