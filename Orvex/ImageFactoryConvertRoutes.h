#pragma once
// SPDX-License-Identifier: Apache-2.0
// The steps of which the conversion engine's ways are made. Called under the engine lock only; each
// step that needs scratch space holds the pool mutex while it runs.
//
// Sources and destinations are whole bytes: the last one is there even when the last pixel fills
// only a part of it.

#include "ImageFactory.h"
#include "Orvex/ImageFactoryConvertFormats.h"

namespace Orvex {

// Throws RuntimeException "Conversion error", or the given message, with the kernel's name as the
// function.
[[noreturn]] void ThrowConversionError(const char* kernel,
                                       const char* message = "Conversion error");

// One image on its way: its size, and the name of the kernel that fails if it fails.
struct ConvertJob {
  IppiSize size;
  const char* kernel;

  size_t Pixels() const { return size_t(size.width) * size_t(size.height); }
  void Check(IppStatus status) const {
    if (status != ippStsNoErr) ThrowConversionError(kernel);
  }
};

// Writes the pixels of a format as BGRa8.
void FromFormat(const ConvertFormat& format, const ConvertJob& job, const uint8_t* pSrc,
                uint8_t* pBgra, _EBayerAlgorithm algorithm);

// Writes BGRa8 pixels in a format.
void ToFormat(const ConvertFormat& format, const ConvertJob& job, const uint8_t* pBgra,
              uint8_t* pDst);

// Whether the pair has a way that gives the bytes of the way through BGRa8 without going there; if
// so it has run. Of two packed formats some bytes of the destination stay unwritten, see
// BitDepth.h.
bool RunDirect(const ConvertFormat& from, const ConvertFormat& to, const ConvertJob& job,
               const uint8_t* pSrc, uint8_t* pDst, _EBayerAlgorithm algorithm);

// Runs the shortcut of a pair for which one of the two rules holds.
void RunGeneralShortcut(const ConvertFormat& from, const ConvertFormat& to, const ConvertJob& job,
                        const uint8_t* pSrc, uint8_t* pDst);
void RunBayerShortcut(const ConvertFormat& from, const ConvertFormat& to, const ConvertJob& job,
                      const uint8_t* pSrc, uint8_t* pDst, _EBayerAlgorithm algorithm);

}  // namespace Orvex
