#pragma once
// SPDX-License-Identifier: Apache-2.0
// What a command throws when it cannot go on, and the translation of every other exception into one
// plain line. Commands throw Failure (exit code 1) or Misuse (exit code 2); Program.cpp catches and
// prints. Free of state, any thread.

#include <exception>
#include <stdexcept>
#include <string>
#include <string_view>

namespace OrvexTools {

// Exit codes of the program.
inline constexpr int sk_exitOk = 0;
inline constexpr int sk_exitFailure = 1;
inline constexpr int sk_exitMisuse = 2;

// The work could not be done. The text says what happened and what to do, in one line without a
// full stop.
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The command line makes no sense; nothing was tried.
class Misuse : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Turns a description composed by the library ("Class (GC_ERR_X): what (Unit.cpp, Function;
// GenTL::Name); reason") or by the node-map engine into one line for a person: what failed, the
// producer's reason where it says something new, and an advice for the causes that have one. Line
// breaks become ", ".
std::string PlainLine(std::string_view description);

// The same for whatever is in flight: GenICam exceptions, standard ones, and anything else.
std::string PlainLine(std::exception_ptr pException);

}  // namespace OrvexTools
