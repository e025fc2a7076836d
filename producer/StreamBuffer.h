#pragma once
// SPDX-License-Identifier: Apache-2.0
// An announced buffer: its memory, its place in the stream's queues and what the last frame in it
// was. Owned by its DataStream. Place, links and frame are guarded by the stream's mutex; the
// memory belongs to the receiver thread while the buffer is being filled and to the consumer
// otherwise.

#include <memory>

#include "producer/FrameInfo.h"
#include "producer/Module.h"

namespace OrvexGev {

class DataStream;

enum class Place { Unqueued, Input, Filling, Output };

// What becomes of a buffer once the frame in it ends; a flush while it is being filled changes it.
enum class AfterFill { Deliver, Requeue, Discard };

class StreamBuffer final : public Module {
 public:
  static constexpr Kind sk_kind = Kind::Buffer;

  // Consumer memory when pMemory is given, own memory otherwise. The owner is only compared, never
  // used.
  StreamBuffer(const void* owner, void* pMemory, size_t size, void* pPrivate);
  ~StreamBuffer() override;

  uint8_t* Base() const { return m_base; }
  size_t Size() const { return m_size; }
  void* Private() const { return m_private; }
  bool OwnsMemory() const { return m_owned; }
  bool OwnerIs(const DataStream& stream) const { return m_owner == &stream; }

  // With the stream's mutex held.
  void Info(GenTL::BUFFER_INFO_CMD command, InfoQuery query, uint64_t tickFrequency) const;
  uint32_t PartCount() const;
  void PartInfo(uint32_t index, GenTL::BUFFER_PART_INFO_CMD command, InfoQuery query) const;
  void Chunks(GenTL::SINGLE_CHUNK_DATA* chunks, size_t* count) const;

  Place place = Place::Unqueued;
  AfterFill afterFill = AfterFill::Deliver;
  FrameInfo frame;
  uint8_t* scratch = nullptr;  // where the frame is received when it is converted afterwards
  StreamBuffer* previous = nullptr;
  StreamBuffer* next = nullptr;

 private:
  bool HasWholeChunks() const;
  size_t SizeFilled() const;

  const void* const m_owner;
  uint8_t* const m_base;
  const size_t m_size;
  void* const m_private;
  const bool m_owned;
};

// A first-in first-out list that needs no memory of its own. All buffers in it have the list's
// place.
class BufferQueue {
 public:
  explicit BufferQueue(Place place) : m_place(place) {}
  size_t Count() const { return m_count; }
  StreamBuffer* Front() const { return m_first; }
  void PushBack(StreamBuffer& buffer);
  // The buffer becomes unqueued.
  void Remove(StreamBuffer& buffer);
  StreamBuffer* PopFront();

 private:
  const Place m_place;
  StreamBuffer* m_first = nullptr;
  StreamBuffer* m_last = nullptr;
  size_t m_count = 0;
};

// GenTL's number for a payload type of the wire; images with a compressed pixel format have their
// own.
uint64_t GenTlPayloadType(uint16_t wireType, uint32_t pixelFormat = 0);

}  // namespace OrvexGev
