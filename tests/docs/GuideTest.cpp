// SPDX-License-Identifier: Apache-2.0
// Follows the documentation as a newcomer does: every block of commands of a page is run, in the
// page's order and in one shell, against the installed SDK. A block of text behind one shows output
// that must really come; numbers may differ. Pages with blocks of the kind "sh host", which change
// the computer, are followed on a machine that is thrown away (tests/machine/machine.sh).
#include <gtest/gtest.h>

#include <cctype>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>

#include "Pages.h"
#include "tests/Places.h"
#include "tests/tools/Processes.h"

namespace OrvexTest {
namespace {

namespace fs = std::filesystem;

constexpr const char* sk_mark = "@@@ line ";

std::vector<fs::path> PagesWithCommands() {
  std::vector<fs::path> pages;
  for (const auto& page : Pages()) {
    for (const Block& block : BlocksOf(page)) {
      if (!block.kind.starts_with("sh")) continue;
      pages.push_back(page);
      break;
    }
  }
  return pages;
}

// What a page needs of the computer.
struct Needs {
  bool administrator = false;
  bool checkout = false;  // it builds and installs by itself
};

Needs NeedsOf(const std::vector<Block>& blocks) {
  Needs needs;
  for (const Block& block : blocks) {
    needs.administrator |= block.kind == "sh host";
    needs.checkout |= block.text.find("./dev ") != std::string::npos;
  }
  return needs;
}

std::string Surroundings() {
  const std::string prefix = std::string(places::sk_binaryDir) + "/installed";
  return "prefix='" + prefix +
         "'\n"
         "libraries=$(dirname \"$(find \"$prefix\" -name liborvex.so)\")\n"
         "export PATH=$prefix/bin:$PATH CMAKE_PREFIX_PATH=$prefix LD_LIBRARY_PATH=$libraries\n"
         "export PKG_CONFIG_PATH=$libraries/pkgconfig\n";
}

// Digits become '#', white space a single blank: what stays the same from one machine to another.
std::string Shape(const std::string& text) {
  std::string shape;
  for (const char letter : text) {
    const bool blank = std::isspace(static_cast<unsigned char>(letter)) != 0;
    const bool digit = std::isdigit(static_cast<unsigned char>(letter)) != 0;
    const char shown = blank ? ' ' : digit ? '#' : letter;
    const bool repeats = (blank || digit) && !shape.empty() && shape.back() == shown;
    if (!repeats) shape += shown;
  }
  return shape;
}

std::string OutputOfBlock(const std::string& output, const Block& block) {
  const std::string mark = sk_mark + std::to_string(block.line) + "\n";
  const std::size_t begin = output.find(mark);
  if (begin == std::string::npos) return "";
  const std::size_t end = output.find(sk_mark, begin + mark.size());
  return output.substr(begin + mark.size(), end - begin - mark.size());
}

class Guide : public testing::TestWithParam<fs::path> {
 protected:
  Guide() {
    std::string pattern = (fs::temp_directory_path() / "orvex-guide-XXXXXX").string();
    m_folder = ::mkdtemp(pattern.data());
  }
  ~Guide() override { fs::remove_all(m_folder); }

  // Leaves the page's script in the folder.
  void WriteScript(const std::string& before, bool administrator) {
    const fs::path printer = fs::path(places::sk_sourceDir) / "tests/docs/follow.awk";
    const Result script = RunToEnd("/usr/bin/awk", {"-v", administrator ? "host=1" : "host=0", "-f",
                                                    printer.string(), GetParam().string()});
    ASSERT_EQ(script.code, 0) << script.err;
    std::ofstream(m_folder / "page.sh") << before << script.out;
  }

  fs::path m_folder;
};

TEST_P(Guide, DoesWhatItShows) {
  const fs::path tree = places::sk_sourceDir;
  const std::vector<Block> blocks = BlocksOf(GetParam());
  const Needs needs = NeedsOf(blocks);
  if (needs.checkout && fs::path(places::sk_binaryDir) != tree / "build/dev")
    GTEST_SKIP() << "the page builds build/dev, which is not the build that is tested";
  WriteScript(needs.checkout ? "" : Surroundings(), needs.administrator);
  Result result;
  if (needs.administrator) {
    result = RunToEnd(tree / "tests/machine/machine.sh",
                      {"/", (m_folder / "page.sh").string(), tree.string()}, Seconds(600));
    if (result.code == 77) GTEST_SKIP() << result.out;
  } else {
    result = RunToEnd("/bin/bash", {"page.sh"}, Seconds(150), m_folder);
  }
  EXPECT_EQ(result.code, 0) << result.out << result.err;
  for (const Block& block : blocks) {
    const std::string shape = Shape(OutputOfBlock(result.out, block));
    std::istringstream lines(block.output);
    for (std::string line; std::getline(lines, line);) {
      if (line == "...") continue;
      EXPECT_NE(shape.find(Shape(line)), std::string::npos)
          << GetParam() << ':' << block.line << " shows '" << line << "', but there came\n"
          << OutputOfBlock(result.out, block);
    }
  }
}

// Commands in the running text: each exists, with the options that are named.
TEST(GuideWords, NameCommandsThatExist) {
  const std::string developer = ContentOf(fs::path(places::sk_sourceDir) / "dev");
  const fs::path orvex = fs::path(places::sk_binaryDir) / "installed/bin/orvex";
  const std::regex span(R"(`(orvex|\./dev) ([a-z]+)([^`\n]*)`)");
  const std::regex option(R"(--[a-z-]+)");
  std::map<std::string, std::string> helps;
  for (const auto& page : Pages()) {
    const std::string text = ContentOf(page);
    for (std::sregex_iterator it(text.begin(), text.end(), span), end; it != end; ++it) {
      const std::string command = (*it)[2];
      if ((*it)[1] != "orvex") {
        EXPECT_NE(developer.find("\n  " + command), std::string::npos) << page << ": " << it->str();
        continue;
      }
      if (!helps.contains(command)) helps[command] = RunToEnd(orvex, {command, "--help"}).out;
      const std::string& help = helps[command];
      EXPECT_FALSE(help.empty()) << page << ": " << it->str();
      const std::string rest = (*it)[3];
      for (std::sregex_iterator word(rest.begin(), rest.end(), option); word != end; ++word)
        EXPECT_NE(help.find(word->str()), std::string::npos) << page << ": " << it->str();
    }
  }
  EXPECT_GT(helps.size(), 10U) << "the pages are not read as they should be";
}

INSTANTIATE_TEST_SUITE_P(Page, Guide, testing::ValuesIn(PagesWithCommands()), [](const auto& info) {
  std::string name = info.param.parent_path().stem().string() + "_" + info.param.stem().string();
  for (char& letter : name) {
    if (std::isalnum(static_cast<unsigned char>(letter)) == 0) letter = '_';
  }
  return name;
});

}  // namespace
}  // namespace OrvexTest
