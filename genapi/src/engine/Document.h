#pragma once
// SPDX-License-Identifier: Apache-2.0
// The XML text of a camera description, checked and parsed. Owned jointly by the factory and the
// node maps made from it; immutable once a node map refers to it, and then safe for any thread.
#include <memory>
#include <pugixml.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace OrvexGenApi {

class Document {
 public:
  // Parses a description; the text is taken over. Throws RuntimeException naming the line.
  static std::shared_ptr<Document> Parse(std::string text);

  pugi::xml_node Root() const { return m_root; }
  pugi::xml_document& Xml() { return m_xml; }
  // Line of an element in the original text; 0 when it is not known.
  unsigned LineOf(pugi::xml_node element) const;
  // Whether formulas stand inside other nodes, so that they have to be looked for.
  bool HasEmbeddedFormulas() const { return m_hasEmbeddedFormulas; }
  // The whole description as XML text.
  std::string ToXml() const;

 private:
  void CheckSize() const;
  void CheckProlog() const;
  void CheckReferences() const;
  void CheckTree();
  void CheckTop(pugi::xml_node node);
  unsigned LineAt(size_t offset) const;
  [[noreturn]] void Fail(const std::string& what, size_t offset) const;

  std::string m_text;
  pugi::xml_document m_xml;
  pugi::xml_node m_root;
  std::vector<uint32_t> m_lineEnds;
  bool m_hasEmbeddedFormulas = false;
};

// Text of an element without the blanks around it. CDATA sections and texts are joined; the result
// lives as long as the document.
std::string_view ElementText(pugi::xml_node element);
// The same as it stands, blanks included.
std::string_view ElementRawText(pugi::xml_node element);
std::string_view Trim(std::string_view text);

// The description inside a zip archive: its first member that is XML. Throws RuntimeException.
std::string Unzip(const void* pData, size_t size);
// The bytes of a file, at most so many. Throws RuntimeException.
std::string ReadFile(const std::string& path, size_t maxBytes);

}  // namespace OrvexGenApi
