// SPDX-License-Identifier: Apache-2.0
// The producer's functions over the world. Each records its call, does what the test planned for it
// instead of its work, and otherwise behaves as the GenTL standard asks.
#include <algorithm>
#include <chrono>
#include <cstring>
#include <optional>
#include <string>

#include "tests/Orvex/producer/World.h"

using namespace GenTL;  // the functions below are members of that namespace

namespace Scripted {
namespace {

thread_local std::string g_lastError = "No Error";
thread_local GC_ERROR g_lastStatus = 0;

World& W() {
  return *ScriptedWorld();
}

GC_ERROR Fail(const char* function, GC_ERROR status) {
  if (status == 0) return 0;
  g_lastStatus = status;
  g_lastError = std::string(function) + " refused";
  return status;
}

std::string Text(const Module* module) {
  return module == nullptr ? "null" : module->name;
}
std::string Text(const std::string& text) {
  return text;
}
std::string Text(const char* text) {
  return text == nullptr ? "null" : text;
}
template <typename Number>
std::string Text(Number number) requires std::is_arithmetic_v<Number> {
  std::string text = std::to_string(number);
  if constexpr (std::is_floating_point_v<Number>) {
    const size_t last = text.find_last_not_of('0');
    text.erase(last + (text[last] == '.' ? 2 : 1));
  }
  return text;
}

// Records a call and holds the world for it.
class Call {
 public:
  template <typename... Args>
  explicit Call(const char* name, const Args&... args) : m_name(name), m_lock(W().mutex) {
    std::string list;
    ((list += (list.empty() ? "" : ", ") + Text(args)), ...);
    const std::string text = m_name + ("(" + list + ")");
    W().calls.push_back(text);
    Consult(W().plans[m_name]);
    Consult(W().plans[text]);
  }

  // The answer: the planned one, or what the work answers.
  template <typename Work>
  GC_ERROR Do(Work work) {
    return Fail(m_name.c_str(), m_planned ? *m_planned : work());
  }

  std::unique_lock<std::recursive_mutex>& Lock() { return m_lock; }

 private:
  void Consult(std::deque<Plan>& plans) {
    if (plans.empty() || plans.front().skip-- > 0) return;
    m_planned = plans.front().status;
    if (!plans.front().forever) plans.pop_front();
  }

  std::string m_name;
  std::unique_lock<std::recursive_mutex> m_lock;
  std::optional<GC_ERROR> m_planned;
};

template <typename T>
T* As(void* handle) {
  return dynamic_cast<T*>(static_cast<Module*>(handle));
}

Module* M(void* handle) {
  return static_cast<Module*>(handle);
}

GC_ERROR GiveText(const std::string& text, char* buffer, size_t* size) {
  if (buffer != nullptr) {
    if (*size < text.size() + 1) return GC_ERR_BUFFER_TOO_SMALL;
    std::memcpy(buffer, text.c_str(), text.size() + 1);
  }
  *size = text.size() + 1;
  return 0;
}

GC_ERROR GiveNumber(uint64_t number, void* buffer, const size_t* size) {
  std::memcpy(buffer, &number, std::min(*size, sizeof(number)));
  return 0;
}

// Registers hold numbers in little-endian order, as this machine does.
std::string BytesOf(const Feature& feature, size_t size) {
  std::string bytes = feature.text;
  if (feature.kind == Feature::Kind::Float) {
    bytes.assign(reinterpret_cast<const char*>(&feature.real), sizeof(double));
  } else if (feature.kind != Feature::Kind::String && feature.kind != Feature::Kind::Register) {
    const int64_t value = feature.getter ? feature.getter() : feature.integer;
    bytes.assign(reinterpret_cast<const char*>(&value), sizeof(value));
  }
  bytes.resize(size);
  return bytes;
}

std::string Store(Feature& feature, const void* data, size_t size) {
  const std::string bytes(static_cast<const char*>(data), size);
  switch (feature.kind) {
    case Feature::Kind::Float:
      std::memcpy(&feature.real, data, std::min(size, sizeof(double)));
      return Text(feature.real);
    case Feature::Kind::String:
    case Feature::Kind::Register:
      feature.text = bytes.c_str();
      return feature.text;
    default:
      std::memcpy(&feature.integer, data, std::min(size, sizeof(int64_t)));
      return feature.kind == Feature::Kind::Enumeration
                 ? feature.entries.at(static_cast<size_t>(feature.integer))
                 : Text(feature.integer);
  }
}

void EndEvents(Module* source, EVENT_TYPE type) {
  for (auto& event : W().events) {
    if (event->source == source && event->type == type) event->ended = true;
  }
  W().changed.notify_all();
}

// A queued buffer's handle once one is filled; null when time runs out or the event ends.
Buffer* NextFilled(Stream& stream) {
  if (stream.output.empty() && stream.freeRunning && stream.grabbing) {
    auto info = stream.frameInfo;
    info[BUFFER_INFO_FRAMEID] = stream.nextFrame++;
    stream.Deliver(info);
  }
  if (stream.output.empty()) return nullptr;
  Buffer* buffer = stream.output.front();
  stream.output.pop_front();
  buffer->queued = false;
  return buffer;
}

template <typename Ready>
GC_ERROR WaitFor(Call& call, Event& event, uint64_t timeout, Ready ready) {
  const auto deadline = std::chrono::steady_clock::now() +
                        std::chrono::milliseconds(std::min<uint64_t>(timeout, 600000));
  for (;;) {
    if (event.ended) return GC_ERR_ABORT;
    if (ready()) return 0;
    if (W().changed.wait_until(call.Lock(), deadline) == std::cv_status::timeout)
      return event.ended ? GC_ERR_ABORT : ready() ? 0 : GC_ERR_TIMEOUT;
  }
}

}  // namespace
}  // namespace Scripted

using namespace Scripted;  // NOLINT: as above

namespace GenTL {
extern "C" {

// --- library and ports

GC_API GCGetInfo(TL_INFO_CMD, INFO_DATATYPE*, void*, size_t*) {
  return GC_ERR_NOT_IMPLEMENTED;
}

GC_API GCGetLastError(GC_ERROR* status, char* text, size_t* size) {
  const std::lock_guard lock(W().mutex);
  W().calls.push_back("GCGetLastError(" + Text(*size) + ")");
  *status = g_lastStatus;
  if (W().errorStatus != 0) return W().errorStatus;
  const std::string& answer = W().errorText.empty() ? g_lastError : W().errorText;
  if (*size < answer.size() + 1) {
    *size = answer.size() + 1;
    return GC_ERR_BUFFER_TOO_SMALL;
  }
  return GiveText(answer, text, size);
}

GC_API GCInitLib() {
  return Call("GCInitLib").Do([] {
    if (std::exchange(W().initialised, true)) return GC_ERR_RESOURCE_IN_USE;
    return GC_ERR_SUCCESS;
  });
}

GC_API GCCloseLib() {
  return Call("GCCloseLib").Do([] {
    return std::exchange(W().initialised, false) ? GC_ERR_SUCCESS : GC_ERR_NOT_INITIALIZED;
  });
}

GC_API GCReadPort(PORT_HANDLE port, uint64_t address, void* buffer, size_t* size) {
  Module* module = M(port);
  Feature* feature = module->At(address);
  return Call("GCReadPort", module, feature != nullptr ? feature->name : Text(address))
      .Do([&]() -> GC_ERROR {
        if (feature != nullptr) {
          std::memcpy(buffer, BytesOf(*feature, *size).data(), *size);
          return 0;
        }
        const std::string& text = module->description;
        const uint64_t offset = address - sk_descriptionAddress;
        if (address < sk_descriptionAddress || offset + *size > text.size())
          return GC_ERR_INVALID_ADDRESS;
        std::memcpy(buffer, text.data() + offset, *size);
        return 0;
      });
}

GC_API GCWritePort(PORT_HANDLE port, uint64_t address, const void* buffer, size_t* size) {
  Module* module = M(port);
  Feature* feature = module->At(address);
  if (feature == nullptr) return Fail("GCWritePort", GC_ERR_INVALID_ADDRESS);
  const Feature before = *feature;
  const std::string value = Store(*feature, buffer, *size);
  const GC_ERROR status =
      Call("GCWritePort", module, feature->name + "=" + value).Do([] { return GC_ERR_SUCCESS; });
  if (status != 0) *feature = before;
  return status;
}

GC_API GCGetPortURL(PORT_HANDLE port, char* url, size_t* size) {
  return Call("GCGetPortURL", M(port)).Do([&] { return GiveText(M(port)->currentUrl, url, size); });
}

GC_API GCGetPortInfo(PORT_HANDLE, PORT_INFO_CMD, INFO_DATATYPE*, void*, size_t*) {
  return GC_ERR_NOT_IMPLEMENTED;
}

GC_API GCRegisterEvent(EVENTSRC_HANDLE source, EVENT_TYPE type, EVENT_HANDLE* handle) {
  return Call("GCRegisterEvent", M(source), type).Do([&] {
    W().events.push_back(std::make_unique<Event>());
    Event& event = *W().events.back();
    event.name = M(source)->name + ".event" + std::to_string(type);
    event.type = type;
    event.source = M(source);
    *handle = static_cast<Module*>(&event);
    return GC_ERR_SUCCESS;
  });
}

GC_API GCUnregisterEvent(EVENTSRC_HANDLE source, EVENT_TYPE type) {
  return Call("GCUnregisterEvent", M(source), type).Do([&] {
    EndEvents(M(source), type);
    return GC_ERR_SUCCESS;
  });
}

GC_API GCGetNumPortURLs(PORT_HANDLE port, uint32_t* count) {
  return Call("GCGetNumPortURLs", M(port)).Do([&] {
    *count = M(port)->numUrls;
    return GC_ERR_SUCCESS;
  });
}

GC_API GCGetPortURLInfo(PORT_HANDLE port, uint32_t index, URL_INFO_CMD command, INFO_DATATYPE* type,
                        void* buffer, size_t* size) {
  return Call("GCGetPortURLInfo", M(port), index, command).Do([&]() -> GC_ERROR {
    *type = command == URL_INFO_URL ? INFO_DATATYPE_STRING : INFO_DATATYPE_INT32;
    if (command == URL_INFO_URL)
      return GiveText(M(port)->currentUrl, static_cast<char*>(buffer), size);
    return GiveNumber(1, buffer, size);
  });
}

GC_API GCReadPortStacked(PORT_HANDLE, PORT_REGISTER_STACK_ENTRY*, size_t*) {
  return GC_ERR_NOT_IMPLEMENTED;
}
GC_API GCWritePortStacked(PORT_HANDLE, PORT_REGISTER_STACK_ENTRY*, size_t*) {
  return GC_ERR_NOT_IMPLEMENTED;
}

// --- events

GC_API EventGetData(EVENT_HANDLE handle, void* buffer, size_t* size, uint64_t timeout) {
  Event& event = *As<Event>(handle);
  Call call("EventGetData", M(handle), timeout);
  return call.Do([&]() -> GC_ERROR {
    if (auto* stream = dynamic_cast<Stream*>(event.source)) {
      Buffer* filled = nullptr;
      const GC_ERROR status = WaitFor(call, event, timeout, [&] {
        filled = NextFilled(*stream);
        return filled != nullptr;
      });
      if (status != 0) return status;
      const EVENT_NEW_BUFFER_DATA data{static_cast<Module*>(filled), filled->userPointer};
      std::memcpy(buffer, &data, sizeof(data));
      *size = sizeof(data);
      return 0;
    }
    const GC_ERROR status = WaitFor(call, event, timeout, [&] { return !event.messages.empty(); });
    if (status != 0) return status;
    const std::string message = event.messages.front();
    event.messages.pop_front();
    std::memcpy(buffer, message.data(), std::min(*size, message.size()));
    *size = message.size();
    return 0;
  });
}

GC_API EventGetDataInfo(EVENT_HANDLE, const void*, size_t, EVENT_DATA_INFO_CMD, INFO_DATATYPE*,
                        void*, size_t*) {
  return GC_ERR_NOT_IMPLEMENTED;
}
GC_API EventGetInfo(EVENT_HANDLE, EVENT_INFO_CMD, INFO_DATATYPE*, void*, size_t*) {
  return GC_ERR_NOT_IMPLEMENTED;
}
GC_API EventFlush(EVENT_HANDLE) {
  return 0;
}
GC_API EventKill(EVENT_HANDLE) {
  return 0;
}

// --- system

GC_API TLOpen(TL_HANDLE* handle) {
  return Call("TLOpen").Do([&] {
    if (std::exchange(W().open, true)) return GC_ERR_RESOURCE_IN_USE;
    W().Describe();
    *handle = static_cast<Module*>(&W());
    return GC_ERR_SUCCESS;
  });
}

GC_API TLClose(TL_HANDLE handle) {
  return Call("TLClose", M(handle)).Do([] {
    W().open = false;
    return GC_ERR_SUCCESS;
  });
}

GC_API TLGetInfo(TL_HANDLE, TL_INFO_CMD, INFO_DATATYPE*, void*, size_t*) {
  return GC_ERR_NOT_IMPLEMENTED;
}

GC_API TLGetNumInterfaces(TL_HANDLE, uint32_t* count) {
  return Call("TLGetNumInterfaces").Do([&] {
    *count = static_cast<uint32_t>(W().interfaces.size());
    return GC_ERR_SUCCESS;
  });
}

GC_API TLGetInterfaceID(TL_HANDLE, uint32_t index, char* id, size_t* size) {
  return Call("TLGetInterfaceID", index, *size).Do([&] {
    return GiveText(W().interfaces.at(index)->id, id, size);
  });
}

GC_API TLGetInterfaceInfo(TL_HANDLE, const char*, INTERFACE_INFO_CMD, INFO_DATATYPE*, void*,
                          size_t*) {
  return GC_ERR_NOT_IMPLEMENTED;
}

GC_API TLOpenInterface(TL_HANDLE, const char* id, IF_HANDLE* handle) {
  return Call("TLOpenInterface", id).Do([&]() -> GC_ERROR {
    for (auto& it : W().interfaces) {
      if (it->id != id) continue;
      if (std::exchange(it->open, true)) return GC_ERR_RESOURCE_IN_USE;
      it->Describe();
      *handle = static_cast<Module*>(it.get());
      return 0;
    }
    return GC_ERR_INVALID_ID;
  });
}

GC_API TLUpdateInterfaceList(TL_HANDLE, bool8_t* changed, uint64_t timeout) {
  return Call("TLUpdateInterfaceList", timeout == GENTL_INFINITE ? "infinite" : Text(timeout))
      .Do([&] {
        *changed = std::exchange(W().interfacesChanged, false);
        return GC_ERR_SUCCESS;
      });
}

// --- interface

GC_API IFClose(IF_HANDLE handle) {
  return Call("IFClose", M(handle)).Do([&] {
    As<Interface>(handle)->open = false;
    for (auto& device : As<Interface>(handle)->devices) device->open = 0;
    return GC_ERR_SUCCESS;
  });
}

GC_API IFGetInfo(IF_HANDLE handle, INTERFACE_INFO_CMD command, INFO_DATATYPE* type, void* buffer,
                 size_t* size) {
  return Call("IFGetInfo", M(handle), command, *size).Do([&]() -> GC_ERROR {
    const Interface& it = *As<Interface>(handle);
    *type = INFO_DATATYPE_UINT64;
    if (command == INTERFACE_INFO_ORVEX_MAC) return GiveNumber(it.mac, buffer, size);
    if (command == INTERFACE_INFO_ORVEX_IP) return GiveNumber(it.ip, buffer, size);
    if (command == INTERFACE_INFO_ORVEX_SUBNET_MASK) return GiveNumber(it.mask, buffer, size);
    return GC_ERR_NOT_IMPLEMENTED;
  });
}

GC_API IFGetNumDevices(IF_HANDLE handle, uint32_t* count) {
  return Call("IFGetNumDevices", M(handle)).Do([&] {
    *count = static_cast<uint32_t>(As<Interface>(handle)->devices.size());
    return GC_ERR_SUCCESS;
  });
}

GC_API IFGetDeviceID(IF_HANDLE handle, uint32_t index, char* id, size_t* size) {
  return Call("IFGetDeviceID", M(handle), index, *size).Do([&] {
    return GiveText(As<Interface>(handle)->devices.at(index)->id, id, size);
  });
}

GC_API IFUpdateDeviceList(IF_HANDLE handle, bool8_t* changed, uint64_t timeout) {
  return Call("IFUpdateDeviceList", M(handle), timeout).Do([&] {
    *changed = std::exchange(As<Interface>(handle)->devicesChanged, false);
    return GC_ERR_SUCCESS;
  });
}

static Device* FindDevice(IF_HANDLE handle, const char* id) {
  for (auto& device : As<Interface>(handle)->devices) {
    if (device->id == id) return device.get();
  }
  return nullptr;
}

GC_API IFGetDeviceInfo(IF_HANDLE handle, const char* id, DEVICE_INFO_CMD command,
                       INFO_DATATYPE* type, void* buffer, size_t* size) {
  return Call("IFGetDeviceInfo", id, command, *size).Do([&]() -> GC_ERROR {
    Device* device = FindDevice(handle, id);
    if (device == nullptr) return GC_ERR_INVALID_ID;
    if (const auto text = device->texts.find(command); text != device->texts.end()) {
      *type = W().infoType != 0 ? W().infoType : INFO_DATATYPE_STRING;
      return GiveText(text->second, static_cast<char*>(buffer), size);
    }
    const auto number = device->numbers.find(command);
    if (number == device->numbers.end()) return GC_ERR_NOT_IMPLEMENTED;
    *type = INFO_DATATYPE_UINT64;
    return GiveNumber(number->second, buffer, size);
  });
}

GC_API IFOpenDevice(IF_HANDLE handle, const char* id, DEVICE_ACCESS_FLAGS access,
                    DEV_HANDLE* deviceHandle) {
  return Call("IFOpenDevice", id, access).Do([&]() -> GC_ERROR {
    Device* device = FindDevice(handle, id);
    if (device == nullptr) return GC_ERR_INVALID_ID;
    if (device->open != 0) return GC_ERR_RESOURCE_IN_USE;
    if (device->heldElsewhere && access != DEVICE_ACCESS_READONLY) return GC_ERR_ACCESS_DENIED;
    device->open = access;
    device->Describe();
    device->remote.Describe();
    *deviceHandle = static_cast<Module*>(device);
    return 0;
  });
}

GC_API IFForceIp(IF_HANDLE handle, uint64_t mac, uint64_t ip, uint64_t subnet, uint64_t gateway) {
  return Call("IFForceIp", M(handle), mac, ip, subnet, gateway).Do([] { return GC_ERR_SUCCESS; });
}

GC_API IFAddUnicastDiscoveryDevice(IF_HANDLE handle, uint32_t ip) {
  return Call("IFAddUnicastDiscoveryDevice", M(handle), ip).Do([&] {
    As<Interface>(handle)->unicast.push_back(ip);
    return GC_ERR_SUCCESS;
  });
}

GC_API IFRemoveUnicastDiscoveryDevice(IF_HANDLE handle, uint32_t ip) {
  return Call("IFRemoveUnicastDiscoveryDevice", M(handle), ip).Do([&] {
    std::erase(As<Interface>(handle)->unicast, ip);
    return GC_ERR_SUCCESS;
  });
}

GC_API IFGetUnicastDiscoveryDevices(IF_HANDLE handle, uint32_t* list, size_t* count) {
  return Call("IFGetUnicastDiscoveryDevices", M(handle), *count).Do([&] {
    const auto& known = As<Interface>(handle)->unicast;
    std::copy(known.begin(), known.end(), list);
    *count = known.size();
    return GC_ERR_SUCCESS;
  });
}

// --- device

GC_API DevGetPort(DEV_HANDLE handle, PORT_HANDLE* port) {
  return Call("DevGetPort", M(handle)).Do([&] {
    *port = &As<Device>(handle)->remote;
    return GC_ERR_SUCCESS;
  });
}

GC_API DevGetNumDataStreams(DEV_HANDLE handle, uint32_t* count) {
  return Call("DevGetNumDataStreams", M(handle)).Do([&] {
    *count = static_cast<uint32_t>(As<Device>(handle)->streams.size());
    return GC_ERR_SUCCESS;
  });
}

GC_API DevGetDataStreamID(DEV_HANDLE handle, uint32_t index, char* id, size_t* size) {
  return Call("DevGetDataStreamID", M(handle), index).Do([&] {
    return GiveText(As<Device>(handle)->streams.at(index)->id, id, size);
  });
}

GC_API DevOpenDataStream(DEV_HANDLE handle, const char* id, DS_HANDLE* streamHandle) {
  return Call("DevOpenDataStream", M(handle), id).Do([&]() -> GC_ERROR {
    for (auto& stream : As<Device>(handle)->streams) {
      if (stream->id != id) continue;
      if (std::exchange(stream->open, true)) return GC_ERR_RESOURCE_IN_USE;
      stream->Describe();
      *streamHandle = static_cast<Module*>(stream.get());
      return 0;
    }
    return GC_ERR_INVALID_ID;
  });
}

GC_API DevGetInfo(DEV_HANDLE handle, DEVICE_INFO_CMD command, INFO_DATATYPE* type, void* buffer,
                  size_t* size) {
  return Call("DevGetInfo", M(handle), command, *type, *size).Do([&]() -> GC_ERROR {
    if (command != DEVICE_INFO_ORVEX_CONNECTED) return GC_ERR_NOT_IMPLEMENTED;
    return GiveNumber(As<Device>(handle)->connected, buffer, size);
  });
}

GC_API DevClose(DEV_HANDLE handle) {
  return Call("DevClose", M(handle)).Do([&] {
    As<Device>(handle)->open = 0;
    return GC_ERR_SUCCESS;
  });
}

GC_API DevSendActionCommand(DEV_HANDLE handle, uint32_t deviceKey, uint32_t groupKey,
                            uint32_t groupMask, uint64_t time) {
  return Call("DevSendActionCommand", M(handle), deviceKey, groupKey, groupMask, time).Do([] {
    return GC_ERR_SUCCESS;
  });
}

// --- data stream

GC_API DSAnnounceBuffer(DS_HANDLE, void*, size_t, void*, BUFFER_HANDLE*) {
  return GC_ERR_NOT_IMPLEMENTED;
}

GC_API DSAllocAndAnnounceBuffer(DS_HANDLE handle, size_t size, void* user, BUFFER_HANDLE* buffer) {
  return Call("DSAllocAndAnnounceBuffer", M(handle), size).Do([&] {
    Stream& stream = *As<Stream>(handle);
    stream.buffers.push_back(std::make_unique<Buffer>());
    Buffer& added = *stream.buffers.back();
    static int sk_number = 0;
    added.name = "buffer" + std::to_string(sk_number++);
    added.memory.resize(size);
    added.userPointer = user;
    *buffer = static_cast<Module*>(&added);
    return GC_ERR_SUCCESS;
  });
}

GC_API DSFlushQueue(DS_HANDLE handle, ACQ_QUEUE_TYPE operation) {
  return Call("DSFlushQueue", M(handle), operation).Do([&] {
    Stream& stream = *As<Stream>(handle);
    stream.input.clear();
    stream.output.clear();
    for (auto& buffer : stream.buffers) buffer->queued = false;
    return GC_ERR_SUCCESS;
  });
}

GC_API DSStartAcquisition(DS_HANDLE handle, ACQ_START_FLAGS flags, uint64_t count) {
  return Call("DSStartAcquisition", M(handle), flags, count).Do([&] {
    if (std::exchange(As<Stream>(handle)->grabbing, true)) return GC_ERR_RESOURCE_IN_USE;
    return GC_ERR_SUCCESS;
  });
}

GC_API DSStopAcquisition(DS_HANDLE handle, ACQ_STOP_FLAGS flags) {
  return Call("DSStopAcquisition", M(handle), flags).Do([&] {
    if (!std::exchange(As<Stream>(handle)->grabbing, false)) return GC_ERR_RESOURCE_IN_USE;
    return GC_ERR_SUCCESS;
  });
}

GC_API DSGetInfo(DS_HANDLE, STREAM_INFO_CMD, INFO_DATATYPE*, void*, size_t*) {
  return GC_ERR_NOT_IMPLEMENTED;
}

GC_API DSGetBufferID(DS_HANDLE handle, uint32_t index, BUFFER_HANDLE* buffer) {
  return Call("DSGetBufferID", M(handle), index).Do([&] {
    const auto& buffers = As<Stream>(handle)->buffers;
    if (index >= buffers.size()) return GC_ERR_INVALID_INDEX;
    *buffer = static_cast<Module*>(buffers[index].get());
    return GC_ERR_SUCCESS;
  });
}

GC_API DSClose(DS_HANDLE handle) {
  return Call("DSClose", M(handle)).Do([&] {
    Stream& stream = *As<Stream>(handle);
    stream.open = stream.grabbing = false;
    return GC_ERR_SUCCESS;
  });
}

GC_API DSRevokeBuffer(DS_HANDLE handle, BUFFER_HANDLE buffer, void**, void**) {
  return Call("DSRevokeBuffer", M(handle)).Do([&] {
    const Buffer* revoked = As<Buffer>(buffer);
    std::erase_if(As<Stream>(handle)->buffers,
                  [revoked](const auto& it) { return it.get() == revoked; });
    return GC_ERR_SUCCESS;
  });
}

GC_API DSQueueBuffer(DS_HANDLE handle, BUFFER_HANDLE buffer) {
  return Call("DSQueueBuffer", M(handle)).Do([&] {
    Buffer* queued = As<Buffer>(buffer);
    if (std::exchange(queued->queued, true)) return GC_ERR_RESOURCE_IN_USE;
    As<Stream>(handle)->input.push_back(queued);
    W().changed.notify_all();
    return GC_ERR_SUCCESS;
  });
}

GC_API DSGetBufferInfo(DS_HANDLE, BUFFER_HANDLE handle, BUFFER_INFO_CMD command,
                       INFO_DATATYPE* type, void* buffer, size_t* size) {
  return Call("DSGetBufferInfo", command).Do([&]() -> GC_ERROR {
    Buffer& asked = *As<Buffer>(handle);
    *type = INFO_DATATYPE_SIZET;
    if (command == BUFFER_INFO_BASE)
      return GiveNumber(reinterpret_cast<uint64_t>(asked.memory.data()), buffer, size);
    if (const auto info = asked.info.find(command); info != asked.info.end())
      return GiveNumber(info->second, buffer, size);
    if (command == BUFFER_INFO_SIZE || command == BUFFER_INFO_SIZE_FILLED ||
        command == BUFFER_INFO_DATA_SIZE)
      return GiveNumber(asked.memory.size(), buffer, size);
    return GC_ERR_NOT_AVAILABLE;
  });
}

GC_API DSWaitForNextLeader(DS_HANDLE handle, uint64_t timeout) {
  return Call("DSWaitForNextLeader", M(handle), timeout).Do([] { return GC_ERR_SUCCESS; });
}

GC_API DSResetWaitForNextLeader(DS_HANDLE handle) {
  return Call("DSResetWaitForNextLeader", M(handle)).Do([] { return GC_ERR_SUCCESS; });
}

GC_API DSSetupResendRetryParams(DS_HANDLE handle, uint64_t window, double rate, const char* serial,
                                const char* firmware, int64_t width, int64_t height) {
  return Call("DSSetupResendRetryParams", M(handle), window, rate, serial, firmware, width, height)
      .Do([] { return GC_ERR_SUCCESS; });
}

}  // extern "C"
}  // namespace GenTL

Scripted::World* ScriptedWorld() {
  static auto* sk_pWorld = new Scripted::World;  // handles may outlive every test
  return sk_pWorld;
}
