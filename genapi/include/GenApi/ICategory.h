#pragma once
// SPDX-License-Identifier: Apache-2.0
// A folder of the feature tree (GenICam GenApi). Owned by the node map. Any thread.
#include <GenApi/Container.h>
#include <GenApi/IValue.h>

namespace GENAPI_NAMESPACE {

struct GENAPI_DECL_ABSTRACT ICategory : virtual public IValue {
  // The features and sub-categories in the order of the description.
  virtual void GetFeatures(FeatureList_t& Features) const = 0;
};

}  // namespace GENAPI_NAMESPACE
