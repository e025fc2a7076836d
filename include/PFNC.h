#pragma once
// SPDX-License-Identifier: Apache-2.0
/// @file
/// Pixel-format identifiers of the GenICam Pixel Format Naming Convention (PFNC) and this system's
/// own formats. Plain constants: any thread may use them.
///
/// One row a format: X(name, value). The enumeration below, the names in messages and every other
/// table over formats are made from these rows; applications may expand them as well, for example
/// to offer all names in a list.
///
/// Layout of a value: bit 31 marks a format of this system's own, bits 30..24 the component class
/// (1 single, 2 several components), bits 23..16 the effective bits per pixel, bits 15..0 the
/// identifier.

#include <cstdint>

// clang-format off

/// The published value list of October 2020, with its deprecated names and the packed formats of
/// GigE Vision.
#define ORVEX_PFNC_STANDARD(X)                 \
  X(Mono1p, 0x01010037)                        \
  X(Mono2p, 0x01020038)                        \
  X(Mono4p, 0x01040039)                        \
  X(Mono8, 0x01080001)                         \
  X(Mono8s, 0x01080002)                        \
  X(Mono10, 0x01100003)                        \
  X(Mono10p, 0x010A0046)                       \
  X(Mono12, 0x01100005)                        \
  X(Mono12p, 0x010C0047)                       \
  X(Mono14, 0x01100025)                        \
  X(Mono14p, 0x010E0104)                       \
  X(Mono16, 0x01100007)                        \
  X(Mono32, 0x01200111)                        \
  X(BayerBG4p, 0x01040110)                     \
  X(BayerBG8, 0x0108000B)                      \
  X(BayerBG10, 0x0110000F)                     \
  X(BayerBG10p, 0x010A0052)                    \
  X(BayerBG12, 0x01100013)                     \
  X(BayerBG12p, 0x010C0053)                    \
  X(BayerBG14, 0x0110010C)                     \
  X(BayerBG14p, 0x010E0108)                    \
  X(BayerBG16, 0x01100031)                     \
  X(BayerGB4p, 0x0104010F)                     \
  X(BayerGB8, 0x0108000A)                      \
  X(BayerGB10, 0x0110000E)                     \
  X(BayerGB10p, 0x010A0054)                    \
  X(BayerGB12, 0x01100012)                     \
  X(BayerGB12p, 0x010C0055)                    \
  X(BayerGB14, 0x0110010B)                     \
  X(BayerGB14p, 0x010E0107)                    \
  X(BayerGB16, 0x01100030)                     \
  X(BayerGR4p, 0x0104010D)                     \
  X(BayerGR8, 0x01080008)                      \
  X(BayerGR10, 0x0110000C)                     \
  X(BayerGR10p, 0x010A0056)                    \
  X(BayerGR12, 0x01100010)                     \
  X(BayerGR12p, 0x010C0057)                    \
  X(BayerGR14, 0x01100109)                     \
  X(BayerGR14p, 0x010E0105)                    \
  X(BayerGR16, 0x0110002E)                     \
  X(BayerRG4p, 0x0104010E)                     \
  X(BayerRG8, 0x01080009)                      \
  X(BayerRG10, 0x0110000D)                     \
  X(BayerRG10p, 0x010A0058)                    \
  X(BayerRG12, 0x01100011)                     \
  X(BayerRG12p, 0x010C0059)                    \
  X(BayerRG14, 0x0110010A)                     \
  X(BayerRG14p, 0x010E0106)                    \
  X(BayerRG16, 0x0110002F)                     \
  X(RGBa8, 0x02200016)                         \
  X(RGBa10, 0x0240005F)                        \
  X(RGBa10p, 0x02280060)                       \
  X(RGBa12, 0x02400061)                        \
  X(RGBa12p, 0x02300062)                       \
  X(RGBa14, 0x02400063)                        \
  X(RGBa16, 0x02400064)                        \
  X(RGB8, 0x02180014)                          \
  X(RGB8_Planar, 0x02180021)                   \
  X(RGB10, 0x02300018)                         \
  X(RGB10_Planar, 0x02300022)                  \
  X(RGB10p, 0x021E005C)                        \
  X(RGB10p32, 0x0220001D)                      \
  X(RGB12, 0x0230001A)                         \
  X(RGB12_Planar, 0x02300023)                  \
  X(RGB12p, 0x0224005D)                        \
  X(RGB14, 0x0230005E)                         \
  X(RGB16, 0x02300033)                         \
  X(RGB16_Planar, 0x02300024)                  \
  X(RGB565p, 0x02100035)                       \
  X(BGRa8, 0x02200017)                         \
  X(BGRa10, 0x0240004C)                        \
  X(BGRa10p, 0x0228004D)                       \
  X(BGRa12, 0x0240004E)                        \
  X(BGRa12p, 0x0230004F)                       \
  X(BGRa14, 0x02400050)                        \
  X(BGRa16, 0x02400051)                        \
  X(BGR8, 0x02180015)                          \
  X(BGR10, 0x02300019)                         \
  X(BGR10p, 0x021E0048)                        \
  X(BGR12, 0x0230001B)                         \
  X(BGR12p, 0x02240049)                        \
  X(BGR14, 0x0230004A)                         \
  X(BGR16, 0x0230004B)                         \
  X(BGR565p, 0x02100036)                       \
  X(R8, 0x010800C9)                            \
  X(R10, 0x01100120)                           \
  X(R10_Deprecated, 0x010A00CA)                \
  X(R12, 0x01100121)                           \
  X(R12_Deprecated, 0x010C00CB)                \
  X(R16, 0x011000CC)                           \
  X(G8, 0x010800CD)                            \
  X(G10, 0x01100122)                           \
  X(G10_Deprecated, 0x010A00CE)                \
  X(G12, 0x01100123)                           \
  X(G12_Deprecated, 0x010C00CF)                \
  X(G16, 0x011000D0)                           \
  X(B8, 0x010800D1)                            \
  X(B10, 0x01100124)                           \
  X(B10_Deprecated, 0x010A00D2)                \
  X(B12, 0x01100125)                           \
  X(B12_Deprecated, 0x010C00D3)                \
  X(B16, 0x011000D4)                           \
  X(Coord3D_ABC8, 0x021800B2)                  \
  X(Coord3D_ABC8_Planar, 0x021800B3)           \
  X(Coord3D_ABC10p, 0x021E00DB)                \
  X(Coord3D_ABC10p_Planar, 0x021E00DC)         \
  X(Coord3D_ABC12p, 0x022400DE)                \
  X(Coord3D_ABC12p_Planar, 0x022400DF)         \
  X(Coord3D_ABC16, 0x023000B9)                 \
  X(Coord3D_ABC16_Planar, 0x023000BA)          \
  X(Coord3D_ABC32f, 0x026000C0)                \
  X(Coord3D_ABC32f_Planar, 0x026000C1)         \
  X(Coord3D_AC8, 0x021000B4)                   \
  X(Coord3D_AC8_Planar, 0x021000B5)            \
  X(Coord3D_AC10p, 0x021400F0)                 \
  X(Coord3D_AC10p_Planar, 0x021400F1)          \
  X(Coord3D_AC12p, 0x021800F2)                 \
  X(Coord3D_AC12p_Planar, 0x021800F3)          \
  X(Coord3D_AC16, 0x022000BB)                  \
  X(Coord3D_AC16_Planar, 0x022000BC)           \
  X(Coord3D_AC32f, 0x024000C2)                 \
  X(Coord3D_AC32f_Planar, 0x024000C3)          \
  X(Coord3D_A8, 0x010800AF)                    \
  X(Coord3D_A10p, 0x010A00D5)                  \
  X(Coord3D_A12p, 0x010C00D8)                  \
  X(Coord3D_A16, 0x011000B6)                   \
  X(Coord3D_A32f, 0x012000BD)                  \
  X(Coord3D_B8, 0x010800B0)                    \
  X(Coord3D_B10p, 0x010A00D6)                  \
  X(Coord3D_B12p, 0x010C00D9)                  \
  X(Coord3D_B16, 0x011000B7)                   \
  X(Coord3D_B32f, 0x012000BE)                  \
  X(Coord3D_C8, 0x010800B1)                    \
  X(Coord3D_C10p, 0x010A00D7)                  \
  X(Coord3D_C12p, 0x010C00DA)                  \
  X(Coord3D_C16, 0x011000B8)                   \
  X(Coord3D_C32f, 0x012000BF)                  \
  X(Confidence1, 0x010800C4)                   \
  X(Confidence1p, 0x010100C5)                  \
  X(Confidence8, 0x010800C6)                   \
  X(Confidence16, 0x011000C7)                  \
  X(Confidence32f, 0x012000C8)                 \
  X(BiColorBGRG8, 0x021000A6)                  \
  X(BiColorBGRG10, 0x022000A9)                 \
  X(BiColorBGRG10p, 0x021400AA)                \
  X(BiColorBGRG12, 0x022000AD)                 \
  X(BiColorBGRG12p, 0x021800AE)                \
  X(BiColorRGBG8, 0x021000A5)                  \
  X(BiColorRGBG10, 0x022000A7)                 \
  X(BiColorRGBG10p, 0x021400A8)                \
  X(BiColorRGBG12, 0x022000AB)                 \
  X(BiColorRGBG12p, 0x021800AC)                \
  X(Data8, 0x01080116)                         \
  X(Data8s, 0x01080117)                        \
  X(Data16, 0x01100118)                        \
  X(Data16s, 0x01100119)                       \
  X(Data32, 0x0120011A)                        \
  X(Data32f, 0x0120011C)                       \
  X(Data32s, 0x0120011B)                       \
  X(Data64, 0x0140011D)                        \
  X(Data64f, 0x0140011F)                       \
  X(Data64s, 0x0140011E)                       \
  X(SCF1WBWG8, 0x01080067)                     \
  X(SCF1WBWG10, 0x01100068)                    \
  X(SCF1WBWG10p, 0x010A0069)                   \
  X(SCF1WBWG12, 0x0110006A)                    \
  X(SCF1WBWG12p, 0x010C006B)                   \
  X(SCF1WBWG14, 0x0110006C)                    \
  X(SCF1WBWG16, 0x0110006D)                    \
  X(SCF1WGWB8, 0x0108006E)                     \
  X(SCF1WGWB10, 0x0110006F)                    \
  X(SCF1WGWB10p, 0x010A0070)                   \
  X(SCF1WGWB12, 0x01100071)                    \
  X(SCF1WGWB12p, 0x010C0072)                   \
  X(SCF1WGWB14, 0x01100073)                    \
  X(SCF1WGWB16, 0x01100074)                    \
  X(SCF1WGWR8, 0x01080075)                     \
  X(SCF1WGWR10, 0x01100076)                    \
  X(SCF1WGWR10p, 0x010A0077)                   \
  X(SCF1WGWR12, 0x01100078)                    \
  X(SCF1WGWR12p, 0x010C0079)                   \
  X(SCF1WGWR14, 0x0110007A)                    \
  X(SCF1WGWR16, 0x0110007B)                    \
  X(SCF1WRWG8, 0x0108007C)                     \
  X(SCF1WRWG10, 0x0110007D)                    \
  X(SCF1WRWG10p, 0x010A007E)                   \
  X(SCF1WRWG12, 0x0110007F)                    \
  X(SCF1WRWG12p, 0x010C0080)                   \
  X(SCF1WRWG14, 0x01100081)                    \
  X(SCF1WRWG16, 0x01100082)                    \
  X(YCbCr8, 0x0218005B)                        \
  X(YCbCr8_CbYCr, 0x0218003A)                  \
  X(YCbCr10_CbYCr, 0x02300083)                 \
  X(YCbCr10p_CbYCr, 0x021E0084)                \
  X(YCbCr12_CbYCr, 0x02300085)                 \
  X(YCbCr12p_CbYCr, 0x02240086)                \
  X(YCbCr411_8, 0x020C005A)                    \
  X(YCbCr411_8_CbYYCrYY, 0x020C003C)           \
  X(YCbCr420_8_YY_CbCr_Semiplanar, 0x020C0112) \
  X(YCbCr420_8_YY_CrCb_Semiplanar, 0x020C0114) \
  X(YCbCr422_8, 0x0210003B)                    \
  X(YCbCr422_8_CbYCrY, 0x02100043)             \
  X(YCbCr422_8_YY_CbCr_Semiplanar, 0x02100113) \
  X(YCbCr422_8_YY_CrCb_Semiplanar, 0x02100115) \
  X(YCbCr422_10, 0x02200065)                   \
  X(YCbCr422_10_CbYCrY, 0x02200099)            \
  X(YCbCr422_10p, 0x02140087)                  \
  X(YCbCr422_10p_CbYCrY, 0x0214009A)           \
  X(YCbCr422_12, 0x02200066)                   \
  X(YCbCr422_12_CbYCrY, 0x0220009B)            \
  X(YCbCr422_12p, 0x02180088)                  \
  X(YCbCr422_12p_CbYCrY, 0x0218009C)           \
  X(YCbCr601_8_CbYCr, 0x0218003D)              \
  X(YCbCr601_10_CbYCr, 0x02300089)             \
  X(YCbCr601_10p_CbYCr, 0x021E008A)            \
  X(YCbCr601_12_CbYCr, 0x0230008B)             \
  X(YCbCr601_12p_CbYCr, 0x0224008C)            \
  X(YCbCr601_411_8_CbYYCrYY, 0x020C003F)       \
  X(YCbCr601_422_8, 0x0210003E)                \
  X(YCbCr601_422_8_CbYCrY, 0x02100044)         \
  X(YCbCr601_422_10, 0x0220008D)               \
  X(YCbCr601_422_10_CbYCrY, 0x0220009D)        \
  X(YCbCr601_422_10p, 0x0214008E)              \
  X(YCbCr601_422_10p_CbYCrY, 0x0214009E)       \
  X(YCbCr601_422_12, 0x0220008F)               \
  X(YCbCr601_422_12_CbYCrY, 0x0220009F)        \
  X(YCbCr601_422_12p, 0x02180090)              \
  X(YCbCr601_422_12p_CbYCrY, 0x021800A0)       \
  X(YCbCr709_8_CbYCr, 0x02180040)              \
  X(YCbCr709_10_CbYCr, 0x02300091)             \
  X(YCbCr709_10p_CbYCr, 0x021E0092)            \
  X(YCbCr709_12_CbYCr, 0x02300093)             \
  X(YCbCr709_12p_CbYCr, 0x02240094)            \
  X(YCbCr709_411_8_CbYYCrYY, 0x020C0042)       \
  X(YCbCr709_422_8, 0x02100041)                \
  X(YCbCr709_422_8_CbYCrY, 0x02100045)         \
  X(YCbCr709_422_10, 0x02200095)               \
  X(YCbCr709_422_10_CbYCrY, 0x022000A1)        \
  X(YCbCr709_422_10p, 0x02140096)              \
  X(YCbCr709_422_10p_CbYCrY, 0x021400A2)       \
  X(YCbCr709_422_12, 0x02200097)               \
  X(YCbCr709_422_12_CbYCrY, 0x022000A3)        \
  X(YCbCr709_422_12p, 0x02180098)              \
  X(YCbCr709_422_12p_CbYCrY, 0x021800A4)       \
  X(YCbCr2020_8_CbYCr, 0x021800F4)             \
  X(YCbCr2020_10_CbYCr, 0x023000F5)            \
  X(YCbCr2020_10p_CbYCr, 0x021E00F6)           \
  X(YCbCr2020_12_CbYCr, 0x023000F7)            \
  X(YCbCr2020_12p_CbYCr, 0x022400F8)           \
  X(YCbCr2020_411_8_CbYYCrYY, 0x020C00F9)      \
  X(YCbCr2020_422_8, 0x021000FA)               \
  X(YCbCr2020_422_8_CbYCrY, 0x021000FB)        \
  X(YCbCr2020_422_10, 0x022000FC)              \
  X(YCbCr2020_422_10_CbYCrY, 0x022000FD)       \
  X(YCbCr2020_422_10p, 0x021400FE)             \
  X(YCbCr2020_422_10p_CbYCrY, 0x021400FF)      \
  X(YCbCr2020_422_12, 0x02200100)              \
  X(YCbCr2020_422_12_CbYCrY, 0x02200101)       \
  X(YCbCr2020_422_12p, 0x02180102)             \
  X(YCbCr2020_422_12p_CbYCrY, 0x02180103)      \
  X(YUV8_UYV, 0x02180020)                      \
  X(YUV411_8_UYYVYY, 0x020C001E)               \
  X(YUV422_8, 0x02100032)                      \
  X(YUV422_8_UYVY, 0x0210001F)                 \
  X(Mono10Packed, 0x010C0004)                  \
  X(Mono12Packed, 0x010C0006)                  \
  X(BayerBG10Packed, 0x010C0029)               \
  X(BayerBG12Packed, 0x010C002D)               \
  X(BayerGB10Packed, 0x010C0028)               \
  X(BayerGB12Packed, 0x010C002C)               \
  X(BayerGR10Packed, 0x010C0026)               \
  X(BayerGR12Packed, 0x010C002A)               \
  X(BayerRG10Packed, 0x010C0027)               \
  X(BayerRG12Packed, 0x010C002B)               \
  X(RGB10V1Packed, 0x0220001C)                 \
  X(RGB12V1Packed, 0x02240034)

/// The system's own formats, except the multi-sensor ones. Cameras send these values.
// Kept on purpose: PolarizedDolp_Mono16 and PolarizedDolp_BayerRG16 do not follow the numbering of
// their families.
#define ORVEX_PFNC_OWN(X)                                   \
  X(PolarizeMono8, 0x81080001)                              \
  X(PolarizeMono12p, 0x810C0047)                            \
  X(PolarizeMono12Packed, 0x810C0006)                       \
  X(PolarizeMono16, 0x81100007)                             \
  X(PolarizeMono12, 0x81100008)                             \
  X(PolarizedAngles_0d_45d_90d_135d_Mono8, 0x8220000F)      \
  X(PolarizedAngles_0d_45d_90d_135d_Mono12p, 0x8230001F)    \
  X(PolarizedAngles_0d_45d_90d_135d_Mono16, 0x8240002F)     \
  X(PolarizedStokes_S0_S1_S2_Mono8, 0x8218003F)             \
  X(PolarizedStokes_S0_S1_S2_Mono12p, 0x8224004F)           \
  X(PolarizedStokes_S0_S1_S2_Mono16, 0x8230005F)            \
  X(PolarizedStokes_S0_S1_S2_S3_Mono8, 0x8220006F)          \
  X(PolarizedStokes_S0_S1_S2_S3_Mono12p, 0x8230007F)        \
  X(PolarizedStokes_S0_S1_S2_S3_Mono16, 0x8240008F)         \
  X(PolarizedAolp_Mono8, 0x810800DF)                        \
  X(PolarizedAolp_Mono12p, 0x810C00EF)                      \
  X(PolarizedDolp_Mono8, 0x810800BF)                        \
  X(PolarizedDolp_Mono12p, 0x810C00CF)                      \
  X(PolarizedDolp_Mono16, 0xAA10AAAA)                       \
  X(PolarizedDolpAolp_Mono8, 0x8210009F)                    \
  X(PolarizedDolpAolp_Mono12p, 0x821800AF)                  \
  X(Coord3D_ABCY16, 0x82400403)                             \
  X(Coord3D_ABCY16s, 0x82400400)                            \
  X(Coord3D_ABC16s, 0x82300401)                             \
  X(Coord3D_C16s, 0x81100402)                               \
  X(PolarizedAngles_0d_45d_90d_135d_BayerRG8, 0x8220020F)   \
  X(PolarizedAngles_0d_45d_90d_135d_BayerRG12p, 0x8230021F) \
  X(PolarizedStokes_S0_S1_S2_BayerRG8, 0x8218023F)          \
  X(PolarizedStokes_S0_S1_S2_BayerRG12p, 0x8224024F)        \
  X(PolarizedStokes_S0_S1_S2_S3_BayerRG8, 0x8220026F)       \
  X(PolarizedStokes_S0_S1_S2_S3_BayerRG12p, 0x8230027F)     \
  X(PolarizedAolp_BayerRG8, 0x810802DF)                     \
  X(PolarizedAolp_BayerRG12p, 0x810C02EF)                   \
  X(PolarizedDolp_BayerRG8, 0x810802BF)                     \
  X(PolarizedDolp_BayerRG12p, 0x810C02CF)                   \
  X(PolarizedDolp_BayerRG16, 0xBB10BBBB)                    \
  X(PolarizedDolpAolp_BayerRG8, 0x8210029F)                 \
  X(PolarizedDolpAolp_BayerRG12p, 0x821802AF)               \
  X(Mono24, 0x81180500)                                     \
  X(BayerGR24, 0x81180501)                                  \
  X(BayerRG24, 0x81180502)                                  \
  X(BayerGB24, 0x81180503)                                  \
  X(BayerBG24, 0x81180504)                                  \
  X(RGB24, 0x82480505)                                      \
  X(BGR24, 0x82480506)                                      \
  X(YCbCr422_16_CbYCrY, 0x82200507)                         \
  X(YCbCr422_24_CbYCrY, 0x82300508)                         \
  X(YCbCr411_16_CbYYCrYY, 0x82180509)                       \
  X(YCbCr411_24_CbYYCrYY, 0x8224050A)                       \
  X(PolarizedDolpAngle_Mono8, 0x821000FF)                   \
  X(PolarizedDolpAngle_Mono12p, 0x8218010F)                 \
  X(PolarizedDolpAngle_Mono16, 0x8220011F)                  \
  X(PolarizedDolpAngle_BayerRG8, 0x821002FF)                \
  X(PolarizedDolpAngle_BayerRG12p, 0x8218030F)              \
  X(PolarizedDolpAngle_BayerRG16, 0x8220031F)               \
  X(Coord3D_C16Y8, 0x82180404)                              \
  X(Coord3D_CY16, 0x82200405)                               \
  X(QOI_Mono8, 0x81080A00)                                  \
  X(QOI_BayerGR8, 0x81080B00)                               \
  X(QOI_BayerRG8, 0x81080B01)                               \
  X(QOI_BayerGB8, 0x81080B02)                               \
  X(QOI_BayerBG8, 0x81080B03)                               \
  X(QOI_RGB8, 0x82180A01)                                   \
  X(QOI_BGR8, 0x82180A02)                                   \
  X(QOI_YCbCr8, 0x82180A03)                                 \
  X(QOI_YCbCr8_CbYCr, 0x82180A04)                           \
  X(PolarizedAngles_0d_45d_90d_135d_Mono12, 0x8240001F)     \
  X(PolarizedStokes_S0_S1_S2_S3_Mono12, 0x8240007F)         \
  X(PolarizedAolp_Mono12, 0x811000EF)                       \
  X(PolarizedDolp_Mono12, 0x811000CF)                       \
  X(PolarizedDolpAolp_Mono12, 0x822000AF)                   \
  X(Coord3D_ABCY8, 0x82200403)                              \
  X(Coord3D_CY8, 0x82100404)                                \
  X(PolarizedAngles_0d_45d_90d_135d_BayerRG12, 0x8240021F)  \
  X(PolarizedStokes_S0_S1_S2_S3_BayerRG12, 0x8240027F)      \
  X(PolarizedAolp_BayerRG12, 0x811002EF)                    \
  X(PolarizedDolp_BayerRG12, 0x811002CF)                    \
  X(PolarizedDolpAolp_BayerRG12, 0x822002AF)                \
  X(YCbCr16_CbYCr, 0x82300507)                              \
  X(YCbCr24_CbYCr, 0x82480508)                              \
  X(TavikXYTP128f, 0x82804556)

/// Multi-sensor formats: the identifier is `base` and the low byte of the single-sensor format.
#define ORVEX_PFNC_MULTI_SENSOR(X, prefix, base)        \
  X(prefix##Mono8, 0x81080000u | base | 0x01)           \
  X(prefix##Mono10, 0x81100000u | base | 0x03)          \
  X(prefix##Mono10Packed, 0x810C0000u | base | 0x04)    \
  X(prefix##Mono12, 0x81100000u | base | 0x05)          \
  X(prefix##Mono12Packed, 0x810C0000u | base | 0x06)    \
  X(prefix##Mono16, 0x81100000u | base | 0x07)          \
  X(prefix##BayerGR8, 0x81080000u | base | 0x08)        \
  X(prefix##BayerRG8, 0x81080000u | base | 0x09)        \
  X(prefix##BayerGB8, 0x81080000u | base | 0x0A)        \
  X(prefix##BayerBG8, 0x81080000u | base | 0x0B)        \
  X(prefix##BayerGR10, 0x81100000u | base | 0x0C)       \
  X(prefix##BayerRG10, 0x81100000u | base | 0x0D)       \
  X(prefix##BayerGB10, 0x81100000u | base | 0x0E)       \
  X(prefix##BayerBG10, 0x81100000u | base | 0x0F)       \
  X(prefix##BayerGR12, 0x81100000u | base | 0x10)       \
  X(prefix##BayerRG12, 0x81100000u | base | 0x11)       \
  X(prefix##BayerGB12, 0x81100000u | base | 0x12)       \
  X(prefix##BayerBG12, 0x81100000u | base | 0x13)       \
  X(prefix##BayerGR10Packed, 0x810C0000u | base | 0x26) \
  X(prefix##BayerRG10Packed, 0x810C0000u | base | 0x27) \
  X(prefix##BayerGB10Packed, 0x810C0000u | base | 0x28) \
  X(prefix##BayerBG10Packed, 0x810C0000u | base | 0x29) \
  X(prefix##BayerGR12Packed, 0x810C0000u | base | 0x2A) \
  X(prefix##BayerRG12Packed, 0x810C0000u | base | 0x2B) \
  X(prefix##BayerGB12Packed, 0x810C0000u | base | 0x2C) \
  X(prefix##BayerBG12Packed, 0x810C0000u | base | 0x2D) \
  X(prefix##BayerGR16, 0x81100000u | base | 0x2E)       \
  X(prefix##BayerRG16, 0x81100000u | base | 0x2F)       \
  X(prefix##BayerGB16, 0x81100000u | base | 0x30)       \
  X(prefix##BayerBG16, 0x81100000u | base | 0x31)       \
  X(prefix##Mono10p, 0x810A0000u | base | 0x46)         \
  X(prefix##Mono12p, 0x810C0000u | base | 0x47)         \
  X(prefix##BayerBG10p, 0x810A0000u | base | 0x52)      \
  X(prefix##BayerBG12p, 0x810C0000u | base | 0x53)      \
  X(prefix##BayerGB10p, 0x810A0000u | base | 0x54)      \
  X(prefix##BayerGB12p, 0x810C0000u | base | 0x55)      \
  X(prefix##BayerGR10p, 0x810A0000u | base | 0x56)      \
  X(prefix##BayerGR12p, 0x810C0000u | base | 0x57)      \
  X(prefix##BayerRG10p, 0x810A0000u | base | 0x58)      \
  X(prefix##BayerRG12p, 0x810C0000u | base | 0x59)

/// Channel-separated variants: `count` planes, hence `count` times the bits per pixel.
#define ORVEX_PFNC_SEPARATED(X, prefix, base, count)                                \
  X(prefix##Mono8_##count##ch, 0x81000000u | (count * 8u) << 16 | base | 0x01)      \
  X(prefix##Mono10_##count##ch, 0x81000000u | (count * 16u) << 16 | base | 0x03)    \
  X(prefix##Mono12_##count##ch, 0x81000000u | (count * 16u) << 16 | base | 0x05)    \
  X(prefix##Mono16_##count##ch, 0x81000000u | (count * 16u) << 16 | base | 0x07)    \
  X(prefix##BayerGR8_##count##ch, 0x81000000u | (count * 8u) << 16 | base | 0x08)   \
  X(prefix##BayerRG8_##count##ch, 0x81000000u | (count * 8u) << 16 | base | 0x09)   \
  X(prefix##BayerGB8_##count##ch, 0x81000000u | (count * 8u) << 16 | base | 0x0A)   \
  X(prefix##BayerBG8_##count##ch, 0x81000000u | (count * 8u) << 16 | base | 0x0B)   \
  X(prefix##BayerGR10_##count##ch, 0x81000000u | (count * 16u) << 16 | base | 0x0C) \
  X(prefix##BayerRG10_##count##ch, 0x81000000u | (count * 16u) << 16 | base | 0x0D) \
  X(prefix##BayerGB10_##count##ch, 0x81000000u | (count * 16u) << 16 | base | 0x0E) \
  X(prefix##BayerBG10_##count##ch, 0x81000000u | (count * 16u) << 16 | base | 0x0F) \
  X(prefix##BayerGR12_##count##ch, 0x81000000u | (count * 16u) << 16 | base | 0x10) \
  X(prefix##BayerRG12_##count##ch, 0x81000000u | (count * 16u) << 16 | base | 0x11) \
  X(prefix##BayerGB12_##count##ch, 0x81000000u | (count * 16u) << 16 | base | 0x12) \
  X(prefix##BayerBG12_##count##ch, 0x81000000u | (count * 16u) << 16 | base | 0x13) \
  X(prefix##BayerGR16_##count##ch, 0x81000000u | (count * 16u) << 16 | base | 0x2E) \
  X(prefix##BayerRG16_##count##ch, 0x81000000u | (count * 16u) << 16 | base | 0x2F) \
  X(prefix##BayerGB16_##count##ch, 0x81000000u | (count * 16u) << 16 | base | 0x30) \
  X(prefix##BayerBG16_##count##ch, 0x81000000u | (count * 16u) << 16 | base | 0x31)

/// Formats of two sensors whose pixels alternate.
#define ORVEX_PFNC_DUAL(X) ORVEX_PFNC_MULTI_SENSOR(X, Dual, 0x1000)
/// Formats of four sensors whose pixels alternate.
#define ORVEX_PFNC_QUAD(X) ORVEX_PFNC_MULTI_SENSOR(X, Quad, 0x3000)
/// Formats of two sensors, one plane each.
#define ORVEX_PFNC_DUAL_SEPARATED(X) ORVEX_PFNC_SEPARATED(X, Dual, 0x1000, 2)
/// Formats of four sensors, one plane each.
#define ORVEX_PFNC_QUAD_SEPARATED(X) ORVEX_PFNC_SEPARATED(X, Quad, 0x3000, 4)

/// Every format, standard and own, each once.
#define ORVEX_PFNC_ALL(X)                                                        \
  ORVEX_PFNC_STANDARD(X) ORVEX_PFNC_OWN(X) ORVEX_PFNC_DUAL(X) ORVEX_PFNC_QUAD(X) \
  ORVEX_PFNC_DUAL_SEPARATED(X) ORVEX_PFNC_QUAD_SEPARATED(X)
// clang-format on

namespace Orvex {

/// Identifies the layout and meaning of an image's pixels. Interfaces carry it as a 64-bit number,
/// because a camera may announce a value that is not listed here.
enum PfncFormat_ : uint32_t {
  InvalidPixelFormat = 0,  ///< No format.
/// @cond
#define ORVEX_PFNC_ENUMERATOR(name, value) name = value,
  ORVEX_PFNC_ALL(ORVEX_PFNC_ENUMERATOR)
#undef ORVEX_PFNC_ENUMERATOR
  /// @endcond
};

}  // namespace Orvex
