// SPDX-License-Identifier: Apache-2.0
// Four makers' descriptions over three memories: every answer and every write against what another
// engine recorded.
#include <gtest/gtest.h>

#include "GoldenAnswers.h"
#include "tests/Places.h"

namespace OrvexTest {
namespace {

// Answers that differ on purpose; each is a consequence of its reason.
struct Deviation {
  const char* file;
  const char* memory;  // null: all of them
  const char* node;
  const char* reason;
};
constexpr Deviation sk_deviations[] = {
    {"tis_dmk_33gx174", nullptr, "BrightnessMaxConverter",
     "a float that no 64-bit integer can hold is out of range, not wrapped to the smallest one"},
    {"tis_dmk_33gx174", nullptr, "BrightnessMinConverter",
     "a float that no 64-bit integer can hold is out of range, not wrapped to the smallest one"},
    // Bit operators of float formulas work on 64-bit integers; the recordings refuse 0xFFFFFFFF.
    {"tis_dmk_33gx174", "ones", "CurrentPixelFormatBits", "64-bit operands of bit operators"},
    {"tis_dmk_33gx174", "ones", "CurrentFormatBytes", "64-bit operands of bit operators"},
    {"tis_dmk_33gx174", "ones", "MaxFPSFromDataRate", "64-bit operands of bit operators"},
    {"tis_dmk_33gx174", "ones", "MaxFPSFromSensorTiming", "64-bit operands of bit operators"},
    {"tis_dmk_33gx174", "ones", "MaxFPS", "64-bit operands of bit operators"},
    {"tis_dmk_33gx174", "ones", "FPS", "64-bit operands of bit operators"},
    {"tis_dmk_33gx174", "ones", "AcquisitionFrameRate", "64-bit operands of bit operators"},
    {"imperx_b1020c", nullptr, "GainAutoBalanceAvailExpr",
     "A=1 & B=0 compares first: equality binds tighter than the bit operators"},
    {"imperx_b1020c", nullptr, "GainAutoBalance",
     "A=1 & B=0 compares first: equality binds tighter than the bit operators"},
};

struct GoldenCase {
  const char* file;
  const char* memory;
  const char* what;
};

bool IsDeviation(const GoldenCase& which, const std::string& node) {
  for (const Deviation& d : sk_deviations) {
    if (node == d.node && std::string(which.file) == d.file &&
        (d.memory == nullptr || std::string(which.memory) == d.memory)) {
      return true;
    }
  }
  return false;
}

// Helper nodes of the other engine, and its node counts.
bool IsCompared(const std::string& node, const std::string& attribute) {
  if (node == "@" && (attribute == "nodes" || attribute == "distinct")) return false;
  return !node.ends_with("_ConvertTo") && !node.ends_with("_ConvertFrom");
}

class Golden : public testing::TestWithParam<GoldenCase> {};

TEST_P(Golden, AnswersAreTheRecordedOnes) {
  const GoldenCase& which = GetParam();
  const std::string folder = std::string(places::sk_sourceDir) + "/tests/data/descriptions/";
  const std::string xml = Decompress(folder + which.file + ".xml.xz");
  const Answers wanted = ParseAnswers(Decompress(folder + "answers/" + which.file + "." +
                                                 which.memory + "." + which.what + ".tsv.xz"));
  ASSERT_FALSE(xml.empty());
  ASSERT_GT(wanted.size(), 1000u);

  const std::string memory = which.memory;
  GoldenPort port(memory == "zero" ? Fill::Zero : memory == "ones" ? Fill::Ones : Fill::Hash);
  GenApi::CNodeMapRef map;
  map._LoadXMLFromString(xml.c_str());
  const Answers given =
      which.what == std::string("dump") ? AskProperties(map, port) : AskWrites(map, port);

  size_t compared = 0;
  size_t deviating = 0;
  size_t wrong = 0;
  const auto report = [&](const std::pair<std::string, std::string>& key, const std::string& want,
                          const std::string& got) {
    if (IsDeviation(which, key.first)) {
      ++deviating;
    } else if (++wrong <= 20) {
      ADD_FAILURE() << key.first << " " << key.second << "\n  recorded " << want << "\n  ours     "
                    << got;
    }
  };
  for (const auto& [key, want] : wanted) {
    if (!IsCompared(key.first, key.second)) continue;
    ++compared;
    const auto found = given.find(key);
    if (found == given.end()) {
      report(key, want, "(nothing)");
    } else if (!SameAnswer(want, found->second)) {
      report(key, want, found->second);
    }
  }
  for (const auto& [key, got] : given) {
    if (IsCompared(key.first, key.second) && !wanted.contains(key)) report(key, "(nothing)", got);
  }
  EXPECT_EQ(wrong, 0u);
  EXPECT_GT(compared, 1000u);
  RecordProperty("compared", static_cast<int>(compared));
  RecordProperty("deviating", static_cast<int>(deviating));
}

std::vector<GoldenCase> AllCases() {
  std::vector<GoldenCase> cases;
  for (const char* file :
       {"tis_dmk_33gx174", "svs_evo4050", "imperx_b1020c", "flir_bfs_pge_13y3c"}) {
    for (const char* memory : {"zero", "hash", "ones"}) {
      for (const char* what : {"dump", "write"}) cases.push_back({file, memory, what});
    }
  }
  return cases;
}

INSTANTIATE_TEST_SUITE_P(Descriptions, Golden, testing::ValuesIn(AllCases()), [](const auto& info) {
  return std::string(info.param.file) + "_" + info.param.memory + "_" + info.param.what;
});

}  // namespace
}  // namespace OrvexTest
