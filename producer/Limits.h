#pragma once
// SPDX-License-Identifier: Apache-2.0
// Every bound on what a peer, a consumer or the clock may make the producer allocate, send or wait
// for.

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace OrvexGev {

using namespace std::chrono_literals;

// Identifiers, as consumers with fixed buffers take them (terminating zero included).
inline constexpr size_t sk_maxInterfaceId = 20;
inline constexpr size_t sk_maxDeviceId = 50;

// Discovery.
inline constexpr size_t sk_maxDevicesPerInterface = 512;
inline constexpr size_t sk_maxUnicastDevices = 256;
inline constexpr auto sk_discoveryWindow = 1000ms;  // longest acknowledge delay a camera may have
inline constexpr auto sk_discoveryQuiet = 300ms;    // on loopback: nobody answered for so long
inline constexpr auto sk_discoveryRepeat = 100ms;   // a second request mends a lost first one
inline constexpr auto sk_forceIpTimeout = 300ms;
inline constexpr int sk_forceIpAttempts = 2;

// Control channel.
inline constexpr auto sk_commandTimeout = 200ms;
inline constexpr int sk_commandRetries = 3;
inline constexpr auto sk_maxPendingTime = 60s;  // all pending acknowledges of one command together
inline constexpr size_t sk_memoryBlock =
    512;  // bytes per READMEM and WRITEMEM: some cameras refuse 536
inline constexpr size_t sk_maxRegistersPerCommand = 64;
inline constexpr uint64_t sk_maxPortAccess = 256u << 20;  // bytes of one port access
inline constexpr auto sk_heartbeatInterval =
    300ms;  // at most; a third of the camera's timeout when that is less
inline constexpr auto sk_heartbeatProbe = 110ms;  // wait for one heartbeat acknowledge
inline constexpr int sk_heartbeatMisses = 5;      // unanswered in a row: the camera is gone

// Events waiting for a consumer that does not fetch them; the oldest are dropped.
inline constexpr size_t sk_maxQueuedEvents = 1024;
inline constexpr size_t sk_maxEventBytes = 576;

// A camera's description, zipped and as text.
inline constexpr size_t sk_maxDescriptionFile = 16u << 20;
inline constexpr size_t sk_maxDescriptionText = 64u << 20;

// Streams.
inline constexpr size_t sk_maxEventBlock = 16u << 20;  // bytes of one block of sensor events
inline constexpr size_t sk_maxAnnouncedBuffers = 4096;
inline constexpr size_t sk_maxBufferBytes = size_t{4} << 30;
inline constexpr size_t sk_maxPacketBytes = 65536;
inline constexpr uint32_t sk_maxPacketsPerFrame = 1u << 24;
inline constexpr size_t sk_maxActiveFrames = 16;  // frames being filled at once
inline constexpr size_t sk_maxGapsPerFrame =
    256;  // open ranges of missing packets; more are merged
inline constexpr size_t sk_maxChunks = 4096;
inline constexpr size_t sk_maxFrameParts = 32;  // of a multi-part frame, as told to the consumer

// Streams over TCP.
inline constexpr auto sk_tcpOpenTimeout = 2000ms;  // connection and greetings together

}  // namespace OrvexGev
