#pragma once
// SPDX-License-Identifier: Apache-2.0
// Shared libraries opened by name at run time. The functions may be called from any thread.

#include <dlfcn.h>

#include <Base/GCException.h>
#include <Base/GCString.h>
#include <GenApi/GenApiNamespace.h>

namespace GENAPI_NAMESPACE {

typedef void* lib_handle_t;

// Opens Name, a path or a name that the dynamic linker finds. RuntimeException with the linker's
// reason when it cannot. Every handle wants one CloseLibrary.
inline lib_handle_t OpenLibrary(const GENICAM_NAMESPACE::gcstring& Name) {
  const lib_handle_t handle = ::dlopen(Name.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!handle) {
    const char* const pWhy = ::dlerror();
    throw RUNTIME_EXCEPTION("Cannot open the library '%s': %s", Name.c_str(), pWhy ? pWhy : "");
  }
  return handle;
}

// The address of a symbol, null when the library has none of that name.
inline void* FindSymbol(lib_handle_t handle, const GENICAM_NAMESPACE::gcstring& Name) {
  return ::dlsym(handle, Name.c_str());
}

// Gives the handle up; what FindSymbol gave from it is not to be used any more. Null is ignored.
inline void CloseLibrary(lib_handle_t handle) {
  if (handle) ::dlclose(handle);
}

}  // namespace GENAPI_NAMESPACE
