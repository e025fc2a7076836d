// SPDX-License-Identifier: Apache-2.0
// Any bytes as the configuration of the log: a logger, perhaps a silent one, and never an
// exception.
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>

#include "Orvex/ALogger.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t size) {
  namespace fs = std::filesystem;
  static const fs::path folder = [] {
    fs::path path = fs::temp_directory_path() / ("orvex-fuzz-log-" + std::to_string(::getpid()));
    fs::create_directories(path);
    std::cout.rdbuf(nullptr);  // the console is one of the sinks
    return path;
  }();
  // During this call alone: the corpus may be named by a relative path.
  const fs::path before = fs::current_path();
  fs::current_path(folder);
  std::ofstream("tavik_log.conf", std::ios::binary)
      .write(reinterpret_cast<const char*>(pData), static_cast<std::streamsize>(size));
  {
    const Orvex::ALogger logger;
    Orvex::ALogger::Info("word");
  }
  // The files of the sinks.
  for (const auto& entry : fs::directory_iterator(folder)) fs::remove(entry.path());
  fs::current_path(before);
  return 0;
}
