// SPDX-License-Identifier: Apache-2.0
#include "engine/ConfRom.h"

#include <optional>

#include "engine/Builder.h"
#include "engine/Limits.h"

namespace OrvexGenApi {
namespace {

constexpr uint32_t sk_leaf = 2;  // kinds of entries: the upper two bits of a key
constexpr uint32_t sk_directory = 3;
constexpr uint32_t sk_textKey = 0x81;  // a leaf that describes the entry before it
constexpr size_t sk_textBegin = 3;     // quadlets of a text leaf before the text

}  // namespace

// The ROM's quadlets; whatever lies outside reads as zero, so that a damaged ROM only lacks
// entries.
class ConfRomNode::Rom {
 public:
  explicit Rom(std::vector<uint8_t> bytes) : m_bytes(std::move(bytes)) {}

  // Directories are visited once each, in the order in which they are met.
  std::optional<Entry> Find(int64_t key) const {
    std::vector<size_t> directories{(At(0) >> 24) + 1};
    std::vector<bool> seen(Size());
    for (size_t i = 0; i < directories.size(); ++i) {
      const size_t begin = directories[i];
      if (begin >= Size() || seen[begin]) continue;
      seen[begin] = true;
      const size_t end = std::min<size_t>(begin + 1 + (At(begin) >> 16), Size());
      for (size_t at = begin + 1; at < end; ++at) {
        const Entry entry{at, At(at) >> 24, At(at) & 0xFFFFFF, end};
        if (entry.key == key) return entry;
        if (entry.key >> 6 == sk_directory) directories.push_back(at + entry.value);
      }
    }
    return std::nullopt;
  }

  // Empty when the entry leads to no text.
  std::string TextAt(Entry entry) const {
    if (entry.key >> 6 != sk_leaf) {
      const size_t next = entry.at + 1;
      if (next >= entry.directoryEnd || At(next) >> 24 != sk_textKey) return {};
      entry = {next, sk_textKey, At(next) & 0xFFFFFF, entry.directoryEnd};
    }
    const size_t leaf = entry.at + entry.value;
    const size_t end = std::min(leaf + 1 + (At(leaf) >> 16), Size());
    std::string text;
    for (size_t i = (leaf + sk_textBegin) * 4; i < end * 4 && m_bytes[i] != 0; ++i) {
      text += static_cast<char>(m_bytes[i]);
    }
    return text;
  }

 private:
  size_t Size() const { return m_bytes.size() / 4; }
  uint32_t At(size_t quadlet) const {
    if (quadlet >= Size()) return 0;
    const uint8_t* p = m_bytes.data() + quadlet * 4;
    return uint32_t{p[0]} << 24 | uint32_t{p[1]} << 16 | uint32_t{p[2]} << 8 | p[3];
  }

  std::vector<uint8_t> m_bytes;
};

ConfRomNode::Rom ConfRomNode::Load(ReadMode mode) {
  NodeMap::ReadDepth depth(m_map, *this);
  CheckReadable();
  const size_t length = m_core.CheckedLength();
  if (length > sk_maxConfRomBytes) {
    GENAPI_RAISE(OutOfRangeException, *this, "%zu bytes are too many for a configuration ROM",
                 length);
  }
  std::vector<uint8_t> bytes(length);
  m_core.Read(bytes.data(), static_cast<int64_t>(length), mode);
  return Rom(std::move(bytes));
}

int64_t ConfRomNode::IntOf(const Node& user, int64_t key, ReadMode mode) {
  const auto entry = Load(mode).Find(key);
  if (!entry) {
    GENAPI_RAISE(RuntimeException, user, "'%s' has no entry with the key 0x%llx", Name(),
                 static_cast<unsigned long long>(key));
  }
  return entry->value;
}

std::string ConfRomNode::TextOf(const Node& user, int64_t key, ReadMode mode) {
  const Rom rom = Load(mode);
  const auto entry = rom.Find(key);
  if (!entry) {
    GENAPI_RAISE(RuntimeException, user, "'%s' has no entry with the key 0x%llx", Name(),
                 static_cast<unsigned long long>(key));
  }
  return rom.TextAt(*entry);
}

bool RomKey::Take(Node& owner, Element id, pugi::xml_node element, Builder& builder) {
  if (id == Element::Key) {
    m_key = builder.Int(owner, element);
    return true;
  }
  if (id != Element::p1212Parser) return false;
  m_pRom = dynamic_cast<ConfRomNode*>(builder.Resolve(owner, element, id));
  if (m_pRom == nullptr) builder.Bad(owner, element, "is no configuration ROM");
  return true;
}

bool TextDescNode::Take(Element id, pugi::xml_node element, Builder& builder) {
  return RomKey::Take(*this, id, element, builder) || StringNodeBase::Take(id, element, builder);
}

bool IntKeyNode::Take(Element id, pugi::xml_node element, Builder& builder) {
  return RomKey::Take(*this, id, element, builder) || IntegerNodeBase::Take(id, element, builder);
}

}  // namespace OrvexGenApi
