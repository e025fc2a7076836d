#pragma once
// SPDX-License-Identifier: Apache-2.0
// What a camera description says about itself (GenICam GenApi). Part of the node map. Any thread.
#include <GenApi/Types.h>

namespace GENAPI_NAMESPACE {

struct GENAPI_DECL_ABSTRACT IDeviceInfo {
  virtual GENICAM_NAMESPACE::gcstring GetModelName() = 0;
  virtual GENICAM_NAMESPACE::gcstring GetVendorName() = 0;
  virtual GENICAM_NAMESPACE::gcstring GetToolTip() = 0;
  virtual GENICAM_NAMESPACE::gcstring GetStandardNameSpace() = 0;
  // Version of this engine's interface.
  virtual void GetGenApiVersion(Version_t& Version, uint16_t& Build) = 0;
  virtual void GetSchemaVersion(Version_t& Version) = 0;
  // Version of the description file.
  virtual void GetDeviceVersion(Version_t& Version) = 0;
  virtual GENICAM_NAMESPACE::gcstring GetProductGuid() = 0;
  virtual GENICAM_NAMESPACE::gcstring GetVersionGuid() = 0;

 protected:
  ~IDeviceInfo() = default;
};

}  // namespace GENAPI_NAMESPACE
