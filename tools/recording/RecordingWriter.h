#pragma once
// SPDX-License-Identifier: Apache-2.0
// Writes a recording at the pace of the camera: frames are copied into a ring of fixed size, from
// which a thread of the writer writes large aligned blocks. A frame that finds no room is dropped
// whole and counted; memory never grows. Frames are added by one thread, counts may be read by any.

#include <condition_variable>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "tools/recording/Layout.h"

namespace OrvexTools {

// Where the bytes go: a file, or something slow or broken in a test. Used by the writer's thread,
// Finish at last by the thread that closes.
class ByteSink {
 public:
  virtual ~ByteSink() = default;
  // Appends all of them; 0, or the system's error number.
  virtual int Write(std::span<const std::uint8_t> bytes) = 0;
  // Everything is on the disk now.
  virtual int Finish() = 0;
};

// A new file. Throws Failure when there is one of that name already, or it cannot be made.
std::unique_ptr<ByteSink> NewRecordingFile(const std::filesystem::path& name);

class RecordingWriter {
 public:
  // `camera`: JSON. The ring takes `ringBytes`, rounded up to whole pages.
  RecordingWriter(std::unique_ptr<ByteSink> pSink, std::string name, const std::string& camera,
                  std::size_t ringBytes);
  ~RecordingWriter();  // leaves the file without index when Close was not called
  RecordingWriter(const RecordingWriter&) = delete;
  RecordingWriter& operator=(const RecordingWriter&) = delete;

  // False when the frame was dropped: the ring is full, or the disk has failed.
  bool Add(FrameFacts facts, std::span<const std::uint8_t> data);

  // Writes what is in the ring, the index and the tail; throws Failure with the disk's reason.
  // The frames that were written before a failure can be read.
  void Close();

  bool HasFailed() const;        // the disk; nothing is recorded any more
  std::uint64_t Frames() const;  // put into the ring
  std::uint64_t Dropped() const;
  std::uint64_t Bytes() const;      // of the file so far, those in the ring included
  std::size_t HighestFill() const;  // of the ring, in bytes

 private:
  struct Unmap {
    std::size_t size = 0;
    void operator()(std::uint8_t* pMemory) const noexcept;
  };

  // Waits for room when `mayWait`; false when there is none.
  bool PutRecord(RecordHeader header, std::span<const std::uint8_t> payload, bool mayWait);
  void Copy(std::uint64_t place, std::span<const std::uint8_t> bytes);
  void Publish(std::uint64_t head);
  void Run();
  [[noreturn]] void Fail(int error) const;

  std::unique_ptr<ByteSink> m_pSink;
  const std::string m_name;
  const std::size_t m_size;
  const std::unique_ptr<std::uint8_t[], Unmap> m_ring;
  std::vector<std::uint64_t> m_places;  // of frames in the file
  std::uint64_t m_records = 0;
  std::uint64_t m_dropped = 0;
  std::uint64_t m_framesIn = 0;
  std::size_t m_highestFill = 0;
  // Both count bytes since the beginning of the file. Guarded by m_mutex; what lies between belongs
  // to the thread, what lies before m_tail plus the ring's size to whoever adds.
  std::uint64_t m_head = 0;
  std::uint64_t m_tail = 0;
  int m_error = 0;
  bool m_closing = false;
  mutable std::mutex m_mutex;
  std::condition_variable m_more;
  std::condition_variable m_room;
  std::thread m_thread;
};

}  // namespace OrvexTools
