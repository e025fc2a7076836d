// SPDX-License-Identifier: Apache-2.0
// Follows the documentation as a newcomer does: every block of commands of a page is run, in the
// page's order and in one shell, against the installed SDK. A block of text behind one shows output
// that must really come; numbers may differ. Blocks of the kind "sh host" change the machine and
// are only checked for their syntax.
#include <gtest/gtest.h>

#include <cctype>
#include <fstream>
#include <regex>
#include <sstream>

#include "Pages.h"
#include "tests/Places.h"
#include "tests/tools/Processes.h"

namespace OrvexTest {
namespace {

namespace fs = std::filesystem;

constexpr const char* sk_mark = "@@@ block ";

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

// Cameras that are started in the background are waited for, as a person does without noticing.
std::string WaitingForCameras(const std::string& commands) {
  static const std::regex start(R"((^|\n)(orvex sim[^\n&#]*)&[^\n]*)");
  return std::regex_replace(commands, start,
                            "$1$2 >>sim.log 2>&1 &\n"
                            "until grep -q ready sim.log; do kill -0 $$!; sleep 0.02; done\n"
                            ": >sim.log");
}

std::string ScriptOf(const std::vector<Block>& blocks) {
  const std::string prefix = std::string(places::sk_binaryDir) + "/installed";
  std::string script =
      "set -euo pipefail\n"
      "prefix='" +
      prefix +
      "'\n"
      "libraries=$(dirname \"$(find \"$prefix\" -name liborvex.so)\")\n"
      "export PATH=$prefix/bin:$PATH CMAKE_PREFIX_PATH=$prefix LD_LIBRARY_PATH=$libraries\n"
      "export PKG_CONFIG_PATH=$libraries/pkgconfig ORVEX_TREE='" +
      std::string(places::sk_sourceDir) +
      "'\n"
      "trap 'kill $(jobs -p) 2>/dev/null || true' EXIT\n";
  for (std::size_t i = 0; i < blocks.size(); ++i) {
    if (blocks[i].kind == "sh") {
      script += "echo; echo '" + std::string(sk_mark) + std::to_string(i) + "'\n" +
                WaitingForCameras(blocks[i].text);
    } else if (blocks[i].kind == "sh host") {
      script += "bash -n <<'ONLY-SYNTAX'\n" + blocks[i].text + "ONLY-SYNTAX\n";
    }
  }
  return script;
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

std::string OutputOfBlock(const std::string& output, std::size_t index) {
  const std::string mark = sk_mark + std::to_string(index) + "\n";
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

  fs::path m_folder;
};

TEST_P(Guide, DoesWhatItShows) {
  const std::vector<Block> blocks = BlocksOf(GetParam());
  std::ofstream(m_folder / "page.sh") << ScriptOf(blocks);
  const Result result = RunToEnd("/bin/bash", {"page.sh"}, Seconds(150), m_folder);
  EXPECT_EQ(result.code, 0) << result.out << result.err;
  for (std::size_t i = 0; i < blocks.size(); ++i) {
    const std::string shape = Shape(OutputOfBlock(result.out, i));
    std::istringstream lines(blocks[i].output);
    for (std::string line; std::getline(lines, line);) {
      if (line == "...") continue;
      EXPECT_NE(shape.find(Shape(line)), std::string::npos)
          << GetParam() << ':' << blocks[i].line << " shows '" << line << "', but there came\n"
          << OutputOfBlock(result.out, i);
    }
  }
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
