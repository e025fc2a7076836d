#pragma once
// SPDX-License-Identifier: Apache-2.0
// What a recording may make a reader allocate or loop over, and what the writer keeps to.

#include <cstddef>
#include <cstdint>

namespace OrvexTools {

inline constexpr std::uint64_t sk_maxRecordedFrame = std::uint64_t{4} << 30;  // bytes
inline constexpr std::uint64_t sk_maxDescription = std::uint64_t{16} << 20;   // bytes of JSON
inline constexpr std::size_t sk_maxRecordedFrames = std::size_t{1} << 26;

inline constexpr std::size_t sk_ringAlignment = 4096;
inline constexpr std::size_t sk_leastWrite = std::size_t{1} << 20;  // waited for while frames come
inline constexpr std::size_t sk_largestWrite = std::size_t{8} << 20;  // in one system call

}  // namespace OrvexTools
