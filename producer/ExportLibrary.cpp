// SPDX-License-Identifier: Apache-2.0
// Exported functions: library, errors, ports and events.
#include <algorithm>
#include <atomic>

#include "producer/Export.h"
#include "producer/Module.h"
#include "producer/System.h"

namespace OrvexGev {

using namespace GenTL;

namespace {

std::mutex g_libraryMutex;
std::atomic<bool> g_initialised{false};
std::shared_ptr<System> g_system;

}  // namespace

Library& Library::Instance() {
  static Library s_library;
  return s_library;
}

bool Library::Initialised() const {
  return g_initialised;
}

void Library::Init() {
  const std::lock_guard lock(g_libraryMutex);
  Require(!g_initialised, GC_ERR_RESOURCE_IN_USE, "The library is already initialised");
  BeginErrorEpoch();
  g_initialised = true;
}

void Library::Close() {
  std::shared_ptr<System> system;
  {
    const std::lock_guard lock(g_libraryMutex);
    Require(g_initialised, GC_ERR_NOT_INITIALIZED, "The library is not initialised");
    system = std::move(g_system);
    g_system = nullptr;
  }
  if (system) system->Close();
  g_initialised = false;
  HandleTable::Instance().Clear();
}

std::shared_ptr<System> Library::OpenSystem() {
  const std::lock_guard lock(g_libraryMutex);
  Require(g_system == nullptr, GC_ERR_RESOURCE_IN_USE, "The system is already open");
  g_system = System::Create();
  return g_system;
}

void Library::Forget(const System& system) {
  const std::lock_guard lock(g_libraryMutex);
  if (g_system.get() == &system) g_system = nullptr;
}

}  // namespace OrvexGev

using namespace OrvexGev;

namespace GenTL {
extern "C" {

GC_ERROR GCInitLib(void) {
  return Guard([] { Library::Instance().Init(); });
}

GC_ERROR GCCloseLib(void) {
  return Guard([] { Library::Instance().Close(); });
}

GC_ERROR GCGetInfo(TL_INFO_CMD iInfoCmd, INFO_DATATYPE* piType, void* pBuffer, size_t* piSize) {
  return Call([&] { System::Info(iInfoCmd, InfoQuery(piType, pBuffer, piSize)); });
}

GC_ERROR GCGetLastError(GC_ERROR* piErrorCode, char* sErrText, size_t* piSize) {
  // Its own failures are not stored.
  if (!Library::Instance().Initialised()) return GC_ERR_NOT_INITIALIZED;
  if (piErrorCode == nullptr || piSize == nullptr) return GC_ERR_INVALID_PARAMETER;
  const LastError& last = ThreadLastError();
  const size_t needed = last.text.size() + 1;
  if (sErrText != nullptr) {
    if (*piSize < needed) return GC_ERR_BUFFER_TOO_SMALL;
    std::copy_n(last.text.c_str(), needed, sErrText);
  }
  *piSize = needed;
  *piErrorCode = last.code;
  return GC_ERR_SUCCESS;
}

GC_ERROR GCReadPort(PORT_HANDLE hPort, uint64_t iAddress, void* pBuffer, size_t* piSize) {
  return Call([&] {
    const auto module = GetModule(hPort);
    RequirePointer(pBuffer);
    RequirePointer(piSize);
    module->ReadPort(iAddress, {static_cast<uint8_t*>(pBuffer), *piSize});
  });
}

GC_ERROR GCWritePort(PORT_HANDLE hPort, uint64_t iAddress, const void* pBuffer, size_t* piSize) {
  return Call([&] {
    const auto module = GetModule(hPort);
    RequirePointer(pBuffer);
    RequirePointer(piSize);
    module->WritePort(iAddress, {static_cast<const uint8_t*>(pBuffer), *piSize});
  });
}

// Runs the entries in order; *piNumEntries tells how many were done, also when one fails.
static GC_ERROR Stacked(PORT_HANDLE hPort, PORT_REGISTER_STACK_ENTRY* pEntries,
                        size_t* piNumEntries, bool write) {
  return Call([&] {
    const auto module = GetModule(hPort);
    RequirePointer(pEntries);
    RequirePointer(piNumEntries);
    const size_t count = *piNumEntries;
    *piNumEntries = 0;
    for (size_t i = 0; i < count; ++i) {
      const PORT_REGISTER_STACK_ENTRY& entry = pEntries[i];
      RequirePointer(entry.pBuffer);
      const std::span<uint8_t> bytes(static_cast<uint8_t*>(entry.pBuffer), entry.Size);
      if (write) {
        module->WritePort(entry.Address, bytes);
      } else {
        module->ReadPort(entry.Address, bytes);
      }
      ++*piNumEntries;
    }
  });
}

GC_ERROR GCReadPortStacked(PORT_HANDLE hPort, PORT_REGISTER_STACK_ENTRY* pEntries,
                           size_t* piNumEntries) {
  return Stacked(hPort, pEntries, piNumEntries, false);
}

GC_ERROR GCWritePortStacked(PORT_HANDLE hPort, PORT_REGISTER_STACK_ENTRY* pEntries,
                            size_t* piNumEntries) {
  return Stacked(hPort, pEntries, piNumEntries, true);
}

GC_ERROR GCGetPortURL(PORT_HANDLE hPort, char* sURL, size_t* piSize) {
  return Call([&] {
    std::string list;
    for (const PortUrl& url : GetModule(hPort)->Urls()) {
      list += url.url + "?SchemaVersion=" + std::to_string(url.schema[0]) + "." +
              std::to_string(url.schema[1]) + "." + std::to_string(url.schema[2]);
      list += '\0';
    }
    InfoQuery::PlainString(list, sURL, piSize);  // its zero closes the list
  });
}

GC_ERROR GCGetNumPortURLs(PORT_HANDLE hPort, uint32_t* piNumURLs) {
  return Call([&] {
    const auto module = GetModule(hPort);
    RequirePointer(piNumURLs);
    *piNumURLs = static_cast<uint32_t>(module->Urls().size());
  });
}

GC_ERROR GCGetPortURLInfo(PORT_HANDLE hPort, uint32_t iURLIndex, URL_INFO_CMD iInfoCmd,
                          INFO_DATATYPE* piType, void* pBuffer, size_t* piSize) {
  return Call(
      [&] { GetModule(hPort)->UrlInfo(iURLIndex, iInfoCmd, InfoQuery(piType, pBuffer, piSize)); });
}

GC_ERROR GCGetPortInfo(PORT_HANDLE hPort, PORT_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                       void* pBuffer, size_t* piSize) {
  return Call([&] { GetModule(hPort)->PortInfo(iInfoCmd, InfoQuery(piType, pBuffer, piSize)); });
}

static std::shared_ptr<Module> EventModule(EVENTSRC_HANDLE hEventSrc) {
  auto module = GetModule(hEventSrc);
  Require(module->GetKind() != Kind::RemotePort, GC_ERR_INVALID_HANDLE,
          "The remote device has no events of its own");
  return module;
}

GC_ERROR GCRegisterEvent(EVENTSRC_HANDLE hEventSrc, EVENT_TYPE iEventID, EVENT_HANDLE* phEvent) {
  return Call([&] {
    const auto module = EventModule(hEventSrc);
    RequirePointer(phEvent);
    *phEvent = module->RegisterEvent(iEventID)->Handle();
  });
}

GC_ERROR GCUnregisterEvent(EVENTSRC_HANDLE hEventSrc, EVENT_TYPE iEventID) {
  return Call([&] { EventModule(hEventSrc)->UnregisterEvent(iEventID); });
}

GC_ERROR EventGetData(EVENT_HANDLE hEvent, void* pBuffer, size_t* piSize, uint64_t iTimeout) {
  return Call([&] { Get<Event>(hEvent)->GetData(pBuffer, piSize, iTimeout); });
}

GC_ERROR EventGetDataInfo(EVENT_HANDLE hEvent, const void* pInBuffer, size_t iInSize,
                          EVENT_DATA_INFO_CMD iInfoCmd, INFO_DATATYPE* piType, void* pOutBuffer,
                          size_t* piOutSize) {
  return Call([&] {
    const auto event = Get<Event>(hEvent);
    RequirePointer(pInBuffer);
    Require(iInSize != 0, GC_ERR_INVALID_PARAMETER, "The event data is empty");
    event->GetDataInfo({static_cast<const uint8_t*>(pInBuffer), iInSize}, iInfoCmd,
                       InfoQuery(piType, pOutBuffer, piOutSize));
  });
}

GC_ERROR EventGetInfo(EVENT_HANDLE hEvent, EVENT_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                      void* pBuffer, size_t* piSize) {
  return Call([&] { Get<Event>(hEvent)->GetInfo(iInfoCmd, InfoQuery(piType, pBuffer, piSize)); });
}

GC_ERROR EventFlush(EVENT_HANDLE hEvent) {
  return Call([&] { Get<Event>(hEvent)->Flush(); });
}

GC_ERROR EventKill(EVENT_HANDLE hEvent) {
  return Call([&] { Get<Event>(hEvent)->Kill(); });
}

}  // extern "C"
}  // namespace GenTL
