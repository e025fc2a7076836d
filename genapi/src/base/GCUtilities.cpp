// SPDX-License-Identifier: Apache-2.0
// Environment, URL coding, tokens, file lists and the folders of GenICam.

#include <Base/GCUtilities.h>

#include <dlfcn.h>
#include <glob.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <system_error>

#include <GenICamVersion.h>

namespace GENICAM_NAMESPACE {

namespace {

// A folder that the application may set and the environment otherwise names.
class Folder {
 public:
  explicit Folder(const char* pVariable) : m_pVariable(pVariable) {}
  void Set(const gcstring& path) {
    const std::lock_guard guard(m_mutex);
    m_path = path;
  }
  gcstring Get() const {
    const std::lock_guard guard(m_mutex);
    return m_path.empty() ? GetValueOfEnvironmentVariable(m_pVariable) : m_path;
  }

 private:
  const char* m_pVariable;
  mutable std::mutex m_mutex;  // guards m_path
  gcstring m_path;
};

Folder& CacheFolder() {
  static Folder folder(GENICAM_CACHE_VERSION);
  return folder;
}

Folder& LogConfig() {
  static Folder folder(GENICAM_LOG_CONFIG_VERSION);
  return folder;
}

Folder& CLProtocolFolder() {
  static Folder folder(GENICAM_CLPROTOCOL);
  return folder;
}

bool IsUnreserved(unsigned char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
         (c != 0 && std::strchr("-_.~", c));
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

gcstring Gc(const std::string& text) {
  return gcstring(text.data(), text.size());
}

}  // namespace

void GetLastErrorMessage(gcstring& ErrText) {
  ErrText = Gc(std::generic_category().message(errno));
}

bool DoesEnvironmentVariableExist(const gcstring& VariableName) {
  return std::getenv(VariableName.c_str()) != nullptr;
}

gcstring GetValueOfEnvironmentVariable(const gcstring& VariableName) {
  gcstring content;
  if (!GetValueOfEnvironmentVariable(VariableName, content)) {
    throw RUNTIME_EXCEPTION("The environment variable '%s' is not set", VariableName.c_str());
  }
  return content;
}

bool GetValueOfEnvironmentVariable(const gcstring& VariableName, gcstring& VariableContent) {
  const char* pValue = std::getenv(VariableName.c_str());
  if (!pValue) return false;
  VariableContent = pValue;
  return true;
}

void ReplaceEnvironmentVariables(gcstring& Buffer, bool ReplaceBlankBy20) {
  const std::string text(Buffer.c_str(), Buffer.size());
  std::string result;
  size_t at = 0;
  while (at < text.size()) {
    const size_t begin = text.find("$(", at);
    const size_t end = begin == std::string::npos ? begin : text.find(')', begin);
    if (end == std::string::npos) break;
    result.append(text, at, begin - at);
    std::string value =
        GetValueOfEnvironmentVariable(Gc(text.substr(begin + 2, end - begin - 2))).c_str();
    for (char c : value) {
      if (c == ' ' && ReplaceBlankBy20) {
        result += "%20";
      } else {
        result += c;
      }
    }
    at = end + 1;
  }
  result.append(text, at, std::string::npos);
  Buffer = Gc(result);
}

gcstring UrlEncode(const gcstring& Input) {
  static const char sk_digits[] = "0123456789ABCDEF";
  std::string result;
  for (size_t i = 0; i < Input.size(); ++i) {
    const auto c = static_cast<unsigned char>(Input.c_str()[i]);
    if (IsUnreserved(c)) {
      result += char(c);
    } else {
      result += {'%', sk_digits[c >> 4], sk_digits[c & 15]};
    }
  }
  return Gc(result);
}

gcstring UrlDecode(const gcstring& Input) {
  const std::string text(Input.c_str(), Input.size());
  std::string result;
  for (size_t i = 0; i < text.size(); ++i) {
    const int high = text[i] == '%' && i + 2 < text.size() ? HexDigit(text[i + 1]) : -1;
    const int low = high < 0 ? -1 : HexDigit(text[i + 2]);
    if (low < 0) {
      result += text[i];
    } else {
      result += char(high * 16 + low);
      i += 2;
    }
  }
  return Gc(result);
}

gcstring GetGenICamCacheFolder() {
  return CacheFolder().Get();
}
gcstring GetGenICamLogConfig() {
  return LogConfig().Get();
}
gcstring GetGenICamCLProtocolFolder() {
  return CLProtocolFolder().Get();
}
void SetGenICamCacheFolder(const gcstring& path) {
  CacheFolder().Set(path);
}
void SetGenICamLogConfig(const gcstring& path) {
  LogConfig().Set(path);
}
void SetGenICamCLProtocolFolder(const gcstring& path) {
  CLProtocolFolder().Set(path);
}

void Tokenize(const gcstring& str, gcstring_vector& tokens, const gcstring& delimiters) {
  size_t begin = str.find_first_not_of(delimiters);
  while (begin != gcstring::npos) {
    const size_t end = str.find_first_of(delimiters, begin);
    tokens.push_back(str.substr(begin, end == gcstring::npos ? end : end - begin));
    begin = end == gcstring::npos ? end : str.find_first_not_of(delimiters, end);
  }
}

void GetFiles(const gcstring& FileTemplate, gcstring_vector& FileNames, bool DirectoriesOnly) {
  FileNames.clear();
  gcstring pattern(FileTemplate);
  ReplaceEnvironmentVariables(pattern);
  glob_t found{};
  const std::unique_ptr<glob_t, decltype(&globfree)> release(&found, &globfree);
  if (glob(pattern.c_str(), 0, nullptr, &found) != 0) return;
  for (size_t i = 0; i < found.gl_pathc; ++i) {
    struct stat info {};
    if (stat(found.gl_pathv[i], &info) != 0) continue;
    if (!DirectoriesOnly || S_ISDIR(info.st_mode)) FileNames.push_back(found.gl_pathv[i]);
  }
}

gcstring GetModulePathFromFunction(void* pFunction) {
  Dl_info info{};
  return dladdr(pFunction, &info) != 0 ? gcstring(info.dli_fname) : gcstring();
}

}  // namespace GENICAM_NAMESPACE
