#pragma once
// SPDX-License-Identifier: Apache-2.0
// Addresses as typed by a person. Throw Misuse for anything else. Pure functions, any thread.

#include <cstdint>
#include <string>

namespace OrvexTools {

// "192.168.0.10", in host byte order.
std::uint32_t ParseIp(const std::string& text);

// Six bytes in hexadecimal, with colons or dashes between or nothing; in the low 48 bits.
std::uint64_t ParseMac(const std::string& text);

// "24", "/24" or "255.255.255.0", in host byte order. Ones must lead.
std::uint32_t ParseMask(const std::string& text);

}  // namespace OrvexTools
