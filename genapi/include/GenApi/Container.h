#pragma once
// SPDX-License-Identifier: Apache-2.0
// Lists of nodes and of values. They hold pointers that the node map owns. Not safe for concurrent
// writers.

#include <Base/GCSequence.h>
#include <Base/GCStringVector.h>
#include <GenApi/GenApiDll.h>
#include <GenApi/GenApiNamespace.h>

namespace GENAPI_NAMESPACE {

GENICAM_INTERFACE INode;
GENICAM_INTERFACE IValue;

class GENAPI_DECL node_vector : public GENICAM_NAMESPACE::Sequence<INode*> {
 public:
  node_vector() = default;
  explicit node_vector(size_t uiSize, INode* pNode = nullptr) : Sequence(uiSize, pNode) {}
};

class GENAPI_DECL value_vector : public GENICAM_NAMESPACE::Sequence<IValue*> {
 public:
  value_vector() = default;
  explicit value_vector(size_t uiSize, IValue* pValue = nullptr) : Sequence(uiSize, pValue) {}
};

using NodeList_t = node_vector;
using FeatureList_t = value_vector;
using StringList_t = GENICAM_NAMESPACE::gcstring_vector;

}  // namespace GENAPI_NAMESPACE
