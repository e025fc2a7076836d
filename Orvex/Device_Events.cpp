// SPDX-License-Identifier: Apache-2.0
// The camera's own events, its connection, action commands and image callbacks.
#include <GenApi/EventAdapterGEV.h>
#include <pthread.h>

#include <algorithm>
#include <array>
#include <memory>
#include <utility>

#include "GenApiCustom.h"
#include "IImage.h"
#include "Orvex/Buffer.h"
#include "Orvex/Check.h"
#include "Orvex/Device.h"
#include "Orvex/DeviceEventUse.h"
#include "gentl/GenTLExtensions.h"

namespace Orvex {
namespace {

constexpr uint64_t sk_imageTimeout = 50;  // ms that the callback thread waits for a frame
constexpr std::chrono::milliseconds sk_idlePause{50};
constexpr size_t sk_eventMessageSize = 576;

}  // namespace

void Device::InitializeEvents() {
  GenTL::EVENT_HANDLE hEvent = nullptr;
  CHECK_GENTL(m_pDevice->RegisterEvent(GenTL::EVENT_REMOTE_DEVICE, &hEvent),
              "Unable to register remote device events", "GCRegisterEvent");
  {
    auto pEvent = std::make_unique<TLEvent>(hEvent);
    const std::lock_guard lock(m_eventUseMtx);
    m_hEventRemoteDevice = pEvent.release();
  }
  if (GetNodeValue<GenICam::gcstring>(m_pTLDeviceNodeMap, "DeviceType") != "GigEVision") return;
  auto pAdapter = std::make_unique<GenApi::CEventAdapterGEV>(m_pDeviceNodeMap);
  const std::lock_guard lock(m_eventUseMtx);
  m_pEventAdapter = pAdapter.release();
}

void Device::DeinitializeEvents() {
  CHECK_GENTL(m_pDevice->UnregisterEvent(GenTL::EVENT_REMOTE_DEVICE),
              "Unable to unregister remote device events", "GCUnregisterEvent");
  TLEvent* pEvent = nullptr;
  GenApi::CEventAdapter* pAdapter = nullptr;
  {
    const std::lock_guard lock(m_eventUseMtx);
    std::swap(pEvent, m_hEventRemoteDevice);
    std::swap(pAdapter, m_pEventAdapter);
  }
  if (!WaitUntilUnused(m_remoteEventUsers)) return;
  delete pEvent;
  if (pAdapter == nullptr) return;
  pAdapter->DetachNodeMap();
  delete pAdapter;
}

void Device::WaitOnEvent(uint64_t timeout) {
  TLEvent* pEvent = nullptr;
  GenApi::CEventAdapter* pAdapter = nullptr;
  const EventUse use(*this, m_remoteEventUsers, [&] {
    pEvent = m_hEventRemoteDevice;
    pAdapter = m_pEventAdapter;
  });
  CHECK_ARG(pEvent != nullptr, LogicalErrorException,
            "Failure waiting on event because device events not initialized");
  CHECK_ARG(pAdapter != nullptr, LogicalErrorException,
            "Failure waiting on event because messages of this device type cannot be read");
  std::array<uint8_t, sk_eventMessageSize> message{};
  size_t size = message.size();
  CHECK_GENTL(pEvent->GetData(message.data(), &size, timeout), "Unable to get event data",
              "EventGetData");
  pAdapter->DeliverMessage(message.data(), static_cast<uint32_t>(std::min(size, message.size())));
}

bool Device::IsConnected() {
  uint8_t connected = 0;
  size_t size = sizeof(connected);
  GenTL::INFO_DATATYPE type = GenTL::INFO_DATATYPE_BOOL8;
  CHECK_GENTL_FN(m_pDevice->GetInfo(GenTL::DEVICE_INFO_ORVEX_CONNECTED, &type, &connected, &size),
                 "Unable to get info about device connection status", "DevGetInfo",
                 "DeviceGetInfo");
  return connected != 0;
}

void Device::SendActionCommand(uint32_t deviceKey, uint32_t groupKey, uint32_t groupMask,
                               uint64_t actionTime) {
  CHECK_GENTL_FN(m_pDevice->SendActionCommand(deviceKey, groupKey, groupMask, actionTime),
                 "Failed to issue action command", "DevSendActionCommand",
                 "DeviceSendActionCommand");
}

// --- image callbacks

void Device::ThrowIfInsideCallback(const char* message, const char* function) const {
  CHECK_ARG_FN(!m_imageCallbackListLock.IsHeldByThisThread(), LogicalErrorException, message,
               function);
}

void Device::RegisterImageCallback(IImageCallback* pCallback) {
  constexpr const char* sk_name = "DeviceRegisterImageCallback";
  CHECK_ARG(pCallback != nullptr, InvalidArgumentException,
            "Null image callback pointer specified");
  ThrowIfInsideCallback("Image callbacks cannot be changed from inside an image callback",
                        __func__);
  CHECK_ARG(!m_streams.empty(), LogicalErrorException, "Device has no available streams");
  const int stream = SelectStream();
  const std::lock_guard lock(m_imageCallbackListLock);
  const auto found = std::find(m_imageCallbackList.begin(), m_imageCallbackList.end(), pCallback);
  if (found != m_imageCallbackList.end())
    THROW_GENTL_FN(GenTL::GC_ERR_RESOURCE_IN_USE, "Callback already registered", sk_name, sk_name);
  m_imageCallbackList.push_back(pCallback);
  if (m_imageCallbackList.size() > 1 || m_imageCallbackThread.joinable()) return;
  if (GetNodeValue<bool>(GetTLStreamNodeMap(stream), "StreamIsGrabbing"))
    StartImageCallbackThread();
}

bool Device::DeregisterImageCallback(IImageCallback* pCallback) {
  CHECK_ARG(pCallback != nullptr, InvalidArgumentException,
            "Null image callback pointer specified");
  ThrowIfInsideCallback("Image callbacks cannot be changed from inside an image callback",
                        __func__);
  const std::lock_guard lock(m_imageCallbackListLock);
  if (m_imageCallbackList.empty()) return false;
  const auto found = std::find(m_imageCallbackList.begin(), m_imageCallbackList.end(), pCallback);
  const bool erased = found != m_imageCallbackList.end();
  if (erased) m_imageCallbackList.erase(found);
  if (m_imageCallbackList.empty()) StopImageCallbackThread();
  return erased;
}

bool Device::DeregisterAllImageCallbacks() {
  ThrowIfInsideCallback("Image callbacks cannot be changed from inside an image callback",
                        __func__);
  const std::lock_guard lock(m_imageCallbackListLock);
  const bool any = !m_imageCallbackList.empty();
  m_imageCallbackList.clear();
  StopImageCallbackThread();
  return any;
}

void Device::StartImageCallbackThread() {
  m_imageCallbackThreadRunEnable = true;
  m_imageCallbackThread = std::thread(&Device::ImageCallbackThread, this);
  ::pthread_setname_np(m_imageCallbackThread.native_handle(), "orvex-image");
}

void Device::StopImageCallbackThread() {
  if (!m_imageCallbackThread.joinable()) return;
  m_imageCallbackListLock.Stop(m_imageCallbackThreadRunEnable);
  m_imageCallbackThread.join();
}

void Device::RequeueOrFree(IImage* pImage) {
  try {
    RequeueBuffer(pImage);
  } catch (...) {
    delete dynamic_cast<Buffer*>(pImage);
    throw;
  }
}

void Device::ImageCallbackThread() {
  while (m_imageCallbackThreadRunEnable) {
    try {
      IBuffer* pBuffer = GetBuffer(sk_imageTimeout);
      auto* pImage = dynamic_cast<IImage*>(pBuffer);
      if (pImage == nullptr) {
        // Kept on purpose: such a frame is neither delivered nor handed back to the stream.
        delete dynamic_cast<Buffer*>(pBuffer);
        continue;
      }
      // Those who stop this thread hold the lock while they wait for it.
      if (!m_imageCallbackListLock.LockUnlessStopped(m_imageCallbackThreadRunEnable)) {
        RequeueOrFree(pImage);
        continue;
      }
      const std::lock_guard lock(m_imageCallbackListLock, std::adopt_lock);
      try {
        for (IImageCallback* pCallback : m_imageCallbackList) pCallback->OnImage(pImage);
      } catch (...) {  // an application's exception must not cost the stream its buffer
      }
      RequeueOrFree(pImage);
    } catch (const GenICam::TimeoutException&) {
    } catch (...) {
      // Not streaming, or the camera is gone: no busy waiting until that changes.
      m_imageCallbackListLock.PauseUnlessStopped(m_imageCallbackThreadRunEnable, sk_idlePause);
    }
  }
}

}  // namespace Orvex
