#pragma once
/* SPDX-License-Identifier: Apache-2.0 */
/* What Orvex' producer offers beyond GenTL 1.6: info commands, an event type, payload types and
   functions. A consumer that meets another producer treats a missing function as one that answers
   GC_ERR_NOT_IMPLEMENTED. */

#include "gentl/GenTL.h"

#ifdef __cplusplus
namespace GenTL {
extern "C" {
#endif

/* IFGetDeviceInfo and DevGetInfo. Addresses are UINT32 in host order, the MAC is a UINT64 (low 48
 * bits), the rest BOOL8. */
enum DEVICE_INFO_CMD_ORVEX_LIST {
  DEVICE_INFO_ORVEX_CURRENT_IP = 1002,
  DEVICE_INFO_ORVEX_SUBNET_MASK = 1003,
  DEVICE_INFO_ORVEX_MAC = 1004,
  DEVICE_INFO_ORVEX_GATEWAY = 1005,
  DEVICE_INFO_ORVEX_DHCP_ENABLED = 1006,
  DEVICE_INFO_ORVEX_PERSISTENT_IP_ENABLED = 1007,
  DEVICE_INFO_ORVEX_LINK_LOCAL_ENABLED = 1008,
  DEVICE_INFO_ORVEX_CONNECTED = 1009
};

/* TLGetInterfaceInfo and IFGetInfo: UINT64 each, addresses in host order. */
enum INTERFACE_INFO_CMD_ORVEX_LIST {
  INTERFACE_INFO_ORVEX_MAC = 1001,
  INTERFACE_INFO_ORVEX_IP = 1002,
  INTERFACE_INFO_ORVEX_SUBNET_MASK = 1003
};

/* Registered on a data stream: one entry per trigger of an event-based sensor. */
enum EVENT_TYPE_ORVEX_LIST { EVENT_NEW_EVS_TRIGGER = 1001 };

/* BUFFER_INFO_PAYLOADTYPE beyond the standard's. */
enum PAYLOADTYPE_INFO_ORVEX_IDS {
  PAYLOAD_TYPE_ORVEX_COMPRESSED_IMAGE = 1001,
  PAYLOAD_TYPE_ORVEX_COMPRESSED_IMAGE_CHUNK = 1002,
  PAYLOAD_TYPE_ORVEX_IMAGE_EXTENDED_CHUNK = 16385
};

/* Broadcasts a temporary IP configuration to the camera with this MAC (low 48 bits); addresses in
 * host order. Silence is no failure, since the camera may sit behind another interface; a refusal
 * answers GC_ERR_ACCESS_DENIED. */
GC_API IFForceIp(IF_HANDLE hIface, uint64_t mac, uint64_t ip, uint64_t subnet, uint64_t gateway);

/* Addresses that IFUpdateDeviceList asks directly, beside its broadcast; network order. Adding
   twice and removing what is not there succeed. In the list call, *count is the capacity on entry
   and the number of entries on return. */
GC_API IFAddUnicastDiscoveryDevice(IF_HANDLE hIface, uint32_t ipNetworkOrder);
GC_API IFRemoveUnicastDiscoveryDevice(IF_HANDLE hIface, uint32_t ipNetworkOrder);
GC_API IFGetUnicastDiscoveryDevices(IF_HANDLE hIface, uint32_t* list, size_t* count);

/* Sends an action command to the device; actionTime is in ticks of the device's clock, 0 means now.
 */
GC_API DevSendActionCommand(DEV_HANDLE hDevice, uint32_t deviceKey, uint32_t groupKey,
                            uint32_t groupMask, uint64_t actionTime);

/* Waits until the leader of a frame arrives that was not reported to this call before.
   GC_ERR_TIMEOUT when none came; the reset forgets what was seen and ends a wait in progress with
   GC_ERR_ABORT. */
GC_API DSWaitForNextLeader(DS_HANDLE hDataStream, uint64_t timeoutMs);
GC_API DSResetWaitForNextLeader(DS_HANDLE hDataStream);

/* What the stream may ask again: windowFrameCount is the number of newest frames for which the
   camera keeps packets (0: not known), frameRate in 1/s (0: not known). Serial and firmware may be
   null; width and height are 0 where no geometry applies. Called before DSStartAcquisition, whose
   count then is the number of buffers that go round. */
GC_API DSSetupResendRetryParams(DS_HANDLE hDataStream, uint64_t windowFrameCount, double frameRate,
                                const char* serial, const char* firmware, int64_t width,
                                int64_t height);

GC_API_P(PIFForceIp)
(IF_HANDLE hIface, uint64_t mac, uint64_t ip, uint64_t subnet, uint64_t gateway);
GC_API_P(PIFAddUnicastDiscoveryDevice)(IF_HANDLE hIface, uint32_t ipNetworkOrder);
GC_API_P(PIFRemoveUnicastDiscoveryDevice)(IF_HANDLE hIface, uint32_t ipNetworkOrder);
GC_API_P(PIFGetUnicastDiscoveryDevices)(IF_HANDLE hIface, uint32_t* list, size_t* count);
GC_API_P(PDevSendActionCommand)
(DEV_HANDLE hDevice, uint32_t deviceKey, uint32_t groupKey, uint32_t groupMask,
 uint64_t actionTime);
GC_API_P(PDSWaitForNextLeader)(DS_HANDLE hDataStream, uint64_t timeoutMs);
GC_API_P(PDSResetWaitForNextLeader)(DS_HANDLE hDataStream);
GC_API_P(PDSSetupResendRetryParams)
(DS_HANDLE hDataStream, uint64_t windowFrameCount, double frameRate, const char* serial,
 const char* firmware, int64_t width, int64_t height);

#ifdef __cplusplus
} /* extern "C" */
} /* namespace GenTL */
#endif
