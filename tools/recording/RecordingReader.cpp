// SPDX-License-Identifier: Apache-2.0
#include "tools/recording/RecordingReader.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "tools/Failure.h"
#include "tools/recording/Crc32c.h"
#include "tools/recording/Limits.h"

namespace OrvexTools {
namespace {

constexpr std::size_t sk_searchBlock = std::size_t{1} << 16;

class FileBytes final : public ByteSource {
 public:
  explicit FileBytes(const std::filesystem::path& name)
      : m_fd(::open(name.c_str(), O_RDONLY | O_CLOEXEC)) {
    struct stat status = {};
    if (m_fd >= 0 && ::fstat(m_fd, &status) == 0 && S_ISREG(status.st_mode)) {
      m_size = static_cast<std::uint64_t>(status.st_size);
      return;
    }
    const std::string why =
        m_fd >= 0 ? "it is no regular file" : std::generic_category().message(errno);
    if (m_fd >= 0) ::close(m_fd);
    throw Failure(fmt::format("cannot read {}: {}", name.string(), why));
  }
  ~FileBytes() override { ::close(m_fd); }
  FileBytes(const FileBytes&) = delete;
  FileBytes& operator=(const FileBytes&) = delete;

  std::uint64_t Size() const override { return m_size; }

  bool Read(std::uint64_t offset, std::span<std::uint8_t> target) override {
    while (!target.empty()) {
      const ssize_t count = ::pread(m_fd, target.data(), target.size(), static_cast<off_t>(offset));
      if (count < 0 && errno == EINTR) continue;
      if (count <= 0) return false;
      offset += static_cast<std::uint64_t>(count);
      target = target.subspan(static_cast<std::size_t>(count));
    }
    return true;
  }

 private:
  int m_fd;
  std::uint64_t m_size = 0;
};

std::uint64_t LimitOf(RecordType type) {
  switch (type) {
    case RecordType::Camera:
      return sk_maxDescription;
    case RecordType::Frame:
      return sk_maxRecordedFrame;
    case RecordType::Index:
      return sk_maxRecordedFrames * sizeof(std::uint64_t);
  }
  return 0;
}

}  // namespace

RecordingReader::RecordingReader(const std::filesystem::path& name)
    : RecordingReader(std::make_unique<FileBytes>(name), name.string()) {}

RecordingReader::RecordingReader(std::unique_ptr<ByteSource> pBytes, const std::string& name)
    : m_pBytes(std::move(pBytes)) {
  FileHeadBytes head{};
  if (m_pBytes->Size() < head.size() || !m_pBytes->Read(0, head) || !IsHead(head)) {
    throw Failure(fmt::format(
        "{} is no recording; `orvex record -o FILE` makes one, and pictures need no replay", name));
  }
  m_whole = ReadIndex();
  if (!m_whole) Search();
  ReadCamera();
}

std::optional<RecordHeader> RecordingReader::HeaderAt(std::uint64_t offset) {
  const std::uint64_t size = m_pBytes->Size();
  RecordHeaderBytes bytes{};
  if (offset > size || size - offset < bytes.size() || !m_pBytes->Read(offset, bytes))
    return std::nullopt;
  std::optional<RecordHeader> header = DecodeHeader(bytes);
  if (!header || header->payloadBytes > size - offset - bytes.size() ||
      header->payloadBytes > LimitOf(header->type) ||
      header->frame.imageBytes > header->payloadBytes)
    return std::nullopt;
  return header;
}

bool RecordingReader::Payload(std::uint64_t offset, const RecordHeader& header,
                              std::vector<std::uint8_t>& data) {
  data.resize(static_cast<std::size_t>(header.payloadBytes));
  return m_pBytes->Read(offset + sk_recordHeaderSize, data) && Crc32c(data) == header.payloadCrc;
}

bool RecordingReader::ReadIndex() {
  const std::uint64_t size = m_pBytes->Size();
  FileTailBytes bytes{};
  if (size < sk_fileHeadSize + bytes.size() || !m_pBytes->Read(size - bytes.size(), bytes))
    return false;
  const std::optional<FileTail> tail = DecodeTail(bytes);
  if (!tail) return false;
  const std::optional<RecordHeader> header = HeaderAt(tail->indexOffset);
  std::vector<std::uint8_t> places;
  if (!header || header->type != RecordType::Index ||
      header->payloadBytes % sizeof(std::uint64_t) != 0 ||
      header->payloadBytes / sizeof(std::uint64_t) != tail->frames ||
      !Payload(tail->indexOffset, *header, places))
    return false;
  std::uint64_t last = 0;
  m_frames.reserve(places.size() / sizeof(std::uint64_t));
  for (std::size_t i = 0; i < places.size(); i += sizeof(std::uint64_t)) {
    const std::uint64_t place = GetU64(&places[i]);
    if (place <= last || place >= tail->indexOffset) {
      m_frames.clear();
      return false;
    }
    m_frames.push_back(last = place);
  }
  return true;
}

void RecordingReader::Search() {
  const std::uint64_t size = m_pBytes->Size();
  std::uint64_t offset = sk_fileHeadSize;
  while (offset < size && m_frames.size() < sk_maxRecordedFrames) {
    const std::optional<RecordHeader> header = HeaderAt(offset);
    if (!header) {
      const std::uint64_t next = NextMark(offset + sk_recordAlignment);
      m_lostBytes += next - offset;
      offset = next;
      continue;
    }
    if (header->type == RecordType::Frame) m_frames.push_back(offset);
    offset += sk_recordHeaderSize + Padded(header->payloadBytes);
  }
}

// The next place at which a record may begin, or the end of the file.
std::uint64_t RecordingReader::NextMark(std::uint64_t from) {
  const std::uint64_t size = m_pBytes->Size();
  std::vector<std::uint8_t> block;
  while (from < size) {
    block.resize(static_cast<std::size_t>(std::min<std::uint64_t>(sk_searchBlock, size - from)));
    if (!m_pBytes->Read(from, block)) return size;
    for (std::size_t i = 0; i + sk_recordMark.size() <= block.size(); i += sk_recordAlignment) {
      if (std::equal(sk_recordMark.begin(), sk_recordMark.end(), &block[i])) return from + i;
    }
    from += block.size();
  }
  return size;
}

void RecordingReader::ReadCamera() {
  // The first record, unless that is damaged.
  const std::optional<RecordHeader> header = HeaderAt(sk_fileHeadSize);
  std::vector<std::uint8_t> text;
  if (header && header->type == RecordType::Camera && Payload(sk_fileHeadSize, *header, text))
    m_camera.assign(text.begin(), text.end());
}

std::optional<RecordHeader> RecordingReader::Header(std::size_t index) {
  std::optional<RecordHeader> header = HeaderAt(m_frames.at(index));
  return header && header->type == RecordType::Frame ? header : std::nullopt;
}

std::optional<RecordHeader> RecordingReader::Frame(std::size_t index,
                                                   std::vector<std::uint8_t>& data) {
  std::optional<RecordHeader> header = Header(index);
  return header && Payload(m_frames[index], *header, data) ? header : std::nullopt;
}

}  // namespace OrvexTools
