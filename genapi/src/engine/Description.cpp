// SPDX-License-Identifier: Apache-2.0
#include "engine/Description.h"

#include <Base/GCException.h>

#include <cstring>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "engine/Elements.h"

namespace OrvexGenApi {
namespace {

bool IsNodeElement(pugi::xml_node element) {
  return element.type() == pugi::node_element;
}

// Calls visit for every node element of the description; groups are entered, structures are one
// element.
template <class Visit>
void ForEachNode(pugi::xml_node parent, Visit visit) {
  for (const auto element : parent.children()) {
    if (!IsNodeElement(element)) continue;
    if (std::strcmp(element.name(), "Group") == 0) {
      ForEachNode(element, visit);
    } else {
      visit(element);
    }
  }
}

// All names under which an element's nodes are known.
template <class Visit>
void ForEachName(pugi::xml_node element, Visit visit) {
  if (const auto name = element.attribute("Name")) visit(std::string(name.value()));
  const bool enumeration = std::strcmp(element.name(), "Enumeration") == 0;
  for (const auto child : element.children()) {
    const char* kind = child.name();
    if (std::strcmp(kind, "StructEntry") == 0 || std::strcmp(kind, "IntSwissKnife") == 0) {
      visit(std::string(child.attribute("Name").value()));
    } else if (enumeration && std::strcmp(kind, "EnumEntry") == 0) {
      visit(std::string("EnumEntry_") + element.attribute("Name").value() + "_" +
            child.attribute("Name").value());
    }
  }
}

// All names that an element refers to.
template <class Visit>
void ForEachReference(pugi::xml_node element, Visit visit) {
  for (const auto child : element.children()) {
    if (!IsNodeElement(child)) continue;
    const char* kind = child.name();
    if (kind[0] == 'p' && ElementByName(kind) != Element::Unknown) {
      visit(std::string(ElementText(child)));
      if (const auto offset = child.attribute("pOffset")) visit(std::string(offset.value()));
    } else if (std::strcmp(kind, "Extension") != 0) {
      ForEachReference(child, visit);
    }
  }
}

std::shared_ptr<Document> EmptyCopy(const Document& source) {
  std::string text = "<RegisterDescription";
  for (const auto attribute : source.Root().attributes()) {
    pugi::xml_document scratch;
    auto element = scratch.append_child("a");
    element.append_copy(attribute);
    std::string printed;
    struct Writer : pugi::xml_writer {
      std::string& out;
      explicit Writer(std::string& o) : out(o) {}
      void write(const void* data, size_t size) override {
        out.append(static_cast<const char*>(data), size);
      }
    } writer(printed);
    element.print(writer, "", pugi::format_raw);
    // "<a NAME="VALUE"/>" without its frame.
    const size_t begin = printed.find(' ');
    const size_t end = printed.rfind('"');
    if (begin != std::string::npos && end != std::string::npos) {
      text += printed.substr(begin, end + 1 - begin);
    }
  }
  return Document::Parse(text + "/>");
}

// Texts and lines of the result come from its own text.
std::shared_ptr<Document> Reparse(const Document& document) {
  return Document::Parse(document.ToXml());
}

int Priority(pugi::xml_node element) {
  return element.attribute("MergePriority").as_int();
}

}  // namespace

std::shared_ptr<Document> Merge(const Document& target, const Document& inject) {
  auto result = EmptyCopy(target);
  auto root = result->Root();
  std::unordered_map<std::string, pugi::xml_node> injected;
  ForEachNode(inject.Root(), [&](pugi::xml_node element) {
    injected.emplace(element.attribute("Name").value(), element);
  });
  std::unordered_set<std::string> done;
  ForEachNode(target.Root(), [&](pugi::xml_node element) {
    const std::string name = element.attribute("Name").value();
    const auto other = name.empty() ? injected.end() : injected.find(name);
    if (other == injected.end()) {
      root.append_copy(element);
      return;
    }
    done.insert(name);
    if (std::strcmp(element.name(), "Category") == 0 &&
        std::strcmp(other->second.name(), "Category") == 0) {
      auto merged = root.append_copy(element);
      std::unordered_set<std::string> features;
      for (const auto feature : element.children("pFeature")) {
        features.emplace(ElementText(feature));
      }
      for (const auto feature : other->second.children("pFeature")) {
        if (features.emplace(ElementText(feature)).second) merged.append_copy(feature);
      }
      return;
    }
    const int priority = Priority(other->second) - Priority(element);
    if (priority == 0) {
      throw PROPERTY_EXCEPTION(
          "Node '%s' (line %u): both descriptions have it and none has a merge priority",
          name.c_str(), inject.LineOf(other->second));
    }
    root.append_copy(priority > 0 ? other->second : element);
  });
  ForEachNode(inject.Root(), [&](pugi::xml_node element) {
    if (!done.contains(element.attribute("Name").value())) root.append_copy(element);
  });
  return Reparse(*result);
}

std::shared_ptr<Document> ExtractSubtree(const Document& source, const std::string& root,
                                         bool renameToRoot) {
  std::unordered_map<std::string, pugi::xml_node> byName;
  ForEachNode(source.Root(), [&](pugi::xml_node element) {
    ForEachName(element, [&](const std::string& name) { byName.emplace(name, element); });
  });
  const auto start = byName.find(root);
  if (start == byName.end()) {
    throw INVALID_ARGUMENT_EXCEPTION("There is no node '%s' to extract", root.c_str());
  }
  std::unordered_set<size_t> wanted{start->second.hash_value()};
  std::vector<pugi::xml_node> work{start->second};
  while (!work.empty()) {
    const auto element = work.back();
    work.pop_back();
    ForEachReference(element, [&](const std::string& name) {
      const auto found = byName.find(name);
      if (found != byName.end() && wanted.insert(found->second.hash_value()).second) {
        work.push_back(found->second);
      }
    });
  }
  auto result = EmptyCopy(source);
  ForEachNode(source.Root(), [&](pugi::xml_node element) {
    if (!wanted.contains(element.hash_value())) return;
    auto copy = result->Root().append_copy(element);
    if (renameToRoot && element == start->second) copy.attribute("Name").set_value("Root");
  });
  return Reparse(*result);
}

}  // namespace OrvexGenApi
