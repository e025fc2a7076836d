#pragma once
// SPDX-License-Identifier: Apache-2.0
// The formats that the transforming operations of the image factory tell apart, in the order of
// their slots in IPixelFormatContract. X(format).

// clang-format off
#define ORVEX_CONTRACT_SINGLE(X, family)                                      \
  X(family##8) X(family##10) X(family##10p) X(family##10Packed) X(family##12) \
  X(family##12p) X(family##12Packed) X(family##16) X(family##24)

#define ORVEX_CONTRACT_COLOUR(X, order)                                         \
  X(order##8) X(order##12p) X(order##12) X(order##16) X(order##24) X(order##a8)

#define ORVEX_CONTRACT_MULTI(X, family)                                       \
  X(family##8) X(family##10) X(family##10p) X(family##10Packed) X(family##12) \
  X(family##12p) X(family##12Packed) X(family##16)

#define ORVEX_CONTRACT_SENSORS(X, count)  \
  ORVEX_CONTRACT_MULTI(X, count##Mono)    \
  ORVEX_CONTRACT_MULTI(X, count##BayerRG) \
  ORVEX_CONTRACT_MULTI(X, count##BayerGR) \
  ORVEX_CONTRACT_MULTI(X, count##BayerGB) \
  ORVEX_CONTRACT_MULTI(X, count##BayerBG)

#define ORVEX_CONTRACT_SEPARATED(X, family, suffix)                                      \
  X(family##8##suffix) X(family##10##suffix) X(family##12##suffix) X(family##16##suffix)

#define ORVEX_CONTRACT_SEPARATED_SENSORS(X, count, suffix) \
  ORVEX_CONTRACT_SEPARATED(X, count##Mono, suffix)         \
  ORVEX_CONTRACT_SEPARATED(X, count##BayerRG, suffix)      \
  ORVEX_CONTRACT_SEPARATED(X, count##BayerGR, suffix)      \
  ORVEX_CONTRACT_SEPARATED(X, count##BayerGB, suffix)      \
  ORVEX_CONTRACT_SEPARATED(X, count##BayerBG, suffix)

#define ORVEX_CONTRACT_LUMA_CHROMA_AND_3D(X) \
  X(YCbCr8)                                  \
  X(YCbCr8_CbYCr)                            \
  X(YUV422_8)                                \
  X(YUV422_8_UYVY)                           \
  X(YCbCr411_8)                              \
  X(YUV411_8_UYYVYY)                         \
  X(YCbCr422_8_CbYCrY)                       \
  X(YCbCr422_16_CbYCrY)                      \
  X(YCbCr422_24_CbYCrY)                      \
  X(YCbCr411_8_CbYYCrYY)                     \
  X(YCbCr411_16_CbYYCrYY)                    \
  X(YCbCr411_24_CbYYCrYY)                    \
  X(YCbCr16_CbYCr)                           \
  X(YCbCr24_CbYCr)                           \
  X(Confidence16)                            \
  X(Coord3D_ABCY16s)                         \
  X(Coord3D_ABC16s)                          \
  X(Coord3D_ABCY16)                          \
  X(Coord3D_ABC16)                           \
  X(Coord3D_C16)                             \
  X(Coord3D_CY16)                            \
  X(Coord3D_C16Y8)

#define ORVEX_CONTRACT_POLARIZED(X)        \
  X(PolarizeMono8)                         \
  X(PolarizeMono12p)                       \
  X(PolarizeMono12Packed)                  \
  X(PolarizeMono12)                        \
  X(PolarizeMono16)                        \
  X(PolarizedAngles_0d_45d_90d_135d_Mono8) \
  X(PolarizedStokes_S0_S1_S2_S3_Mono8)     \
  X(PolarizedAolp_Mono8)                   \
  X(PolarizedAolp_Mono12)                  \
  X(PolarizedAolp_Mono12p)                 \
  X(PolarizedAolp_BayerRG8)                \
  X(PolarizedAolp_BayerRG12)               \
  X(PolarizedAolp_BayerRG12p)              \
  X(PolarizedDolp_Mono8)                   \
  X(PolarizedDolp_Mono12)                  \
  X(PolarizedDolp_Mono12p)                 \
  X(PolarizedDolp_Mono16)                  \
  X(PolarizedDolp_BayerRG8)                \
  X(PolarizedDolp_BayerRG12)               \
  X(PolarizedDolp_BayerRG12p)              \
  X(PolarizedDolp_BayerRG16)               \
  X(PolarizedDolpAolp_Mono8)               \
  X(PolarizedDolpAolp_Mono12)              \
  X(PolarizedDolpAolp_Mono12p)             \
  X(PolarizedDolpAolp_BayerRG8)            \
  X(PolarizedDolpAolp_BayerRG12)           \
  X(PolarizedDolpAolp_BayerRG12p)          \
  X(PolarizedDolpAngle_Mono8)              \
  X(PolarizedDolpAngle_Mono12p)            \
  X(PolarizedDolpAngle_Mono16)             \
  X(PolarizedDolpAngle_BayerRG8)           \
  X(PolarizedDolpAngle_BayerRG12p)         \
  X(PolarizedDolpAngle_BayerRG16)

#define ORVEX_CONTRACT_OTHERS(X)                \
  X(YCbCr422_8)                                 \
  X(YUV8_UYV)                                   \
  X(RGBa16)                                     \
  X(BGRa16)                                     \
  X(PolarizedAngles_0d_45d_90d_135d_Mono12)     \
  X(PolarizedAngles_0d_45d_90d_135d_Mono12p)    \
  X(PolarizedAngles_0d_45d_90d_135d_Mono16)     \
  X(PolarizedStokes_S0_S1_S2_Mono8)             \
  X(PolarizedStokes_S0_S1_S2_Mono12p)           \
  X(PolarizedStokes_S0_S1_S2_Mono16)            \
  X(PolarizedStokes_S0_S1_S2_S3_Mono12)         \
  X(PolarizedStokes_S0_S1_S2_S3_Mono12p)        \
  X(PolarizedStokes_S0_S1_S2_S3_Mono16)         \
  X(PolarizedAngles_0d_45d_90d_135d_BayerRG8)   \
  X(PolarizedAngles_0d_45d_90d_135d_BayerRG12)  \
  X(PolarizedAngles_0d_45d_90d_135d_BayerRG12p) \
  X(PolarizedStokes_S0_S1_S2_BayerRG8)          \
  X(PolarizedStokes_S0_S1_S2_BayerRG12p)        \
  X(PolarizedStokes_S0_S1_S2_S3_BayerRG8)       \
  X(PolarizedStokes_S0_S1_S2_S3_BayerRG12)      \
  X(PolarizedStokes_S0_S1_S2_S3_BayerRG12p)     \
  X(Coord3D_C16s)                               \
  X(QOI_Mono8)                                  \
  X(QOI_BayerGR8)                               \
  X(QOI_BayerRG8)                               \
  X(QOI_BayerGB8)                               \
  X(QOI_BayerBG8)                               \
  X(QOI_RGB8)                                   \
  X(QOI_BGR8)                                   \
  X(QOI_YCbCr8)                                 \
  X(QOI_YCbCr8_CbYCr)                           \
  X(Coord3D_ABCY8)                              \
  X(Coord3D_CY8)                                \
  X(TavikXYTP128f)

#define ORVEX_CONTRACT_FORMATS(X)                 \
  ORVEX_CONTRACT_SINGLE(X, Mono)                  \
  ORVEX_CONTRACT_SINGLE(X, BayerRG)               \
  ORVEX_CONTRACT_SINGLE(X, BayerGR)               \
  ORVEX_CONTRACT_SINGLE(X, BayerBG)               \
  ORVEX_CONTRACT_SINGLE(X, BayerGB)               \
  ORVEX_CONTRACT_COLOUR(X, RGB)                   \
  ORVEX_CONTRACT_COLOUR(X, BGR)                   \
  ORVEX_CONTRACT_LUMA_CHROMA_AND_3D(X)            \
  ORVEX_CONTRACT_POLARIZED(X)                     \
  ORVEX_CONTRACT_SENSORS(X, Dual)                 \
  ORVEX_CONTRACT_SENSORS(X, Quad)                 \
  ORVEX_CONTRACT_OTHERS(X)                        \
  ORVEX_CONTRACT_SEPARATED_SENSORS(X, Dual, _2ch) \
  ORVEX_CONTRACT_SEPARATED_SENSORS(X, Quad, _4ch)
// clang-format on
