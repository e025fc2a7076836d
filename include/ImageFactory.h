#pragma once
// SPDX-License-Identifier: Apache-2.0
// Makes, copies, transforms and frees images in memory. Usable while a system is open.
//
// Every image that an operation returns belongs to the caller, who hands it to Destroy (compressed
// ones to DestroyCompressedImage); it lives on after its device, its stream and the image that it
// was made from are gone. Any thread may call any operation; conversions run one after another.
//
// A transforming operation has three forms: the plain one returns an image with data of its own,
// ...Shallow writes into a buffer of the caller and returns an image over it (Destroy then frees
// the object, not the buffer), ...Len tells how many bytes the buffer must have.
//
// Sizes are in bytes, widths and heights in pixels, pixel formats are PFNC values (PFNC.h).
// All failures are GenICam exceptions: RuntimeException while no system is open,
// InvalidArgumentException for a null image or buffer, a zero size, or an image of a pixel format
// that the operation does not know.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "ICompressedImage.h"
#include "IImage.h"
#include "OrvexExport.h"
#include "PFNC.h"

namespace Orvex {

/// How Bayer pixels become colour.
enum _EBayerAlgorithm {
  /// Directional, gradient-corrected interpolation: fast, good edges.
  DirectionalInterpolation = 0,
  /// Adaptive homogeneity-directed demosaicing: slower, better edges.
  AdaptiveHomogeneityDirected = 1,
  _UndefinedAlgorithm = 2
};

class ORVEX_API ImageFactory {
 public:
  /// An image with a copy of the data, whose length is that of width x height pixels:
  /// width * height * bits per pixel / 8, rounded down.
  /// @throws GenICam::InvalidArgumentException when the length is any other.
  static IImage* Create(const uint8_t* pData, size_t dataSize, size_t width, size_t height,
                        uint64_t pixelFormat);

  /// An image of zeros; dataSize as for Create.
  static IImage* CreateEmpty(size_t dataSize, size_t width, size_t height, uint64_t pixelFormat);

  /// An image over the caller's bytes, which must outlive it; dataSize as for Create.
  static IImage* Shallow(const uint8_t* pData, size_t dataSize, size_t width, size_t height,
                         uint64_t pixelFormat);

  /// A compressed image with a copy of the data. The format is one of the QOI_... formats.
  static ICompressedImage* CreateCompressedImage(const uint8_t* pData, size_t dataSize,
                                                 uint64_t pixelFormat);

  /// A copy that owns its data: plain images and images with extended chunk data.
  static IImage* Copy(IImage* pImage);
  /// The same for compressed images.
  static ICompressedImage* CopyCompressedImage(ICompressedImage* pImage);

  /// The image in another pixel format. The Mono..., PolarizeMono..., Bayer..., RGB..., BGR...,
  /// YCbCr... and YUV... formats that have layout functions or a descriptor (PixelFormat.h) convert
  /// into each other, except into Bayer. Among Mono of 10 to 16 bits, and from Bayer of 10 to 16
  /// bits into Mono of no less and into RGB16 and BGR16, the samples keep their depth; all else
  /// goes through 8 bits.
  ///
  /// Widening to more than 8 bits puts the sample on top and does not touch what lies below: the
  /// low byte of each Mono16 and the two low bytes of each 24-bit sample, the middle byte of each
  /// group of ...10Packed and ...12Packed. In the same way the last pixels may stay untouched when
  /// Mono10Packed (up to three) or Mono12Packed (one) become Mono8. In a buffer of the caller those
  /// bytes stay what they were; in a new image their values are not defined.
  ///
  /// Shortcuts from Bayer to Mono and to 16-bit colour always interpolate directionally.
  /// @throws GenICam::LogicalErrorException when there is no way from one format to the other.
  static IImage* Convert(IImage* pImage, uint64_t pixelFormat,
                         _EBayerAlgorithm bayerAlgorithm = DirectionalInterpolation);
  /// @throws GenICam::AccessException when the buffer is smaller than ConvertLen.
  static IImage* ConvertShallow(uint8_t* pBuffer, size_t bufferSize, IImage* pImage,
                                uint64_t pixelFormat,
                                _EBayerAlgorithm bayerAlgorithm = DirectionalInterpolation);
  static size_t ConvertLen(IImage* pImage, uint64_t pixelFormat);

  /// An 8-bit image of the same family. Of each sample numBits bits are kept, the lowest being
  /// bit lowestBit; numBits must be 8, and the bits must lie within the sample. With lowestBit 4
  /// a 12-bit sample keeps its eight most significant bits.
  /// @throws GenICam::InvalidArgumentException for other bits.
  static IImage* SelectBits(IImage* pImage, size_t numBits, int lowestBit);
  /// @throws GenICam::InvalidArgumentException when the buffer's size is not exactly
  /// SelectBitsLen.
  static IImage* SelectBitsShallow(uint8_t* pBuffer, size_t bufferSize, IImage* pImage,
                                   size_t numBits, int lowestBit);
  static size_t SelectBitsLen(IImage* pImage, size_t numBits, int lowestBit);

  /// An 8-bit image of the same family: each sample's eight most significant bits, times 2 to the
  /// power `scale`, at most 255. numBits must be 8. Works without an open system.
  static IImage* SelectBitsAndScale(IImage* pImage, size_t numBits, double scale);

  /// An image of the same format whose samples are those that the table holds for the samples of
  /// pImage. Works without an open system.
  /// One entry for each possible sample: 1 byte each for 8-bit formats, 2 bytes in the host's
  /// order for 10, 12 and 16 bits, 3 bytes for 24 bits. Formats of several channels take one
  /// table for all or one table per channel, laid end to end in channel order. In the 4:1:1 and
  /// 4:2:2 formats the first table is that of the luma, the second that of the first chroma
  /// component, the third that of the other; in the other formats the order is that of the
  /// components within a pixel. Of an entry of a packed format the low 10 or 12 bits are used.
  /// @throws GenICam::InvalidArgumentException when the length does not fit the format.
  static IImage* ProcessSoftwareLUT(IImage* pImage, const uint8_t* pLut, size_t lutLength);

  /// The image that a QOI_... image holds, in the format without "QOI_". QOI_RGB8, QOI_BGR8 and
  /// the QOI_YCbCr8 formats hold streams of the published format with three channels, which keep
  /// the order of the channels; QOI_Mono8 and QOI_Bayer... hold streams of one channel: the
  /// published header with 1 as its channel count, and the published end padding, between them
  /// chunks. The two top bits of a chunk's first byte tell its kind, the six low bits are n, the
  /// pixel before the first one is 0:
  ///   00  n = d + 32            one pixel, the previous one plus d
  ///   01  n + 1 bytes follow    each is a pixel
  ///   10  n + 1 bytes follow    each is two pixels: the previous one plus the high four bits
  ///                             minus 8, then that one plus the low four bits minus 8
  ///   11  nothing follows       n + 1 times the previous pixel
  /// Sums wrap at 256.
  /// @throws GenICam::RuntimeException when the data are no valid stream of that format.
  static IImage* DecompressImage(ICompressedImage* pImage);

  /// The channels of an image as planes stacked top to bottom: the image is as many times higher
  /// as there are channels, and has the unpacked format of one channel. Polarised formats whose
  /// pixels hold several values give one plane for each value; dual and quad formats, in whose
  /// lines the pixels of two or four sensors alternate, give one plane for each sensor, as many
  /// times narrower (pixels that are left over at the end of a line are dropped). Values are not
  /// scaled: packed 10- and 12-bit samples become words of the same value.
  static IImage* DeinterleaveChannels(IImage* pImage);
  /// @throws GenICam::AccessException when the buffer is smaller than DeinterleaveChannelsLen.
  static IImage* DeinterleaveChannelsShallow(uint8_t* pBuffer, size_t bufferSize, IImage* pImage);
  static size_t DeinterleaveChannelsLen(IImage* pImage);

  /// The planes of DeinterleaveChannels as images of their own, in order. The caller destroys
  /// each of them.
  static std::vector<IImage*> SplitChannels(IImage* pImage);

  /// Frees an image of the factory.
  /// @throws GenICam::InvalidArgumentException when the image came from a device; it stays
  /// usable.
  static void Destroy(IImage* pImage);
  /// The same for compressed images.
  static void DestroyCompressedImage(ICompressedImage* pImage);
};

}  // namespace Orvex
