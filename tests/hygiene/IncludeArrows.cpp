// SPDX-License-Identifier: Apache-2.0
// The tree's include arrows, checked over the sources themselves: which folder may use which.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "tests/Places.h"

namespace {

namespace fs = std::filesystem;

struct Folder {
  std::set<std::string> ours;      // folders of this tree that it may include
  std::set<std::string> packages;  // first path component (or whole name) of package headers
};

// One row a folder, as docs/architecture.md draws the arrows. The standard library and the C
// library are free for all.
const std::map<std::string, Folder> sk_arrows = {
    {"include", {{"include", "genapi/include"}, {}}},
    {"genapi", {{"genapi", "genapi/include"}, {"pugixml.hpp", "zip.h"}}},
    {"gentl", {{"gentl"}, {}}},
    {"gigevision", {{"gigevision"}, {}}},
    {"producer", {{"producer", "gentl", "gigevision"}, {"zlib.h"}}},
    {"simulator",
     {{"simulator", "gigevision", "gentl"}, {"png.h", "pugixml.hpp", "tiffio.h", "zlib.h"}}},
    {"primitives", {{"primitives"}, {"hwy", "ipp.h"}}},
    {"TavikLog", {{"TavikLog"}, {"nlohmann"}}},
    {"Orvex",
     {{"Orvex", "include", "genapi/include", "gentl", "primitives", "TavikLog"},
      {"boost", "nlohmann"}}},
    {"tools",
     {{"tools", "include", "genapi/include", "simulator", "TavikLog"},
      {"CLI", "fmt", "nlohmann", "png.h", "tiffio.h"}}},
    {"examples", {{"examples", "include", "genapi/include"}, {}}},
};

// What one part of tools/ alone may know.
const std::map<std::string, std::string> sk_onlyUsers = {
    {"simulator", "tools/sim/"},
    {"TavikLog", "tools/log/"},
};

// The name that a line includes.
std::optional<std::string> IncludedBy(const std::string& line) {
  const size_t hash = line.find_first_not_of(" \t");
  if (hash == std::string::npos || line[hash] != '#') return std::nullopt;
  const size_t word = line.find_first_not_of(" \t", hash + 1);
  if (word == std::string::npos || line.compare(word, 7, "include") != 0) return std::nullopt;
  const size_t open = line.find_first_of("<\"", word + 7);
  const size_t close = open == std::string::npos ? open : line.find_first_of(">\"", open + 1);
  if (close == std::string::npos) return std::nullopt;
  return line.substr(open + 1, close - open - 1);
}

std::vector<fs::path> SourcesOf(const fs::path& folder) {
  std::vector<fs::path> sources;
  if (!fs::exists(folder)) return sources;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    const std::string extension = entry.path().extension();
    if (extension == ".h" || extension == ".cpp" || extension == ".c") sources.push_back(entry);
  }
  return sources;
}

class IncludeArrows : public testing::TestWithParam<std::string> {
 protected:
  const fs::path m_root{places::sk_sourceDir};

  // The folder of this tree in which a name is found, as the build's include paths would find it;
  // empty for packages.
  std::string OwnFolder(const fs::path& includer, const std::string& name) const {
    if (fs::exists(includer.parent_path() / name)) {
      return Classify(fs::relative(includer.parent_path() / name, m_root));
    }
    if (fs::exists(m_root / name)) return Classify(name);
    for (const char* root : {"include", "genapi/include"}) {
      if (fs::exists(m_root / root / name)) return root;
    }
    return fs::exists(m_root / "genapi/src" / name) ? "genapi" : "";
  }

  static std::string Classify(const fs::path& relative) {
    const std::string text = relative.lexically_normal().generic_string();
    if (text.rfind("genapi/include/", 0) == 0) return "genapi/include";
    return text.substr(0, text.find('/'));
  }

  // Headers of the compiler and the C library, which carry no first component of their own.
  static bool IsSystem(const std::string& name) {
    static const std::set<std::string> sk_roots = {"sys",  "netinet", "netpacket",
                                                   "arpa", "net",     "linux"};
    const size_t slash = name.find('/');
    if (slash != std::string::npos) return sk_roots.count(name.substr(0, slash)) != 0;
    return fs::exists("/usr/include/c++/12/" + name) || name.find('.') == std::string::npos ||
           sk_cHeaders.count(name) != 0;
  }

  static inline const std::set<std::string> sk_cHeaders = {
      "dlfcn.h",  "glob.h",    "poll.h",     "pthread.h",   "sched.h",     "signal.h",
      "unistd.h", "fcntl.h",   "netdb.h",    "stdint.h",    "stddef.h",    "ifaddrs.h",
      "errno.h",  "string.h",  "stdlib.h",   "stdio.h",     "time.h",      "math.h",
      "assert.h", "stdbool.h", "inttypes.h", "immintrin.h", "x86intrin.h", "cpuid.h",
      "limits.h", "malloc.h",  "syslog.h",   "termios.h",   "getopt.h"};
};

TEST_P(IncludeArrows, HoldInEverySource) {
  const Folder& allowed = sk_arrows.at(GetParam());
  for (const fs::path& source : SourcesOf(m_root / GetParam())) {
    const std::string relative = fs::relative(source, m_root).generic_string();
    std::ifstream stream(source);
    std::string line;
    for (int number = 1; std::getline(stream, line); ++number) {
      const std::optional<std::string> included = IncludedBy(line);
      if (!included) continue;
      const std::string& name = *included;
      const std::string own = OwnFolder(source, name);
      const std::string where = relative + ":" + std::to_string(number) + " includes " + name;
      if (own.empty()) {
        const std::string package = name.substr(0, name.find('/'));
        EXPECT_TRUE(IsSystem(name) || allowed.packages.count(package) != 0)
            << where << ": no package that " << GetParam() << "/ may use";
        continue;
      }
      EXPECT_TRUE(allowed.ours.count(own) != 0)
          << where << ": " << GetParam() << "/ may not use " << own << "/";
      const auto only = sk_onlyUsers.find(own);
      if (GetParam() == "tools" && only != sk_onlyUsers.end()) {
        EXPECT_EQ(relative.rfind(only->second, 0), 0u) << where;
      }
    }
  }
}

std::vector<std::string> Folders() {
  std::vector<std::string> names;
  for (const auto& [name, folder] : sk_arrows) names.push_back(name);
  return names;
}

INSTANTIATE_TEST_SUITE_P(Folders, IncludeArrows, testing::ValuesIn(Folders()),
                         [](const auto& info) { return info.param; });

// Each file says under which licence it stands, and each header guards itself.
TEST(SourceHeads, CarryLicenceAndGuard) {
  const fs::path root{places::sk_sourceDir};
  for (const char* folder :
       {"include", "genapi", "gentl", "gigevision", "producer", "simulator", "primitives",
        "TavikLog", "Orvex", "tools", "examples", "tests", "bench", "fuzz"}) {
    for (const fs::path& source : SourcesOf(root / folder)) {
      std::ifstream stream(source);
      const std::string text((std::istreambuf_iterator<char>(stream)), {});
      EXPECT_NE(text.substr(0, 200).find("SPDX-License-Identifier: Apache-2.0"), std::string::npos)
          << source;
      if (source.extension() == ".h") {
        // Kernels that the vector library includes once per instruction set guard themselves its
        // way.
        EXPECT_TRUE(text.find("#pragma once") != std::string::npos ||
                    text.find("HWY_TARGET_TOGGLE") != std::string::npos)
            << source;
      }
    }
  }
}

}  // namespace
