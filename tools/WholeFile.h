#pragma once
// SPDX-License-Identifier: Apache-2.0
// A file that appears whole or not at all. Opened under a temporary name beside the wanted one;
// Commit gives it its name; without Commit the destructor removes it. Owned by the writer of one
// file, used by one thread.

#include <sys/types.h>

#include <cstddef>
#include <filesystem>

namespace OrvexTools {

class WholeFile {
 public:
  // Throws Failure when the folder is missing or not writable.
  explicit WholeFile(std::filesystem::path name);
  ~WholeFile();
  WholeFile(const WholeFile&) = delete;
  WholeFile& operator=(const WholeFile&) = delete;

  // Writes at the current place. Never throws, so that C libraries may call it: the first failure
  // is remembered, later writes do nothing, and Commit reports it. Returns false after a failure.
  bool Write(const void* pBytes, std::size_t count) noexcept;

  // Current place, as lseek and read tell; -1 on failure.
  off_t Seek(off_t offset, int whence) noexcept;
  ssize_t Read(void* pBytes, std::size_t count) noexcept;

  // Closes and names the file; throws Failure with the reason of the first failed write, or of
  // closing or naming.
  void Commit();

 private:
  [[noreturn]] void Fail(int error) const;

  std::filesystem::path m_name;
  std::filesystem::path m_temporary;  // empty when written in place
  int m_fd = -1;
  int m_error = 0;
};

}  // namespace OrvexTools
