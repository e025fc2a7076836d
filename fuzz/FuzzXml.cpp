// SPDX-License-Identifier: Apache-2.0
// Any bytes as a description, plain or (with ORVEX_FUZZ_ZIP) zipped: a map that answers, or an
// exception of the interface.
#include <GenApi/GenApi.h>
#include <GenApi/NodeMapFactory.h>

#include <cstring>

namespace {

using namespace GenApi;

// A memory of zeros that takes every write.
class NullPort : public IPort {
 public:
  EAccessMode GetAccessMode() const override { return RW; }
  void Read(void* pBuffer, int64_t, int64_t Length) override {
    std::memset(pBuffer, 0, static_cast<size_t>(Length));
  }
  void Write(const void*, int64_t, int64_t) override {}
};

template <class Call>
void Try(Call call) {
  try {
    call();
  } catch (const GenICam::GenericException&) {
  }
}

void Ask(INode* node) {
  Try([&] { node->GetAccessMode(); });
  node->GetVisibility();
  node->GetCachingMode();
  auto* value = dynamic_cast<IValue*>(node);
  if (value) Try([&] { value->ToString(true); });
  if (auto* p = dynamic_cast<IInteger*>(node)) {
    Try([&] { p->SetValue(p->GetMin()); });
    Try([&] { p->SetValue(p->GetMax() - p->GetInc()); });
  }
  if (auto* p = dynamic_cast<IFloat*>(node)) Try([&] { p->SetValue(p->GetMax()); });
  if (auto* p = dynamic_cast<ICommand*>(node)) Try([&] { p->Execute(); });
  if (value) Try([&] { value->FromString("1"); });
  node->InvalidateNode();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
#ifdef ORVEX_FUZZ_ZIP
  constexpr auto content = ContentType_ZippedXml;
#else
  constexpr auto content = ContentType_Xml;
#endif
  Try([&] {
    CNodeMapFactory factory(content, data, size);
    CNodeMapRef map(factory.CreateNodeMap());
    NullPort port;
    NodeList_t nodes;
    map._GetNodes(nodes);
    for (size_t i = 0; i < nodes.size(); ++i) {
      if (nodes[i]->GetPrincipalInterfaceType() == intfIPort)
        map._Connect(&port, nodes[i]->GetName());
    }
    const size_t asked = nodes.size() < 64 ? nodes.size() : 64;
    for (size_t i = 0; i < asked; ++i) Ask(nodes[i]);
    map._Poll(1000);
  });
  return 0;
}
