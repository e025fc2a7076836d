#pragma once
// SPDX-License-Identifier: Apache-2.0
// The innermost loops over samples, as vectors of every instruction set. Pure functions over n
// samples that lie without gaps; source and destination need no alignment, don't overlap unless a
// function says so, and not a byte outside of them is touched. Words are 16 bits, in the host's
// byte order. Every instruction set gives the same bytes. Any thread.

#include <cstddef>
#include <cstdint>

namespace Orvex::Primitives::SampleKernels {

/// Words shifted to the right in place. pWords is aligned.
void ShiftWords(uint16_t* pWords, size_t n, unsigned right);

/// The low eight bits of each word >> right (0 to 15).
void NarrowWords(const uint8_t* pSrc, size_t n, unsigned right, uint8_t* pDst);

/// min(word >> right, 255), for a negative right min(word << -right, 255). -8 to 16.
void ScaleWords(const uint8_t* pSrc, size_t n, int right, uint8_t* pDst);

/// The same for bytes. -8 to 8.
void ScaleBytes(const uint8_t* pSrc, size_t n, int right, uint8_t* pDst);

/// Byte `which` (0 to 2) of each three.
void PickOfThree(const uint8_t* pSrc, size_t n, unsigned which, uint8_t* pDst);

/// Sample i goes to position i / channels of the plane i mod channels; the planes begin `plane`
/// samples after each other. n is a multiple of the channels (2 to 4). For words pSrc is aligned.
void SeparateBytes(const uint8_t* pSrc, size_t n, size_t channels, uint8_t* pDst, size_t plane);
void SeparateWords(const uint16_t* pSrc, size_t n, size_t channels, uint8_t* pDst, size_t plane);

/// What a table of 256 bytes holds for each byte.
void LookUpBytes(const uint8_t* pSrc, size_t n, const uint8_t* pTable, uint8_t* pDst);

/// The same where sample i uses the table pPattern[i mod length]; table k begins at pTables +
/// 256 * k, length is at most 6, and there are at most 4 tables.
void LookUpBytesInPattern(const uint8_t* pSrc, size_t n, const uint8_t* pTables,
                          const uint8_t* pPattern, size_t length, uint8_t* pDst);

}  // namespace Orvex::Primitives::SampleKernels
