// SPDX-License-Identifier: Apache-2.0
#include "FeatureStream.h"

#include <GenApi/INode.h>
#include <GenApi/IValue.h>
#include <GenApi/Persistence.h>
#include <GenApi/Pointer.h>

#include <fstream>

#include "Orvex/Check.h"

namespace Orvex {

struct FeatureStream_t {
  virtual ~FeatureStream_t() = default;

  GenApi::CFeatureBag m_featureBag;
  GenApi::INodeMap* m_pNodeMap = nullptr;  // not owned
  bool m_selectAll = true;                 // until the first selection
};

FeatureStream::FeatureStream() : m_pData(new FeatureStream_t) {}

FeatureStream::FeatureStream(GenApi::INodeMap* pNodeMap) : m_pData(new FeatureStream_t) {
  m_pData->m_pNodeMap = pNodeMap;
}

FeatureStream::~FeatureStream() {
  delete m_pData;
}

void FeatureStream::Write(GenICam::gcstring fileName) {
  CHECK_ARG(m_pData->m_pNodeMap != nullptr, InvalidArgumentException, "Node map is null");
  if (m_pData->m_selectAll) m_pData->m_featureBag.StoreToBag(m_pData->m_pNodeMap, -1, nullptr);
  std::ofstream file(fileName.c_str(), std::ios::trunc);
  file << m_pData->m_featureBag;
  file.close();
}

void FeatureStream::Read(GenICam::gcstring fileName) {
  CHECK_ARG(m_pData->m_pNodeMap != nullptr, InvalidArgumentException, "Node map is null");
  std::ifstream file(fileName.c_str());
  file >> m_pData->m_featureBag;
  // What single features answered is not reported: the rest is restored nevertheless.
  GenICam::gcstring_vector errors;
  m_pData->m_featureBag.LoadFromBag(m_pData->m_pNodeMap, true, &errors);
}

void FeatureStream::Select(GenICam::gcstring featureName) {
  CHECK_ARG(m_pData->m_pNodeMap != nullptr, InvalidArgumentException, "Node map is null");
  GenApi::CValuePtr pValue = m_pData->m_pNodeMap->GetNode(featureName);
  CHECK_ARG(pValue.IsValid(), InvalidArgumentException,
            "Selected feature " + featureName + " not found");
  CHECK_ARG(pValue->GetNode()->IsStreamable(), LogicalErrorException,
            "Selected feature " + featureName + " not streamable");
  m_pData->m_featureBag.PersistFeature(*pValue);
  m_pData->m_selectAll = false;
}

FeatureStream& FeatureStream::operator<<(GenICam::gcstring featureName) {
  Select(featureName);
  return *this;
}

}  // namespace Orvex
