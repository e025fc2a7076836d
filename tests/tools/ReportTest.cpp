// SPDX-License-Identifier: Apache-2.0
// One record as text and as JSON; rates; features as lines.
#include "tools/Report.h"

#include <gtest/gtest.h>

#include <sstream>

#include "tools/FeatureText.h"
#include "tools/RateMeter.h"

namespace OrvexTools {
namespace {

constexpr Field sk_fields[] = {{"name", "NAME"}, {"rate", "RATE", "Hz"}, {"note", "NOTE"}};

std::string Printed(bool json, auto&& print) {
  std::ostringstream out;
  print(Output{out, out, json, false});
  return out.str();
}

TEST(Report, AlignsColumnsByWhatIsSeenNotByBytes) {
  const Record rows = {{{"name", "Kühler"}, {"rate", 100}},
                       {{"name", "x"}, {"rate", 2.5}, {"note", "ok"}}};
  EXPECT_EQ(
      Printed(false, [&](const Output& output) { PrintTable(output, rows, sk_fields, "none"); }),
      "NAME    RATE    NOTE\n"
      "Kühler  100 Hz\n"
      "x       2.5 Hz  ok\n");
}

TEST(Report, WritesNumbersAsPeopleDo) {
  EXPECT_EQ(ValueText(1e6), "1000000");
  EXPECT_EQ(ValueText(-2500000.4), "-2500000");
  EXPECT_EQ(ValueText(0.1), "0.1");
  EXPECT_EQ(ValueText(1.7976931348623157e308), "1.79769e+308");
}

TEST(Report, LeavesOutWhatIsEmptyAndKeepsFalseAndZero) {
  const Record record = {{"name", ""}, {"rate", 0}, {"note", false}};
  EXPECT_EQ(Printed(false, [&](const Output& output) { PrintRecord(output, record, sk_fields); }),
            "RATE  0 Hz\n"
            "NOTE  no\n");
}

TEST(Report, JsonHoldsWhatTextLeavesOutInTheGivenOrder) {
  const Record record = {{"zeta", 1}, {"name", ""}, {"hidden", {1, 2}}};
  const std::string text =
      Printed(true, [&](const Output& output) { PrintRecord(output, record, sk_fields); });
  EXPECT_EQ(Record::parse(text), record);
  EXPECT_LT(text.find("zeta"), text.find("hidden"));
}

TEST(Report, JsonSurvivesTextsThatAreNotUtf8) {
  const Record record = {{"name", "\xff\xfe"}};
  EXPECT_NO_THROW(Record::parse(
      Printed(true, [&](const Output& output) { PrintRecord(output, record, sk_fields); })));
}

TEST(Report, EmptyTableSaysSoToPeopleAndIsAnEmptyListForPrograms) {
  const Record rows = Record::array();
  EXPECT_EQ(
      Printed(false, [&](const Output& output) { PrintTable(output, rows, sk_fields, "none"); }),
      "none\n");
  EXPECT_EQ(
      Printed(true, [&](const Output& output) { PrintTable(output, rows, sk_fields, "none"); }),
      "[]\n");
}

TEST(FeatureLine, ShowsRangesOnlyWhereTheyMatter) {
  Record feature = {{"name", "Width"}, {"type", "Integer"}, {"access", "RW"},
                    {"value", 640},    {"unit", ""},        {"min", 16},
                    {"max", 1280},     {"increment", 16},   {"entries", nullptr}};
  EXPECT_EQ(FeatureLine(feature), "Width = 640  [16 .. 1280 in steps of 16, RW]");
  feature["access"] = "RO";
  feature["unit"] = "px";
  EXPECT_EQ(FeatureLine(feature), "Width = 640 px  [RO]");
  feature["error"] = "no answer";
  EXPECT_EQ(FeatureLine(feature), "Width  [cannot be read: no answer]");
}

TimePoint At(double seconds) {
  return TimePoint(std::chrono::microseconds(static_cast<std::int64_t>(seconds * 1e6)));
}

TEST(RateMeter, CountsPeriodsNotFramesAndNotTheWaitBeforeOrAfter) {
  RateMeter meter;
  for (int i = 0; i <= 50; ++i)
    meter.AddFrame(At(10 + i * 0.02), 1'000'000, 1 + static_cast<std::uint64_t>(i), false);
  EXPECT_NEAR(meter.Total().framesPerSecond, 50, 1e-6);
  EXPECT_NEAR(meter.Total().megabytesPerSecond, 50, 1e-6);
  EXPECT_NEAR(meter.TakeInterval(At(12)).framesPerSecond, 25, 1e-6);
  EXPECT_EQ(meter.TakeInterval(At(13)).framesPerSecond, 0);
}

TEST(RateMeter, CountsJumpsOfTheFrameNumberButNotItsWrapAround) {
  RateMeter meter;
  for (const std::uint64_t id : {65'533ULL, 65'535ULL, 1ULL, 2ULL, 5ULL})
    meter.AddFrame(At(1), 1, id, id == 2);
  EXPECT_EQ(meter.Missing(), 3U);
  EXPECT_EQ(meter.Incomplete(), 1U);
}

TEST(RateMeter, HasNoRateBeforeTheSecondFrame) {
  RateMeter meter;
  EXPECT_EQ(meter.TakeInterval(At(1)).framesPerSecond, 0);
  meter.AddFrame(At(1), 1, 1, false);
  EXPECT_EQ(meter.Total().framesPerSecond, 0);
}

}  // namespace
}  // namespace OrvexTools
