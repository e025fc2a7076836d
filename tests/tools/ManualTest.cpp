// SPDX-License-Identifier: Apache-2.0
// Manual pages and completion as the build makes them from the command line.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "Processes.h"
#include "tests/Places.h"
#include "tools/Manual.h"
#include "tools/Program.h"

namespace OrvexTest {
namespace {

const std::filesystem::path sk_manual = std::filesystem::path(places::sk_binaryDir) / "manual";

TEST(Manual, HasAPageForEveryCommandWithEveryOption) {
  std::ostringstream out;
  OrvexTools::Output output{out, out};
  CLI::App program;
  OrvexTools::DescribeProgram(program, output);
  std::ifstream whole(sk_manual / "orvex.1");
  const std::string overview{std::istreambuf_iterator<char>(whole), {}};
  for (const CLI::App* pCommand : program.get_subcommands([](CLI::App*) { return true; })) {
    EXPECT_NE(overview.find("orvex\\-" + pCommand->get_name()), std::string::npos);
    std::ifstream file(sk_manual / ("orvex-" + pCommand->get_name() + ".1"));
    const std::string page{std::istreambuf_iterator<char>(file), {}};
    for (const CLI::Option* pOption : pCommand->get_options()) {
      for (const std::string& name : pOption->get_lnames()) {
        std::string spelling = "\\-\\-" + name;
        for (std::size_t at = 4; (at = spelling.find('-', at)) != std::string::npos; at += 2)
          spelling.insert(at, "\\");
        EXPECT_NE(page.find(spelling), std::string::npos) << pCommand->get_name() << ' ' << name;
      }
    }
  }
}

// Text that man(7) would take for a request or an escape stays text.
TEST(Manual, EscapesWhatThePageFormatWouldInterpret) {
  CLI::App program{"Does it", "tool"};
  program.add_option("--path", ".dot and \\back-slash");
  std::ostringstream page;
  OrvexTools::WriteManPage(page, program, program, "1");
  EXPECT_NE(page.str().find("\n\\&.dot and \\eback\\-slash\n"), std::string::npos) << page.str();
}

struct Completion {
  const char* name;
  const char* words;   // as typed, the last to be completed
  const char* expect;  // all that is offered
};

class BashCompletion : public testing::TestWithParam<Completion> {};

TEST_P(BashCompletion, Offers) {
  const std::string script = "source '" + (sk_manual / "orvex.bash").string() +
                             "'; COMP_WORDS=(orvex " + GetParam().words +
                             "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _orvex; "
                             "echo \"${COMPREPLY[*]}\"";
  const Result result = RunToEnd("/bin/bash", {"-c", script});
  EXPECT_EQ(result.out, std::string(GetParam().expect) + "\n") << result.err;
}

INSTANTIATE_TEST_SUITE_P(Words, BashCompletion,
                         testing::Values(Completion{"Command", "fea", "features"},
                                         Completion{"Option", "grab --form", "--format"},
                                         Completion{"Choice", "features --visibility G", "Guru"},
                                         Completion{"FreeValueLeavesFilesToTheShell",
                                                    "grab --output pic", ""}),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace OrvexTest
