#pragma once
// SPDX-License-Identifier: Apache-2.0
// Chunk and event ids: hexadecimal text in descriptions, bytes or numbers in messages.

#include <cstdint>
#include <optional>
#include <vector>

#include <Base/GCString.h>

namespace OrvexGenApi {

// The bytes that the text names, most significant first. An odd number of digits and a leading "0x"
// are taken. Nothing for text that is empty, no hexadecimal number, or too long.
std::optional<std::vector<uint8_t>> ParseHexId(const GenICam::gcstring& text);

// Compare an id with a number, and with bytes of any length; leading zeros don't count.
bool SameId(const std::vector<uint8_t>& id, uint64_t number);
bool SameId(const std::vector<uint8_t>& id, const uint8_t* pBytes, size_t length);

}  // namespace OrvexGenApi
