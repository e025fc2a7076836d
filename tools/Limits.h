#pragma once
// SPDX-License-Identifier: Apache-2.0
// What files and other hosts may make the program allocate or wait for; recordings have their own
// in recording/Limits.h.
#include <cstddef>
#include <cstdint>

namespace OrvexTools {

inline constexpr unsigned sk_maxWaitMs = 60'000;  // to listen for cameras

inline constexpr std::uint64_t sk_maxPictureBytes = std::uint64_t{1} << 31;  // of pixels
inline constexpr std::uint64_t sk_maxPictureSide = 1 << 20;

// Lookup tables: the longest that a pixel format takes, and as many numbers of text.
inline constexpr std::uint64_t sk_maxTableBytes = 150'994'994;
inline constexpr std::uint64_t sk_maxTextBytes = 4 * sk_maxTableBytes;

}  // namespace OrvexTools
