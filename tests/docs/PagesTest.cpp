// SPDX-License-Identifier: Apache-2.0
// What the documentation shows is what is built: its programs are files of examples/, its links
// lead somewhere, and every message of the library has its remedy.
#include <gtest/gtest.h>

#include <regex>
#include <set>

#include "Pages.h"
#include "tests/Places.h"

namespace OrvexTest {
namespace {

const std::filesystem::path sk_tree = places::sk_sourceDir;

TEST(Documentation, ShowsProgramsThatAreExamples) {
  std::string examples;
  for (const auto& entry : std::filesystem::directory_iterator(sk_tree / "examples"))
    examples += ContentOf(entry.path());
  std::size_t programs = 0;
  for (const auto& page : Pages()) {
    for (const Block& block : BlocksOf(page)) {
      if (block.kind != "cpp") continue;
      ++programs;
      EXPECT_NE(examples.find(block.text), std::string::npos)
          << page << ':' << block.line << " shows a program that is in no example";
    }
  }
  EXPECT_GE(programs, 1U);
}

// A block of any other kind would be shown without ever being tried.
TEST(Documentation, ShowsOnlyBlocksThatAreTried) {
  const std::set<std::string> known{"cpp", "sh", "sh host"};
  for (const auto& page : Pages()) {
    for (const Block& block : BlocksOf(page)) {
      const bool drawing = block.kind.empty() && page.filename() == "architecture.md";
      EXPECT_TRUE(known.contains(block.kind) || drawing)
          << page << ':' << block.line << " has a block of kind '" << block.kind << "'";
    }
    const std::string text = ContentOf(page);
    for (const char* command : {"\n    orvex ", "\n    ./dev ", "\n    sudo "})
      EXPECT_EQ(text.find(command), std::string::npos)
          << page << " shows a command without a fence";
  }
}

TEST(Documentation, LinksToFilesThatExist) {
  for (const auto& page : Pages()) {
    const std::string text = ContentOf(page);
    for (std::size_t begin = text.find("]("); begin != std::string::npos;
         begin = text.find("](", begin + 2)) {
      std::string target = text.substr(begin + 2, text.find(')', begin) - begin - 2);
      if (target.find(':') != std::string::npos) continue;  // elsewhere
      target.resize(std::min(target.size(), target.find('#')));
      EXPECT_TRUE(target.empty() || std::filesystem::exists(page.parent_path() / target))
          << page << " links to " << target;
    }
  }
}

// The first text of every check and throw of the library, as far as it is fixed.
std::set<std::string> Messages() {
  const std::regex raise(
      R"re((?:CHECK_ARG|CHECK_GENTL|THROW_PLAIN|THROW_GENTL|THROW_DIRECT)(?:_FN)?\()re");
  const std::regex text(R"re("((?:[^"\\]|\\.)*)")re");
  std::set<std::string> messages;
  for (const auto& entry : std::filesystem::directory_iterator(sk_tree / "Orvex")) {
    if (entry.path().extension() != ".cpp") continue;
    const std::string source = ContentOf(entry.path());
    for (std::sregex_iterator it(source.begin(), source.end(), raise), end; it != end; ++it) {
      const auto begin = source.begin() + it->position();
      const auto stop = std::find(begin, source.end(), ';');
      std::smatch found;
      if (!std::regex_search(begin, stop, found, text)) continue;
      std::string message = found[1];
      while (!message.empty() &&
             std::string_view(" :.[(").find(message.back()) != std::string::npos)
        message.pop_back();
      message.erase(0, message.find_first_not_of(' '));
      if (message.find(' ') != std::string::npos) messages.insert(message);
    }
  }
  return messages;
}

TEST(Documentation, NamesARemedyForEveryMessageOfTheLibrary) {
  const auto page = sk_tree / "docs/guide/errors.md";
  const std::string text = ContentOf(page);
  const std::set<std::string> messages = Messages();
  EXPECT_GT(messages.size(), 100U) << "the sources are not read as they should be";
  for (const std::string& message : messages)
    EXPECT_NE(text.find(message), std::string::npos) << message << " has no remedy in " << page;
}

}  // namespace
}  // namespace OrvexTest
