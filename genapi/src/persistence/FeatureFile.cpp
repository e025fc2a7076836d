// SPDX-License-Identifier: Apache-2.0
// Reading and writing stored settings as text. Files are foreign: lines, entries and bags are
// bounded.

#include "persistence/FeatureFile.h"

#include <algorithm>
#include <optional>
#include <string_view>

#include <Base/GCException.h>
#include <GenApi/GenApiVersion.h>

#include "adapters/Limits.h"

namespace OrvexGenApi {

namespace {

constexpr std::string_view sk_magic = GENAPI_PERSISTENCE_MAGIC;
constexpr std::string_view sk_baggerMagic = GENAPI_PERSISTENCE_MAGIC_FEATUREBAGGER;
constexpr std::string_view sk_version =
    GENAPI_VERSION_MAJOR_STR "." GENAPI_VERSION_MINOR_STR "." GENAPI_VERSION_SUBMINOR_STR;
constexpr std::string_view sk_blanks = " \t";

std::string_view Trim(std::string_view text) {
  const size_t begin = text.find_first_not_of(sk_blanks);
  if (begin == text.npos) return {};
  return text.substr(begin, text.find_last_not_of(sk_blanks) + 1 - begin);
}

bool Contains(std::string_view text, std::string_view part) {
  return text.find(part) != text.npos;
}

// Lines of bounded length, counted, without their line ends.
class LineReader {
 public:
  explicit LineReader(std::istream& is) : m_is(is) {
    if (is.eof()) throw RUNTIME_EXCEPTION("The stream is eof");
    if (!is.good() || !is.rdbuf()) throw RUNTIME_EXCEPTION("The stream cannot be read");
  }

  bool Next(std::string& line) {
    line.clear();
    bool isAny = false;
    for (int c; (c = m_is.rdbuf()->sbumpc()) != std::char_traits<char>::eof();) {
      if (!isAny) ++m_number;
      isAny = true;
      if (++m_bytes > sk_maxFileBytes) Fail("the stream is too long");
      if (c == '\n') break;
      if (line.size() == sk_maxLineBytes) Fail("the line is too long");
      line.push_back(char(c));
    }
    if (!isAny) {
      m_is.setstate(std::ios_base::eofbit);
      return false;
    }
    while (!line.empty() && line.back() == '\r') line.pop_back();
    return true;
  }

  [[noreturn]] void Fail(const char* pWhy) const {
    throw RUNTIME_EXCEPTION("Line %zu of the feature stream: %s", m_number, pWhy);
  }

 private:
  std::istream& m_is;
  size_t m_number = 0;
  size_t m_bytes = 0;
};

// "{Name=Value<TAB>Name=Value}<TAB>" at the begin of the text: cuts it off and answers the pairs.
// Nothing when the text is a value that merely starts with a brace.
std::optional<std::vector<std::pair<std::string, std::string>>> TakeSelectors(
    std::string_view& text) {
  if (!text.starts_with('{')) return std::nullopt;
  const size_t close = text.find("}\t");
  if (close == text.npos) return std::nullopt;
  std::vector<std::pair<std::string, std::string>> selectors;
  std::string_view inside = text.substr(1, close - 1);
  while (true) {
    const size_t tab = inside.find('\t');
    const std::string_view part = inside.substr(0, tab);
    const size_t equals = part.rfind('=');
    if (equals == part.npos || selectors.size() == sk_maxSelectors) return std::nullopt;
    const std::string_view name = Trim(part.substr(0, equals));
    if (name.empty()) return std::nullopt;
    selectors.emplace_back(name, part.substr(equals + 1));
    if (tab == inside.npos) break;
    inside.remove_prefix(tab + 1);
  }
  text.remove_prefix(close + 2);
  return selectors;
}

FeatureEntry ParseEntry(const std::string& line, const LineReader& reader) {
  std::string_view text = line;
  text.remove_prefix(std::min(text.find_first_not_of(sk_blanks), text.size()));
  const size_t gap = text.find_first_of(sk_blanks);
  if (gap == text.npos) reader.Fail("a feature name without a value");
  if (text.front() == '[') reader.Fail("the name of a bag where a feature is expected");
  FeatureEntry entry;
  entry.Name = text.substr(0, gap);
  text.remove_prefix(gap + 1);
  if (auto selectors = TakeSelectors(text)) entry.Selectors = std::move(*selectors);
  entry.Value = text;
  return entry;
}

bool IsSkipped(std::string_view line) {
  line = Trim(line);
  return line.empty() || line.front() == '#';
}

void AddEntry(FeatureBagContent& bag, const std::string& line, const LineReader& reader) {
  if (bag.Entries.size() == sk_maxEntries) reader.Fail("too many entries");
  bag.Entries.push_back(ParseEntry(line, reader));
}

void WriteHeader(std::ostream& os, std::string_view magic, std::string_view kind,
                 const std::string& info) {
  os << "# " << magic << "\n# " << kind << " persistence file (version " << sk_version << ")\n";
  if (info.empty()) return;
  os << "# ";
  for (const char c : info) {
    os << c;
    if (c == '\n') os << "# ";
  }
  os << "\n";
}

}  // namespace

bool IsStorable(const std::string& value) {
  return !value.empty() && value.find_first_of("\t\r\n") == value.npos;
}

void WriteBag(std::ostream& os, const FeatureBagContent& bag) {
  WriteHeader(os, sk_magic, "GenApi", bag.Info);
  for (const FeatureEntry& entry : bag.Entries) {
    os << entry.Name << '\t';
    for (size_t i = 0; i < entry.Selectors.size(); ++i) {
      os << (i == 0 ? '{' : '\t') << entry.Selectors[i].first << '=' << entry.Selectors[i].second;
    }
    if (!entry.Selectors.empty()) os << "}\t";
    os << entry.Value << '\n';
  }
}

void WriteBags(std::ostream& os, const std::string& info,
               const std::vector<const FeatureBagContent*>& bags) {
  WriteHeader(os, sk_baggerMagic, "GenApi CFeatureBagger", info);
  for (const FeatureBagContent* pBag : bags) {
    os << '[' << pBag->BagName << "]\n";
    WriteBag(os, *pBag);
  }
}

FeatureBagContent ReadBag(std::istream& is) {
  LineReader reader(is);
  std::string line;
  if (!reader.Next(line)) throw RUNTIME_EXCEPTION("The stream is eof");
  if (Contains(line, sk_baggerMagic)) {
    throw RUNTIME_EXCEPTION(
        "The stream holds several feature bags; it must be read with CFeatureBagger");
  }
  if (!Contains(line, sk_magic)) {
    // Kept on purpose: callers match this text.
    throw RUNTIME_EXCEPTION(
        "The stream is not a GenApi feature stream since it is missing the magic GUID in the first "
        "line");
  }
  FeatureBagContent bag;
  while (reader.Next(line)) {
    if (!IsSkipped(line)) AddEntry(bag, line, reader);
  }
  return bag;
}

std::vector<FeatureBagContent> ReadBags(std::istream& is) {
  LineReader reader(is);
  std::string line;
  if (!reader.Next(line)) throw RUNTIME_EXCEPTION("The stream is eof");
  std::vector<FeatureBagContent> bags;
  bool isMagicNext = false;
  if (Contains(line, sk_magic)) {
    bags.emplace_back().BagName = "All";
  } else if (!Contains(line, sk_baggerMagic)) {
    throw RUNTIME_EXCEPTION(
        "The stream is not a GenApi feature stream since it is missing the magic GUID in the first "
        "line");
  }
  const bool isSingle = !bags.empty();
  while (reader.Next(line)) {
    if (isMagicNext) {
      if (!Contains(line, sk_magic)) reader.Fail("a bag without its magic line");
      isMagicNext = false;
    } else if (!isSingle && line.starts_with('[')) {
      const size_t close = line.rfind(']');
      if (close == line.npos || close < 2) reader.Fail("a bag without a name");
      if (bags.size() == sk_maxBags) reader.Fail("too many bags");
      bags.emplace_back().BagName = GenICam::gcstring(line.data() + 1, close - 1);
      isMagicNext = true;
    } else if (!IsSkipped(line)) {
      if (bags.empty()) reader.Fail("a feature outside of a bag");
      AddEntry(bags.back(), line, reader);
    }
  }
  return bags;
}

}  // namespace OrvexGenApi
