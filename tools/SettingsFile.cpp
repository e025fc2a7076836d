// SPDX-License-Identifier: Apache-2.0
#include "tools/SettingsFile.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>

namespace OrvexTools {
namespace {

std::optional<double> Number(const std::string& text) {
  double value = 0;
  const auto [pEnd, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || pEnd != text.data() + text.size()) return std::nullopt;
  return value;
}

}  // namespace

std::vector<SettingLine> ParseSettings(std::string_view text) {
  std::vector<SettingLine> lines;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    if (line.ends_with('\r')) line.remove_suffix(1);
    const std::size_t tab = line.find('\t');
    if (line.starts_with('#') || tab == std::string_view::npos || tab == 0) continue;
    const std::string_view value = line.substr(tab + 1);
    if (value.starts_with('{')) continue;
    lines.push_back({std::string(line.substr(0, tab)), std::string(value)});
  }
  return lines;
}

std::vector<SettingLine> LastOfEach(const std::vector<SettingLine>& lines) {
  std::vector<SettingLine> last;
  for (auto line = lines.begin(); line != lines.end(); ++line) {
    const bool again = std::any_of(line + 1, lines.end(), [&line](const SettingLine& later) {
      return later.feature == line->feature;
    });
    if (!again) last.push_back(*line);
  }
  return last;
}

bool SameValue(const std::string& left, const std::string& right) {
  if (left == right) return true;
  const auto leftNumber = Number(left);
  const auto rightNumber = Number(right);
  // Texts of floating-point numbers are rounded to a few digits.
  return leftNumber && rightNumber &&
         std::abs(*leftNumber - *rightNumber) <=
             1e-5 * std::max(std::abs(*leftNumber), std::abs(*rightNumber));
}

}  // namespace OrvexTools
