// SPDX-License-Identifier: Apache-2.0
#include "tools/FeatureText.h"

#include <fmt/format.h>

namespace OrvexTools {
namespace {

constexpr Field sk_fields[] = {
    {"name", "Feature"},    {"value", "Value"},       {"text", "As text"},
    {"unit", "Unit"},       {"type", "Type"},         {"access", "Access"},
    {"min", "Minimum"},     {"max", "Maximum"},       {"increment", "Steps"},
    {"entries", "Choices"}, {"length", "Length"},     {"visibility", "Visibility"},
    {"error", "Error"},     {"description", "About"},
};

std::string TextOf(const Record& feature, const char* key) {
  const auto entry = feature.find(key);
  return entry == feature.end() ? std::string() : ValueText(*entry);
}

}  // namespace

std::span<const Field> FeatureFields() {
  return sk_fields;
}

std::string FeatureValueText(const Record& feature) {
  const std::string text = TextOf(feature, "text");
  if (!text.empty()) return text;
  const auto value = feature.find("value");
  if (value != feature.end() && value->is_boolean()) return value->get<bool>() ? "true" : "false";
  return value == feature.end() ? std::string() : ValueText(*value);
}

std::string FeatureLine(const Record& feature) {
  std::string line = TextOf(feature, "name");
  const std::string access = TextOf(feature, "access");
  if (feature.contains("error"))
    return fmt::format("{}  [cannot be read: {}]", line, TextOf(feature, "error"));
  if (access == "NA") return line + "  [not available now]";
  if (TextOf(feature, "type") == "Command") return line + "  [command]";
  if (feature.contains("value")) line += " = " + FeatureValueText(feature);
  const std::string unit = TextOf(feature, "unit");
  if (!unit.empty()) line += " " + unit;
  // A range or the choices matter only where the value can be changed.
  const bool writable = access == "RW" || access == "WO";
  std::string notes;
  if (writable && feature.contains("min")) {
    notes = fmt::format("{} .. {}", TextOf(feature, "min"), TextOf(feature, "max"));
    if (feature.contains("increment") && TextOf(feature, "increment") != "1") {
      notes += " in steps of " + TextOf(feature, "increment");
    }
    notes += ", ";
  } else if (writable && feature.contains("entries")) {
    notes = TextOf(feature, "entries") + "; ";
  }
  return fmt::format("{}  [{}{}]", line, notes, access);
}

std::string WhyWithoutValue(const Record& feature) {
  const std::string name = TextOf(feature, "name");
  const std::string access = TextOf(feature, "access");
  if (TextOf(feature, "type") == "Command")
    return fmt::format("{0} is a command: use `orvex execute {0}`", name);
  if (TextOf(feature, "type") == "Category") {
    return fmt::format("{0} is a category: use `orvex features --category {0}`", name);
  }
  if (access == "NI") return fmt::format("this camera does not implement {}", name);
  if (access == "NA") return fmt::format("{} is not available with the present settings", name);
  return fmt::format("{} can only be written", name);
}

}  // namespace OrvexTools
