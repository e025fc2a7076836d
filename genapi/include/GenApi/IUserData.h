#pragma once
// SPDX-License-Identifier: Apache-2.0
// A pointer of the application's that a node or a node map carries (GenICam GenApi). Never looked
// at. Any thread.
#include <GenApi/Types.h>

namespace GENAPI_NAMESPACE {

struct GENAPI_DECL_ABSTRACT IUserData {
  virtual UserData_t GetUserData() const = 0;
  // Answers the pointer that was there before.
  virtual UserData_t SetUserData(UserData_t userdata) = 0;

 protected:
  ~IUserData() = default;
};

}  // namespace GENAPI_NAMESPACE
