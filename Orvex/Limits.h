#pragma once
// SPDX-License-Identifier: Apache-2.0
// What cameras, other processes and files may make the library allocate, keep or loop over.
#include <cstddef>
#include <cstdint>

namespace Orvex {

inline constexpr size_t sk_maxDescriptionBytes = size_t{256} << 20;  // that a module claims to have
inline constexpr size_t sk_maxUnicastDevices = 256;                  // of one interface
inline constexpr size_t sk_maxImageBytes = size_t{1} << 38;          // more is not even tried
inline constexpr uint32_t sk_maxQoiPixels = 400'000'000;             // of one stream, exclusive

// Log records wait for a slow sink; the oldest go when there are more.
inline constexpr size_t sk_maxQueuedRecords = 100000;
inline constexpr size_t sk_maxQueuedBytes = size_t{16} << 20;

// What is taken of one datagram at the image socket, bytes. The images themselves end at the 32
// bits of their announced size, and are touched only as far as data arrive.
inline constexpr size_t sk_maxMessage = 4096;
inline constexpr size_t sk_maxDatagram = 8192;

}  // namespace Orvex
