// SPDX-License-Identifier: Apache-2.0
#include "tools/Report.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <ostream>
#include <vector>

namespace OrvexTools {
namespace {

// Six significant digits, and no exponent where a person would write none.
std::string NumberText(double value) {
  const double size = std::abs(value);
  return size >= 1e6 && size < 1e15 ? fmt::format("{:.0f}", value) : fmt::format("{:.6g}", value);
}

bool IsShown(const Record& record, const char* key) {
  const auto entry = record.find(key);
  if (entry == record.end() || entry->is_null()) return false;
  return !(entry->is_string() && entry->get_ref<const std::string&>().empty());
}

std::string FieldText(const Record& record, const Field& field) {
  if (!IsShown(record, field.key)) return {};
  std::string text = ValueText(record.at(field.key));
  if (*field.unit != '\0') text.append(" ").append(field.unit);
  return text;
}

void Pad(std::string& line, std::string_view text, std::size_t width) {
  line.append(text);
  line.append(width - std::min(width, DisplayWidth(text)), ' ');
}

// Cameras may hold any bytes in their texts, so what is not UTF-8 is replaced instead of refused.
void PrintJson(const Output& output, const Record& record) {
  output.out << record.dump(2, ' ', false, Record::error_handler_t::replace) << '\n';
}

}  // namespace

std::size_t DisplayWidth(std::string_view text) {
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  }));
}

std::string ValueText(const Record& value) {
  switch (value.type()) {
    case Record::value_t::null:
      return {};
    case Record::value_t::string:
      return value.get<std::string>();
    case Record::value_t::boolean:
      return value.get<bool>() ? "yes" : "no";
    case Record::value_t::number_float:
      return NumberText(value.get<double>());
    case Record::value_t::array: {
      std::string list;
      for (const Record& item : value)
        list.append(list.empty() ? "" : ", ").append(ValueText(item));
      return list;
    }
    default:
      return value.dump(-1, ' ', false, Record::error_handler_t::replace);
  }
}

void PrintRecord(const Output& output, const Record& record, std::span<const Field> fields) {
  if (output.json) return PrintJson(output, record);
  std::size_t width = 0;
  for (const Field& field : fields) {
    if (IsShown(record, field.key)) width = std::max(width, DisplayWidth(field.title));
  }
  for (const Field& field : fields) {
    if (!IsShown(record, field.key)) continue;
    std::string line;
    Pad(line, field.title, width + 2);
    output.out << line << FieldText(record, field) << '\n';
  }
}

void PrintTable(const Output& output, const Record& rows, std::span<const Field> columns,
                const char* whenEmpty) {
  if (output.json) return PrintJson(output, rows);
  if (rows.empty()) {
    output.out << whenEmpty << '\n';
    return;
  }
  std::vector<std::size_t> widths;
  for (const Field& column : columns) {
    std::size_t width = DisplayWidth(column.title);
    for (const Record& row : rows) width = std::max(width, DisplayWidth(FieldText(row, column)));
    widths.push_back(width);
  }
  const auto printLine = [&](auto&& textOf) {
    std::string line;
    for (std::size_t i = 0; i < columns.size(); ++i) Pad(line, textOf(columns[i]), widths[i] + 2);
    line.erase(line.find_last_not_of(' ') + 1);
    output.out << line << '\n';
  };
  printLine([](const Field& column) { return std::string(column.title); });
  for (const Record& row : rows) {
    printLine([&row](const Field& column) { return FieldText(row, column); });
  }
}

}  // namespace OrvexTools
