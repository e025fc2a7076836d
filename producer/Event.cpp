// SPDX-License-Identifier: Apache-2.0
#include "producer/Event.h"

#include <algorithm>
#include <chrono>
#include <cstdio>

#include "producer/Limits.h"

namespace OrvexGev {

using namespace GenTL;

Event::Event(EVENT_TYPE type, std::shared_ptr<EventSource> source,
             std::shared_ptr<std::mutex> mutex)
    : Object(sk_kind), m_type(type), m_source(std::move(source)), m_mutex(std::move(mutex)) {}

void Event::GetData(void* pBuffer, size_t* piSize, uint64_t timeoutMs) {
  Require(piSize != nullptr, GC_ERR_INVALID_PARAMETER, "The pointer to the size is null");
  std::unique_lock lock(*m_mutex);
  const auto ready = [this] { return m_unregistered || m_kills > 0 || m_source->Count() > 0; };
  // Anything beyond a year is as good as endless and keeps the clock's arithmetic safe.
  constexpr uint64_t longest = uint64_t{366} * 24 * 3600 * 1000;
  if (timeoutMs >= longest) {
    m_changed.wait(lock, ready);
  } else {
    m_changed.wait_for(lock, std::chrono::milliseconds(timeoutMs), ready);
  }
  Require(!m_unregistered, GC_ERR_ABORT, "The event was unregistered");
  if (m_kills > 0) {
    --m_kills;
    throw GcError(GC_ERR_ABORT, "The wait was ended by EventKill");
  }
  Require(m_source->Count() > 0, GC_ERR_TIMEOUT, "No event came in time");
  const size_t size = m_source->FrontSize();
  Require(pBuffer == nullptr || *piSize >= size, GC_ERR_BUFFER_TOO_SMALL,
          "The buffer is too small for the event data");
  m_source->TakeFront(pBuffer);
  *piSize = size;
}

void Event::GetInfo(EVENT_INFO_CMD command, InfoQuery query) {
  const std::lock_guard lock(*m_mutex);
  switch (command) {
    case EVENT_EVENT_TYPE:
      return query.Int32(m_type);
    case EVENT_NUM_IN_QUEUE:
      return query.Size(m_source->Count());
    case EVENT_NUM_FIRED:
      return query.UInt64(m_fired);
    case EVENT_SIZE_MAX:
      return query.Size(m_source->MaxSize());
    case EVENT_INFO_DATA_SIZE_MAX:
      return query.Size(m_source->MaxValueSize());
    default:
      InfoQuery::NotImplemented();
  }
}

void Event::GetDataInfo(std::span<const uint8_t> entry, EVENT_DATA_INFO_CMD command,
                        InfoQuery query) {
  m_source->DataInfo(entry, command, query);
}

void Event::Flush() {
  const std::lock_guard lock(*m_mutex);
  m_source->Clear();
}

void Event::Kill() {
  const std::lock_guard lock(*m_mutex);
  ++m_kills;
  // All wake, one takes the kill, the others go on waiting for what is left of their time.
  m_changed.notify_all();
}

void Event::Unregister() {
  const std::lock_guard lock(*m_mutex);
  m_unregistered = true;
  m_kills = 0;
  m_source->Clear();
  m_changed.notify_all();
}

void Event::FiredLocked() {
  ++m_fired;
  m_changed.notify_one();
}

void MessageEventSource::PutLocked(std::vector<uint8_t> entry) {
  if (m_entries.size() >= sk_maxQueuedEvents) {
    m_entries.pop_front();
    ++m_dropped;
  }
  m_entries.push_back(std::move(entry));
}

void MessageEventSource::TakeFront(void* target) {
  if (target != nullptr) std::ranges::copy(m_entries.front(), static_cast<uint8_t*>(target));
  m_entries.pop_front();
}

namespace {

constexpr size_t sk_gvcpHeader = 8;
constexpr size_t sk_errorCode = 4;
constexpr size_t sk_moduleId = 2;

std::string HexId(uint16_t id) {
  char text[5];
  std::snprintf(text, sizeof text, "%04X", id);
  return text;
}

// Where the 16-bit identifier stands in an entry, and where its addressable data begins.
struct Layout {
  size_t id;
  size_t data;
};

Layout LayoutOf(EVENT_TYPE type) {
  // A remote device event is the whole datagram; consumers address its data from the end of the
  // GVCP header.
  return type == EVENT_REMOTE_DEVICE ? Layout{sk_gvcpHeader + 2, sk_gvcpHeader}
                                     : Layout{0, sk_moduleId};
}

}  // namespace

size_t MessageEventSource::MaxSize() const {
  return sk_maxEventBytes;
}

size_t MessageEventSource::MaxValueSize() const {
  return sk_maxEventBytes - (m_type == EVENT_ERROR ? sk_errorCode : LayoutOf(m_type).data);
}

void MessageEventSource::DataInfo(std::span<const uint8_t> entry, EVENT_DATA_INFO_CMD command,
                                  InfoQuery& query) const {
  if (m_type == EVENT_ERROR) {
    Require(entry.size() > sk_errorCode, GC_ERR_INVALID_PARAMETER,
            "This is no entry of an error event");
    int32_t code;
    std::memcpy(&code, entry.data(), sizeof code);
    const auto* text = reinterpret_cast<const char*>(entry.data()) + sk_errorCode;
    switch (command) {
      case EVENT_DATA_ID:
        return query.Int32(code);
      case EVENT_DATA_VALUE:
        return query.String({text, strnlen(text, entry.size() - sk_errorCode)});
      case EVENT_DATA_NUMID:
        InfoQuery::NotAvailable();
      default:
        InfoQuery::NotImplemented();
    }
  }
  const Layout layout = LayoutOf(m_type);
  Require(entry.size() >= layout.id + 2, GC_ERR_INVALID_PARAMETER,
          "This is no entry of this event");
  const auto id = static_cast<uint16_t>(entry[layout.id] << 8 | entry[layout.id + 1]);
  switch (command) {
    case EVENT_DATA_ID:
      return query.String(HexId(id));
    case EVENT_DATA_VALUE:
      return query.Bytes(entry.subspan(layout.data));
    case EVENT_DATA_NUMID:
      return query.UInt64(id);
    default:
      InfoQuery::NotImplemented();
  }
}

std::vector<uint8_t> MakeErrorEntry(GC_ERROR code, const std::string& text) {
  const size_t length = std::min(text.size(), sk_maxEventBytes - sk_errorCode - 1);
  std::vector<uint8_t> entry(sk_errorCode + length + 1, 0);
  std::memcpy(entry.data(), &code, sizeof code);
  std::memcpy(entry.data() + sk_errorCode, text.data(), length);
  return entry;
}

std::vector<uint8_t> MakeModuleEntry(uint16_t id, std::span<const uint8_t> data) {
  const size_t length = std::min(data.size(), sk_maxEventBytes - sk_moduleId);
  std::vector<uint8_t> entry(sk_moduleId + length, 0);
  entry[0] = static_cast<uint8_t>(id >> 8);
  entry[1] = static_cast<uint8_t>(id);
  std::copy_n(data.begin(), length, entry.begin() + sk_moduleId);
  return entry;
}

}  // namespace OrvexGev
