#pragma once
// SPDX-License-Identifier: Apache-2.0
// Event objects of GenTL: a queue that consumers wait on, with kills that end exactly one wait
// each. Owned by the module on which they are registered, found through their handle. All members
// may be called from any thread.

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <span>
#include <string>
#include <vector>

#include "producer/InfoQuery.h"
#include "producer/Object.h"

namespace OrvexGev {

// Where an event's entries wait. The event calls it with its mutex held.
class EventSource {
 public:
  virtual ~EventSource() = default;
  virtual size_t Count() const = 0;
  virtual size_t FrontSize() const = 0;
  // Removes the first entry and copies it; target is null when the entry is thrown away.
  virtual void TakeFront(void* target) = 0;
  virtual void Clear() = 0;
  virtual size_t MaxSize() const = 0;       // of an entry as EventGetData delivers it
  virtual size_t MaxValueSize() const = 0;  // of EVENT_DATA_VALUE
  // Explains an entry that EventGetData delivered; text form of EventGetDataInfo.
  virtual void DataInfo(std::span<const uint8_t> entry, GenTL::EVENT_DATA_INFO_CMD command,
                        InfoQuery& query) const = 0;
};

class Event : public Object {
 public:
  static constexpr Kind sk_kind = Kind::Event;

  // The source's entries are guarded by the given mutex, which outlives the event (shared with the
  // owning module).
  Event(GenTL::EVENT_TYPE type, std::shared_ptr<EventSource> source,
        std::shared_ptr<std::mutex> mutex);

  GenTL::EVENT_TYPE Type() const { return m_type; }
  EventSource& Source() { return *m_source; }

  // Waits at most timeoutMs for an entry. pBuffer null throws the entry away.
  void GetData(void* pBuffer, size_t* piSize, uint64_t timeoutMs);
  void GetInfo(GenTL::EVENT_INFO_CMD command, InfoQuery query);
  void GetDataInfo(std::span<const uint8_t> entry, GenTL::EVENT_DATA_INFO_CMD command,
                   InfoQuery query);
  void Flush();
  void Kill();
  // Ends every wait with GC_ERR_ABORT, now and later, and drops what is queued.
  void Unregister();

  // Called by the owner with the mutex held, after it has put an entry into the source.
  void FiredLocked();

 private:
  const GenTL::EVENT_TYPE m_type;
  const std::shared_ptr<EventSource> m_source;
  const std::shared_ptr<std::mutex> m_mutex;
  std::condition_variable m_changed;
  uint64_t m_fired = 0;
  uint64_t m_kills = 0;
  bool m_unregistered = false;
};

// Entries that are plain bytes with an identifier: error, module and remote device events.
class MessageEventSource final : public EventSource {
 public:
  explicit MessageEventSource(GenTL::EVENT_TYPE type) : m_type(type) {}

  // Drops the oldest entry when the queue is full.
  void PutLocked(std::vector<uint8_t> entry);
  uint64_t DroppedLocked() const { return m_dropped; }

  size_t Count() const override { return m_entries.size(); }
  size_t FrontSize() const override { return m_entries.front().size(); }
  void TakeFront(void* target) override;
  void Clear() override { m_entries.clear(); }
  size_t MaxSize() const override;
  size_t MaxValueSize() const override;
  void DataInfo(std::span<const uint8_t> entry, GenTL::EVENT_DATA_INFO_CMD command,
                InfoQuery& query) const override;

 private:
  const GenTL::EVENT_TYPE m_type;
  std::deque<std::vector<uint8_t>> m_entries;
  uint64_t m_dropped = 0;
};

// Entry of an error event: the code (int32, little endian) followed by the text with its
// terminating zero.
std::vector<uint8_t> MakeErrorEntry(GenTL::GC_ERROR code, const std::string& text);
// Entry of a module event: the identifier (16 bit, big endian as on the wire) followed by its data.
std::vector<uint8_t> MakeModuleEntry(uint16_t id, std::span<const uint8_t> data);

}  // namespace OrvexGev
