// SPDX-License-Identifier: Apache-2.0
#include "tools/Addresses.h"

#include <arpa/inet.h>
#include <fmt/format.h>

#include <charconv>
#include <regex>

#include "tools/Failure.h"

namespace OrvexTools {

std::uint32_t ParseIp(const std::string& text) {
  in_addr address = {};
  if (::inet_pton(AF_INET, text.c_str(), &address) != 1) {
    throw Misuse(fmt::format("'{}' is no IPv4 address, such as 192.168.0.10", text));
  }
  return ntohl(address.s_addr);
}

std::uint64_t ParseMac(const std::string& text) {
  static const std::regex sk_form("[0-9a-fA-F]{12}|([0-9a-fA-F]{2}[:-]){5}[0-9a-fA-F]{2}");
  if (!std::regex_match(text, sk_form))
    throw Misuse(fmt::format("'{}' is no MAC address, such as 02:00:00:12:34:56", text));
  std::string digits = text;
  std::erase_if(digits, [](char c) { return c == ':' || c == '-'; });
  std::uint64_t value = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
  return value;
}

std::uint32_t ParseMask(const std::string& text) {
  const std::string digits = text.starts_with("/") ? text.substr(1) : text;
  unsigned bits = 0;
  const auto [pEnd, error] = std::from_chars(digits.data(), digits.data() + digits.size(), bits);
  if (error == std::errc() && pEnd == digits.data() + digits.size() && bits <= 32) {
    return bits == 0 ? 0 : ~std::uint32_t{0} << (32 - bits);
  }
  const std::uint32_t mask = ParseIp(text);
  const std::uint32_t zeros = ~mask;
  if ((zeros & (zeros + 1)) != 0)
    throw Misuse(fmt::format("'{}' is no subnet mask, such as 255.255.255.0 or 24", text));
  return mask;
}

}  // namespace OrvexTools
