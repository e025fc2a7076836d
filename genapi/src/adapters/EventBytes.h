#pragma once
// SPDX-License-Identifier: Apache-2.0
// What the event adapters of all transports share: numbers of a message, and its refusal.

#include <cstdint>

#include <Base/GCException.h>

namespace OrvexGenApi {

inline uint16_t BigEndian16(const uint8_t* p) {
  return uint16_t(p[0] << 8 | p[1]);
}
inline uint32_t BigEndian32(const uint8_t* p) {
  return uint32_t(BigEndian16(p)) << 16 | uint32_t(BigEndian16(p + 2));
}
inline uint16_t LittleEndian16(const uint8_t* p) {
  return uint16_t(p[1] << 8 | p[0]);
}
inline uint32_t LittleEndian32(const uint8_t* p) {
  return uint32_t(LittleEndian16(p)) | uint32_t(LittleEndian16(p + 2)) << 16;
}

[[noreturn]] inline void Reject(const char* pWhy) {
  throw RUNTIME_EXCEPTION("Malformed event message: %s", pWhy);
}

}  // namespace OrvexGenApi
