#pragma once
// SPDX-License-Identifier: Apache-2.0
// One record, two faces: every command that tells facts fills a Record and hands it here, which
// writes it as JSON for programs or as text for people. Used by one thread.

#include <iosfwd>
#include <nlohmann/json.hpp>
#include <span>
#include <string>

namespace OrvexTools {

// Keys keep the order in which a command fills them.
using Record = nlohmann::ordered_json;

// Where a command writes and how.
struct Output {
  std::ostream& out;
  std::ostream& err;
  bool json = false;
  bool terminal = false;  // `out` is a terminal, so that a line may be rewritten in place
};

// One entry of a record as people see it. Entries that are missing or empty are left out of the
// text.
struct Field {
  const char* key;
  const char* title;
  const char* unit = "";
};

// The text of one JSON value: texts bare, yes and no for truth values, six significant digits for
// fractions.
std::string ValueText(const Record& value);

// Writes an object: JSON, or one aligned line per field.
void PrintRecord(const Output& output, const Record& record, std::span<const Field> fields);

// Writes an array of objects: JSON, or a table with a heading; `whenEmpty` replaces an empty table.
void PrintTable(const Output& output, const Record& rows, std::span<const Field> columns,
                const char* whenEmpty);

// Columns that a UTF-8 text takes on a terminal, counting one for each code point.
std::size_t DisplayWidth(std::string_view text);

}  // namespace OrvexTools
