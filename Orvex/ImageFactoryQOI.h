#pragma once
// SPDX-License-Identifier: Apache-2.0
// Images out of QOI streams, as cameras send them. Any thread.

#include <cstdint>

#include "ICompressedImage.h"
#include "IImage.h"

namespace Orvex {

/// Whether the format is one of the nine QOI_... formats.
bool IsQOI(uint64_t pixelFormat);

/// The same for the format of a compressed image.
bool IsQOIImage(ICompressedImage* pImage);

/// The format that the pixels of a QOI_... format have.
/// @throws GenICam::RuntimeException for other formats.
uint64_t UncompressedPixelFormat(uint64_t pixelFormat);

/// A new image of the stream's pixels; the caller owns it.
/// @throws GenICam::RuntimeException "QOI decode error..." when the stream is not valid or does not
/// hold the pixels that the format promises.
IImage* QOIDecompressImage(ICompressedImage* pImage);

}  // namespace Orvex
