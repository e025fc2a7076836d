// SPDX-License-Identifier: Apache-2.0
#include "GenApiCustom.h"

#include <GenApi/IBoolean.h>
#include <GenApi/ICommand.h>
#include <GenApi/IEnumEntry.h>
#include <GenApi/IFloat.h>
#include <GenApi/IInteger.h>
#include <GenApi/INode.h>
#include <GenApi/IRegister.h>
#include <GenApi/IString.h>
#include <GenApi/Pointer.h>

#include <boost/any.hpp>
#include <string>
#include <type_traits>

#include "Orvex/Check.h"

namespace Orvex {
namespace {

using GenApi::EInterfaceType;
using GenApi::INode;
using GenApi::INodeMap;
using GenICam::gcstring;

enum class Use { Read, Write };

// The checks that all helpers begin with. The node lives as long as its map.
INode* CheckedNode(INodeMap* pNodeMap, const gcstring& name, Use use, const char* function) {
  CHECK_ARG_FN(pNodeMap != nullptr, InvalidArgumentException, "Node map is null", function);
  CHECK_ARG_FN(!name.empty(), InvalidArgumentException, "Node name invalid", function);
  INode* pNode = pNodeMap->GetNode(name);
  CHECK_ARG_FN(GenApi::IsImplemented(pNode), RuntimeException, "Node " + name + " not implemented",
               function);
  CHECK_ARG_FN(GenApi::IsAvailable(pNode), RuntimeException, "Node " + name + " not available",
               function);
  if (use == Use::Read) {
    CHECK_ARG_FN(GenApi::IsReadable(pNode), RuntimeException, "Node " + name + " not readable",
                 function);
  } else {
    CHECK_ARG_FN(GenApi::IsWritable(pNode), RuntimeException, "Node " + name + " not writable",
                 function);
  }
  return pNode;
}

struct TypeRow {
  EInterfaceType type;
  const char* nodeName;
  const char* valueName;
};

// What the nodes of each kind call themselves and which value they take.
constexpr TypeRow sk_types[] = {
    {GenApi::intfIInteger, "GenApi::IInteger", "int64_t"},
    {GenApi::intfIBoolean, "GenApi::IBoolean", "bool"},
    {GenApi::intfIFloat, "GenApi::IFloat", "double"},
    {GenApi::intfIString, "GenApi::IString", "GenICam::gcstring"},
    {GenApi::intfIEnumeration, "GenApi::IEnumeration", "GenICam::gcstring"},
};

[[noreturn]] void ThrowTypeMismatch(const gcstring& name, EInterfaceType type, const char* verb,
                                    const char* function) {
  for (const TypeRow& row : sk_types) {
    if (row.type != type) continue;
    THROW_PLAIN_FN(
        InvalidArgumentException,
        "Node " + name + " of type " + row.nodeName + " must " + verb + " type " + row.valueName,
        function);
  }
  THROW_PLAIN_FN(LogicalErrorException, "Node " + name + " unsupported node type", function);
}

[[noreturn]] void ThrowUnsupportedType(const gcstring& name, const char* function) {
  THROW_PLAIN_FN(LogicalErrorException, "Node " + name + " unsupported node type", function);
}

template <typename Interface>
Interface& As(INode* pNode) {
  return *GenApi::CPointer<Interface>(pNode);
}

template <typename T>
constexpr EInterfaceType OwnType() {
  if constexpr (std::is_same_v<T, bool>) return GenApi::intfIBoolean;
  if constexpr (std::is_same_v<T, int64_t>) return GenApi::intfIInteger;
  if constexpr (std::is_same_v<T, double>) return GenApi::intfIFloat;
  if constexpr (std::is_same_v<T, gcstring>) return GenApi::intfIString;
}

// The value that a node of this kind holds, in its own type.
boost::any OwnValue(INode* pNode, EInterfaceType type) {
  switch (type) {
    case GenApi::intfIBoolean:
      return As<GenApi::IBoolean>(pNode).GetValue();
    case GenApi::intfIFloat:
      return As<GenApi::IFloat>(pNode).GetValue();
    case GenApi::intfIInteger:
      return As<GenApi::IInteger>(pNode).GetValue();
    default:
      return As<GenApi::IValue>(pNode).ToString();
  }
}

void SetOwnValue(INode* pNode, const bool& value) {
  As<GenApi::IBoolean>(pNode).SetValue(value);
}
void SetOwnValue(INode* pNode, const double& value) {
  As<GenApi::IFloat>(pNode).SetValue(value);
}
void SetOwnValue(INode* pNode, const int64_t& value) {
  As<GenApi::IInteger>(pNode).SetValue(value);
}
void SetOwnValue(INode* pNode, const gcstring& value) {
  As<GenApi::IString>(pNode).SetValue(value);
}

enum class Limit { Min, Max, Inc };

template <typename Interface>
auto LimitOf(Interface& node, Limit limit) {
  switch (limit) {
    case Limit::Min:
      return node.GetMin();
    case Limit::Max:
      return node.GetMax();
    default:
      return node.GetInc();
  }
}

boost::any NodeLimit(INodeMap* pNodeMap, const gcstring& name, Limit limit, const char* function) {
  INode* pNode = CheckedNode(pNodeMap, name, Use::Read, function);
  const EInterfaceType type = pNode->GetPrincipalInterfaceType();
  if (type == GenApi::intfIInteger) return LimitOf(As<GenApi::IInteger>(pNode), limit);
  if (type != GenApi::intfIFloat) ThrowUnsupportedType(name, function);
  auto& node = As<GenApi::IFloat>(pNode);
  CHECK_ARG_FN(limit != Limit::Inc || node.HasInc(), LogicalErrorException,
               "Node " + name + " unsupported increment", function);
  return LimitOf(node, limit);
}

GenApi::IRegister& RegisterOf(INode* pNode, const char* message, const char* function) {
  CHECK_ARG_FN(pNode->GetPrincipalInterfaceType() == GenApi::intfIRegister,
               InvalidArgumentException, message, function);
  return As<GenApi::IRegister>(pNode);
}

gcstring LengthText(const gcstring& name, int64_t length) {
  return name + " length = " + std::to_string(length).c_str();
}

}  // namespace

template <typename T>
T GetNodeValue(INodeMap* pNodeMap, const gcstring& nodeName) {
  INode* pNode = CheckedNode(pNodeMap, nodeName, Use::Read, __func__);
  const EInterfaceType type = pNode->GetPrincipalInterfaceType();
  // Kept on purpose: an enumeration may be asked for as a number, which ends in bad_any_cast since
  // its value is carried as text. Callers tell it from a type mismatch by that.
  const bool accepted =
      type == OwnType<T>() ||
      (type == GenApi::intfIEnumeration && !std::is_same_v<T, bool> && !std::is_same_v<T, double>);
  if (!accepted) ThrowTypeMismatch(nodeName, type, "return", __func__);
  return boost::any_cast<T>(OwnValue(pNode, type));
}

template <typename T>
void SetNodeValue(INodeMap* pNodeMap, const gcstring& nodeName, const T& value) {
  INode* pNode = CheckedNode(pNodeMap, nodeName, Use::Write, __func__);
  const EInterfaceType type = pNode->GetPrincipalInterfaceType();
  if constexpr (std::is_same_v<T, gcstring>) {
    if (type == GenApi::intfIEnumeration) {
      auto& enumeration = As<GenApi::IEnumeration>(pNode);
      _throwLogicExceptionIfNotValidEnumEntry(&enumeration, value);
      enumeration.FromString(value, true);
      return;
    }
  }
  if (type != OwnType<T>()) ThrowTypeMismatch(nodeName, type, "set", __func__);
  SetOwnValue(pNode, value);
}

void GetNodeValue(INodeMap* pNodeMap, const gcstring& nodeName, uint8_t* pBuffer, int64_t& length) {
  INode* pNode = CheckedNode(pNodeMap, nodeName, Use::Read, __func__);
  GenApi::IRegister& node = RegisterOf(
      pNode, "Unsupported node type: this overload is for GenApi::intfIRegister", __func__);
  const int64_t nodeLength = node.GetLength();
  if (pBuffer == nullptr) {
    length = nodeLength;
    return;
  }
  CHECK_ARG(length > 0, InvalidArgumentException,
            "Buffer length cannot be zero. " + LengthText(nodeName, nodeLength));
  if (nodeLength < length) length = nodeLength;
  node.Get(pBuffer, length);
}

void SetNodeValue(INodeMap* pNodeMap, const gcstring& nodeName, const uint8_t* pBuffer,
                  int64_t& length) {
  INode* pNode = CheckedNode(pNodeMap, nodeName, Use::Write, __func__);
  // Kept on purpose: without the colon of the reading form; callers match both texts.
  GenApi::IRegister& node = RegisterOf(
      pNode, "Unsupported node type this overload is for GenApi::intfIRegister", __func__);
  const int64_t nodeLength = node.GetLength();
  if (pBuffer == nullptr) {
    length = nodeLength;
    return;
  }
  CHECK_ARG(length > 0, InvalidArgumentException,
            "Buffer length cannot be zero. " + LengthText(nodeName, nodeLength));
  CHECK_ARG(length <= nodeLength, InvalidArgumentException,
            "Buffer length is greater than the length of the destination node, " +
                LengthText(nodeName, nodeLength));
  node.Set(pBuffer, length, true);
}

void ExecuteNode(INodeMap* pNodeMap, const gcstring& nodeName) {
  INode* pNode = CheckedNode(pNodeMap, nodeName, Use::Write, __func__);
  if (pNode->GetPrincipalInterfaceType() != GenApi::intfICommand)
    ThrowUnsupportedType(nodeName, __func__);
  As<GenApi::ICommand>(pNode).Execute(true);
}

template <typename T>
T GetNodeMin(INodeMap* pNodeMap, const gcstring& nodeName) {
  return boost::any_cast<T>(NodeLimit(pNodeMap, nodeName, Limit::Min, __func__));
}

template <typename T>
T GetNodeMax(INodeMap* pNodeMap, const gcstring& nodeName) {
  return boost::any_cast<T>(NodeLimit(pNodeMap, nodeName, Limit::Max, __func__));
}

template <typename T>
T GetNodeInc(INodeMap* pNodeMap, const gcstring& nodeName) {
  return boost::any_cast<T>(NodeLimit(pNodeMap, nodeName, Limit::Inc, __func__));
}

void _throwLogicExceptionIfNotValidEnumEntry(GenApi::IEnumeration* pEnumeration,
                                             gcstring entryName) {
  GenApi::NodeList_t entries;
  pEnumeration->GetEntries(entries);
  gcstring list;
  for (INode* pEntry : entries) {
    const gcstring symbolic = As<GenApi::IEnumEntry>(pEntry).GetSymbolic();
    if (symbolic == entryName) return;
    list += symbolic + "\n";
  }
  THROW_PLAIN(LogicalErrorException, "'" + entryName + "' is invalid EnumEntry. " +
                                         pEnumeration->GetNode()->GetName() +
                                         " valid EnumEntries are:\n" + list);
}

#define ORVEX_INSTANTIATE_VALUE(T)                                  \
  template ORVEX_API T GetNodeValue<T>(INodeMap*, const gcstring&); \
  template ORVEX_API void SetNodeValue<T>(INodeMap*, const gcstring&, const T&);
ORVEX_INSTANTIATE_VALUE(bool)
ORVEX_INSTANTIATE_VALUE(int64_t)
ORVEX_INSTANTIATE_VALUE(double)
ORVEX_INSTANTIATE_VALUE(gcstring)
#undef ORVEX_INSTANTIATE_VALUE

#define ORVEX_INSTANTIATE_LIMIT(T)                                \
  template ORVEX_API T GetNodeMin<T>(INodeMap*, const gcstring&); \
  template ORVEX_API T GetNodeMax<T>(INodeMap*, const gcstring&); \
  template ORVEX_API T GetNodeInc<T>(INodeMap*, const gcstring&);
ORVEX_INSTANTIATE_LIMIT(int64_t)
ORVEX_INSTANTIATE_LIMIT(double)
#undef ORVEX_INSTANTIATE_LIMIT

}  // namespace Orvex
