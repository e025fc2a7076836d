// SPDX-License-Identifier: Apache-2.0
// The text form of stored settings, without a node map.
#include <GenApi/Persistence.h>
#include <gtest/gtest.h>

#include <sstream>

namespace {

const std::string sk_first = "# {05D8C294-F295-4dfb-9D01-096BD04049F4}\n";
const std::string sk_second = "# GenApi persistence file (version 3.4.0)\n";

GenApi::CFeatureBag Read(const std::string& text) {
  std::istringstream is(text);
  GenApi::CFeatureBag bag;
  is >> bag;
  return bag;
}

template <class Target>
std::string ErrorOf(const std::string& text) {
  std::istringstream is(text);
  Target target;
  try {
    is >> target;
  } catch (const GenICam::RuntimeException& error) {
    return error.GetDescription();
  }
  return "no error";
}

TEST(FeatureFile, EmptyBagHasItsTwoHeaderLines) {
  EXPECT_STREQ(GenApi::CFeatureBag().ToString(), (sk_first + sk_second).c_str());
}

TEST(FeatureFile, InfoIsAThirdCommentHoweverManyLinesItHas) {
  GenApi::CFeatureBag bag;
  bag.SetInfo("Model X\nSerial 1");
  EXPECT_STREQ(bag.ToString(), (sk_first + sk_second + "# Model X\n# Serial 1\n").c_str());
}

TEST(FeatureFile, EntriesSurviveReadingAndWriting) {
  const std::string body =
      "Width\t640\n"
      "DeviceUserID\t{left} = camera 1 \n"
      "Gain\t{GainSelector=All}\t1.5\n"
      "LUTValue\t{LUTSelector=Red\tLUTIndex=17}\t0xff\n";
  GenApi::CFeatureBag bag = Read(sk_first + "# comment\n\n" + body);
  EXPECT_STREQ(bag.ToString(), (sk_first + sk_second + body).c_str());
}

TEST(FeatureFile, LinesFromOtherSystemsAndHandsAreTaken) {
  GenApi::CFeatureBag bag = Read("\xEF\xBB\xBF" + sk_first.substr(0, sk_first.size() - 1) +
                                 "\r\nWidth\t640\r\n  Height 480");
  EXPECT_STREQ(bag.ToString(), (sk_first + sk_second + "Width\t640\nHeight\t480\n").c_str());
}

TEST(FeatureFile, EqualityLooksAtEntriesAlone) {
  GenApi::CFeatureBag bag = Read(sk_first + "Width\t640\n");
  bag.SetInfo("other");
  EXPECT_TRUE(bag == Read(sk_first + "Width\t640\n"));
  EXPECT_FALSE(bag == Read(sk_first + "Width\t641\n"));
  EXPECT_FALSE(bag == Read(sk_first + "Width\t{A=1}\t640\n"));
}

TEST(FeatureFile, RefusedFilesLeaveTheBagAlone) {
  GenApi::CFeatureBag bag = Read(sk_first + "Width\t640\n");
  std::istringstream bad(sk_first + "Height\t1\nbroken\n");
  EXPECT_THROW(bad >> bag, GenICam::RuntimeException);
  EXPECT_TRUE(bag == Read(sk_first + "Width\t640\n"));
}

struct BadFile {
  const char* Name;
  std::string Text;
  const char* Error;
};

class BadFeatureFile : public testing::TestWithParam<BadFile> {};

TEST_P(BadFeatureFile, IsRefusedByName) {
  EXPECT_EQ(ErrorOf<GenApi::CFeatureBag>(GetParam().Text), GetParam().Error);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, BadFeatureFile,
    testing::Values(
        BadFile{"Empty", "", "The stream is eof"},
        BadFile{"NoMagic", "Width\t640\n",
                "The stream is not a GenApi feature stream since it is missing the magic GUID in "
                "the first line"},
        BadFile{"MagicTooLate", "#\n" + sk_first,
                "The stream is not a GenApi feature stream since it is missing the magic GUID in "
                "the first line"},
        BadFile{"SeveralBags", "# {4709CB3C-7322-4460-84C3-DA11DDA09939}\n",
                "The stream holds several feature bags; it must be read with CFeatureBagger"},
        BadFile{"NameWithoutValue", sk_first + "A\t1\nWidth\n",
                "Line 3 of the feature stream: a feature name without a value"},
        BadFile{"BagInABag", sk_first + "[A] b\n",
                "Line 2 of the feature stream: the name of a bag where a feature is expected"}),
    [](const auto& info) { return std::string(info.param.Name); });

TEST(FeatureFile, ReadsFromAStreamThatFailedToOpenAreAnError) {
  std::istringstream is(sk_first);
  is.setstate(std::ios_base::failbit);
  GenApi::CFeatureBag bag;
  EXPECT_THROW(is >> bag, GenICam::RuntimeException);
}

TEST(FeatureFile, LinesWithoutEndAreCutOffByALimit) {
  EXPECT_EQ(ErrorOf<GenApi::CFeatureBag>(sk_first + "A\t" + std::string((16 << 20) + 1, 'x')),
            "Line 2 of the feature stream: the line is too long");
}

const std::string sk_bagger = "# {4709CB3C-7322-4460-84C3-DA11DDA09939}\n";

TEST(FeatureBaggerFile, KeepsNamesAndContentsOfBags) {
  std::istringstream is(sk_bagger + "# any\n[Default]\n" + sk_first +
                        "Width\t640\n[UserSet/UserSet1]\n" + sk_first + sk_second + "Width\t320\n");
  GenApi::CFeatureBagger bagger;
  is >> bagger;
  ASSERT_EQ(bagger.size(), 2u);
  EXPECT_STREQ(bagger.at(0).GetBagName(), "Default");
  EXPECT_STREQ(bagger.at(1).GetBagName(), "UserSet/UserSet1");
  EXPECT_TRUE(bagger.at(1) == Read(sk_first + "Width\t320\n"));
  EXPECT_THROW(bagger.at(2), GenICam::OutOfRangeException);
  std::ostringstream os;
  os << bagger;
  EXPECT_EQ(os.str(), sk_bagger +
                          "# GenApi CFeatureBagger persistence file (version 3.4.0)\n[Default]\n" +
                          sk_first + sk_second + "Width\t640\n[UserSet/UserSet1]\n" + sk_first +
                          sk_second + "Width\t320\n");
}

TEST(FeatureBaggerFile, TakesASingleBagAsAll) {
  std::istringstream is(sk_first + "Width\t640\n");
  GenApi::CFeatureBagger bagger;
  is >> bagger;
  ASSERT_EQ(bagger.size(), 1u);
  EXPECT_STREQ(bagger.begin()->GetBagName(), "All");
}

TEST(FeatureBaggerFile, RefusesBrokenSections) {
  EXPECT_EQ(ErrorOf<GenApi::CFeatureBagger>(""), "The stream is eof");
  EXPECT_EQ(ErrorOf<GenApi::CFeatureBagger>(sk_bagger + "Width\t1\n"),
            "Line 2 of the feature stream: a feature outside of a bag");
  EXPECT_EQ(ErrorOf<GenApi::CFeatureBagger>(sk_bagger + "[]\n"),
            "Line 2 of the feature stream: a bag without a name");
  EXPECT_EQ(ErrorOf<GenApi::CFeatureBagger>(sk_bagger + "[A]\nWidth\t1\n"),
            "Line 3 of the feature stream: a bag without its magic line");
}

TEST(FeatureFile, CommentsAreSkippedUpToTheFirstOtherLine) {
  std::istringstream is("# a\n# b\nrest # c");
  std::string rest;
  std::getline(GenApi::EatComments(is), rest);
  EXPECT_EQ(rest, "rest # c");
}

}  // namespace
