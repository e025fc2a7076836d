// SPDX-License-Identifier: Apache-2.0
// Exported functions: system, interface and device.
#include <arpa/inet.h>

#include "producer/DataStream.h"
#include "producer/Device.h"
#include "producer/Export.h"
#include "producer/Interface.h"
#include "producer/RemotePort.h"
#include "producer/System.h"

using namespace OrvexGev;

namespace GenTL {
extern "C" {

GC_ERROR TLOpen(TL_HANDLE* phTL) {
  return Call([&] {
    RequirePointer(phTL);
    *phTL = Library::Instance().OpenSystem()->Handle();
  });
}

GC_ERROR TLClose(TL_HANDLE hTL) {
  return Call([&] {
    const auto system = Get<System>(hTL);
    system->Close();
    Library::Instance().Forget(*system);
  });
}

GC_ERROR TLGetInfo(TL_HANDLE hTL, TL_INFO_CMD iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                   size_t* piSize) {
  return Call([&] { Get<System>(hTL)->Info(iInfoCmd, InfoQuery(piType, pBuffer, piSize)); });
}

GC_ERROR TLGetNumInterfaces(TL_HANDLE hTL, uint32_t* piNumIfaces) {
  return Call([&] {
    const auto system = Get<System>(hTL);
    RequirePointer(piNumIfaces);
    *piNumIfaces = system->InterfaceCount();
  });
}

GC_ERROR TLGetInterfaceID(TL_HANDLE hTL, uint32_t iIndex, char* sID, size_t* piSize) {
  return Call([&] { InfoQuery::PlainString(Get<System>(hTL)->InterfaceId(iIndex), sID, piSize); });
}

GC_ERROR TLGetInterfaceInfo(TL_HANDLE hTL, const char* sIfaceID, INTERFACE_INFO_CMD iInfoCmd,
                            INFO_DATATYPE* piType, void* pBuffer, size_t* piSize) {
  return Call([&] {
    Get<System>(hTL)->InterfaceInfo(sIfaceID, iInfoCmd, InfoQuery(piType, pBuffer, piSize));
  });
}

GC_ERROR TLOpenInterface(TL_HANDLE hTL, const char* sIfaceID, IF_HANDLE* phIface) {
  return Call([&] {
    const auto system = Get<System>(hTL);
    RequirePointer(phIface);
    *phIface = system->OpenInterface(sIfaceID)->Handle();
  });
}

GC_ERROR TLUpdateInterfaceList(TL_HANDLE hTL, bool8_t* pbChanged, uint64_t) {
  return Call([&] {
    const bool changed = Get<System>(hTL)->UpdateInterfaceList();
    if (pbChanged != nullptr) *pbChanged = changed;
  });
}

GC_ERROR IFClose(IF_HANDLE hIface) {
  return Call([&] { Get<Interface>(hIface)->Close(); });
}

GC_ERROR IFGetInfo(IF_HANDLE hIface, INTERFACE_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                   void* pBuffer, size_t* piSize) {
  return Call([&] {
    AnswerInterfaceInfo(Get<Interface>(hIface)->Host(), iInfoCmd,
                        InfoQuery(piType, pBuffer, piSize));
  });
}

GC_ERROR IFGetNumDevices(IF_HANDLE hIface, uint32_t* piNumDevices) {
  return Call([&] {
    const auto interface = Get<Interface>(hIface);
    RequirePointer(piNumDevices);
    *piNumDevices = interface->DeviceCount();
  });
}

GC_ERROR IFGetDeviceID(IF_HANDLE hIface, uint32_t iIndex, char* sIDeviceID, size_t* piSize) {
  return Call([&] {
    InfoQuery::PlainString(Get<Interface>(hIface)->DeviceId(iIndex), sIDeviceID, piSize);
  });
}

GC_ERROR IFUpdateDeviceList(IF_HANDLE hIface, bool8_t* pbChanged, uint64_t iTimeout) {
  return Call([&] {
    const bool changed = Get<Interface>(hIface)->UpdateDeviceList(iTimeout);
    if (pbChanged != nullptr) *pbChanged = changed;
  });
}

GC_ERROR IFGetDeviceInfo(IF_HANDLE hIface, const char* sDeviceID, DEVICE_INFO_CMD iInfoCmd,
                         INFO_DATATYPE* piType, void* pBuffer, size_t* piSize) {
  return Call([&] {
    Get<Interface>(hIface)->DeviceInfo(sDeviceID, iInfoCmd, InfoQuery(piType, pBuffer, piSize));
  });
}

GC_ERROR IFOpenDevice(IF_HANDLE hIface, const char* sDeviceID, DEVICE_ACCESS_FLAGS iOpenFlag,
                      DEV_HANDLE* phDevice) {
  return Call([&] {
    const auto interface = Get<Interface>(hIface);
    RequirePointer(phDevice);
    *phDevice = interface->OpenDevice(sDeviceID, iOpenFlag)->Handle();
  });
}

GC_ERROR IFGetParentTL(IF_HANDLE hIface, TL_HANDLE* phSystem) {
  return Call([&] {
    const auto parent = Get<Interface>(hIface)->Parent();
    RequirePointer(phSystem);
    RequirePointer(parent.get());
    *phSystem = parent->Handle();
  });
}

GC_ERROR DevGetPort(DEV_HANDLE hDevice, PORT_HANDLE* phRemoteDevice) {
  return Call([&] {
    const auto device = Get<Device>(hDevice);
    RequirePointer(phRemoteDevice);
    *phRemoteDevice = device->Remote()->Handle();
  });
}

GC_ERROR DevGetNumDataStreams(DEV_HANDLE hDevice, uint32_t* piNumDataStreams) {
  return Call([&] {
    const auto device = Get<Device>(hDevice);
    RequirePointer(piNumDataStreams);
    *piNumDataStreams = device->StreamCount();
  });
}

GC_ERROR DevGetDataStreamID(DEV_HANDLE hDevice, uint32_t iIndex, char* sDataStreamID,
                            size_t* piSize) {
  return Call([&] {
    InfoQuery::PlainString(Get<Device>(hDevice)->StreamId(iIndex), sDataStreamID, piSize);
  });
}

GC_ERROR DevOpenDataStream(DEV_HANDLE hDevice, const char* sDataStreamID, DS_HANDLE* phDataStream) {
  return Call([&] {
    const auto device = Get<Device>(hDevice);
    RequirePointer(phDataStream);
    *phDataStream = device->OpenStream(sDataStreamID)->Handle();
  });
}

GC_ERROR DevGetInfo(DEV_HANDLE hDevice, DEVICE_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                    void* pBuffer, size_t* piSize) {
  return Call([&] { Get<Device>(hDevice)->Info(iInfoCmd, InfoQuery(piType, pBuffer, piSize)); });
}

GC_ERROR DevClose(DEV_HANDLE hDevice) {
  return Call([&] { Get<Device>(hDevice)->Close(); });
}

GC_ERROR DevGetParentIF(DEV_HANDLE hDevice, IF_HANDLE* phIface) {
  return Call([&] {
    const auto parent = Get<Device>(hDevice)->Parent();
    RequirePointer(phIface);
    RequirePointer(parent.get());
    *phIface = parent->Handle();
  });
}

GC_ERROR IFForceIp(IF_HANDLE hIface, uint64_t mac, uint64_t ip, uint64_t subnet, uint64_t gateway) {
  return Call([&] {
    const auto interface = Get<Interface>(hIface);
    Require(mac >> 48 == 0 && (ip | subnet | gateway) >> 32 == 0, GC_ERR_INVALID_PARAMETER,
            "An address is too long");
    interface->ForceIp({mac, static_cast<uint32_t>(ip), static_cast<uint32_t>(subnet),
                        static_cast<uint32_t>(gateway)});
  });
}

GC_ERROR IFAddUnicastDiscoveryDevice(IF_HANDLE hIface, uint32_t ipNetworkOrder) {
  return Call([&] { Get<Interface>(hIface)->AddUnicast(ntohl(ipNetworkOrder)); });
}

GC_ERROR IFRemoveUnicastDiscoveryDevice(IF_HANDLE hIface, uint32_t ipNetworkOrder) {
  return Call([&] { Get<Interface>(hIface)->RemoveUnicast(ntohl(ipNetworkOrder)); });
}

GC_ERROR IFGetUnicastDiscoveryDevices(IF_HANDLE hIface, uint32_t* list, size_t* count) {
  return Call([&] {
    const std::vector<uint32_t> addresses = Get<Interface>(hIface)->Unicast();
    RequirePointer(count);
    if (list != nullptr) {
      Require(*count >= addresses.size(), GC_ERR_BUFFER_TOO_SMALL, "The list is too small");
      for (size_t i = 0; i < addresses.size(); ++i) list[i] = htonl(addresses[i]);
    }
    *count = addresses.size();
  });
}

GC_ERROR DevSendActionCommand(DEV_HANDLE hDevice, uint32_t deviceKey, uint32_t groupKey,
                              uint32_t groupMask, uint64_t actionTime) {
  return Call(
      [&] { Get<Device>(hDevice)->SendAction(deviceKey, groupKey, groupMask, actionTime); });
}

}  // extern "C"
}  // namespace GenTL
