// SPDX-License-Identifier: Apache-2.0
#include "TavikLog/LogRecord.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <ctime>
#include <limits>
#include <nlohmann/json.hpp>

#include "TavikLog/Limits.h"

namespace TavikLog {
namespace {

using nlohmann::json;

constexpr struct {
  int32_t level;
  const char* name;
} sk_levels[] = {
    {100, "FATAL"}, {200, "ERROR"}, {300, "WARNING"},
    {400, "INFO"},  {500, "DEBUG"}, {600, "VERBOSE"},
};

std::optional<std::string> TextOf(const json& object, const char* key) {
  const auto member = object.find(key);
  if (member == object.end() || !member->is_string()) return std::nullopt;
  return member->get<std::string>();
}

std::optional<int32_t> LevelOf(const json& object) {
  const auto member = object.find("level");
  if (member == object.end() || !member->is_number_integer()) return std::nullopt;
  const auto level = member->get<int64_t>();
  if (level < 0 || level > std::numeric_limits<int32_t>::max()) return std::nullopt;
  return static_cast<int32_t>(level);
}

std::optional<int64_t> TimeOf(const json& object) {
  const std::optional<std::string> digits = TextOf(object, "timestamp");
  if (!digits || digits->empty() || digits->size() > sk_maxTimestampDigits) return std::nullopt;
  int64_t value = 0;
  const char* pEnd = digits->data() + digits->size();
  const auto [pRest, error] = std::from_chars(digits->data(), pEnd, value);
  if (error != std::errc() || pRest != pEnd || value < 0) return std::nullopt;
  return value;
}

std::string Padded(const std::string& text, size_t width) {
  return text.size() < width ? std::string(width - text.size(), '.') + text : text;
}

}  // namespace

std::optional<LogRecord> ParseRecord(std::string_view text) {
  if (text.size() > sk_maxRecordBytes) return std::nullopt;
  const json object = json::parse(text, nullptr, false);
  if (!object.is_object()) return std::nullopt;
  auto userId = TextOf(object, "userid");
  auto message = TextOf(object, "message");
  auto module = TextOf(object, "module");
  const auto level = LevelOf(object);
  const auto time = TimeOf(object);
  if (!userId || !message || !module || !level || !time) return std::nullopt;
  return LogRecord{std::move(*userId), std::move(*message), std::move(*module), *level, *time};
}

std::string RecordText(const LogRecord& record) {
  const std::time_t seconds = record.milliseconds / 1000;
  std::tm local{};
  ::localtime_r(&seconds, &local);
  char time[40];
  std::snprintf(time, sizeof(time), "[ %02d:%02d:%02d.%03d", local.tm_hour, local.tm_min,
                local.tm_sec, static_cast<int>(record.milliseconds % 1000));
  std::string text = time;
  text += " ] :: [ " + Padded(LevelName(record.level), 7);
  text += " ] :: [ " + Padded(record.module, 9) + " ] ||>  ";
  if (!record.userId.empty()) text += "(" + record.userId + ") ";
  return text + record.message + "\n";
}

const char* LevelName(int32_t level) {
  for (const auto& row : sk_levels) {
    if (row.level == level) return row.name;
  }
  return "NOLOG";
}

std::optional<int32_t> LevelNamed(std::string_view name) {
  const auto upper = [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; };
  for (const auto& row : sk_levels) {
    const std::string_view own = row.name;
    if (std::equal(own.begin(), own.end(), name.begin(), name.end(),
                   [&](char left, char right) { return left == upper(right); }))
      return row.level;
  }
  return std::nullopt;
}

}  // namespace TavikLog
