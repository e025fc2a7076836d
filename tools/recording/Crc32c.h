#pragma once
// SPDX-License-Identifier: Apache-2.0
// CRC-32C (Castagnoli, reflected polynomial 0x82F63B78), by the processor's own instruction where
// it has one. Pure function, any thread.

#include <cstdint>
#include <span>

namespace OrvexTools {

// The checksum of `bytes`, or of them appended to those with the checksum `before`.
std::uint32_t Crc32c(std::span<const std::uint8_t> bytes, std::uint32_t before = 0);

// The same without that instruction, for the test.
std::uint32_t Crc32cByTable(std::span<const std::uint8_t> bytes, std::uint32_t before = 0);

}  // namespace OrvexTools
