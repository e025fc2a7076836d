#pragma once
// SPDX-License-Identifier: Apache-2.0
// The ways in which the library raises errors, all of them GenICam exceptions:
//   CHECK_GENTL    a producer call's status: the class follows the code, the message says what
//                  failed, where, in which producer function, and the producer's own text
//   CHECK_ARG      a precondition: class, message, unit, function
//   THROW_DIRECT   the bare message
// The macros only take the place; one cold function each composes and throws. The unit in a message
// is the source file's name; forms ending in _FN take the function's name instead of __func__. The
// text arguments are evaluated only on failure. Usable from any thread.
#include <Base/GCException.h>

#include <string>
#include <string_view>
#include <type_traits>

#include "gentl/GenTL.h"

namespace Orvex {

// Where a check stands.
struct CheckSite {
  std::string unit;
  const char* function;
  unsigned int line;
};

// The file's name without its folders. A unit may be spread over several files: UNIT_PART.cpp goes
// by the name UNIT.cpp.
inline std::string UnitName(std::string_view path) {
  const size_t slash = path.rfind('/');
  if (slash != std::string_view::npos) path.remove_prefix(slash + 1);
  const size_t part = path.find('_');
  if (part == std::string_view::npos) return std::string(path);
  return std::string(path.substr(0, part)).append(path.substr(path.rfind('.')));
}

// Makers of the exception; a description longer than GenICam's own limit is its business.
template <typename E>
[[noreturn, gnu::cold]] void Throw(const std::string& description, const CheckSite& site) {
  throw E(description.c_str(), site.unit.c_str(), site.line);
}

// "CLASS: MESSAGE (UNIT, FUNCTION)"
std::string PlainDescription(std::string_view className, std::string_view message,
                             const CheckSite& site);

template <typename E>
[[noreturn, gnu::cold]] void ThrowPlain(std::string_view className, std::string_view message,
                                        const CheckSite& site) {
  Throw<E>(PlainDescription(className, message, site), site);
}

// "CLASS (LABEL): WHAT FAILED (UNIT, FUNCTION; GenTL::NAME); PRODUCER'S TEXT", thrown as the class
// that belongs to the code.
[[noreturn, gnu::cold]] void ThrowGenTL(GenTL::GC_ERROR status, std::string_view whatFailed,
                                        std::string_view gentlName, const CheckSite& site);

// "CLASS (LABEL): WHAT FAILED (UNIT, FUNCTION)"
[[noreturn, gnu::cold]] void ThrowGenTLShort(GenTL::GC_ERROR status, std::string_view whatFailed,
                                             const CheckSite& site);

// As ThrowGenTL, but always a RuntimeException, under the given label.
[[noreturn, gnu::cold]] void ThrowGenTLAsRuntime(std::string_view label,
                                                 std::string_view whatFailed,
                                                 std::string_view gentlName, const CheckSite& site);

// The producer's text for the calling thread's last failure, at most 2047 characters.
std::string ProducerErrorText();

}  // namespace Orvex

#define ORVEX_SITE_FN(functionName)                     \
  ::Orvex::CheckSite {                                  \
    ::Orvex::UnitName(__FILE__), functionName, __LINE__ \
  }
#define ORVEX_SITE ORVEX_SITE_FN(__func__)

#define THROW_PLAIN_FN(ExceptionClass, message, functionName)                           \
  ::Orvex::ThrowPlain<::GenICam::ExceptionClass>(#ExceptionClass, std::string(message), \
                                                 ORVEX_SITE_FN(functionName))
#define THROW_PLAIN(ExceptionClass, message) THROW_PLAIN_FN(ExceptionClass, message, __func__)

#define CHECK_ARG_FN(condition, ExceptionClass, message, functionName) \
  do {                                                                 \
    if (!(condition)) [[unlikely]]                                     \
      THROW_PLAIN_FN(ExceptionClass, message, functionName);           \
  } while (false)
#define CHECK_ARG(condition, ExceptionClass, message) \
  CHECK_ARG_FN(condition, ExceptionClass, message, __func__)

#define THROW_DIRECT(ExceptionClass, message) \
  ::Orvex::Throw<::GenICam::ExceptionClass>(std::string(message), ORVEX_SITE)

#define THROW_GENTL_FN(status, whatFailed, gentlName, functionName) \
  ::Orvex::ThrowGenTL(status, std::string(whatFailed), gentlName, ORVEX_SITE_FN(functionName))

#define CHECK_GENTL_FN(status, whatFailed, gentlName, functionName)                    \
  do {                                                                                 \
    if (const ::GenTL::GC_ERROR orvexStatus = (status); orvexStatus != 0) [[unlikely]] \
      THROW_GENTL_FN(orvexStatus, whatFailed, gentlName, functionName);                \
  } while (false)
#define CHECK_GENTL(status, whatFailed, gentlName) \
  CHECK_GENTL_FN(status, whatFailed, gentlName, __func__)
