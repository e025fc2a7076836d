// SPDX-License-Identifier: Apache-2.0
// Records as texts, among them such as nobody honest sends.
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>

#include "TavikLog/Limits.h"
#include "TavikLog/LogRecord.h"

namespace {

using namespace TavikLog;

// A record with one member written otherwise.
std::string With(const std::string& key, const std::string& value) {
  const std::pair<const char*, const char*> sk_members[] = {{"userid", "\"S1\""},
                                                            {"message", "\"said\""},
                                                            {"level", "200"},
                                                            {"module", "\"Orvex\""},
                                                            {"timestamp", "\"1005\""}};
  std::string text;
  for (const auto& [name, usual] : sk_members) {
    if (key == name && value.empty()) continue;
    text += (text.empty() ? "{\"" : ",\"") + std::string(name) + "\":";
    text += key == name ? value : usual;
  }
  return text + "}";
}

TEST(LogRecords, AreReadWholeOrNotAtAll) {
  const auto record = ParseRecord(With("", ""));
  ASSERT_TRUE(record.has_value());
  EXPECT_EQ(record->userId, "S1");
  EXPECT_EQ(record->message, "said");
  EXPECT_EQ(record->level, 200);
  EXPECT_EQ(record->module, "Orvex");
  EXPECT_EQ(record->milliseconds, 1005);
  EXPECT_TRUE(ParseRecord(With("level", "7")).has_value());
  EXPECT_TRUE(ParseRecord(With("timestamp", "\"999999999999999\"")).has_value());

  const std::string sk_bad[] = {
      "",
      "null",
      "[]",
      "{}",
      "{\"level\": 100",
      With("userid", ""),
      With("userid", "1"),
      With("message", ""),
      With("message", "{}"),
      With("message", "\"\xFF\""),
      With("module", "null"),
      With("level", ""),
      With("level", "\"200\""),
      With("level", "2.5"),
      With("level", "1e300"),
      With("level", "-1"),
      With("level", "99999999999"),
      With("level", "18446744073709551615"),
      With("timestamp", "1005"),
      With("timestamp", "\"\""),
      With("timestamp", "\"-5\""),
      With("timestamp", "\"12x\""),
      With("timestamp", "\"1000000000000000\""),
      With("message", std::string(20000, '[') + std::string(20000, ']')),
      With("message", std::string(30000, '[')),
      With("message", '"' + std::string(sk_maxRecordBytes, 'x') + '"'),
  };
  for (const std::string& text : sk_bad) EXPECT_FALSE(ParseRecord(text)) << text.substr(0, 80);
}

TEST(LogRecords, HaveATextForm) {
  ::setenv("TZ", "UTC", 1);
  ::tzset();
  LogRecord record{"S1", "said", "Orvex", 400, 50527031};
  EXPECT_EQ(RecordText(record),
            "[ 14:02:07.031 ] :: [ ...INFO ] :: [ ....Orvex ] ||>  (S1) said\n");
  record = {"", "", "LongerThanNine", 5, 0};
  EXPECT_EQ(RecordText(record), "[ 00:00:00.000 ] :: [ ..NOLOG ] :: [ LongerThanNine ] ||>  \n");
}

TEST(LogLevels, HaveNames) {
  const std::pair<int, const char*> sk_names[] = {{100, "FATAL"}, {200, "ERROR"}, {300, "WARNING"},
                                                  {400, "INFO"},  {500, "DEBUG"}, {600, "VERBOSE"}};
  for (const auto& [level, name] : sk_names) {
    EXPECT_STREQ(LevelName(level), name);
    EXPECT_EQ(LevelNamed(name), level);
  }
  for (const int level : {0, 150, 700, -100}) EXPECT_STREQ(LevelName(level), "NOLOG");
  EXPECT_EQ(LevelNamed("warning"), 300);
  for (const char* name : {"", "NOLOG", "WARN", "WARNINGS"}) EXPECT_FALSE(LevelNamed(name)) << name;
}

}  // namespace
