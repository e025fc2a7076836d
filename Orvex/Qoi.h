#pragma once
// SPDX-License-Identifier: Apache-2.0
// The QOI image format ("Quite OK Image"), lossless, with 3 or 4 channels as published, and a
// variant of one channel for monochrome and Bayer pixels. Pure functions: any thread.
//
// The grey variant has the published header, with 1 as its channel count, and the published end
// padding. Between them stand chunks. The two top bits of a chunk's first byte tell its kind, the
// six low bits hold n; the pixel before the first one is 0:
//   00  n = d + 32                one pixel, the previous one plus d
//   01  n + 1 bytes follow        each is a pixel
//   10  n + 1 bytes follow        each is two pixels: the previous one plus the high four bits
//                                 minus 8, then that one plus the low four bits minus 8
//   11  nothing follows           n + 1 times the previous pixel
// Sums wrap at 256.

#include <cstddef>
#include <cstdint>

namespace Orvex {

/// What a stream's header says.
struct qoi_desc {
  uint32_t width = 0;
  uint32_t height = 0;
  /// 1 grey, 3 RGB, 4 RGBA.
  uint8_t channels = 0;
  /// 0 sRGB with linear alpha, 1 all linear; not used for coding.
  uint8_t colorspace = 0;
};

namespace Qoi {

inline constexpr uint32_t sk_magic = 0x716F6966;  // "qoif"
inline constexpr size_t sk_headerSize = 14;
inline constexpr size_t sk_paddingSize = 8;
/// Where the header keeps the number of channels.
inline constexpr size_t sk_channelsOffset = 12;

}  // namespace Qoi

/// Decodes a stream of `size` bytes: as colour, else as grey. `channels` is what the result shall
/// have: 3 or 4 for colour, 1 for grey, 0 for what the stream has; pDesc is filled from the stream.
/// The result is freed with free(). Null when the stream is not valid, too large, or ends before
/// its last pixel; a stream never makes more memory allocated than its length can account for.
uint8_t* qoi_decode(const void* pData, int size, qoi_desc* pDesc, int channels);
uint8_t* qoi_colour_decode(const void* pData, int size, qoi_desc* pDesc, int channels);
uint8_t* qoi_grey_decode(const void* pData, int size, qoi_desc* pDesc, int channels);

/// Encodes width x height pixels of pDesc->channels bytes each; *pSize is the length of the result,
/// which is freed with free(). Null when the description is not valid or too large.
uint8_t* qoi_encode(const void* pData, const qoi_desc* pDesc, int* pSize);
uint8_t* qoi_colour_encode(const void* pData, const qoi_desc* pDesc, int* pSize);
uint8_t* qoi_grey_encode(const void* pData, const qoi_desc* pDesc, int* pSize);

}  // namespace Orvex
