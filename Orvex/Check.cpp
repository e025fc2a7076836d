// SPDX-License-Identifier: Apache-2.0
#include "Orvex/Check.h"

#include <array>
#include <iterator>

#include "gentl/Producer.h"

namespace Orvex {
namespace {

using ThrowFunction = void (*)(const std::string&, const CheckSite&);

struct StatusRow {
  const char* label;
  const char* className;
  ThrowFunction raise;
};

#define STATUS_ROW(label, ExceptionClass) \
  { #label, #ExceptionClass, &Throw < GenICam::ExceptionClass> }

// Index: unsigned(code + 1022).
constexpr StatusRow sk_statusRows[] = {
    STATUS_ROW(GC_ERR_BUSY, RuntimeException),
    // Kept on purpose: callers expect a RuntimeException here, not a BadAllocException.
    STATUS_ROW(GC_ERR_OUT_OF_MEMORY, RuntimeException),
    STATUS_ROW(GC_ERR_RESOURCE_EXHAUSTED, RuntimeException),
    STATUS_ROW(GC_ERR_INVALID_VALUE, InvalidArgumentException),
    STATUS_ROW(GC_ERR_PARSING_CHUNK_DATA, RuntimeException),
    STATUS_ROW(GC_ERR_INVALID_INDEX, OutOfRangeException),
    // Kept on purpose: callers treat a short buffer and a wrong address as wrong arguments.
    STATUS_ROW(GC_ERR_BUFFER_TOO_SMALL, InvalidArgumentException),
    STATUS_ROW(GC_ERR_INVALID_ADDRESS, InvalidArgumentException),
    STATUS_ROW(GC_ERR_NOT_AVAILABLE, LogicalErrorException),
    STATUS_ROW(GC_ERR_INVALID_BUFFER, InvalidArgumentException),
    STATUS_ROW(GC_ERR_ABORT, RuntimeException),
    STATUS_ROW(GC_ERR_TIMEOUT, TimeoutException),
    STATUS_ROW(GC_ERR_IO, RuntimeException),
    STATUS_ROW(GC_ERR_INVALID_PARAMETER, InvalidArgumentException),
    STATUS_ROW(GC_ERR_NO_DATA, RuntimeException),
    STATUS_ROW(GC_ERR_INVALID_ID, InvalidArgumentException),
    STATUS_ROW(GC_ERR_INVALID_HANDLE, InvalidArgumentException),
    STATUS_ROW(GC_ERR_ACCESS_DENIED, AccessException),
    STATUS_ROW(GC_ERR_RESOURCE_IN_USE, LogicalErrorException),
    STATUS_ROW(GC_ERR_NOT_IMPLEMENTED, LogicalErrorException),
    STATUS_ROW(GC_ERR_NOT_INITIALIZED, LogicalErrorException),
};
static_assert(std::size(sk_statusRows) == 21);

// Every other code goes by this name, whatever it is.
constexpr StatusRow sk_otherRow = STATUS_ROW(GC_ERR_ERROR, GenericException);

#undef STATUS_ROW

constexpr size_t sk_errorTextSize = 2048;

const StatusRow& RowOf(GenTL::GC_ERROR status) {
  const uint32_t index = static_cast<uint32_t>(status) + 1022u;
  return index < std::size(sk_statusRows) ? sk_statusRows[index] : sk_otherRow;
}

std::string Place(std::string_view head, std::string_view label, std::string_view whatFailed,
                  const CheckSite& site) {
  std::string text(head);
  text.append(" (").append(label).append("): ").append(whatFailed);
  text.append(" (").append(site.unit).append(", ").append(site.function);
  return text;
}

std::string GenTLDescription(std::string_view className, std::string_view label,
                             std::string_view whatFailed, std::string_view gentlName,
                             const CheckSite& site) {
  const std::string producerText = ProducerErrorText();
  std::string text = Place(className, label, whatFailed, site);
  text.append("; GenTL::").append(gentlName).append("); ").append(producerText);
  return text;
}

}  // namespace

std::string ProducerErrorText() {
  constexpr const char* sk_unavailable = "Unable to get error from GenTL layer.";
  std::array<char, sk_errorTextSize + 1> text{};  // one more than told, so that it always ends
  size_t size = sk_errorTextSize;
  GenTL::GC_ERROR lastStatus = 0;
  try {
    if (GenTL::Producer().GCGetLastError(&lastStatus, text.data(), &size) != 0)
      return sk_unavailable;
  } catch (const std::exception&) {  // no producer is loaded
    return sk_unavailable;
  }
  return text.data();
}

std::string PlainDescription(std::string_view className, std::string_view message,
                             const CheckSite& site) {
  std::string text(className);
  text.append(": ").append(message);
  text.append(" (").append(site.unit).append(", ").append(site.function).append(")");
  return text;
}

void ThrowGenTL(GenTL::GC_ERROR status, std::string_view whatFailed, std::string_view gentlName,
                const CheckSite& site) {
  const StatusRow& row = RowOf(status);
  row.raise(GenTLDescription(row.className, row.label, whatFailed, gentlName, site), site);
  __builtin_unreachable();
}

void ThrowGenTLShort(GenTL::GC_ERROR status, std::string_view whatFailed, const CheckSite& site) {
  const StatusRow& row = RowOf(status);
  // The producer's text is asked for here too, although the short message leaves it out: callers
  // rely on one query of it for each failure.
  static_cast<void>(ProducerErrorText());
  row.raise(Place(row.className, row.label, whatFailed, site) + ")", site);
  __builtin_unreachable();
}

void ThrowGenTLAsRuntime(std::string_view label, std::string_view whatFailed,
                         std::string_view gentlName, const CheckSite& site) {
  Throw<GenICam::RuntimeException>(
      GenTLDescription("RuntimeException", label, whatFailed, gentlName, site), site);
}

}  // namespace Orvex
