#pragma once
// SPDX-License-Identifier: Apache-2.0
// What the transport and its records take from peers, and how much it keeps for them.
#include <cstddef>

namespace TavikLog {

inline constexpr std::size_t sk_maxRecordBytes = 65507;       // what one IPv4 datagram holds
inline constexpr std::size_t sk_maxPorts = 64;                // of one kind
inline constexpr std::size_t sk_maxOwnRecordBytes = 4 << 20;  // on the way to this process's sink
inline constexpr int sk_maxRecordsOfARound = 4096;            // taken from one port before others
inline constexpr std::size_t sk_maxTimestampDigits = 15;      // of milliseconds: 30,000 years

}  // namespace TavikLog
