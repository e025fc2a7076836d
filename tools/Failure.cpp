// SPDX-License-Identifier: Apache-2.0
#include "tools/Failure.h"

#include <Base/GCException.h>

#include <array>
#include <cctype>
#include <vector>

namespace OrvexTools {
namespace {

// What a person can do about a status that the producer returned.
struct Advice {
  std::string_view status;
  std::string_view text;
};

constexpr std::array<Advice, 7> sk_advices{{
    {"GC_ERR_TIMEOUT", "check that the camera still has power and network, then try again"},
    {"GC_ERR_ACCESS_DENIED",
     "another application may hold the camera: close it there and try again"},
    {"GC_ERR_RESOURCE_IN_USE", "close whatever else uses the camera and try again"},
    {"GC_ERR_IO", "check that the camera still has power and network, then try again"},
    {"GC_ERR_OUT_OF_MEMORY", "use fewer or smaller buffers"},
    {"GC_ERR_RESOURCE_EXHAUSTED", "close other programs that use cameras and try again"},
    {"GC_ERR_NOT_IMPLEMENTED", "the loaded producer cannot do this"},
}};

std::string_view Trim(std::string_view text) {
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front())))
    text.remove_prefix(1);
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back())))
    text.remove_suffix(1);
  return text;
}

std::string OneLine(std::string_view text) {
  std::string line;
  bool atBreak = false;
  for (const char c : Trim(text)) {
    if (c == '\n' || c == '\r') {
      atBreak = true;
      continue;
    }
    if (atBreak) {
      // After a colon the list simply goes on; elsewhere its items need a separator.
      line += line.ends_with(':') ? " " : ", ";
      atBreak = false;
    }
    line += c;
  }
  return line;
}

// Takes "RuntimeException (GC_ERR_X): " or "RuntimeException: " off the front and returns the
// status, empty if none.
std::string_view TakeClass(std::string_view& text) {
  std::size_t end = 0;
  while (end < text.size() && std::isalnum(static_cast<unsigned char>(text[end]))) ++end;
  if (end == 0 || !text.substr(0, end).ends_with("Exception")) return {};
  std::string_view rest = text.substr(end);
  std::string_view status;
  if (rest.starts_with(" (")) {
    const auto close = rest.find("): ");
    if (close == std::string_view::npos) return {};
    status = rest.substr(2, close - 2);
    rest.remove_prefix(close + 1);
  }
  if (!rest.starts_with(": ")) return {};
  text = rest.substr(2);
  constexpr std::string_view sk_namespace = "GenTL::";
  if (status.starts_with(sk_namespace)) status.remove_prefix(sk_namespace.size());
  return status;
}

// Splits "what (Unit.cpp, Function; GenTL::Name); reason" or "what (Unit.cpp, Function)" into what
// and reason.
std::string_view TakePlace(std::string_view& text) {
  const auto gentl = text.rfind("; GenTL::");
  if (gentl != std::string_view::npos) {
    const auto open = text.rfind(" (", gentl);
    const auto close = text.find(')', gentl);
    if (open == std::string_view::npos || close == std::string_view::npos) return {};
    std::string_view reason = text.substr(close + 1);
    if (reason.starts_with(";")) reason.remove_prefix(1);
    text = text.substr(0, open);
    return Trim(reason);
  }
  const auto open = text.rfind(" (");
  if (open == std::string_view::npos || !text.ends_with(")")) return {};
  // Only a place looks like "(Unit, Function)": two words without blanks.
  const std::string_view inside = text.substr(open + 2, text.size() - open - 3);
  const auto comma = inside.find(", ");
  const bool isPlace = comma != std::string_view::npos && comma > 0 &&
                       inside.find(' ') == comma + 1 && inside.rfind(' ') == comma + 1;
  if (isPlace) text = text.substr(0, open);
  return {};
}

}  // namespace

std::string PlainLine(std::string_view description) {
  std::string_view what = Trim(description);
  const std::string_view status = TakeClass(what);
  const std::string_view reason = TakePlace(what);
  std::string line = OneLine(what);
  while (line.ends_with(':') || line.ends_with(' ')) line.pop_back();
  if (!reason.empty() && line.find(OneLine(reason)) == std::string::npos)
    line += ": " + OneLine(reason);
  while (line.ends_with('.')) line.pop_back();
  for (const Advice& advice : sk_advices) {
    if (advice.status == status) line.append("; ").append(advice.text);
  }
  return line.empty() ? "unknown failure" : line;
}

std::string PlainLine(std::exception_ptr pException) {
  try {
    std::rethrow_exception(pException);
  } catch (const GenICam::GenericException& error) {
    return PlainLine(std::string_view(error.GetDescription()));
  } catch (const std::bad_alloc&) {
    return "out of memory; use fewer or smaller buffers";
  } catch (const std::exception& error) {
    return OneLine(error.what());
  } catch (...) {
    return "unknown failure";
  }
}

}  // namespace OrvexTools
