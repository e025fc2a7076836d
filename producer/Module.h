#pragma once
// SPDX-License-Identifier: Apache-2.0
// What all modules of the tree share: a port with its description, and events. Owned by its parent
// and by the handle table; closed once, by its own close function or by the parent's. Any thread
// may call.

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "producer/Event.h"
#include "producer/FeatureTable.h"
#include "producer/Object.h"

namespace OrvexGev {

// Who a port says it is.
struct PortIdentity {
  std::string id, vendor, model, module, version, portName;
  bool bigEndian = false;
  bool readable = true;
  bool writable = true;
};

// Where the description of a port lies.
struct PortUrl {
  std::string url;       // without the schema version
  std::string fileName;  // empty when not known
  int schema[3] = {1, 1, 0};
  int file[3] = {1, 0, 0};
  GenTL::URL_SCHEME_ID scheme = GenTL::URL_SCHEME_LOCAL;
  uint64_t address = 0;  // local only
  uint64_t size = 0;     // local only
};

class Module : public Object {
 public:
  virtual void ReadPort(uint64_t address, std::span<uint8_t> target);
  virtual void WritePort(uint64_t address, std::span<const uint8_t> source);
  // Throws GC_ERR_NOT_IMPLEMENTED for a module without a port.
  virtual PortIdentity Identity() const;
  virtual std::vector<PortUrl> Urls() const;

  void PortInfo(GenTL::PORT_INFO_CMD command, InfoQuery query) const;
  void UrlInfo(uint32_t index, GenTL::URL_INFO_CMD command, InfoQuery query) const;

  std::shared_ptr<Event> RegisterEvent(GenTL::EVENT_TYPE type);
  void UnregisterEvent(GenTL::EVENT_TYPE type);

  // For EVENT_ERROR and EVENT_MODULE; dropped when nobody registered, a module event also while its
  // notification is off.
  void FireError(GenTL::GC_ERROR code, const std::string& text);
  void FireModule(uint16_t id);

 protected:
  Module(Kind kind, std::unique_ptr<FeatureTable> features);

  // Null when the module does not know the event type.
  virtual std::shared_ptr<EventSource> MakeSource(GenTL::EVENT_TYPE type);
  // Called after an event was registered, and before one disappears, without locks.
  virtual void EventRegistered(GenTL::EVENT_TYPE) {}
  virtual void EventUnregistered(GenTL::EVENT_TYPE) {}
  // Puts an entry into a registered message event.
  void Fire(GenTL::EVENT_TYPE type, std::vector<uint8_t> entry);
  void UnregisterAllEvents();

  // EventSelector and EventNotification, with the identifiers of the module's events as values.
  static void AddEventControl(FeatureTable& table, Module* self, std::vector<EnumEntry> events);

  FeatureTable* Features() const { return m_features.get(); }
  Event* FindEventLocked(GenTL::EVENT_TYPE type) const;

  // Guards the events' entries, and in a data stream the buffer queues as well.
  const std::shared_ptr<std::mutex> m_eventMutex;

 private:
  std::unique_ptr<FeatureTable> m_features;
  std::map<GenTL::EVENT_TYPE, std::shared_ptr<Event>> m_events;
  // Guarded by m_eventMutex.
  enum class Notification : int64_t { Off = 0, On = 1, Once = 2 };
  int64_t m_selectedEvent = 1;
  std::map<int64_t, Notification> m_notifications;  // those that are not on
};

// The module behind a port or event source handle.
std::shared_ptr<Module> GetModule(const void* handle);

}  // namespace OrvexGev
