#pragma once
// SPDX-License-Identifier: Apache-2.0
// Blocks of a stream channel over TCP (docs/protocols.md): the registers that announce it, the
// greetings of both ends and the header of a record. A record's content is that of the GVSP packet
// of the same format with extended ids. Stateless: any thread.

#include <optional>
#include <span>

#include "gigevision/Gvsp.h"

namespace GigEVision {

inline constexpr uint32_t sk_tcpSignature = 0x4F545331;  // "OTS1"
inline constexpr uint16_t sk_tcpMajor = 1;
inline constexpr uint16_t sk_tcpMinor = 0;

// Registers, all of 4 bytes.
inline constexpr uint32_t sk_tcpSignatureRegister = 0xA000;  // R: sk_tcpSignature
inline constexpr uint32_t sk_tcpVersionRegister = 0xA004;    // R: major in the high half
inline constexpr uint32_t sk_tcpPortRegister = 0xA008;       // R: low half; 0 = does not listen
inline constexpr uint32_t sk_tcpKeyRegister = 0xA00C;    // W, reads as 0: 0 closes the connection
inline constexpr uint32_t sk_tcpStateRegister = 0xA010;  // R: 1 = a connection is accepted
inline constexpr uint32_t sk_tcpLimitRegister = 0xA014;  // R: most content bytes of a record

inline constexpr size_t sk_tcpGreetingSize = 16;
inline constexpr size_t sk_tcpRecordHeaderSize = 4 + sk_gvspExtendedHeaderSize;
// No record may carry more, whatever the camera's register says.
inline constexpr uint32_t sk_tcpMaxContent = 1u << 20;
inline constexpr uint32_t sk_tcpUsualContent = 64u << 10;  // a good choice for a camera
inline constexpr uint32_t sk_tcpGreetingTimeoutMs = 2000;

struct TcpHello {  // host to camera
  uint16_t major = sk_tcpMajor, minor = sk_tcpMinor;
  uint32_t key = 0;
  uint16_t channel = 0;
};
struct TcpWelcome {  // camera to host
  uint16_t major = sk_tcpMajor, minor = sk_tcpMinor;
  Status status = Status::Success;
  uint32_t maxContent = 0;
};
struct TcpRecordHeader {
  PacketHeader packet;
  uint32_t contentSize = 0;
};

// Nothing for a wrong size or signature. Encoders return the bytes written, 0 when `out` is too
// small.
std::optional<TcpHello> DecodeTcpHello(std::span<const uint8_t> bytes);
size_t EncodeTcpHello(std::span<uint8_t> out, const TcpHello& hello);
std::optional<TcpWelcome> DecodeTcpWelcome(std::span<const uint8_t> bytes);
size_t EncodeTcpWelcome(std::span<uint8_t> out, const TcpWelcome& welcome);
// Nothing for a length or ids that no record has: the connection cannot be followed any further.
std::optional<TcpRecordHeader> DecodeTcpRecordHeader(std::span<const uint8_t> bytes);
// 0 also for too much content; extended ids are set in any case.
size_t EncodeTcpRecordHeader(std::span<uint8_t> out, const TcpRecordHeader& header);

}  // namespace GigEVision
