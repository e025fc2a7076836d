#pragma once
// SPDX-License-Identifier: Apache-2.0
// The lines of a saved-settings file (GenApi persistence text): enough to tell what a camera did
// not take. The file is written and applied by the library. Pure functions, any thread.

#include <string>
#include <string_view>
#include <vector>

namespace OrvexTools {

struct SettingLine {
  std::string feature;
  std::string value;
};

// One entry a line; comments, and entries for a certain position of a selector (with braces), are
// left out.
std::vector<SettingLine> ParseSettings(std::string_view text);

// The entries whose feature is not set again further down: selectors pass through several values.
std::vector<SettingLine> LastOfEach(const std::vector<SettingLine>& lines);

// Equal as texts or as numbers.
bool SameValue(const std::string& left, const std::string& right);

}  // namespace OrvexTools
