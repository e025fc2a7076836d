// SPDX-License-Identifier: Apache-2.0
#include "gigevision/XmlUrl.h"

#include <algorithm>
#include <cctype>
#include <charconv>

namespace GigEVision {
namespace {

std::string_view Trim(std::string_view text) {
  constexpr std::string_view sk_blanks(" \t\r\n\0", 5);
  const size_t begin = text.find_first_not_of(sk_blanks);
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(sk_blanks) - begin + 1);
}

bool StartsWithNoCase(std::string_view text, std::string_view lowerCasePrefix) {
  return text.size() >= lowerCasePrefix.size() &&
         std::equal(
             lowerCasePrefix.begin(), lowerCasePrefix.end(), text.begin(),
             [](char a, char b) { return a == std::tolower(static_cast<unsigned char>(b)); });
}

std::optional<uint64_t> ParseHex(std::string_view text) {
  text = Trim(text);
  if (StartsWithNoCase(text, "0x")) text.remove_prefix(2);
  uint64_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, 16);
  if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
  return value;
}

}  // namespace

bool XmlUrl::Zipped() const {
  return fileName.size() >= 4 &&
         StartsWithNoCase(std::string_view(fileName).substr(fileName.size() - 4), ".zip");
}

std::optional<XmlUrl> ParseXmlUrl(std::string_view text) {
  text = Trim(text.substr(0, text.find('\0')));
  XmlUrl url;
  if (StartsWithNoCase(text, "http://") || StartsWithNoCase(text, "https://")) {
    url.place = XmlUrl::Place::Http;
    url.fileName = text;
    return url;
  }
  constexpr std::string_view sk_schemaKey = "?schemaversion=";
  for (size_t at = 0; at < text.size(); ++at) {
    if (StartsWithNoCase(text.substr(at), sk_schemaKey)) {
      url.schemaVersion = Trim(text.substr(at + sk_schemaKey.size()));
      text = Trim(text.substr(0, at));
      break;
    }
  }
  if (StartsWithNoCase(text, "file:")) {
    url.place = XmlUrl::Place::File;
    text.remove_prefix(5);
    if (text.starts_with("///")) text.remove_prefix(2);  // an absolute path keeps one slash
    url.fileName = Trim(text);
    if (url.fileName.empty()) return std::nullopt;
    return url;
  }
  if (!StartsWithNoCase(text, "local:")) return std::nullopt;
  text.remove_prefix(6);
  const size_t first = text.find(';');
  const size_t second = first == std::string_view::npos ? first : text.find(';', first + 1);
  if (second == std::string_view::npos) return std::nullopt;
  std::string_view name = Trim(text.substr(0, first));
  while (name.starts_with('/')) name.remove_prefix(1);
  const std::optional<uint64_t> address = ParseHex(text.substr(first + 1, second - first - 1));
  std::string_view lengthText = text.substr(second + 1);
  lengthText = lengthText.substr(0, lengthText.find(';'));
  const std::optional<uint64_t> length = ParseHex(lengthText);
  if (!address || !length) return std::nullopt;
  url.fileName = name;
  url.address = *address;
  url.length = *length;
  return url;
}

std::string FormatLocalUrl(std::string_view fileName, uint64_t address, uint64_t length) {
  char numbers[40];
  char* end = std::to_chars(numbers, numbers + 17, address, 16).ptr;
  *end++ = ';';
  end = std::to_chars(end, numbers + sizeof numbers, length, 16).ptr;
  return "Local:" + std::string(fileName) + ";" + std::string(numbers, end);
}

}  // namespace GigEVision
