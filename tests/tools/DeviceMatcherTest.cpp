// SPDX-License-Identifier: Apache-2.0
// Which camera is meant by a word, and what is said when none or several are.
#include "tools/DeviceMatcher.h"

#include <gmock/gmock.h>

#include "tools/Failure.h"

namespace OrvexTools {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

CameraFacts Camera(const char* serial, const char* name, const char* ip, const char* mac) {
  CameraFacts facts;
  facts.serial = serial;
  facts.userName = name;
  facts.ip = ip;
  facts.mac = mac;
  facts.model = "Area";
  return facts;
}

const std::vector<CameraFacts> sk_bench{
    Camera("A100", "left", "127.0.0.2", "02:00:7f:00:00:02"),
    Camera("A1001", "right", "127.0.0.20", "02:00:7f:00:00:14"),
    Camera("B200", "", "10.1.2.3", "02:00:0a:01:02:03"),
};

std::string MessageFor(const std::vector<CameraFacts>& cameras, std::string_view wanted) {
  try {
    MatchCamera(cameras, wanted);
  } catch (const Failure& failure) {
    return failure.what();
  }
  return "no failure";
}

struct MatchCase {
  const char* name;
  const char* wanted;
  std::size_t index;
};

class Match : public testing::TestWithParam<MatchCase> {};

TEST_P(Match, FindsTheOneMeant) {
  EXPECT_EQ(MatchCamera(sk_bench, GetParam().wanted), GetParam().index);
}

INSTANTIATE_TEST_SUITE_P(Words, Match,
                         testing::Values(MatchCase{"WholeSerialThatIsAPartOfAnother", "A100", 0},
                                         MatchCase{"WholeIpThatIsAPartOfAnother", "127.0.0.2", 0},
                                         MatchCase{"SerialInOtherCase", "b200", 2},
                                         MatchCase{"UserName", "RIGHT", 1},
                                         MatchCase{"PartOfUserName", "lef", 0},
                                         MatchCase{"PartOfIp", "10.1", 2},
                                         MatchCase{"MacWithColons", "02:00:7F:00:00:14", 1},
                                         MatchCase{"MacWithDashes", "02-00-7f-00-00-14", 1},
                                         MatchCase{"MacBare", "02007f000014", 1},
                                         MatchCase{"EndOfMac", "0a:01:02:03", 2}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(MatchCamera, TakesTheOnlyCameraWhenNothingIsSaid) {
  EXPECT_EQ(MatchCamera({sk_bench[2]}, ""), 0U);
}

TEST(MatchCamera, DoesNotTakeTheOnlyCameraForAWrongWord) {
  EXPECT_THAT(MessageFor({sk_bench[2]}, "A100"),
              AllOf(HasSubstr("no camera matches 'A100'"), HasSubstr("B200")));
}

TEST(MatchCamera, NamesOnlyTheCandidatesOfAnAmbiguousWord) {
  EXPECT_THAT(MessageFor(sk_bench, "127.0.0"), AllOf(HasSubstr("2 cameras"), HasSubstr("A100 ("),
                                                     HasSubstr("A1001 ("), Not(HasSubstr("B200"))));
}

TEST(MatchCamera, AsksWhichOfSeveralWhenNothingIsSaid) {
  EXPECT_THAT(MessageFor(sk_bench, ""),
              AllOf(HasSubstr("3 cameras found"), HasSubstr("B200 (Area, 10.1.2.3)")));
}

TEST(MatchCamera, TwoOfTheSameNameAreAmbiguousAlthoughBothAreExact) {
  auto cameras = sk_bench;
  cameras[2].userName = "left";
  EXPECT_THAT(MessageFor(cameras, "left"), HasSubstr("'left' matches 2 cameras"));
}

TEST(MatchCamera, SaysWhatToDoWithoutAnyCamera) {
  EXPECT_THAT(MessageFor({}, "A100"), HasSubstr("orvex sim"));
}

}  // namespace
}  // namespace OrvexTools
