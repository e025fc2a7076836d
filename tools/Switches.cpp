// SPDX-License-Identifier: Apache-2.0
#include "tools/Switches.h"

#include <fmt/format.h>

#include "tools/Failure.h"
#include "tools/Nodes.h"

namespace OrvexTools {
namespace {

std::vector<std::string> ChoicesOf(GenApi::INodeMap& nodes, const SwitchNames& names) {
  auto* pSelector = dynamic_cast<GenApi::IEnumeration*>(nodes.GetNode(names.selector));
  if (pSelector == nullptr || !GenApi::IsReadable(pSelector)) {
    throw Failure(fmt::format("this camera has no {}", names.selector));
  }
  GenApi::StringList_t symbolics;
  pSelector->GetSymbolics(symbolics);
  std::vector<std::string> choices;
  for (const GenICam::gcstring& symbolic : symbolics) choices.emplace_back(symbolic.c_str());
  return choices;
}

}  // namespace

Switches::Switches(Camera& camera, const SwitchNames& names,
                   const std::vector<std::string>& choices)
    : m_camera(camera), m_names(names) {
  GenApi::INodeMap& nodes = camera.Nodes();
  const std::vector<std::string> all = ChoicesOf(nodes, names);
  m_selected = TryRead(&nodes, names.selector).value_or("");
  try {
    for (const std::string& choice : choices.empty() ? all : choices) {
      WriteFeature(nodes, names.selector, choice);
      const std::string before = TryRead(&nodes, names.feature).value_or("");
      GenApi::INode* pSwitch = nodes.GetNode(names.feature);
      if (before != names.on && (!choices.empty() || GenApi::IsWritable(pSwitch))) {
        WriteFeature(nodes, names.feature, names.on);
        m_before.push_back({choice, before});
      }
      if (TryRead(&nodes, names.feature) == names.on)
        m_on.push_back(*TryRead(&nodes, names.selector));
    }
  } catch (...) {
    PutBack();
    throw;
  }
}

Switches::~Switches() {
  PutBack();
}

void Switches::PutBack() noexcept {
  try {
    GenApi::INodeMap& nodes = m_camera.Nodes();
    for (const Before& before : m_before) {
      WriteFeature(nodes, m_names.selector, before.choice);
      WriteFeature(nodes, m_names.feature, before.value);
    }
    m_before.clear();
    if (!m_selected.empty()) WriteFeature(nodes, m_names.selector, m_selected);
  } catch (...) {
    // The camera may have gone; there is nobody to tell it to.
  }
}

}  // namespace OrvexTools
