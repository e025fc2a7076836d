#pragma once
// SPDX-License-Identifier: Apache-2.0
// FileAccessControl: two files in the camera that hosts can write and read through a buffer
// register. Used under the camera's lock.

#include <array>
#include <string>
#include <vector>

#include "simulator/Feature.h"

namespace OrvexSim {

class FileStore {
 public:
  void AddFeatures(FeatureTable& table);

 private:
  enum class Operation : int64_t { Open, Close, Read, Write, Delete };
  enum class Result : int64_t { Success, Failure, Unavailable, Invalid };
  struct File {
    std::vector<uint8_t> content;
    bool exists = false, readable = false, writable = false;
  };
  File& Selected();
  void Execute();
  Result Open(File& file);
  Result Transfer(File& file, bool write);

  std::array<File, 2> m_files;
  std::vector<uint8_t> m_buffer;
  Feature* m_selector = nullptr;
  Feature* m_operation = nullptr;
  Feature* m_mode = nullptr;
  Feature* m_offset = nullptr;
  Feature* m_length = nullptr;
  Feature* m_status = nullptr;
  Feature* m_result = nullptr;
};

}  // namespace OrvexSim
