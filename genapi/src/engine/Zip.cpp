// SPDX-License-Identifier: Apache-2.0
// The XML member of a zip archive, inflated with a bound on what comes out.
#include <Base/GCException.h>
#include <zip.h>

#include <cctype>
#include <memory>

#include "engine/Document.h"
#include "engine/Limits.h"

namespace OrvexGenApi {
namespace {

struct ArchiveDiscard {
  void operator()(zip_t* p) const { zip_discard(p); }
};
struct FileClose {
  void operator()(zip_file_t* p) const { zip_fclose(p); }
};

bool HasXmlName(const char* name) {
  const std::string_view text = name ? name : "";
  if (text.size() < 4) return false;
  const auto tail = text.substr(text.size() - 4);
  return tail[0] == '.' && std::tolower(tail[1]) == 'x' && std::tolower(tail[2]) == 'm' &&
         std::tolower(tail[3]) == 'l';
}

// Editors of some systems add members of their own beside the file that was packed.
bool IsJunk(std::string_view name) {
  return name.starts_with("__MACOSX/") || name.find("/._") != std::string_view::npos ||
         name.starts_with("._");
}

std::string Inflate(zip_t* archive, zip_uint64_t index, const char* name) {
  std::unique_ptr<zip_file_t, FileClose> file(zip_fopen_index(archive, index, 0));
  if (!file) {
    throw RUNTIME_EXCEPTION("Zipped camera description: cannot open member '%s': %s", name,
                            zip_strerror(archive));
  }
  std::string text;
  char block[65536];
  for (;;) {
    const zip_int64_t got = zip_fread(file.get(), block, sizeof block);
    if (got < 0) {
      throw RUNTIME_EXCEPTION("Zipped camera description: member '%s' is damaged: %s", name,
                              zip_file_strerror(file.get()));
    }
    if (got == 0) return text;
    text.append(block, static_cast<size_t>(got));
    if (text.size() > sk_maxXmlBytes) {
      throw RUNTIME_EXCEPTION("Zipped camera description: member '%s' has more than %zu bytes",
                              name, sk_maxXmlBytes);
    }
  }
}

}  // namespace

std::string Unzip(const void* pData, size_t size) {
  zip_error_t error;
  zip_error_init(&error);
  zip_source_t* source = zip_source_buffer_create(pData, size, 0, &error);
  zip_t* opened = source ? zip_open_from_source(source, ZIP_RDONLY, &error) : nullptr;
  if (opened == nullptr) {
    if (source) zip_source_free(source);
    const std::string why = zip_error_strerror(&error);
    zip_error_fini(&error);
    throw RUNTIME_EXCEPTION("Zipped camera description: no zip archive: %s", why.c_str());
  }
  std::unique_ptr<zip_t, ArchiveDiscard> archive(opened);
  const zip_int64_t members = zip_get_num_entries(archive.get(), 0);
  if (members < 0 || static_cast<size_t>(members) > sk_maxZipMembers) {
    throw RUNTIME_EXCEPTION("Zipped camera description: %lld members are too many",
                            static_cast<long long>(members));
  }
  // A member called .xml comes first; failing that, the only file there is.
  zip_int64_t chosen = -1;
  zip_int64_t files = 0;
  zip_int64_t lastFile = -1;
  for (zip_int64_t i = 0; i < members && chosen < 0; ++i) {
    const char* name = zip_get_name(archive.get(), static_cast<zip_uint64_t>(i), 0);
    if (name == nullptr || IsJunk(name)) continue;
    const std::string_view text = name;
    if (text.empty() || text.back() == '/') continue;
    ++files;
    lastFile = i;
    if (HasXmlName(name)) chosen = i;
  }
  if (chosen < 0 && files == 1) chosen = lastFile;
  if (chosen < 0) throw RUNTIME_EXCEPTION("Zipped camera description: there is no XML member");
  const auto index = static_cast<zip_uint64_t>(chosen);
  return Inflate(archive.get(), index, zip_get_name(archive.get(), index, 0));
}

}  // namespace OrvexGenApi
