#pragma once
// SPDX-License-Identifier: Apache-2.0
/// @file
/// Images in memory.

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
  /// No algorithm; operations refuse it.
  _UndefinedAlgorithm = 2
};

/// Makes, copies, transforms and frees images in memory. Usable while a system is open.
///
/// Every image that an operation returns belongs to the caller, who hands it to Destroy (compressed
/// ones to DestroyCompressedImage); it lives on after its device, its stream and the image that it
/// was made from are gone. Images and bytes that are passed in stay the caller's. Any thread may
/// call any operation; conversions run one after another.
///
/// A transforming operation has three forms: the plain one returns an image with data of its own,
/// ...Shallow writes into a buffer of the caller and returns an image over it (Destroy then frees
/// the object, not the buffer), ...Len tells how many bytes the buffer must have.
///
/// Sizes are in bytes, widths and heights in pixels, pixel formats are PFNC values (PFNC.h).
/// All failures are GenICam exceptions: GenICam::RuntimeException while no system is open,
/// GenICam::InvalidArgumentException for a null image or buffer, a zero size, or an image of a
/// pixel format that the operation does not know, GenICam::BadAllocException when there is no
/// memory.
class ORVEX_API ImageFactory {
 public:
  /// An image with a copy of the data.
  /// @param pData The pixels, line after line.
  /// @param dataSize Bytes of width x height pixels: width * height * bits per pixel / 8, rounded
  /// down.
  /// @param width Pixels of a line.
  /// @param height Lines.
  /// @param pixelFormat A PFNC value.
  /// @return The image.
  /// @throws GenICam::InvalidArgumentException when dataSize is any other.
  static IImage* Create(const uint8_t* pData, size_t dataSize, size_t width, size_t height,
                        uint64_t pixelFormat);

  /// An image of zeros.
  /// @param dataSize As for Create, as are the next three.
  /// @param width Pixels of a line.
  /// @param height Lines.
  /// @param pixelFormat A PFNC value.
  /// @return The image.
  /// @throws GenICam::InvalidArgumentException as Create.
  static IImage* CreateEmpty(size_t dataSize, size_t width, size_t height, uint64_t pixelFormat);

  /// An image over the caller's bytes.
  /// @param pData The pixels; must outlive the image.
  /// @param dataSize As for Create, as are the next three.
  /// @param width Pixels of a line.
  /// @param height Lines.
  /// @param pixelFormat A PFNC value.
  /// @return The image. Destroy frees the object, not the bytes.
  /// @throws GenICam::InvalidArgumentException as Create.
  static IImage* Shallow(const uint8_t* pData, size_t dataSize, size_t width, size_t height,
                         uint64_t pixelFormat);

  /// A compressed image with a copy of the data.
  /// @param pData The compressed stream.
  /// @param dataSize Its bytes.
  /// @param pixelFormat One of the QOI_... formats.
  /// @return The image.
  /// @throws GenICam::InvalidArgumentException for another format.
  static ICompressedImage* CreateCompressedImage(const uint8_t* pData, size_t dataSize,
                                                 uint64_t pixelFormat);

  /// A copy that owns its data.
  /// @param pImage A plain image or one with extended chunk data; the copy's chunks cannot be read.
  /// @return The copy.
  static IImage* Copy(IImage* pImage);

  /// A copy that owns its data.
  /// @param pImage A compressed image, with extended chunk data or without.
  /// @return The copy.
  static ICompressedImage* CopyCompressedImage(ICompressedImage* pImage);

  /// The image in another pixel format.
  ///
  /// The Mono..., PolarizeMono..., Bayer..., RGB..., BGR..., YCbCr... and YUV... formats that have
  /// layout functions or a descriptor (PixelFormat.h) convert into each other, except into Bayer.
  /// Among Mono of 10 to 16 bits, and from Bayer of 10 to 16 bits into Mono of no less and into
  /// RGB16 and BGR16, the samples keep their depth; all else goes through 8 bits. From Bayer to
  /// Mono and to 16-bit colour the interpolation is always directional.
  ///
  /// Widening from 8 bits puts the sample on top and does not touch what lies below: the low byte
  /// of each Mono16 sample, the two low bytes of each 24-bit sample, the middle byte of each group
  /// of ...10Packed and ...12Packed. In the same way the last pixels may stay untouched when
  /// Mono10Packed (up to three) or Mono12Packed (one) become Mono8. In a buffer of the caller those
  /// bytes stay what they were; in a new image their values are not defined.
  /// @param pImage The image.
  /// @param pixelFormat The format wanted.
  /// @param bayerAlgorithm How Bayer pixels become colour.
  /// @return The new image.
  /// @throws GenICam::LogicalErrorException when there is no way from one format to the other.
  static IImage* Convert(IImage* pImage, uint64_t pixelFormat,
                         _EBayerAlgorithm bayerAlgorithm = DirectionalInterpolation);
  /// Convert into a buffer of the caller.
  /// @param pBuffer The buffer; must outlive the image.
  /// @param bufferSize Its bytes, at least ConvertLen.
  /// @param pImage As for Convert, as are the next two.
  /// @param pixelFormat The format wanted.
  /// @param bayerAlgorithm How Bayer pixels become colour.
  /// @return The new image.
  /// @throws GenICam::AccessException when the buffer is smaller.
  /// @throws GenICam::LogicalErrorException as Convert.
  static IImage* ConvertShallow(uint8_t* pBuffer, size_t bufferSize, IImage* pImage,
                                uint64_t pixelFormat,
                                _EBayerAlgorithm bayerAlgorithm = DirectionalInterpolation);
  /// What ConvertShallow needs.
  /// @param pImage The image.
  /// @param pixelFormat The format wanted.
  /// @return Bytes.
  static size_t ConvertLen(IImage* pImage, uint64_t pixelFormat);

  /// An 8-bit image of the same family, made of some bits of each sample. With lowestBit 4 a 12-bit
  /// sample keeps its eight most significant bits.
  /// @param pImage The image.
  /// @param numBits How many bits are kept; must be 8.
  /// @param lowestBit The lowest of them; all must lie within the sample.
  /// @return The new image.
  /// @throws GenICam::InvalidArgumentException for other bits.
  static IImage* SelectBits(IImage* pImage, size_t numBits, int lowestBit);
  /// SelectBits into a buffer of the caller.
  /// @param pBuffer The buffer; must outlive the image.
  /// @param bufferSize Its bytes, exactly SelectBitsLen.
  /// @param pImage As for SelectBits, as are the next two.
  /// @param numBits How many bits are kept; must be 8.
  /// @param lowestBit The lowest of them.
  /// @return The new image.
  /// @throws GenICam::InvalidArgumentException for another size and for other bits.
  static IImage* SelectBitsShallow(uint8_t* pBuffer, size_t bufferSize, IImage* pImage,
                                   size_t numBits, int lowestBit);
  /// What SelectBitsShallow needs.
  /// @param pImage As for SelectBits, as are the next two.
  /// @param numBits How many bits are kept; must be 8.
  /// @param lowestBit The lowest of them.
  /// @return Bytes.
  static size_t SelectBitsLen(IImage* pImage, size_t numBits, int lowestBit);

  /// An 8-bit image of the same family: each sample's eight most significant bits, times 2 to the
  /// power `scale`, at most 255. Works without an open system.
  /// @param pImage The image.
  /// @param numBits Must be 8.
  /// @param scale Exponent of the factor.
  /// @return The new image.
  static IImage* SelectBitsAndScale(IImage* pImage, size_t numBits, double scale);

  /// An image of the same format whose samples are those that a table holds for the samples of
  /// pImage. Works without an open system.
  ///
  /// The table has one entry for each possible sample: 1 byte each for 8-bit formats, 2 bytes in
  /// the host's order for 10, 12 and 16 bits, 3 bytes for 24 bits. Formats of several channels take
  /// one table for all or one table per channel, laid end to end in channel order. In the 4:1:1 and
  /// 4:2:2 formats the first table is that of the luma, the second that of the first chroma
  /// component, the third that of the other; in the other formats the order is that of the
  /// components within a pixel. Of an entry of a packed format the low 10 or 12 bits are used.
  /// @param pImage The image.
  /// @param pLut The table.
  /// @param lutLength Its bytes.
  /// @return The new image.
  /// @throws GenICam::InvalidArgumentException when the length does not fit the format.
  static IImage* ProcessSoftwareLUT(IImage* pImage, const uint8_t* pLut, size_t lutLength);

  /// The image that a compressed image holds.
  ///
  /// QOI_RGB8, QOI_BGR8 and the QOI_YCbCr8 formats hold streams of the published format with three
  /// channels, whose order is kept. QOI_Mono8 and QOI_Bayer... hold streams of one channel: the
  /// published header with 1 as its channel count and the published end padding, between them
  /// chunks. The two top bits of a chunk's first byte tell its kind, the six low bits are n, sums
  /// wrap at 256, and the pixel before the first one is 0:
  /// - 00: n = d + 32; one pixel, the previous one plus d.
  /// - 01: n + 1 bytes follow; each is a pixel.
  /// - 10: n + 1 bytes follow; each is two pixels: the previous one plus the high four bits minus
  /// 8,
  ///   then that one plus the low four bits minus 8.
  /// - 11: nothing follows; n + 1 times the previous pixel.
  /// @param pImage An image of a QOI_... format.
  /// @return The new image, in the format without "QOI_".
  /// @throws GenICam::RuntimeException for another format and when the data are no valid stream.
  static IImage* DecompressImage(ICompressedImage* pImage);

  /// The channels of an image as planes stacked top to bottom: the image is as many times higher
  /// as there are channels, and has the unpacked format of one channel. Polarised formats whose
  /// pixels hold several values give one plane for each value; dual and quad formats, in whose
  /// lines the pixels of two or four sensors alternate, give one plane for each sensor, as many
  /// times narrower (pixels that are left over at the end of a line are dropped). Values are not
  /// scaled: packed 10- and 12-bit samples become words of the same value.
  /// @param pImage The image.
  /// @return The new image.
  static IImage* DeinterleaveChannels(IImage* pImage);
  /// DeinterleaveChannels into a buffer of the caller.
  /// @param pBuffer The buffer; must outlive the image.
  /// @param bufferSize Its bytes, at least DeinterleaveChannelsLen.
  /// @param pImage The image.
  /// @return The new image.
  /// @throws GenICam::AccessException when the buffer is smaller.
  static IImage* DeinterleaveChannelsShallow(uint8_t* pBuffer, size_t bufferSize, IImage* pImage);
  /// What DeinterleaveChannelsShallow needs.
  /// @param pImage The image.
  /// @return Bytes.
  static size_t DeinterleaveChannelsLen(IImage* pImage);

  /// The planes of DeinterleaveChannels as images of their own.
  /// @param pImage The image.
  /// @return The images in order; the caller destroys each of them.
  static std::vector<IImage*> SplitChannels(IImage* pImage);

  /// Frees an image of the factory.
  /// @param pImage The image.
  /// @throws GenICam::InvalidArgumentException when the image came from a device; it stays
  /// usable.
  static void Destroy(IImage* pImage);
  /// Frees a compressed image of the factory.
  /// @param pImage The image.
  /// @throws GenICam::InvalidArgumentException when the image came from a device; it stays
  /// usable.
  static void DestroyCompressedImage(ICompressedImage* pImage);
};

}  // namespace Orvex
