// SPDX-License-Identifier: Apache-2.0
#include "engine/Document.h"

#include <Base/GCException.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <sstream>
#include <utility>

#include "engine/Limits.h"

namespace OrvexGenApi {
namespace {

constexpr unsigned sk_parseOptions =
    pugi::parse_cdata | pugi::parse_escapes | pugi::parse_wconv_attribute | pugi::parse_eol |
    pugi::parse_doctype | pugi::parse_embed_pcdata | pugi::parse_declaration;
constexpr char sk_blanks[] = " \t\r\n";

bool IsBlank(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

// Whether the text at '&' is a reference that every XML reader knows.
bool IsKnownReference(std::string_view at) {
  for (const std::string_view name : {"&lt;", "&gt;", "&amp;", "&quot;", "&apos;"}) {
    if (at.starts_with(name)) return true;
  }
  if (!at.starts_with("&#")) return false;
  const size_t end = at.substr(0, 16).find(';');
  return end != std::string_view::npos && end > 2;
}

bool IsUtf16(const std::string& text) {
  return text.size() >= 2 &&
         ((text[0] == '\xFE' && text[1] == '\xFF') || (text[0] == '\xFF' && text[1] == '\xFE') ||
          text[0] == 0 || text[1] == 0);
}

}  // namespace

std::string_view Trim(std::string_view text) {
  size_t begin = 0;
  size_t end = text.size();
  while (begin < end && IsBlank(text[begin])) ++begin;
  while (end > begin && IsBlank(text[end - 1])) --end;
  return text.substr(begin, end - begin);
}

std::string_view ElementRawText(pugi::xml_node element) {
  // The usual element has its text as its own value; one that begins with a CDATA section has a
  // child for it.
  const char* own = element.value();
  return *own ? own : element.child_value();
}

std::string_view ElementText(pugi::xml_node element) {
  return Trim(ElementRawText(element));
}

void Document::Fail(const std::string& what, size_t offset) const {
  throw RUNTIME_EXCEPTION("Camera description, line %u: %s", LineAt(offset), what.c_str());
}

unsigned Document::LineAt(size_t offset) const {
  const auto at = std::lower_bound(m_lineEnds.begin(), m_lineEnds.end(), offset);
  return static_cast<unsigned>(at - m_lineEnds.begin()) + 1;
}

unsigned Document::LineOf(pugi::xml_node element) const {
  const ptrdiff_t offset = element.offset_debug();
  return offset < 0 || m_lineEnds.empty() ? 0 : LineAt(static_cast<size_t>(offset));
}

// What the parser would take memory for is counted before it does. Elements have one or two
// brackets.
void Document::CheckSize() const {
  constexpr size_t sk_smallestElement = 4;
  if (m_text.size() < sk_smallestElement * sk_maxXmlElements) return;
  const auto count = [&](char c) {
    return static_cast<size_t>(std::count(m_text.begin(), m_text.end(), c));
  };
  if (count('<') > 2 * sk_maxXmlElements || count('=') > sk_maxXmlAttributes) {
    Fail("there are too many elements", 0);
  }
}

// Nothing but a byte-order mark may stand before the declaration, and blanks before the root
// element.
void Document::CheckProlog() const {
  std::string_view text = m_text;
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
  const size_t first = text.find_first_not_of(sk_blanks);
  if (first == std::string_view::npos) Fail("there is no text", 0);
  if (text[first] != '<') Fail("there is text before the XML declaration", first);
  if (first != 0 && text.substr(first).starts_with("<?xml")) {
    Fail("there are blanks before the XML declaration", first);
  }
}

// References to entities that nobody declared are no XML; declarations of entities are refused with
// the DOCTYPE.
void Document::CheckReferences() const {
  const std::string_view text = m_text;
  size_t first = text.find('&');
  while (first != std::string_view::npos && IsKnownReference(text.substr(first))) {
    first = text.find('&', first + 1);
  }
  if (first == std::string_view::npos) return;
  // Comments and CDATA sections hold anything, so the text is walked section by section.
  for (size_t at = text.find_first_of("<&"); at != std::string_view::npos;
       at = text.find_first_of("<&", at)) {
    const auto rest = text.substr(at);
    if (rest[0] == '&') {
      if (!IsKnownReference(rest))
        Fail("unknown entity '" + std::string(rest.substr(0, 16)) + "'", at);
      ++at;
      continue;
    }
    const bool cdata = rest.starts_with("<![CDATA[");
    if (!cdata && !rest.starts_with("<!--")) {
      ++at;
      continue;
    }
    const size_t end = text.find(cdata ? "]]>" : "-->", at + 4);
    if (end == std::string_view::npos) return;  // the parser says what is wrong
    at = end + 3;
  }
}

namespace {

bool IsText(pugi::xml_node node) {
  return node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata;
}

// Comments and CDATA sections cut a text into pieces; one piece is left that holds all.
void JoinTexts(pugi::xml_node element) {
  const bool embedded = *element.value() != 0;
  std::string all = element.value();
  size_t pieces = embedded;
  for (const auto child : element.children()) {
    if (!IsText(child)) continue;
    all += child.value();
    ++pieces;
  }
  if (pieces < 2) return;
  element.text().set(all.c_str());
  bool keep = !embedded;
  for (auto child = element.first_child(); child;) {
    const auto next = child.next_sibling();
    if (IsText(child) && !std::exchange(keep, false)) element.remove_child(child);
    child = next;
  }
}

}  // namespace

// One walk over everything, with as few questions to the tree as it takes: in a large file each
// node is fetched from far memory.
void Document::CheckTree() {
  size_t elements = 0;
  size_t depth = 0;
  std::vector<pugi::xml_node>
      withTexts;  // texts are only nodes of their own when there are several
  for (pugi::xml_node node = m_xml.first_child(); node;) {
    if (depth == 0) CheckTop(node);
    if (++elements > sk_maxXmlElements) Fail("there are too many elements", 0);
    const char* name = node.name();
    if (*name == 0) {
      withTexts.push_back(node.parent());
    } else if (depth > 1 && *name == 'I' && std::strcmp(name, "IntSwissKnife") == 0) {
      m_hasEmbeddedFormulas = true;
    }
    if (const pugi::xml_node child = node.first_child()) {
      if (++depth > sk_maxXmlDepth) {
        Fail("elements are nested too deeply", static_cast<size_t>(node.offset_debug()));
      }
      node = child;
      continue;
    }
    pugi::xml_node next = node.next_sibling();
    for (; !next && depth > 0; --depth) {
      node = node.parent();
      next = node.next_sibling();
    }
    node = next;
  }
  for (const auto element : withTexts) JoinTexts(element);
  if (!m_root) Fail("there is no root element", 0);
  if (std::strcmp(m_root.name(), "RegisterDescription") != 0) {
    Fail(std::string("the root element is '") + m_root.name() + "' and not 'RegisterDescription'",
         static_cast<size_t>(std::max<ptrdiff_t>(m_root.offset_debug(), 0)));
  }
}

void Document::CheckTop(pugi::xml_node node) {
  if (node.type() == pugi::node_doctype) Fail("a document type declaration is not accepted", 0);
  if (node.type() != pugi::node_element) return;
  if (m_root) Fail("there is a second root element", static_cast<size_t>(node.offset_debug()));
  m_root = node;
}

std::shared_ptr<Document> Document::Parse(std::string text) {
  // Register memory is often padded behind the text.
  while (!text.empty() && text.back() == '\0') text.pop_back();
  if (text.size() > sk_maxXmlBytes) {
    throw RUNTIME_EXCEPTION("Camera description: %zu bytes are more than the %zu accepted",
                            text.size(), sk_maxXmlBytes);
  }
  if (text.empty()) throw RUNTIME_EXCEPTION("Camera description: there is no text");

  auto document = std::make_shared<Document>();
  document->m_text = std::move(text);
  std::string& buffer = document->m_text;
  const bool utf16 = IsUtf16(buffer);
  if (!utf16) {
    if (const size_t nul = buffer.find('\0'); nul != std::string::npos) {
      throw RUNTIME_EXCEPTION("Camera description: byte %zu is no text", nul);
    }
    for (size_t at = buffer.find('\n'); at != std::string::npos; at = buffer.find('\n', at + 1)) {
      document->m_lineEnds.push_back(static_cast<uint32_t>(at));
    }
    document->CheckProlog();
    document->CheckReferences();
    // Text behind the root element would be dropped silently.
    const size_t last = buffer.find_last_not_of(sk_blanks);
    if (buffer[last] != '>')
      document->Fail("the text ends inside or behind the root element", last);
  }
  document->CheckSize();
  const pugi::xml_parse_result result =
      document->m_xml.load_buffer_inplace(buffer.data(), buffer.size(), sk_parseOptions);
  if (!result) {
    document->Fail(result.description(),
                   static_cast<size_t>(std::max<ptrdiff_t>(result.offset, 0)));
  }
  document->CheckTree();
  return document;
}

std::string Document::ToXml() const {
  std::ostringstream out;
  m_xml.save(out, "  ", pugi::format_indent);
  return out.str();
}

std::string ReadFile(const std::string& path, size_t maxBytes) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw RUNTIME_EXCEPTION("Cannot open file '%s'", path.c_str());
  std::string data;
  char block[65536];
  while (in.read(block, sizeof block) || in.gcount() > 0) {
    data.append(block, static_cast<size_t>(in.gcount()));
    if (data.size() > maxBytes) {
      throw RUNTIME_EXCEPTION("File '%s' has more than %zu bytes", path.c_str(), maxBytes);
    }
  }
  if (in.bad()) throw RUNTIME_EXCEPTION("Cannot read file '%s'", path.c_str());
  return data;
}

}  // namespace OrvexGenApi
