#pragma once
// SPDX-License-Identifier: Apache-2.0
// Reads a recording. The file is not trusted: lengths are checked against it before memory is
// taken, and every byte that is handed out has had its checksum compared. A file that was cut off,
// or that is damaged in the middle, gives all frames that are whole. Used by one thread.

#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "tools/recording/Layout.h"

namespace OrvexTools {

// The bytes of a file, or of memory in a test.
class ByteSource {
 public:
  virtual ~ByteSource() = default;
  virtual std::uint64_t Size() const = 0;
  // False when they cannot all be had.
  virtual bool Read(std::uint64_t offset, std::span<std::uint8_t> target) = 0;
};

class RecordingReader {
 public:
  // Throws Failure when the file cannot be read or is no recording.
  explicit RecordingReader(const std::filesystem::path& name);
  RecordingReader(std::unique_ptr<ByteSource> pBytes, const std::string& name);

  // JSON about the camera, as it was recorded; empty when that record is lost.
  const std::string& Camera() const { return m_camera; }
  std::size_t Count() const { return m_frames.size(); }

  // True when the recording was closed and its index is intact; otherwise the frames were looked
  // for.
  bool IsWhole() const { return m_whole; }

  // Bytes that belong to nothing readable, when the frames had to be looked for.
  std::uint64_t LostBytes() const { return m_lostBytes; }

  // Nothing for a frame whose header is damaged. `index` is below Count().
  std::optional<RecordHeader> Header(std::size_t index);

  // The same with the frame's bytes; nothing when they are damaged. Takes no more memory than the
  // file is long.
  std::optional<RecordHeader> Frame(std::size_t index, std::vector<std::uint8_t>& data);

 private:
  bool ReadIndex();
  void Search();
  void ReadCamera();
  std::uint64_t NextMark(std::uint64_t from);
  std::optional<RecordHeader> HeaderAt(std::uint64_t offset);
  bool Payload(std::uint64_t offset, const RecordHeader& header, std::vector<std::uint8_t>& data);

  std::unique_ptr<ByteSource> m_pBytes;
  std::vector<std::uint64_t> m_frames;  // places of their headers
  std::string m_camera;
  bool m_whole = false;
  std::uint64_t m_lostBytes = 0;
};

}  // namespace OrvexTools
