#pragma once
// SPDX-License-Identifier: Apache-2.0
// What one log record says: a JSON object with the texts "userid", "message", "module" and
// "timestamp" (a decimal number of milliseconds) and the number "level". Records come from any
// process of this machine, so nothing of a text is believed before it has been read whole.
// Plain values and functions without state: any thread.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace TavikLog {

struct LogRecord {
  std::string userId;   // serial number of the camera concerned; empty for none
  std::string message;  // UTF-8, as whoever sent it wrote it
  std::string module;
  int32_t level = 0;
  int64_t milliseconds = 0;  // since 1970, UTC
};

// None for a text that is no record.
std::optional<LogRecord> ParseRecord(std::string_view text);

// "[ 14:02:07.031 ] :: [ ...INFO ] :: [ ....Orvex ] ||>  (SERIAL) message" with a line end, in
// local time.
std::string RecordText(const LogRecord& record);

// Name of a level's number, "NOLOG" for numbers that are none; and the reverse, in any case.
const char* LevelName(int32_t level);
std::optional<int32_t> LevelNamed(std::string_view name);

}  // namespace TavikLog
