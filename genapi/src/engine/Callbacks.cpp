// SPDX-License-Identifier: Apache-2.0
// Who is told about changes, and when: inside the lock first, then outside of it.
#include <GenApi/NodeCallback.h>

#include <algorithm>

#include "engine/NodeMap.h"

namespace OrvexGenApi {

CallbackHandleType NodeMap::AddCallback(Node& node, CNodeCallback* pCallback) {
  node.m_callbacks.emplace_back(pCallback, [](CNodeCallback* p) { p->Destroy(); });
  ++m_numCallbacks;
  return reinterpret_cast<CallbackHandleType>(pCallback);
}

bool NodeMap::RemoveCallback(Node& node, CallbackHandleType handle) {
  const auto found = std::find_if(
      node.m_callbacks.begin(), node.m_callbacks.end(),
      [&](const auto& p) { return reinterpret_cast<CallbackHandleType>(p.get()) == handle; });
  if (found == node.m_callbacks.end()) return false;
  node.m_callbacks.erase(found);
  --m_numCallbacks;
  return true;
}

void NodeMap::SetSuppressCallbackMode(ECallbackSuppressMode mode) {
  WriteScope scope(*this);
  m_suppress = mode;
  scope.Finish();
}

WriteScope::WriteScope(NodeMap& map) : m_map(map) {
  m_map.GetLock().Lock();
  ++m_map.m_writeDepth;
}

WriteScope::~WriteScope() {
  if (!m_open) return;
  try {
    End();
  } catch (...) {  // the failure that ended the scope is the one to report
  }
}

void WriteScope::Finish() {
  End();
}

void WriteScope::End() {
  m_open = false;
  struct Release {
    NodeMap& map;
    bool done = false;
    void Now() {
      if (!done) map.GetLock().Unlock();
      done = true;
    }
    ~Release() { Now(); }
  } release{m_map};

  std::vector<std::shared_ptr<CNodeCallback>> outside;
  // Changes stay noted while callbacks are gathered for the end of a longer operation.
  if (m_map.m_writeDepth == 1 && m_map.m_suppress == csmOff && !m_map.m_changed.empty()) {
    std::vector<Node*> changed;
    changed.swap(m_map.m_changed);
    for (Node* node : changed) {
      node->m_noted = false;
      outside.insert(outside.end(), node->m_callbacks.begin(), node->m_callbacks.end());
    }
    --m_map.m_writeDepth;  // a callback may write nodes, which tells their callbacks at once
    for (const auto& callback : outside) (*callback)(cbPostInsideLock);
  } else {
    --m_map.m_writeDepth;
  }
  release.Now();
  for (const auto& callback : outside) (*callback)(cbPostOutsideLock);
}

}  // namespace OrvexGenApi
