// SPDX-License-Identifier: Apache-2.0
#include "tools/WholeFile.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include "tools/Failure.h"

namespace OrvexTools {
namespace {

const char* AdviceFor(int error) {
  switch (error) {
    case ENOSPC:
    case EDQUOT:
      return "; free some space or choose another folder";
    case EFBIG:
      return "; the file would exceed the limit on file sizes (see `ulimit -f`)";
    case EACCES:
    case EPERM:
    case EROFS:
      return "; choose a folder that you may write to";
    case ENOENT:
    case ENOTDIR:
      return "; make the folder first";
    default:
      return "";
  }
}

}  // namespace

WholeFile::WholeFile(std::filesystem::path name) : m_name(std::move(name)) {
  std::error_code ignored;
  const auto status = std::filesystem::status(m_name, ignored);
  if (std::filesystem::is_directory(status))
    throw Failure(fmt::format("cannot write {}: it is a folder", m_name.string()));
  const bool inPlace = std::filesystem::exists(status) && !std::filesystem::is_regular_file(status);
  if (inPlace) {
    m_fd = ::open(m_name.c_str(), O_RDWR | O_CLOEXEC);
    if (m_fd < 0) m_fd = ::open(m_name.c_str(), O_WRONLY | O_CLOEXEC);
  } else {
    // The process number keeps two writers of one name apart.
    m_temporary = m_name;
    m_temporary += fmt::format(".{}.part", ::getpid());
    m_fd = ::open(m_temporary.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  }
  if (m_fd < 0) {
    m_temporary.clear();
    Fail(errno);
  }
}

WholeFile::~WholeFile() {
  if (m_fd >= 0) ::close(m_fd);
  if (!m_temporary.empty()) ::unlink(m_temporary.c_str());
}

bool WholeFile::Write(const void* pBytes, std::size_t count) noexcept {
  const char* pNext = static_cast<const char*>(pBytes);
  while (m_error == 0 && count > 0) {
    const ssize_t written = ::write(m_fd, pNext, count);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) {
      m_error = written < 0 ? errno : EIO;
      break;
    }
    pNext += written;
    count -= static_cast<std::size_t>(written);
  }
  return m_error == 0;
}

off_t WholeFile::Seek(off_t offset, int whence) noexcept {
  return ::lseek(m_fd, offset, whence);
}

ssize_t WholeFile::Read(void* pBytes, std::size_t count) noexcept {
  return ::read(m_fd, pBytes, count);
}

void WholeFile::Commit() {
  if (m_error != 0) Fail(m_error);
  // Network file systems report a full disk only here.
  if (::close(std::exchange(m_fd, -1)) != 0) Fail(errno);
  if (m_temporary.empty()) return;
  if (::rename(m_temporary.c_str(), m_name.c_str()) != 0) Fail(errno);
  m_temporary.clear();
}

void WholeFile::Fail(int error) const {
  throw Failure(fmt::format("cannot write {}: {}{}", m_name.string(),
                            std::generic_category().message(error), AdviceFor(error)));
}

}  // namespace OrvexTools
