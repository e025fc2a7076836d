#pragma once
// SPDX-License-Identifier: Apache-2.0
// Bounds on what frames, event messages and settings files may make the adapters and the
// persistence do.

#include <cstddef>
#include <cstdint>

namespace OrvexGenApi {

// Chunks in one buffer. Real frames have fewer than a hundred.
inline constexpr size_t sk_maxChunksPerBuffer = 65536;
// Bytes of an id given as hexadecimal text.
inline constexpr size_t sk_maxIdBytes = 64;

// Settings files: bytes of a line (long registers are stored as text), entries and bags of a file.
inline constexpr size_t sk_maxLineBytes = size_t(16) << 20;
inline constexpr size_t sk_maxFileBytes = size_t(256) << 20;
inline constexpr size_t sk_maxEntries = 1000000;
inline constexpr size_t sk_maxBags = 4096;
// Selectors of one entry.
inline constexpr size_t sk_maxSelectors = 64;
// Combinations of selector values that one feature is walked through
// (three colours of a table of 65536 fit).
inline constexpr size_t sk_maxSelectorSteps = size_t(1) << 18;
// Bytes of a device's file that are moved at once.
inline constexpr int64_t sk_maxFileBlockBytes = int64_t(16) << 20;
// How often refused values are tried again while settings are loaded.
inline constexpr int sk_maxLoadPasses = 4;
// How long a command that brackets storing or loading may take, and how often it is asked.
inline constexpr int sk_commandTimeoutMs = 5000;
inline constexpr int sk_commandPollMs = 5;

}  // namespace OrvexGenApi
