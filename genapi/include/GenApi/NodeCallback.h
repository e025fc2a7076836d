#pragma once
// SPDX-License-Identifier: Apache-2.0
// Callbacks that fire when a node changes or may have changed. A callback is made with new, handed
// to INode::RegisterCallback, which takes it over, and destroyed by DeregisterCallback or with its
// node map. It runs in the thread that caused the change and may read and write nodes;
// cbPostInsideLock runs with the node map's lock held.

#include <functional>
#include <type_traits>

#include <GenApi/GenApiDll.h>
#include <GenApi/INode.h>

namespace GENAPI_NAMESPACE {

// When a callback fires: still inside the node map's lock, or after it was released.
typedef enum _ECallbackType { cbPostInsideLock = 1, cbPostOutsideLock = 2 } ECallbackType;

class GENAPI_DECL CNodeCallback {
 public:
  CNodeCallback(INode* pNode, ECallbackType CallbackType)
      : m_pNode(pNode), m_CallbackType(CallbackType) {}
  CNodeCallback(const CNodeCallback&) = delete;
  CNodeCallback& operator=(const CNodeCallback&) = delete;
  virtual ~CNodeCallback();

  // Runs the callback when CallbackType is its own type; does nothing otherwise.
  virtual void operator()(ECallbackType CallbackType) const = 0;
  // Frees the object.
  virtual void Destroy() = 0;
  INode* GetNode() { return m_pNode; }

 protected:
  INode* m_pNode;
  ECallbackType m_CallbackType;
};

// A callback to anything that can be called as f(INode*).
template <class Function>
class Function_NodeCallback : public CNodeCallback {
 public:
  Function_NodeCallback(INode* pNode, const Function& function, ECallbackType CallbackType)
      : CNodeCallback(pNode, CallbackType), m_Function(function) {}
  void operator()(ECallbackType CallbackType) const override {
    if (CallbackType == m_CallbackType) m_Function(m_pNode);
  }
  void Destroy() override { delete this; }

 private:
  mutable Function m_Function;  // mutable: function objects may keep a state
};

// A callback to a member function of an object that must outlive it.
template <class Client, class Member>
class Member_NodeCallback : public CNodeCallback {
 public:
  Member_NodeCallback(INode* pNode, Client& client, Member member, ECallbackType CallbackType)
      : CNodeCallback(pNode, CallbackType), m_Client(client), m_Member(member) {}
  void operator()(ECallbackType CallbackType) const override {
    if (CallbackType == m_CallbackType) (m_Client.*m_Member)(m_pNode);
  }
  void Destroy() override { delete this; }

 private:
  Client& m_Client;
  Member m_Member;
};

template <class Function>
CNodeCallback* make_NodeCallback(INode* pNode, Function function, ECallbackType CallbackType) {
  return new Function_NodeCallback<Function>(pNode, function, CallbackType);
}

template <class Client, class Member>
CNodeCallback* make_NodeCallback(INode* pNode, Client& client, Member member,
                                 ECallbackType CallbackType) {
  return new Member_NodeCallback<Client, Member>(pNode, client, member, CallbackType);
}

// Registers f(INode*) with the node; the result is for Deregister.
template <class Function>
intptr_t Register(INode* pNode, Function f, ECallbackType CallbackType = cbPostInsideLock) {
  return pNode->RegisterCallback(make_NodeCallback(pNode, f, CallbackType));
}

// Registers (c.*m)(INode*) with the node.
template <class Client, class Member,
          class = std::enable_if_t<std::is_member_function_pointer_v<Member>>>
intptr_t Register(INode* pNode, Client& c, Member m,
                  ECallbackType CallbackType = cbPostInsideLock) {
  return pNode->RegisterCallback(make_NodeCallback(pNode, c, m, CallbackType));
}

// Removes a callback that is registered; 0 is ignored. A handle that is no longer valid must not be
// given.
inline void Deregister(CallbackHandleType pCallbackInfo) {
  if (pCallbackInfo == 0) return;
  reinterpret_cast<CNodeCallback*>(pCallbackInfo)->GetNode()->DeregisterCallback(pCallbackInfo);
}

}  // namespace GENAPI_NAMESPACE
