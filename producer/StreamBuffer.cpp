// SPDX-License-Identifier: Apache-2.0
#include "producer/StreamBuffer.h"

#include <sys/mman.h>

#include <algorithm>
#include <optional>

#include "gentl/GenTLExtensions.h"
#include "gigevision/Chunk.h"
#include "gigevision/Gvsp.h"
#include "producer/Limits.h"

namespace OrvexGev {

using namespace GenTL;
namespace Gev = GigEVision;

namespace {

uint8_t* Allocate(size_t size) {
  // Populated at once: page faults while the first frames arrive would cost packets.
  void* memory = mmap(nullptr, size, PROT_READ | PROT_WRITE,
                      MAP_PRIVATE | MAP_ANONYMOUS | MAP_POPULATE, -1, 0);
  Require(memory != MAP_FAILED, GC_ERR_OUT_OF_MEMORY, "There is no memory for the buffer");
  return static_cast<uint8_t*>(memory);
}

uint64_t GenTlPartType(Gev::PartType type) {
  switch (type) {
    case Gev::PartType::Jpeg:
      return PART_DATATYPE_JPEG;
    case Gev::PartType::Jpeg2000:
      return PART_DATATYPE_JPEG2000;
    default:  // both count alike up to the confidence map
      return type <= Gev::PartType::ConfidenceMap ? static_cast<uint64_t>(type)
                                                  : uint64_t{PART_DATATYPE_UNKNOWN};
  }
}

// In two parts, so that nothing overflows before the result itself does.
uint64_t Nanoseconds(uint64_t ticks, uint64_t frequency) {
  constexpr uint64_t second = 1000000000;
  const auto rest =
      static_cast<long double>(ticks % frequency) * second / static_cast<long double>(frequency);
  return ticks / frequency * second + static_cast<uint64_t>(rest);
}

}  // namespace

StreamBuffer::StreamBuffer(const void* owner, void* pMemory, size_t size, void* pPrivate)
    : Module(sk_kind, nullptr),
      m_owner(owner),
      m_base(pMemory != nullptr ? static_cast<uint8_t*>(pMemory) : Allocate(size)),
      m_size(size),
      m_private(pPrivate),
      m_owned(pMemory == nullptr) {}

StreamBuffer::~StreamBuffer() {
  if (m_owned) munmap(m_base, m_size);
}

uint64_t GenTlPayloadType(uint16_t wireType, uint32_t pixelFormat) {
  if ((wireType & Gev::sk_payloadDeviceSpecific) != 0) return PAYLOAD_TYPE_DEVICE_SPECIFIC;
  switch (Gev::BaseType(wireType)) {
    case Gev::PayloadType::Image:
    case Gev::PayloadType::ExtendedChunk: {
      const bool chunks = wireType != static_cast<uint16_t>(Gev::PayloadType::Image);
      if (IsCompressedFormat(pixelFormat)) {
        return chunks ? uint64_t{PAYLOAD_TYPE_ORVEX_COMPRESSED_IMAGE_CHUNK}
                      : uint64_t{PAYLOAD_TYPE_ORVEX_COMPRESSED_IMAGE};
      }
      return chunks ? uint64_t{PAYLOAD_TYPE_ORVEX_IMAGE_EXTENDED_CHUNK}
                    : uint64_t{PAYLOAD_TYPE_IMAGE};
    }
    case Gev::PayloadType::Raw:
      return PAYLOAD_TYPE_RAW_DATA;
    case Gev::PayloadType::File:
      return PAYLOAD_TYPE_FILE;
    case Gev::PayloadType::Chunk:
      return PAYLOAD_TYPE_CHUNK_DATA;
    case Gev::PayloadType::Jpeg:
      return PAYLOAD_TYPE_JPEG;
    case Gev::PayloadType::Jpeg2000:
      return PAYLOAD_TYPE_JPEG2000;
    case Gev::PayloadType::H264:
      return PAYLOAD_TYPE_H264;
    case Gev::PayloadType::MultiPart:
      return PAYLOAD_TYPE_MULTI_PART;
    case Gev::PayloadType::GenDc:
      return PAYLOAD_TYPE_GENDC;
    default:
      return PAYLOAD_TYPE_UNKNOWN;
  }
}

void StreamBuffer::Info(BUFFER_INFO_CMD command, InfoQuery query, uint64_t tickFrequency) const {
  const FrameInfo& f = frame;
  const uint64_t type = GenTlPayloadType(f.wireType, f.pixelFormat);
  const bool image =
      f.newData && (type == PAYLOAD_TYPE_IMAGE || type == PAYLOAD_TYPE_ORVEX_IMAGE_EXTENDED_CHUNK);
  const bool compressed = f.newData && (type == PAYLOAD_TYPE_ORVEX_COMPRESSED_IMAGE ||
                                        type == PAYLOAD_TYPE_ORVEX_COMPRESSED_IMAGE_CHUNK);
  const bool multiPart = f.newData && type == PAYLOAD_TYPE_MULTI_PART;
  const bool chunks =
      f.newData &&
      ((multiPart && f.chunkSize != 0) || Gev::HasChunkMode(f.wireType) ||
       type == PAYLOAD_TYPE_CHUNK_DATA || type == PAYLOAD_TYPE_ORVEX_IMAGE_EXTENDED_CHUNK ||
       type == PAYLOAD_TYPE_ORVEX_COMPRESSED_IMAGE_CHUNK);
  const auto geometry = [&](size_t value) {
    if (multiPart) InfoQuery::NoData();  // each part has its own
    return image || compressed ? query.Size(value) : InfoQuery::NotAvailable();
  };
  switch (command) {
    case BUFFER_INFO_BASE:
      return query.Pointer(m_base);
    case BUFFER_INFO_SIZE:
      return query.Size(m_size);
    case BUFFER_INFO_USER_PTR:
      return query.Pointer(m_private);
    case BUFFER_INFO_TIMESTAMP:
      return query.UInt64(f.timestamp);
    case BUFFER_INFO_NEW_DATA:
      return query.Bool(f.newData);
    case BUFFER_INFO_IS_QUEUED:
      return query.Bool(place != Place::Unqueued);
    case BUFFER_INFO_IS_ACQUIRING:
      return query.Bool(place == Place::Filling);
    case BUFFER_INFO_IS_INCOMPLETE:
      return query.Bool(f.incomplete);
    case BUFFER_INFO_TLTYPE:
      return query.String(TLTypeGEVName);
    case BUFFER_INFO_SIZE_FILLED:
      return query.Size(SizeFilled());
    case BUFFER_INFO_WIDTH:
      return geometry(f.width);
    case BUFFER_INFO_HEIGHT:
      return geometry(f.height);
    case BUFFER_INFO_XOFFSET:
      return geometry(f.offsetX);
    case BUFFER_INFO_YOFFSET:
      return geometry(f.offsetY);
    case BUFFER_INFO_XPADDING:
      return geometry(f.paddingX);
    case BUFFER_INFO_YPADDING:
      return multiPart ? InfoQuery::NotAvailable() : geometry(f.paddingY);
    case BUFFER_INFO_FRAMEID:
      return query.UInt64(f.blockId);
    case BUFFER_INFO_IMAGEPRESENT:
      return query.Bool(image);
    case BUFFER_INFO_IMAGEOFFSET:
      return multiPart ? InfoQuery::NotAvailable() : geometry(0);
    case BUFFER_INFO_PAYLOADTYPE:
      return query.Size(type);
    case BUFFER_INFO_PIXELFORMAT:
      if (multiPart) InfoQuery::NoData();
      return f.pixelFormat == 0 ? InfoQuery::NotAvailable() : query.UInt64(f.pixelFormat);
    case BUFFER_INFO_PIXELFORMAT_NAMESPACE:
      if (multiPart) InfoQuery::NoData();
      return query.UInt64(PIXELFORMAT_NAMESPACE_PFNC_32BIT);
    case BUFFER_INFO_DELIVERED_IMAGEHEIGHT:
      return geometry(f.deliveredHeight);
    case BUFFER_INFO_DELIVERED_CHUNKPAYLOADSIZE:
      return chunks ? query.Size(f.chunkSize) : InfoQuery::NotAvailable();
    case BUFFER_INFO_CHUNKLAYOUTID:
      return query.UInt64(f.chunkLayoutId);
    case BUFFER_INFO_FILENAME:
      return f.fileName[0] == 0 ? InfoQuery::NotAvailable() : query.String(f.fileName.data());
    case BUFFER_INFO_PIXEL_ENDIANNESS:
      return query.Int32(f.bigEndianPixels ? PIXELENDIANNESS_BIG : PIXELENDIANNESS_LITTLE);
    case BUFFER_INFO_DATA_SIZE:
      return query.Size(f.dataSize);
    case BUFFER_INFO_TIMESTAMP_NS:
      return tickFrequency == 0 ? InfoQuery::NotAvailable()
                                : query.UInt64(Nanoseconds(f.timestamp, tickFrequency));
    case BUFFER_INFO_DATA_LARGER_THAN_BUFFER:
      return query.Bool(f.largerThanBuffer);
    case BUFFER_INFO_CONTAINS_CHUNKDATA:
      return query.Bool(chunks);
    case BUFFER_INFO_IS_COMPOSITE:
      return query.Bool(false);
    default:
      InfoQuery::NotImplemented();
  }
}

bool StreamBuffer::HasWholeChunks() const {
  return !frame.incomplete && frame.chunkOffset <= m_size &&
         frame.chunkSize <= m_size - frame.chunkOffset;
}

// Of a compressed image with chunks this is the image alone, whose length nothing else tells;
// BUFFER_INFO_DATA_SIZE counts the chunks behind it as well.
size_t StreamBuffer::SizeFilled() const {
  if (GenTlPayloadType(frame.wireType, frame.pixelFormat) !=
          PAYLOAD_TYPE_ORVEX_COMPRESSED_IMAGE_CHUNK ||
      !HasWholeChunks()) {
    return frame.filled;
  }
  Gev::ChunkWalker walker(std::span<const uint8_t>(m_base + frame.chunkOffset, frame.chunkSize));
  std::optional<Gev::Chunk> first;
  while (const auto chunk = walker.Next()) first = chunk;
  return first && walker.Valid() ? first->data.size() : frame.filled;
}

uint32_t StreamBuffer::PartCount() const {
  const bool multiPart =
      frame.newData && GenTlPayloadType(frame.wireType) == PAYLOAD_TYPE_MULTI_PART;
  if (!multiPart) InfoQuery::NoData();
  return static_cast<uint32_t>(frame.partCount);
}

void StreamBuffer::PartInfo(uint32_t index, BUFFER_PART_INFO_CMD command, InfoQuery query) const {
  Require(index < PartCount(), GC_ERR_INVALID_INDEX, "The buffer has no part with this index");
  const FramePart& part = frame.parts[index];
  const Gev::ImageFields& image = part.part.image;
  const bool jpeg =
      part.part.type == Gev::PartType::Jpeg || part.part.type == Gev::PartType::Jpeg2000;
  const auto geometry = [&](size_t value) {
    return jpeg ? InfoQuery::NotAvailable() : query.Size(value);
  };
  switch (command) {
    case BUFFER_PART_INFO_BASE:
      return query.Pointer(m_base + std::min(part.offset, m_size));
    case BUFFER_PART_INFO_DATA_SIZE:
      return query.Size(std::min(part.sent, m_size - std::min(part.offset, m_size)));
    case BUFFER_PART_INFO_DATA_TYPE:
      return query.Size(GenTlPartType(part.part.type));
    case BUFFER_PART_INFO_DATA_FORMAT:
      return query.UInt64(image.pixelFormat);
    case BUFFER_PART_INFO_DATA_FORMAT_NAMESPACE:
      return query.UInt64(PIXELFORMAT_NAMESPACE_PFNC_32BIT);
    case BUFFER_PART_INFO_WIDTH:
      return geometry(image.sizeX);
    case BUFFER_PART_INFO_HEIGHT:
      return geometry(image.sizeY);
    case BUFFER_PART_INFO_XOFFSET:
      return geometry(image.offsetX);
    case BUFFER_PART_INFO_YOFFSET:
      return geometry(image.offsetY);
    case BUFFER_PART_INFO_XPADDING:
      return geometry(image.paddingX);
    case BUFFER_PART_INFO_SOURCE_ID:
      return query.UInt64(part.part.sourceId);
    case BUFFER_PART_INFO_DELIVERED_IMAGEHEIGHT:
      return geometry(part.deliveredHeight);
    case BUFFER_PART_INFO_REGION_ID:
      return query.UInt64(part.part.regionId);
    case BUFFER_PART_INFO_DATA_PURPOSE_ID:
      return query.UInt64(part.part.purposeId);
    default:
      InfoQuery::NotImplemented();
  }
}

void StreamBuffer::Chunks(SINGLE_CHUNK_DATA* chunks, size_t* count) const {
  Require(count != nullptr, GC_ERR_INVALID_PARAMETER,
          "The pointer to the number of chunks is null");
  const bool present = frame.newData && frame.chunkSize != 0;
  Require(present, GC_ERR_NO_DATA, "The buffer contains no chunk data");
  Require(HasWholeChunks(), GC_ERR_PARSING_CHUNK_DATA, "The chunk data is not whole");
  Gev::ChunkWalker walker(std::span<const uint8_t>(m_base + frame.chunkOffset, frame.chunkSize));
  std::vector<SINGLE_CHUNK_DATA> found;
  while (const auto chunk = walker.Next()) {
    Require(found.size() < sk_maxChunks, GC_ERR_PARSING_CHUNK_DATA,
            "The buffer has too many chunks");
    found.push_back(
        {chunk->id, static_cast<ptrdiff_t>(frame.chunkOffset + chunk->offset), chunk->data.size()});
  }
  Require(walker.Valid(), GC_ERR_PARSING_CHUNK_DATA, "The chunk layout cannot be parsed");
  if (chunks != nullptr) {
    Require(*count >= found.size(), GC_ERR_BUFFER_TOO_SMALL, "The buffer holds more chunks");
    std::ranges::reverse_copy(found, chunks);  // the walk goes from the last to the first
  }
  *count = found.size();
}

void BufferQueue::PushBack(StreamBuffer& buffer) {
  buffer.place = m_place;
  buffer.next = nullptr;
  buffer.previous = m_last;
  (m_last != nullptr ? m_last->next : m_first) = &buffer;
  m_last = &buffer;
  ++m_count;
}

void BufferQueue::Remove(StreamBuffer& buffer) {
  (buffer.previous != nullptr ? buffer.previous->next : m_first) = buffer.next;
  (buffer.next != nullptr ? buffer.next->previous : m_last) = buffer.previous;
  buffer.previous = buffer.next = nullptr;
  buffer.place = Place::Unqueued;
  --m_count;
}

StreamBuffer* BufferQueue::PopFront() {
  StreamBuffer* buffer = m_first;
  if (buffer != nullptr) Remove(*buffer);
  return buffer;
}

}  // namespace OrvexGev
