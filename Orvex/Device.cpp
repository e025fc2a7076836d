// SPDX-License-Identifier: Apache-2.0
// Opening and closing of a camera, and its node maps.
#include "Orvex/Device.h"

#include <GenApi/IBoolean.h>
#include <GenApi/IFloat.h>
#include <GenApi/IInteger.h>
#include <GenApi/INode.h>
#include <GenApi/IString.h>
#include <GenApi/Pointer.h>

#include <array>
#include <fstream>

#include "GenApiCustom.h"
#include "Orvex/Check.h"
#include "Orvex/NodeMapUtility.h"

namespace Orvex {
namespace {

// An event-based sensor's link carries this many bytes an event; limits are in millions of events.
constexpr double sk_bytesPerEvent = 6.25;
constexpr double sk_eventUnit = 1000000;

constexpr size_t sk_streamIdSize = 256;

}  // namespace

Device::Device() = default;

Device::Device(TLDevice* pDevice, Interface* pInterface) : m_pTLDevicePort(pDevice) {
  const std::lock_guard lock(m_streamMutex);
  m_pDevice = pDevice;
  try {
    m_pTLDeviceNodeMap = InitNodeMap(m_pDevice, m_pTLDevicePort);
    m_pIfInfo = pInterface;
    if (m_pDeviceNodeMap == nullptr) InitializeDeviceNodeMap();
    m_pChunkAdapter = new GenApi::CChunkAdapterGEV(m_pDeviceNodeMap, -1);
  } catch (...) {
    ReleaseNodeMapsAndStreams();
    throw;
  }
}

void Device::InitializeDeviceNodeMap() {
  m_pDeviceRemote = GetRemotePort(m_pDevice).release();
  const XmlFile file = ReadXML(m_pDeviceRemote, GetUrlInfo(m_pDeviceRemote));
  // Kept on purpose: a camera's description is always taken for a zipped one.
  GenApi::CNodeMapFactory factory(GenApi::ContentType_ZippedXml, file.pData.get(), file.length);
  LoadChunkSubtree(factory);
  m_pDeviceNodeMap = factory.CreateNodeMap("Device");
  if (!factory.IsPreprocessed()) factory.Preprocess();
  factory.ReleaseCameraDescriptionFileData();
  m_xmlString = factory.ToXml().c_str();
  m_pDevicePort = Port(m_pDeviceRemote);
  m_pDeviceNodeMap->Connect(&m_pDevicePort);
  EnumerateStreams();
  m_hEventNewBuffers.assign(m_streams.size(), nullptr);
  m_hEventEvsTriggers.assign(m_streams.size(), nullptr);
  ConfigureEventRateControl();
}

void Device::LoadChunkSubtree(GenApi::CNodeMapFactory& factory) {
  for (const char* root : {"ChunkDataControl", "ChunkData"}) {
    try {
      m_chunkDataNodeMapFactory = factory.ExtractSubtree(root);
      return;
    } catch (const GenICam::GenericException&) {  // a camera without chunks
    }
  }
}

void Device::EnumerateStreams() {
  CHECK_ARG(m_pDevice != nullptr, InvalidArgumentException, "Device is null");
  uint32_t count = 0;
  CHECK_GENTL(m_pDevice->GetNumDataStreams(&count), "Unable to get number of datastreams",
              "DevGetNumDataStreams");
  for (uint32_t index = 0; index < count; ++index) {
    std::array<char, sk_streamIdSize + 1> id{};  // one more than told, so that it always ends
    size_t size = sk_streamIdSize;
    CHECK_GENTL(m_pDevice->GetDataStreamID(index, id.data(), &size), "Unable to open datastream",
                "DevGetDataStreamID");
    GenTL::DS_HANDLE hStream = nullptr;
    CHECK_GENTL(m_pDevice->OpenDataStream(id.data(), &hStream), "Unable to open datastream",
                "DevOpenDataStream");
    auto pStream = std::make_unique<TLDataStream>(hStream);
    try {
      auto pInfo = std::make_unique<StreamInfo>(pStream.get());
      m_streams.push_back(pInfo.get());
      static_cast<void>(pInfo.release());
    } catch (...) {
      static_cast<void>(pStream->Close());
      throw;
    }
    static_cast<void>(pStream.release());
  }
}

void Device::ConfigureEventRateControl() {
  if (m_pDeviceNodeMap->GetNode("EventFormat") == nullptr) return;
  GenApi::INode* pLinkSpeed = m_pDeviceNodeMap->GetNode("DeviceLinkSpeed");
  if (!GenApi::IsReadable(pLinkSpeed)) return;
  GenApi::CFloatPtr pRateLimit = m_pDeviceNodeMap->GetNode("ErcRateLimit");
  if (!pRateLimit.IsValid() || !GenApi::IsWritable(*pRateLimit) || !GenApi::IsReadable(*pRateLimit))
    return;
  // Link speed is an integer node on most cameras, a float node on some.
  GenApi::CFloatPtr pFloatSpeed = pLinkSpeed;
  const double linkSpeed = pFloatSpeed.IsValid()
                               ? pFloatSpeed->GetValue()
                               : static_cast<double>(GenApi::CIntegerPtr(pLinkSpeed)->GetValue());
  const double limit = linkSpeed / sk_bytesPerEvent / sk_eventUnit;
  if (pRateLimit->GetValue() > limit) pRateLimit->SetValue(limit, true);
  GenApi::CBooleanPtr pEnable = m_pDeviceNodeMap->GetNode("ErcEnable");
  if (pEnable.IsValid() && GenApi::IsWritable(*pEnable)) pEnable->SetValue(true, true);
}

Device::~Device() {
  const std::lock_guard lock(m_streamMutex);
  ReleaseNodeMapsAndStreams();
  if (m_pDevice == nullptr) return;
  try {
    static_cast<void>(m_pDevice->Close());
  } catch (...) {
  }
  delete m_pDevice;
  m_pDevice = nullptr;
}

void Device::ReleaseNodeMapsAndStreams() noexcept {
  try {
    if (m_pChunkAdapter != nullptr) m_pChunkAdapter->DetachNodeMap();
    delete m_pChunkAdapter;
    m_pChunkAdapter = nullptr;
    if (m_pEventAdapter != nullptr) m_pEventAdapter->DetachNodeMap();
    delete m_pEventAdapter;
    m_pEventAdapter = nullptr;
    delete m_hEventRemoteDevice;
    m_hEventRemoteDevice = nullptr;
    DestroyNodeMap(m_pDeviceNodeMap);
    m_pDeviceNodeMap = nullptr;
    DestroyNodeMap(m_pTLDeviceNodeMap);
    m_pTLDeviceNodeMap = nullptr;
    delete m_pDeviceRemote;
    m_pDeviceRemote = nullptr;
    for (auto* pEvents : {&m_hEventNewBuffers, &m_hEventEvsTriggers}) {
      for (; !pEvents->empty(); pEvents->pop_back()) delete pEvents->back();
    }
    for (StreamInfo* pInfo : m_streams) {
      TLDataStream* pStream = pInfo->GetTLDataStream();
      delete pInfo;
      static_cast<void>(pStream->Close());
      delete pStream;
    }
    m_streams.clear();
  } catch (...) {
  }
}

GenApi::INodeMap* Device::GetTLStreamNodeMap() {
  CHECK_ARG(!m_streams.empty(), LogicalErrorException, "Device has no available streams");
  return GetTLStreamNodeMap(SelectStream());
}

GenApi::INodeMap* Device::GetTLStreamNodeMap(int stream) {
  return m_streams[static_cast<size_t>(stream)]->GetNodeMap();
}

GenApi::INodeMap* Device::GetTLInterfaceNodeMap() {
  Interface* pInterface = GetInterface();
  return pInterface == nullptr ? nullptr : pInterface->GetNodeMap();
}

Interface* Device::GetInterface() {
  const std::lock_guard lock(m_interfaceMtx);
  return m_pIfInfo;
}

void Device::ResetInterface() {
  const std::lock_guard lock(m_interfaceMtx);
  m_pIfInfo = nullptr;
}

void Device::DownloadXml() {
  if (m_pTLDeviceNodeMap != nullptr) {
    GenApi::CStringPtr pSerial = m_pTLDeviceNodeMap->GetNode("DeviceSerialNumber");
    if (pSerial.IsValid() && GenApi::IsReadable(*pSerial)) {
      const GenICam::gcstring serial = pSerial->GetValue();
      // A serial number comes from the camera: it must not lead out of the folder.
      const bool usable = !serial.empty() && serial.find('/') == GenICam::gcstring::npos;
      std::ofstream file;
      if (usable) file.open((serial + ".xml").c_str(), std::ios::binary | std::ios::trunc);
      if (file.is_open()) {
        file << m_xmlString;
        return;
      }
    }
  }
  THROW_PLAIN(RuntimeException, "Unable to download XML");
}

}  // namespace Orvex
