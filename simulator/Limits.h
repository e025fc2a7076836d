#pragma once
// SPDX-License-Identifier: Apache-2.0
// Every bound on what a host, an option or a file may make a virtual camera allocate, loop over or
// wait for.

#include <cstddef>
#include <cstdint>

namespace OrvexSim {

inline constexpr size_t sk_maxFramesKept = 64;
inline constexpr size_t sk_minFramesKept = 2;
inline constexpr size_t sk_maxResendPackets = 1u << 16;  // answered for one request
inline constexpr size_t sk_maxEventQueue = 1024;  // events waiting for the host's acknowledge
inline constexpr size_t sk_maxScheduledActions = 16;
inline constexpr size_t sk_maxQueuedTriggers = 256;
inline constexpr size_t sk_maxDescriptionBytes = size_t{64} << 20;  // of a foreign description
inline constexpr size_t sk_foreignMemoryPages = 1u << 14;  // of 4 KiB, behind a foreign description
inline constexpr uint32_t sk_maxHeartbeatMs = 10u * 60 * 1000;
inline constexpr uint32_t sk_minPacketSize = 576;
inline constexpr uint32_t sk_maxPacketSize = 16384;
inline constexpr uint32_t sk_maxRegisterDelayMs = 60000;
inline constexpr uint32_t sk_maxFileBytes = 1u << 20;  // of each file in the camera
inline constexpr size_t sk_maxListedRanges = 64;       // of packets or registers with a fault
inline constexpr size_t sk_maxGreetings = 8;           // TCP connections not yet accepted
inline constexpr size_t sk_maxLateAnswers = 16;        // of slow registers, at once

inline constexpr size_t sk_maxUserSets = 16;          // in a state file
inline constexpr size_t sk_maxStateBytes = 1u << 20;  // of a state file
inline constexpr uint32_t sk_maxPictureSide = 1u << 16;
inline constexpr uint64_t sk_maxPicturePixels = uint64_t{1} << 27;
inline constexpr size_t sk_maxPictures = 100'000;  // of one folder
// Decoded pictures, and frames painted of them, that are kept for the next round; together.
inline constexpr size_t sk_maxPictureBytesKept = size_t{512} << 20;

}  // namespace OrvexSim
