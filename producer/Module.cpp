// SPDX-License-Identifier: Apache-2.0
#include "producer/Module.h"

#include <utility>

namespace OrvexGev {

using namespace GenTL;

Module::Module(Kind kind, std::unique_ptr<FeatureTable> features)
    : Object(kind), m_eventMutex(std::make_shared<std::mutex>()), m_features(std::move(features)) {}

std::shared_ptr<Module> GetModule(const void* handle) {
  std::shared_ptr<Object> object = HandleTable::Instance().Find(handle);
  Require(object != nullptr && object->GetKind() != Kind::Event, GC_ERR_INVALID_HANDLE,
          "The handle is not valid here");
  return std::static_pointer_cast<Module>(std::move(object));
}

void Module::ReadPort(uint64_t address, std::span<uint8_t> target) {
  Require(m_features != nullptr, GC_ERR_NOT_IMPLEMENTED, "The module has no port");
  m_features->Read(address, target);
}

void Module::WritePort(uint64_t address, std::span<const uint8_t> source) {
  Require(m_features != nullptr, GC_ERR_NOT_IMPLEMENTED, "The module has no port");
  m_features->Write(address, source);
}

PortIdentity Module::Identity() const {
  throw GcError(GC_ERR_NOT_IMPLEMENTED, "The module has no port");
}

std::vector<PortUrl> Module::Urls() const {
  Require(m_features != nullptr, GC_ERR_NOT_IMPLEMENTED, "The module has no port");
  PortUrl url;
  url.url = m_features->Url();
  url.fileName = m_features->FileName();
  url.address = FeatureTable::sk_xmlAddress;
  url.size = m_features->Xml().size();
  return {url};
}

void Module::PortInfo(PORT_INFO_CMD command, InfoQuery query) const {
  const PortIdentity identity = Identity();
  switch (command) {
    case PORT_INFO_ID:
      return query.String(identity.id);
    case PORT_INFO_VENDOR:
      return query.String(identity.vendor);
    case PORT_INFO_MODEL:
      return query.String(identity.model);
    case PORT_INFO_TLTYPE:
      return query.String(TLTypeGEVName);
    case PORT_INFO_MODULE:
      return query.String(identity.module);
    case PORT_INFO_LITTLE_ENDIAN:
      return query.Bool(!identity.bigEndian);
    case PORT_INFO_BIG_ENDIAN:
      return query.Bool(identity.bigEndian);
    case PORT_INFO_ACCESS_READ:
      return query.Bool(identity.readable);
    case PORT_INFO_ACCESS_WRITE:
      return query.Bool(identity.writable);
    case PORT_INFO_ACCESS_NA:
      return query.Bool(!identity.readable && !identity.writable);
    case PORT_INFO_ACCESS_NI:
      return query.Bool(false);
    case PORT_INFO_VERSION:
      return query.String(identity.version);
    case PORT_INFO_PORTNAME:
      return query.String(identity.portName);
    default:
      InfoQuery::NotImplemented();
  }
}

void Module::UrlInfo(uint32_t index, URL_INFO_CMD command, InfoQuery query) const {
  const std::vector<PortUrl> urls = Urls();
  Require(index < urls.size(), GC_ERR_INVALID_INDEX, "There is no URL with this index");
  const PortUrl& url = urls[index];
  const bool local = url.scheme == URL_SCHEME_LOCAL;
  switch (command) {
    case URL_INFO_URL:
      return query.String(url.url);
    case URL_INFO_SCHEMA_VER_MAJOR:
      return query.Int32(url.schema[0]);
    case URL_INFO_SCHEMA_VER_MINOR:
      return query.Int32(url.schema[1]);
    case URL_INFO_FILE_VER_MAJOR:
      return query.Int32(url.file[0]);
    case URL_INFO_FILE_VER_MINOR:
      return query.Int32(url.file[1]);
    case URL_INFO_FILE_VER_SUBMINOR:
      return query.Int32(url.file[2]);
    case URL_INFO_FILE_SHA1_HASH:
      InfoQuery::NotAvailable();
    case URL_INFO_FILE_REGISTER_ADDRESS:
      return local ? query.UInt64(url.address) : InfoQuery::NotAvailable();
    case URL_INFO_FILE_SIZE:
      return local ? query.UInt64(url.size) : InfoQuery::NotAvailable();
    case URL_INFO_SCHEME:
      return query.Int32(url.scheme);
    case URL_INFO_FILENAME:
      return url.fileName.empty() ? InfoQuery::NotAvailable() : query.String(url.fileName);
    default:
      InfoQuery::NotImplemented();
  }
}

std::shared_ptr<EventSource> Module::MakeSource(EVENT_TYPE type) {
  if (type == EVENT_ERROR || type == EVENT_MODULE)
    return std::make_shared<MessageEventSource>(type);
  return nullptr;
}

std::shared_ptr<Event> Module::RegisterEvent(EVENT_TYPE type) {
  std::shared_ptr<EventSource> source = MakeSource(type);
  Require(source != nullptr, GC_ERR_NOT_IMPLEMENTED, "The module does not know this event type");
  auto event = std::make_shared<Event>(type, std::move(source), m_eventMutex);
  {
    const std::lock_guard lock(*m_eventMutex);
    Require(m_events.emplace(type, event).second, GC_ERR_RESOURCE_IN_USE,
            "The event is already registered");
  }
  try {
    EventRegistered(type);
  } catch (...) {
    const std::lock_guard lock(*m_eventMutex);
    m_events.erase(type);
    throw;
  }
  HandleTable::Instance().Add(event);
  return event;
}

void Module::UnregisterEvent(EVENT_TYPE type) {
  Require(MakeSource(type) != nullptr, GC_ERR_NOT_IMPLEMENTED,
          "The module does not know this event type");
  std::shared_ptr<Event> event;
  {
    const std::lock_guard lock(*m_eventMutex);
    const auto found = m_events.find(type);
    Require(found != m_events.end(), GC_ERR_NOT_INITIALIZED, "The event is not registered");
    event = found->second;
    m_events.erase(found);
  }
  HandleTable::Instance().Remove(*event);
  EventUnregistered(type);
  event->Unregister();
}

void Module::UnregisterAllEvents() {
  std::vector<EVENT_TYPE> types;
  {
    const std::lock_guard lock(*m_eventMutex);
    for (const auto& [type, event] : m_events) types.push_back(type);
  }
  for (const EVENT_TYPE type : types) {
    try {
      UnregisterEvent(type);
    } catch (const GcError&) {
      // Another thread unregistered it meanwhile.
    }
  }
}

Event* Module::FindEventLocked(EVENT_TYPE type) const {
  const auto found = m_events.find(type);
  return found == m_events.end() ? nullptr : found->second.get();
}

void Module::Fire(EVENT_TYPE type, std::vector<uint8_t> entry) {
  const std::lock_guard lock(*m_eventMutex);
  if (Event* event = FindEventLocked(type)) {
    static_cast<MessageEventSource&>(event->Source()).PutLocked(std::move(entry));
    event->FiredLocked();
  }
}

void Module::FireError(GC_ERROR code, const std::string& text) {
  Fire(EVENT_ERROR, MakeErrorEntry(code, text));
}

void Module::FireModule(uint16_t id) {
  {
    const std::lock_guard lock(*m_eventMutex);
    const auto notification = m_notifications.find(id);
    if (notification != m_notifications.end() &&
        std::exchange(notification->second, Notification::Off) == Notification::Off)
      return;
  }
  Fire(EVENT_MODULE, MakeModuleEntry(id, {}));
}

void Module::AddEventControl(FeatureTable& table, Module* self, std::vector<EnumEntry> events) {
  const char* category = "EventControl";
  table.Add(Feature::Enumeration(
                "EventSelector", std::move(events),
                [self] {
                  const std::lock_guard lock(*self->m_eventMutex);
                  return self->m_selectedEvent;
                },
                [self](int64_t value) {
                  const std::lock_guard lock(*self->m_eventMutex);
                  self->m_selectedEvent = value;
                })
                .In(category)
                .Expert());
  const auto name = [](Notification value) { return static_cast<int64_t>(value); };
  table.Add(Feature::Enumeration(
                "EventNotification",
                {{"Off", name(Notification::Off)},
                 {"On", name(Notification::On)},
                 {"Once", name(Notification::Once)}},
                [self, name] {
                  const std::lock_guard lock(*self->m_eventMutex);
                  const auto found = self->m_notifications.find(self->m_selectedEvent);
                  return name(found == self->m_notifications.end() ? Notification::On
                                                                   : found->second);
                },
                [self, name](int64_t value) {
                  const std::lock_guard lock(*self->m_eventMutex);
                  if (value == name(Notification::On)) {
                    self->m_notifications.erase(self->m_selectedEvent);
                  } else {
                    self->m_notifications[self->m_selectedEvent] = Notification{value};
                  }
                })
                .In(category)
                .Expert()
                .SelectedBy("EventSelector")
                .Tip("Whether the event goes to those who registered for module events."));
}

}  // namespace OrvexGev
