#pragma once
// SPDX-License-Identifier: Apache-2.0
// The Intel IPP image primitives that the conversion engine uses, under IPP's published names,
// signatures, status codes and arithmetic. With the CMake option ORVEX_WITH_IPP this header hands
// out the real library's declarations instead, and the engine links it without a changed line.
//
// Common to all functions: steps are distances between line starts in bytes; regions are in pixels;
// pointers are never owned or kept; lines may be at any alignment. A null pointer gives
// ippStsNullPtrErr, a region with a side of zero or less ippStsSizeErr, a step of zero or less
// ippStsStepErr, in this order. Nothing is written unless ippStsNoErr is returned. Every function
// may be called from several threads at once on different destinations; large images are split by
// rows over the threads of RowThreads.h, with the same result.

#if defined(ORVEX_WITH_IPP)
#include <ipp.h>
#else

#include <cstdint>

typedef uint8_t Ipp8u;
typedef uint16_t Ipp16u;

typedef enum {
  ippStsChannelOrderErr = -60,
  ippStsStepErr = -14,
  ippStsMemAllocErr = -9,
  ippStsNullPtrErr = -8,
  ippStsSizeErr = -6,
  ippStsBadArgErr = -5,
  ippStsNoErr = 0,
} IppStatus;

typedef enum { ippAlgHintNone, ippAlgHintFast, ippAlgHintAccurate } IppHintAlgorithm;

typedef struct {
  int width;
  int height;
} IppiSize;

typedef struct {
  int x;
  int y;
  int width;
  int height;
} IppiRect;

// Colours of the pixels (0,0) (1,0) (0,1) (1,1).
typedef enum { ippiBayerBGGR, ippiBayerRGGB, ippiBayerGBRG, ippiBayerGRBG } IppiBayerGrid;

extern "C" {

// Chooses the instruction set. Negative on failure; calling it again does no harm.
IppStatus ippInit(void);

// Grey to colour: the value goes into the first three channels, aval into a fourth one.
IppStatus ippiGrayToRGB_8u_C1C3R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                 IppiSize roiSize);
IppStatus ippiGrayToRGB_16u_C1C3R(const Ipp16u* pSrc, int srcStep, Ipp16u* pDst, int dstStep,
                                  IppiSize roiSize);
IppStatus ippiGrayToRGB_8u_C1C4R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                 IppiSize roiSize, Ipp8u aval);

// Colour to grey: 0.299, 0.587 and 0.114 of the first, second and third channel as they lie in
// memory.
IppStatus ippiRGBToGray_8u_C3C1R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                 IppiSize roiSize);
IppStatus ippiRGBToGray_16u_C3C1R(const Ipp16u* pSrc, int srcStep, Ipp16u* pDst, int dstStep,
                                  IppiSize roiSize);
IppStatus ippiRGBToGray_8u_AC4C1R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                  IppiSize roiSize);

// Channel order: destination channel n takes source channel dstOrder[n]. In C3C4R an entry of 3
// stores val and a greater one leaves the destination channel as it is. An entry outside the
// channels gives ippStsChannelOrderErr.
IppStatus ippiSwapChannels_8u_C3R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                  IppiSize roiSize, const int dstOrder[3]);
IppStatus ippiSwapChannels_16u_C3R(const Ipp16u* pSrc, int srcStep, Ipp16u* pDst, int dstStep,
                                   IppiSize roiSize, const int dstOrder[3]);
IppStatus ippiSwapChannels_8u_C4R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                  IppiSize roiSize, const int dstOrder[4]);
IppStatus ippiSwapChannels_8u_C3C4R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                    IppiSize roiSize, const int dstOrder[4], Ipp8u val);
IppStatus ippiSwapChannels_8u_C4C3R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                    IppiSize roiSize, const int dstOrder[3]);
IppStatus ippiSwapChannels_16u_C3C4R(const Ipp16u* pSrc, int srcStep, Ipp16u* pDst, int dstStep,
                                     IppiSize roiSize, const int dstOrder[4], Ipp16u val);
IppStatus ippiSwapChannels_16u_C4C3R(const Ipp16u* pSrc, int srcStep, Ipp16u* pDst, int dstStep,
                                     IppiSize roiSize, const int dstOrder[3]);

// Linear mapping of the whole range onto the whole range: 8 to 16 bits is value * 257, 16 to 8 bits
// is value / 257 rounded to the nearest. AC4 leaves the fourth channel of the destination as it is.
IppStatus ippiScale_8u16u_C1R(const Ipp8u* pSrc, int srcStep, Ipp16u* pDst, int dstStep,
                              IppiSize roiSize);
IppStatus ippiScale_8u16u_AC4R(const Ipp8u* pSrc, int srcStep, Ipp16u* pDst, int dstStep,
                               IppiSize roiSize);
IppStatus ippiScale_16u8u_C1R(const Ipp16u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                              IppiSize roiSize, IppHintAlgorithm hint);
IppStatus ippiScale_16u8u_AC4R(const Ipp16u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                               IppiSize roiSize, IppHintAlgorithm hint);

// YCbCr with Y in 16..235 and Cb, Cr in 16..240:
//   Y  =  0.257 R + 0.504 G + 0.098 B + 16      R = 1.164 (Y - 16) + 1.596 (Cr - 128)
//   Cb = -0.148 R - 0.291 G + 0.439 B + 128     G = 1.164 (Y - 16) - 0.813 (Cr - 128) - 0.392 (Cb -
//   128) Cr =  0.439 R - 0.368 G - 0.071 B + 128     B = 1.164 (Y - 16) + 2.017 (Cb - 128)
// rounded to the nearest and saturated. The 4:2:2 layouts are Cb Y0 Cr Y1 (CbYCr422) and Y0 Cb Y1
// Cr (YCbCr422). Going to 4:2:2 takes the chroma of the mean colour of both pixels; coming from it
// both pixels share the chroma. A line of odd width ends in half a group: its last pixel takes and
// gives the luma and the Cb byte of that half group, and the Cr of the group before it (128 in a
// line of one pixel).
IppStatus ippiCbYCr422ToBGR_8u_C2C4R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                     IppiSize roiSize, Ipp8u aval);
IppStatus ippiYCbCr422ToBGR_8u_C2C4R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                     IppiSize roiSize, Ipp8u aval);
IppStatus ippiBGRToCbYCr422_8u_AC4C2R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                      IppiSize roiSize);
IppStatus ippiBGRToYCbCr422_8u_AC4C2R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                      IppiSize roiSize);
IppStatus ippiYCbCrToRGB_8u_C3R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                IppiSize roiSize);
IppStatus ippiRGBToYCbCr_8u_C3R(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep,
                                IppiSize roiSize);

// Demosaicing of the region srcRoi of a mosaic of srcSize pixels that starts at pSrc, where grid
// tells the colours at the mosaic's origin; the region's first pixel goes to pDst. Outside the
// mosaic its pixels are mirrored (without repeating the edge, which keeps the pattern). Every pixel
// of the region is written. ippStsBadArgErr for an unknown grid or a non-zero interpolation;
// ippStsSizeErr for a region that is empty or leaves the mosaic.
//
// CFAToRGB interpolates green along the direction of the smaller gradient, corrected by the second
// difference of the colour that is measured there, and the other colours by their difference to
// green, where the neighbour counts more whose green is nearer. A mosaic may be as small as one
// pixel, where IPP asks for two by two.
IppStatus ippiCFAToRGB_8u_C1C3R(const Ipp8u* pSrc, IppiRect srcRoi, IppiSize srcSize, int srcStep,
                                Ipp8u* pDst, int dstStep, IppiBayerGrid grid, int interpolation);
IppStatus ippiCFAToRGB_16u_C1C3R(const Ipp16u* pSrc, IppiRect srcRoi, IppiSize srcSize, int srcStep,
                                 Ipp16u* pDst, int dstStep, IppiBayerGrid grid, int interpolation);

// Adaptive homogeneity-directed demosaicing (Hirakawa and Parks, IEEE Transactions on Image
// Processing 14(3), 2005). pTmp is a temporary image of (srcRoi.width + 6) x 30 samples with the
// step tmpStep.
IppStatus ippiDemosaicAHD_8u_C1C3R(const Ipp8u* pSrc, IppiRect srcRoi, IppiSize srcSize,
                                   int srcStep, Ipp8u* pDst, int dstStep, IppiBayerGrid grid,
                                   Ipp8u* pTmp, int tmpStep);
IppStatus ippiDemosaicAHD_16u_C1C3R(const Ipp16u* pSrc, IppiRect srcRoi, IppiSize srcSize,
                                    int srcStep, Ipp16u* pDst, int dstStep, IppiBayerGrid grid,
                                    Ipp16u* pTmp, int tmpStep);

}  // extern "C"

#endif  // ORVEX_WITH_IPP
