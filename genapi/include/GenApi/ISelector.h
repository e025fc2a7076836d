#pragma once
// SPDX-License-Identifier: Apache-2.0
// Which features a feature selects, and which select it (GenICam GenApi). Owned by the node map.
// Any thread.
#include <GenApi/Container.h>
#include <GenApi/IBase.h>

namespace GENAPI_NAMESPACE {

struct GENAPI_DECL_ABSTRACT ISelector : virtual public IBase {
  virtual bool IsSelector() const = 0;
  virtual void GetSelectedFeatures(FeatureList_t&) const = 0;
  virtual void GetSelectingFeatures(FeatureList_t&) const = 0;
};

}  // namespace GENAPI_NAMESPACE
