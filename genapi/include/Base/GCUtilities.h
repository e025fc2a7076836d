#pragma once
// SPDX-License-Identifier: Apache-2.0
// Checked integer conversion, environment variables, URL coding, tokens, file lists and the folders
// of GenICam. All functions may be called from any thread, but the environment is the process's:
// don't set it beside readers.

#include <limits>
#include <type_traits>

#include <Base/GCException.h>
#include <Base/GCString.h>
#include <Base/GCStringVector.h>
#include <Base/GCTypes.h>

#define GENICAM_UNUSED(x)  (void)(x)
#define GENICAM_DEPRECATED [[deprecated]]
#define GC_COUNTOF(array)  (sizeof(array) / sizeof((array)[0]))

#if defined(__x86_64__)
#define PLATFORM_NAME "Linux64_x64"
#elif defined(__aarch64__)
#define PLATFORM_NAME "Linux64_ARM"
#elif defined(__i386__)
#define PLATFORM_NAME "Linux32_i86"
#else
#define PLATFORM_NAME "Linux"
#endif

namespace GENICAM_NAMESPACE {

// ll converted to Td; RuntimeException when Td cannot hold it.
template <typename Td, typename Ts>
inline Td INTEGRAL_CAST2(Ts ll) {
  static_assert(std::is_integral_v<Td> && std::is_integral_v<Ts>, "integers only");
  const Td d = static_cast<Td>(ll);
  if (static_cast<Ts>(d) != ll || ((d < Td(0)) != (ll < Ts(0)))) {
    throw RUNTIME_EXCEPTION("INTEGRAL_CAST failed: the value does not fit the type");
  }
  return d;
}

template <typename T>
inline T INTEGRAL_CAST(int64_t ll) {
  return INTEGRAL_CAST2<T, int64_t>(ll);
}

// Text of the calling thread's last system error (errno).
GCBASE_API void GetLastErrorMessage(gcstring& ErrText);

GCBASE_API bool DoesEnvironmentVariableExist(const gcstring& VariableName);
// RuntimeException when the variable is not set.
GCBASE_API gcstring GetValueOfEnvironmentVariable(const gcstring& VariableName);
// False, and the content untouched, when the variable is not set.
GCBASE_API bool GetValueOfEnvironmentVariable(const gcstring& VariableName,
                                              gcstring& VariableContent);
// Replaces each $(NAME) by the variable's value; a variable that is not set raises
// RuntimeException.
GCBASE_API void ReplaceEnvironmentVariables(gcstring& Buffer, bool ReplaceBlankBy20 = false);

// Percent coding of everything but letters, digits and "-_.~" (RFC 3986); decoding leaves malformed
// escapes as they are.
GCBASE_API gcstring UrlEncode(const gcstring& Input);
GCBASE_API gcstring UrlDecode(const gcstring& Input);

// The folders, from the value set last, else from the environment variables named in
// GenICamVersion.h; RuntimeException when there is neither.
GCBASE_API gcstring GetGenICamCacheFolder();
GCBASE_API gcstring GetGenICamLogConfig();
GCBASE_API gcstring GetGenICamCLProtocolFolder();
GCBASE_API void SetGenICamCacheFolder(const gcstring& path);
GCBASE_API void SetGenICamLogConfig(const gcstring& path);
GCBASE_API void SetGenICamCLProtocolFolder(const gcstring& path);

// Splits at any of the delimiters; empty tokens are dropped. Tokens are added to those already
// there.
GCBASE_API void Tokenize(const gcstring& str, gcstring_vector& tokens,
                         const gcstring& delimiters = " ");

// Paths that match a template such as "/path/*.xml", sorted; only folders when so asked.
// Environment variables in the template are replaced. The result replaces what was in FileNames.
GCBASE_API void GetFiles(const gcstring& FileTemplate, gcstring_vector& FileNames,
                         bool DirectoriesOnly = false);

// Path of the program or shared object that contains the function; empty when unknown.
GCBASE_API gcstring GetModulePathFromFunction(void* pFunction);

}  // namespace GENICAM_NAMESPACE
