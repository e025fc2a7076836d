#pragma once
// SPDX-License-Identifier: Apache-2.0
// The names of all functions that a producer may export, for lists made by macro: members of
// ProducerApi, the binding table of the loader, tests of the exports. Functions of GenTL 1.0
// and 1.1 are what a consumer cannot do without.

#define ORVEX_GENTL_REQUIRED_FUNCTIONS(X) \
  X(GCGetInfo)                            \
  X(GCGetLastError)                       \
  X(GCInitLib)                            \
  X(GCCloseLib)                           \
  X(GCReadPort)                           \
  X(GCWritePort)                          \
  X(GCGetPortURL)                         \
  X(GCGetPortInfo)                        \
  X(GCRegisterEvent)                      \
  X(GCUnregisterEvent)                    \
  X(EventGetData)                         \
  X(EventGetDataInfo)                     \
  X(EventGetInfo)                         \
  X(EventFlush)                           \
  X(EventKill)                            \
  X(TLOpen)                               \
  X(TLClose)                              \
  X(TLGetInfo)                            \
  X(TLGetNumInterfaces)                   \
  X(TLGetInterfaceID)                     \
  X(TLGetInterfaceInfo)                   \
  X(TLOpenInterface)                      \
  X(TLUpdateInterfaceList)                \
  X(IFClose)                              \
  X(IFGetInfo)                            \
  X(IFGetNumDevices)                      \
  X(IFGetDeviceID)                        \
  X(IFUpdateDeviceList)                   \
  X(IFGetDeviceInfo)                      \
  X(IFOpenDevice)                         \
  X(DevGetPort)                           \
  X(DevGetNumDataStreams)                 \
  X(DevGetDataStreamID)                   \
  X(DevOpenDataStream)                    \
  X(DevGetInfo)                           \
  X(DevClose)                             \
  X(DSAnnounceBuffer)                     \
  X(DSAllocAndAnnounceBuffer)             \
  X(DSFlushQueue)                         \
  X(DSStartAcquisition)                   \
  X(DSStopAcquisition)                    \
  X(DSGetInfo)                            \
  X(DSGetBufferID)                        \
  X(DSClose)                              \
  X(DSRevokeBuffer)                       \
  X(DSQueueBuffer)                        \
  X(DSGetBufferInfo)                      \
  X(GCGetNumPortURLs)                     \
  X(GCGetPortURLInfo)                     \
  X(GCReadPortStacked)                    \
  X(GCWritePortStacked)

#define ORVEX_GENTL_NEWER_FUNCTIONS(X) \
  X(DSGetBufferChunkData)              \
  X(IFGetParentTL)                     \
  X(DevGetParentIF)                    \
  X(DSGetParentDev)                    \
  X(DSGetNumBufferParts)               \
  X(DSGetBufferPartInfo)               \
  X(DSAnnounceCompositeBuffer)         \
  X(DSGetBufferInfoStacked)            \
  X(DSGetBufferPartInfoStacked)        \
  X(DSGetNumFlows)                     \
  X(DSGetFlowInfo)                     \
  X(DSGetNumBufferSegments)            \
  X(DSGetBufferSegmentInfo)

#define ORVEX_GENTL_EXTENSION_FUNCTIONS(X) \
  X(IFForceIp)                             \
  X(IFAddUnicastDiscoveryDevice)           \
  X(IFRemoveUnicastDiscoveryDevice)        \
  X(IFGetUnicastDiscoveryDevices)          \
  X(DevSendActionCommand)                  \
  X(DSWaitForNextLeader)                   \
  X(DSResetWaitForNextLeader)              \
  X(DSSetupResendRetryParams)

#define ORVEX_GENTL_ALL_FUNCTIONS(X) \
  ORVEX_GENTL_REQUIRED_FUNCTIONS(X)  \
  ORVEX_GENTL_NEWER_FUNCTIONS(X)     \
  ORVEX_GENTL_EXTENSION_FUNCTIONS(X)
