// SPDX-License-Identifier: Apache-2.0
// Numbers as users read and write them.
#include <charconv>
#include <cmath>
#include <cstdio>

#include "engine/Builder.h"
#include "engine/Values.h"

namespace OrvexGenApi {
namespace {

// Parts of an address between separators, each a number of the given base up to 255.
bool ParseParts(std::string_view text, char separator, int base, int count, int64_t& value) {
  uint64_t result = 0;
  for (int i = 0; i < count; ++i) {
    unsigned part = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), part, base);
    if (error != std::errc() || part > 255) return false;
    text.remove_prefix(static_cast<size_t>(end - text.data()));
    if (i + 1 < count) {
      if (text.empty() || text[0] != separator) return false;
      text.remove_prefix(1);
    }
    result = result << 8 | part;
  }
  if (!text.empty()) return false;
  value = static_cast<int64_t>(result);
  return true;
}

std::string Print(double value, EDisplayNotation notation, int precision) {
  if (std::isnan(value)) return "nan";  // without the sign that some systems print
  char text[400];
  const char* format = notation == fnFixed ? "%.*f" : notation == fnScientific ? "%.*e" : "%.*g";
  std::snprintf(text, sizeof text, format, precision, value);
  // The decimal separator is a point in every locale.
  for (char* p = text; *p; ++p) {
    if (*p == ',') *p = '.';
  }
  return text;
}

}  // namespace

std::string IntToText(int64_t value, ERepresentation representation) {
  const auto bits = static_cast<uint64_t>(value);
  char text[64];
  switch (representation) {
    case HexNumber:
      if (bits == 0) return "0";
      std::snprintf(text, sizeof text, "0x%llx", static_cast<unsigned long long>(bits));
      return text;
    case IPV4Address:
      std::snprintf(text, sizeof text, "%u.%u.%u.%u", unsigned(bits >> 24 & 255),
                    unsigned(bits >> 16 & 255), unsigned(bits >> 8 & 255), unsigned(bits & 255));
      return text;
    case MACAddress:
      std::snprintf(text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", unsigned(bits >> 40 & 255),
                    unsigned(bits >> 32 & 255), unsigned(bits >> 24 & 255),
                    unsigned(bits >> 16 & 255), unsigned(bits >> 8 & 255), unsigned(bits & 255));
      return text;
    default:
      return std::to_string(value);
  }
}

bool TextToInt(std::string_view text, ERepresentation representation, int64_t& value) {
  text = Trim(text);
  if (ParseInt(text, value)) return true;
  if (representation == IPV4Address && ParseParts(text, '.', 10, 4, value)) return true;
  return representation == MACAddress && ParseParts(text, ':', 16, 6, value);
}

std::string FloatToText(double value, EDisplayNotation notation, int64_t precision, double min,
                        double max) {
  const int digits = precision < 0 ? 6 : precision > 60 ? 60 : static_cast<int>(precision);
  std::string text = Print(value, notation, digits);
  double back = 0;
  // Rounding for display may leave the range; the neighbour inside is as good to look at.
  if (std::isfinite(value) && value >= min && value <= max && ParseFloat(text, back) &&
      !(back >= min && back <= max)) {
    const double step = std::fabs(back - value) * 2;
    const double nudged = back > max ? value - step : value + step;
    const std::string other = Print(nudged, notation, digits);
    if (ParseFloat(other, back) && back >= min && back <= max) return other;
    return Print(value, notation == fnFixed ? fnFixed : fnAutomatic, 17);
  }
  return text;
}

}  // namespace OrvexGenApi
