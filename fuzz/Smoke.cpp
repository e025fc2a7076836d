// SPDX-License-Identifier: Apache-2.0
// A fuzz target without libFuzzer: the corpus once as it is, then mutations of it until the time
// is over. Blind where libFuzzer sees coverage, but it runs wherever the tests do.
//
//   smoke_NAME SECONDS [--words DICTIONARY] CORPUS...   fuzz; a crash leaves the input in
//   crash-NAME smoke_NAME 0 FILE...                                run these inputs alone
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <string_view>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t size);

namespace {

using Bytes = std::vector<uint8_t>;
namespace fs = std::filesystem;

constexpr size_t sk_maxInput = 1 << 16;
constexpr int sk_hangSeconds = 30;  // one input, with a sanitizer on a busy machine

const Bytes* g_pCurrent = nullptr;
std::string g_crashFile;

extern "C" void KeepInput(int signal) {
  const int fd = ::open(g_crashFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  if (fd >= 0 && g_pCurrent) {
    const ssize_t written = ::write(fd, g_pCurrent->data(), g_pCurrent->size());
    static_cast<void>(written);
    ::close(fd);
  }
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

void Run(const Bytes& input) {
  // An exact copy, so that a sanitizer sees the first byte too many.
  const Bytes exact(input);
  g_pCurrent = &exact;
  ::alarm(sk_hangSeconds);
  LLVMFuzzerTestOneInput(exact.data(), exact.size());
  ::alarm(0);
  g_pCurrent = nullptr;
}

Bytes Load(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// The quoted words of a libFuzzer dictionary; escapes stay as they are written.
std::vector<Bytes> LoadWords(const fs::path& path) {
  std::vector<Bytes> words;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    const size_t begin = line.find('"'), end = line.rfind('"');
    if (line.starts_with('#') || begin >= end) continue;
    words.emplace_back(line.begin() + ptrdiff_t(begin) + 1, line.begin() + ptrdiff_t(end));
  }
  return words;
}

class Mutator {
 public:
  Mutator(std::vector<Bytes> seeds, std::vector<Bytes> words, uint64_t seed)
      : m_seeds(std::move(seeds)), m_words(std::move(words)), m_random(seed) {
    if (m_seeds.empty()) m_seeds.emplace_back();
  }

  Bytes Next() {
    Bytes bytes = Pick(m_seeds);
    for (size_t n = 1 + Below(8); n > 0; --n) Change(bytes);
    if (bytes.size() > sk_maxInput) bytes.resize(sk_maxInput);
    return bytes;
  }

 private:
  size_t Below(size_t end) { return std::uniform_int_distribution<size_t>(0, end - 1)(m_random); }
  const Bytes& Pick(const std::vector<Bytes>& from) { return from[Below(from.size())]; }
  void Insert(Bytes& bytes, const Bytes& more) {
    bytes.insert(bytes.begin() + ptrdiff_t(Below(bytes.size() + 1)), more.begin(), more.end());
  }

  void Change(Bytes& bytes) {
    static constexpr uint8_t sk_edges[] = {0x00, 0x01, 0x7F, 0x80, 0xFF};
    const size_t kind = Below(m_words.empty() ? 7 : 8);
    if (kind == 5) {
      const Bytes& other = Pick(m_seeds);
      if (other.empty()) return;
      const size_t at = Below(other.size());
      const size_t length = 1 + Below(std::min<size_t>(other.size() - at, 64));
      return Insert(bytes,
                    Bytes(other.begin() + ptrdiff_t(at), other.begin() + ptrdiff_t(at + length)));
    }
    if (kind == 6) return Insert(bytes, Bytes(1 + Below(8), uint8_t(Below(256))));
    if (kind == 7) return Insert(bytes, Pick(m_words));
    if (bytes.empty()) return;
    const size_t at = Below(bytes.size());
    const size_t length = 1 + Below(std::min<size_t>(bytes.size() - at, 8));
    const auto from = bytes.begin() + ptrdiff_t(at), to = from + ptrdiff_t(length);
    switch (kind) {
      case 0:
        bytes[at] = uint8_t(bytes[at] ^ (1 << Below(8)));
        break;
      case 1:
        std::generate(from, to, [&] { return uint8_t(Below(256)); });
        break;
      case 2:
        std::fill(from, to, sk_edges[Below(std::size(sk_edges))]);
        break;
      case 3:
        bytes.erase(from, to);
        break;
      default:
        bytes.resize(at);  // cut off
        break;
    }
  }

  std::vector<Bytes> m_seeds, m_words;
  std::mt19937_64 m_random;
};

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: %s SECONDS [--words DICTIONARY] CORPUS...\n", argv[0]);
    return 2;
  }
  const std::string name = fs::path(argv[0]).filename();
  g_crashFile = fs::absolute("crash-" + name);
  for (const int signal : {SIGSEGV, SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGALRM, SIGTRAP})
    std::signal(signal, &KeepInput);

  std::vector<Bytes> seeds, words;
  for (int i = 2; i < argc; ++i) {
    if (std::string_view(argv[i]) == "--words" && i + 1 < argc) {
      words = LoadWords(argv[++i]);
    } else if (fs::is_directory(argv[i])) {
      for (const auto& entry : fs::directory_iterator(argv[i])) seeds.push_back(Load(entry.path()));
    } else if (fs::exists(argv[i])) {
      seeds.push_back(Load(argv[i]));
    } else {
      std::fprintf(stderr, "%s: no such file or folder: %s\n", argv[0], argv[i]);
      return 2;
    }
  }
  for (const Bytes& seed : seeds) Run(seed);

  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(std::atoi(argv[1]));
  const uint64_t start = std::random_device{}();
  Mutator mutator(std::move(seeds), std::move(words), start);
  size_t runs = 0;
  for (; std::chrono::steady_clock::now() < end; ++runs) Run(mutator.Next());
  std::printf("%s: %zu mutations, seed %llu\n", name.c_str(), runs,
              static_cast<unsigned long long>(start));
  return 0;
}
