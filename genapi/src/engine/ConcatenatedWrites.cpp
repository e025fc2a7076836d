// SPDX-License-Identifier: Apache-2.0
// Lists of writes that a map carries out in one go.
#include <GenApi/ConcatenatedWrite.h>

#include "engine/NodeMap.h"

namespace OrvexGenApi {

CNodeWriteConcatenator* NodeMap::NewNodeWriteConcatenator() const {
  return new CNodeWriteConcatenator();
}

bool NodeMap::ConcatenatedWrite(CNodeWriteConcatenator* pWrites, bool featureStreaming,
                                gcstring_vector* pErrorList) {
  if (pWrites == nullptr) throw INVALID_ARGUMENT_EXCEPTION("The list of writes is null");
  WriteScope scope(*this);
  struct Streaming {
    explicit Streaming(bool& f, bool on) : flag(f), before(f) { flag = on; }
    ~Streaming() { flag = before; }
    bool& flag;
    bool before;
  } streaming(m_streaming, featureStreaming || m_streaming);
  bool good = true;
  for (const auto& entry : pWrites->GetEntries()) {
    try {
      Node* node = Find(entry.Name.c_str());
      if (node == nullptr) {
        throw INVALID_ARGUMENT_EXCEPTION("There is no node '%s'", entry.Name.c_str());
      }
      node->WriteText(entry.Value.c_str(), true);
    } catch (const GENICAM_NAMESPACE::GenericException& e) {
      if (pErrorList == nullptr) throw;
      pErrorList->push_back(e.GetDescription());
      good = false;
    }
  }
  scope.Finish();
  return good;
}

}  // namespace OrvexGenApi
