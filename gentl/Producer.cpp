// SPDX-License-Identifier: Apache-2.0
#include "gentl/Producer.h"

#include <dlfcn.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

namespace GenTL {
namespace {

namespace fs = std::filesystem;

constexpr const char* sk_ownProducer = "orvex-gev.cti";
constexpr const char* sk_ownVariable = "ORVEX_PRODUCER";
constexpr const char* sk_pathVariable = "GENICAM_GENTL64_PATH";

struct LoadedProducer {
  ProducerApi api;
  std::string path;
};

std::mutex g_loadMutex;
std::atomic<const LoadedProducer*> g_pLoaded{nullptr};

template <typename Function>
struct Stub;
template <typename... Args>
struct Stub<GC_ERROR (*)(Args...)> {
  static GC_ERROR Answer(Args...) { return GC_ERR_NOT_IMPLEMENTED; }
};

std::string Variable(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string() : std::string(value);
}

// The folder of the shared object or program whose code this is.
fs::path OwnFolder() {
  Dl_info info{};
  if (dladdr(reinterpret_cast<const void*>(&OwnFolder), &info) == 0 || info.dli_fname == nullptr)
    return {};
  std::error_code error;
  const fs::path own = fs::canonical(info.dli_fname, error);
  return error ? fs::path() : own.parent_path();
}

bool IsProducerFile(const fs::path& path) {
  std::error_code error;
  return path.extension() == ".cti" && fs::is_regular_file(path, error);
}

// First producer of a search path; files of one folder are taken in the order of their names.
fs::path FirstOnPath(const std::string& list) {
  for (size_t begin = 0; begin <= list.size();) {
    const size_t end = std::min(list.find(':', begin), list.size());
    const fs::path entry = list.substr(begin, end - begin);
    begin = end + 1;
    if (IsProducerFile(entry)) return entry;
    std::error_code error;
    std::vector<fs::path> files;
    for (fs::directory_iterator it(entry, error), last; !error && it != last; it.increment(error)) {
      if (IsProducerFile(it->path())) files.push_back(it->path());
    }
    if (!files.empty()) return *std::min_element(files.begin(), files.end());
  }
  return {};
}

fs::path FindProducer() {
  if (std::string given = Variable(sk_ownVariable); !given.empty()) return given;
  if (fs::path beside = OwnFolder() / sk_ownProducer; IsProducerFile(beside)) return beside;
  if (fs::path found = FirstOnPath(Variable(sk_pathVariable)); !found.empty()) return found;
  throw std::runtime_error(std::string("No GenTL producer found: set ") + sk_ownVariable +
                           " to a .cti file, install " + sk_ownProducer +
                           " beside the library, or name its folder in " + sk_pathVariable);
}

template <typename Function>
void Bind(void* library, const char* name, Function& target) {
  target = reinterpret_cast<Function>(dlsym(library, name));
}

template <typename Function>
void BindOrStub(void* library, const char* name, Function& target) {
  Bind(library, name, target);
  if (target == nullptr) target = &Stub<Function>::Answer;
}

const LoadedProducer* Load(const fs::path& path) {
  // A name without a slash would be searched in the system's library folders.
  const std::string file = fs::absolute(path).string();
  void* library = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    const char* reason = dlerror();
    throw std::runtime_error("Unable to load GenTL producer " + file + ": " +
                             (reason == nullptr ? "unknown reason" : reason));
  }
  auto* loaded = new LoadedProducer{{}, file};  // lives as long as the process
  std::string missing;
#define ORVEX_BIND(name)                  \
  Bind(library, #name, loaded->api.name); \
  if (loaded->api.name == nullptr) missing += missing.empty() ? #name : ", " #name;
  ORVEX_GENTL_REQUIRED_FUNCTIONS(ORVEX_BIND)
#undef ORVEX_BIND
#define ORVEX_BIND(name) BindOrStub(library, #name, loaded->api.name);
  ORVEX_GENTL_NEWER_FUNCTIONS(ORVEX_BIND)
  ORVEX_GENTL_EXTENSION_FUNCTIONS(ORVEX_BIND)
#undef ORVEX_BIND
  if (!missing.empty()) {
    delete loaded;
    dlclose(library);
    throw std::runtime_error("GenTL producer " + file + " lacks the functions " + missing);
  }
  return loaded;
}

}  // namespace

const ProducerApi& LoadProducer() {
  const std::lock_guard lock(g_loadMutex);
  if (g_pLoaded.load() == nullptr) g_pLoaded.store(Load(FindProducer()));
  return g_pLoaded.load()->api;
}

const ProducerApi& Producer() {
  const LoadedProducer* loaded = g_pLoaded.load();
  if (loaded == nullptr) throw std::logic_error("No GenTL producer is loaded");
  return loaded->api;
}

const char* ProducerPath() {
  const LoadedProducer* loaded = g_pLoaded.load();
  return loaded == nullptr ? "" : loaded->path.c_str();
}

}  // namespace GenTL
