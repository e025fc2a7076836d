// SPDX-License-Identifier: Apache-2.0
#include "tools/Addresses.h"

#include <arpa/inet.h>
#include <fmt/format.h>

#include <charconv>

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
  // Twelve digits, with a separator after each pair or none at all.
  const bool separated = text.size() == 17;
  std::string digits;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool isSeparator = text[i] == ':' || text[i] == '-';
    if (separated && i % 3 == 2 && isSeparator) continue;
    digits += text[i];
  }
  std::uint64_t value = 0;
  const auto [pEnd, error] =
      std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
  if (digits.size() != 12 || error != std::errc() || pEnd != digits.data() + digits.size()) {
    throw Misuse(fmt::format("'{}' is no MAC address, such as 02:00:00:12:34:56", text));
  }
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
