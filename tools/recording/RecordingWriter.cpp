// SPDX-License-Identifier: Apache-2.0
#include "tools/recording/RecordingWriter.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <new>
#include <system_error>
#include <utility>

#include "tools/Failure.h"
#include "tools/recording/Crc32c.h"
#include "tools/recording/Limits.h"

namespace OrvexTools {
namespace {

constexpr std::chrono::milliseconds sk_longestWait{200};  // for a large block to write
// A checksum and a copy of so many bytes at once read memory only once.
constexpr std::size_t sk_cachedBytes = std::size_t{1} << 18;

// Past the page cache where the file system takes that: with it, a tenth of the time of a processor
// and several times the rate, measured on a disk that is faster than the copying.
class FileSink final : public ByteSink {
 public:
  explicit FileSink(const std::filesystem::path& name)
      : m_fd(::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666)) {
    if (m_fd >= 0) {
      SetDirect(true);
      return;
    }
    if (errno == EEXIST && !std::filesystem::is_regular_file(name))
      m_fd = ::open(name.c_str(), O_WRONLY | O_CLOEXEC);
    if (m_fd >= 0) return;
    const int error = errno;
    throw Failure(fmt::format("cannot write {}: {}; {}", name.string(),
                              std::generic_category().message(error),
                              error == EEXIST   ? "choose another name, or remove it first"
                              : error == ENOENT ? "make the folder first"
                                                : "choose a folder that you may write to"));
  }
  ~FileSink() override {
    if (m_fd >= 0) ::close(m_fd);
  }
  FileSink(const FileSink&) = delete;
  FileSink& operator=(const FileSink&) = delete;

  int Write(std::span<const std::uint8_t> bytes) override {
    const off_t begin = m_written;
    if (bytes.size() % sk_ringAlignment != 0) SetDirect(false);
    while (!bytes.empty()) {
      const ssize_t count = ::write(m_fd, bytes.data(), bytes.size());
      if (count < 0 && errno == EINTR) continue;
      if (count < 0 && errno == EINVAL && m_direct) {
        SetDirect(false);
        continue;
      }
      if (count <= 0) return count < 0 ? errno : EIO;
      bytes = bytes.subspan(static_cast<std::size_t>(count));
      m_written += count;
      if (count % static_cast<ssize_t>(sk_ringAlignment) != 0) SetDirect(false);
    }
    if (m_direct) return 0;
    // To the disk at once: else the kernel collects seconds of frames and then stops everybody.
    ::sync_file_range(m_fd, begin, m_written - begin, SYNC_FILE_RANGE_WRITE);
    if (begin > 0) ::posix_fadvise(m_fd, 0, begin, POSIX_FADV_DONTNEED);
    return 0;
  }

  int Finish() override {
    // What is no file, such as a pipe, has nothing to be synchronised.
    if (::fdatasync(m_fd) != 0 && errno != EINVAL && errno != EROFS) return errno;
    return ::close(std::exchange(m_fd, -1)) == 0 ? 0 : errno;
  }

 private:
  void SetDirect(bool direct) {
    if (direct == m_direct) return;
    const int flags = ::fcntl(m_fd, F_GETFL);
    m_direct = ::fcntl(m_fd, F_SETFL, direct ? flags | O_DIRECT : flags & ~O_DIRECT) == 0 && direct;
  }

  int m_fd;
  bool m_direct = false;
  off_t m_written = 0;
};

std::uint8_t* MapRing(std::size_t size) {
  void* pMemory = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (pMemory == MAP_FAILED) throw std::bad_alloc();
  return static_cast<std::uint8_t*>(pMemory);
}

std::uint64_t NowNs() {
  return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(
                                        std::chrono::system_clock::now().time_since_epoch())
                                        .count());
}

std::size_t WholePages(std::size_t bytes) {
  const std::size_t least = std::max(bytes, 2 * sk_leastWrite);
  return (least + sk_ringAlignment - 1) / sk_ringAlignment * sk_ringAlignment;
}

std::span<const std::uint8_t> BytesOf(const std::string& text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

}  // namespace

std::unique_ptr<ByteSink> NewRecordingFile(const std::filesystem::path& name) {
  return std::make_unique<FileSink>(name);
}

void RecordingWriter::Unmap::operator()(std::uint8_t* pMemory) const noexcept {
  ::munmap(pMemory, size);
}

RecordingWriter::RecordingWriter(std::unique_ptr<ByteSink> pSink, std::string name,
                                 const std::string& camera, std::size_t ringBytes)
    : m_pSink(std::move(pSink)),
      m_name(std::move(name)),
      m_size(WholePages(ringBytes)),
      m_ring(MapRing(m_size), Unmap{m_size}) {
  Copy(0, EncodeHead(NowNs()));
  m_head = sk_fileHeadSize;
  m_thread = std::thread([this] { Run(); });
  ::pthread_setname_np(m_thread.native_handle(), "orvex-record");
  RecordHeader header;
  header.type = RecordType::Camera;
  PutRecord(header, BytesOf(camera), true);
}

RecordingWriter::~RecordingWriter() {
  {
    const std::lock_guard lock(m_mutex);
    m_closing = true;
  }
  m_more.notify_one();
  if (m_thread.joinable()) m_thread.join();
}

bool RecordingWriter::Add(FrameFacts facts, std::span<const std::uint8_t> data) {
  facts.droppedBefore = m_dropped;
  facts.hostTimeNs = NowNs();
  RecordHeader header;
  header.frame = facts;
  std::uint64_t place = 0;
  {
    const std::lock_guard lock(m_mutex);
    place = m_head;
  }
  const bool taken =
      m_places.size() < sk_maxRecordedFrames && PutRecord(header, data, /*mayWait=*/false);
  if (taken) m_places.push_back(place);
  const std::lock_guard lock(m_mutex);
  ++(taken ? m_framesIn : m_dropped);
  return taken;
}

bool RecordingWriter::PutRecord(RecordHeader header, std::span<const std::uint8_t> payload,
                                bool mayWait) {
  const std::uint64_t bytes = sk_recordHeaderSize + Padded(payload.size());
  std::uint64_t place = 0;
  {
    std::unique_lock lock(m_mutex);
    const auto isRoom = [&] { return m_error != 0 || m_head + bytes <= m_tail + m_size; };
    if (mayWait && bytes <= m_size) m_room.wait(lock, isRoom);
    if (m_error != 0 || !isRoom()) return false;
    place = m_head;
    m_highestFill = std::max<std::size_t>(m_highestFill, m_head + bytes - m_tail);
  }
  header.payloadBytes = payload.size();
  header.sequence = m_records;
  const std::uint64_t begin = place + sk_recordHeaderSize;
  for (std::size_t done = 0; done < payload.size(); done += sk_cachedBytes) {
    const auto part = payload.subspan(done, std::min(sk_cachedBytes, payload.size() - done));
    header.payloadCrc = Crc32c(part, header.payloadCrc);
    Copy(begin + done, part);
  }
  constexpr std::array<std::uint8_t, sk_recordAlignment> sk_padding{};
  Copy(begin + payload.size(),
       std::span(sk_padding).first(Padded(payload.size()) - payload.size()));
  Copy(place, EncodeHeader(header));
  ++m_records;
  Publish(place + bytes);
  return true;
}

void RecordingWriter::Copy(std::uint64_t place, std::span<const std::uint8_t> bytes) {
  const std::size_t at = place % m_size;
  const std::size_t first = std::min(bytes.size(), m_size - at);
  std::copy_n(bytes.begin(), first, m_ring.get() + at);
  std::copy(bytes.begin() + static_cast<std::ptrdiff_t>(first), bytes.end(), m_ring.get());
}

void RecordingWriter::Publish(std::uint64_t head) {
  {
    const std::lock_guard lock(m_mutex);
    m_head = head;
    // Smaller pieces are left to the thread's own clock, so that it is not woken for each.
    if (m_head - m_tail < sk_leastWrite) return;
  }
  m_more.notify_one();
}

void RecordingWriter::Run() {
  std::unique_lock lock(m_mutex);
  while (true) {
    m_more.wait_for(lock, sk_longestWait,
                    [this] { return m_closing || m_head - m_tail >= sk_leastWrite; });
    std::uint64_t ready = m_head - m_tail;
    if (ready == 0 && m_closing) return;
    const std::size_t at = m_tail % m_size;
    ready = std::min<std::uint64_t>({ready, m_size - at, sk_largestWrite});
    // Whole pages, until the very end.
    const bool last = m_closing && m_tail + ready == m_head;
    if (!last) ready -= ready % sk_ringAlignment;
    if (ready == 0) continue;
    lock.unlock();
    const int error = m_pSink->Write({m_ring.get() + at, static_cast<std::size_t>(ready)});
    lock.lock();
    m_tail += ready;
    if (error != 0) m_error = error;
    m_room.notify_one();
    if (m_error != 0) return;
  }
}

void RecordingWriter::Close() {
  // The index is larger than the ring after months only; it is handed over in pieces all the same,
  // so that the ring may be small.
  std::vector<std::uint8_t> index(m_places.size() * sizeof(std::uint64_t));
  for (std::size_t i = 0; i < m_places.size(); ++i) PutU64(&index[i * 8], m_places[i]);
  RecordHeader header;
  header.type = RecordType::Index;
  header.payloadBytes = index.size();
  header.sequence = m_records;
  header.frame.droppedBefore = m_dropped;
  header.payloadCrc = Crc32c(index);
  std::vector<std::uint8_t> end;
  const auto append = [&end](std::span<const std::uint8_t> bytes) {
    end.insert(end.end(), bytes.begin(), bytes.end());
  };
  append(EncodeHeader(header));
  append(index);
  append(EncodeTail({Bytes(), m_places.size()}));
  for (std::size_t done = 0; done < end.size();) {
    std::unique_lock lock(m_mutex);
    m_room.wait(lock, [this] { return m_error != 0 || m_head - m_tail < m_size; });
    if (m_error != 0) break;
    const std::size_t room = m_size - static_cast<std::size_t>(m_head - m_tail);
    const std::size_t count = std::min(room, end.size() - done);
    Copy(m_head, std::span(end).subspan(done, count));
    m_head += count;
    done += count;
    lock.unlock();
    m_more.notify_one();
  }
  {
    const std::lock_guard lock(m_mutex);
    m_closing = true;
  }
  m_more.notify_one();
  m_thread.join();
  if (m_error == 0) m_error = m_pSink->Finish();
  if (m_error != 0) Fail(m_error);
}

void RecordingWriter::Fail(int error) const {
  throw Failure(fmt::format(
      "cannot write {}: {}; {}", m_name, std::generic_category().message(error),
      error == ENOSPC || error == EDQUOT ? "free some space; the frames before can be replayed"
                                         : "the frames before can be replayed"));
}

bool RecordingWriter::HasFailed() const {
  const std::lock_guard lock(m_mutex);
  return m_error != 0;
}
std::uint64_t RecordingWriter::Frames() const {
  const std::lock_guard lock(m_mutex);
  return m_framesIn;
}
std::uint64_t RecordingWriter::Dropped() const {
  const std::lock_guard lock(m_mutex);
  return m_dropped;
}
std::uint64_t RecordingWriter::Bytes() const {
  const std::lock_guard lock(m_mutex);
  return m_head;
}
std::size_t RecordingWriter::HighestFill() const {
  const std::lock_guard lock(m_mutex);
  return m_highestFill;
}

}  // namespace OrvexTools
