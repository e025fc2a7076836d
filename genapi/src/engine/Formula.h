#pragma once
// SPDX-License-Identifier: Apache-2.0
// A formula of a camera description, compiled once into a small stack program. A Formula is
// immutable after Compile and may be evaluated by any thread; the values of its variables are
// passed in.
//
// Integer formulas work on 64-bit integers throughout. Float formulas keep integers exact for as
// long as all operands are integers and no division is involved, so that 64-bit masks survive bit
// operators.
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace OrvexGenApi {

// A number of a formula: an integer, or a double when isInt is false.
struct Number {
  union {
    int64_t i;
    double d;
  };
  bool isInt;

  static Number Int(int64_t v) {
    Number n;
    n.i = v;
    n.isInt = true;
    return n;
  }
  static Number Float(double v) {
    Number n;
    n.d = v;
    n.isInt = false;
    return n;
  }
  double AsDouble() const { return isInt ? static_cast<double>(i) : d; }
  bool IsTrue() const { return isInt ? i != 0 : d != 0; }
};

enum class FormulaKind : uint8_t { Integer, Float };

// A formula that cannot be compiled.
struct FormulaError {
  std::string text;
  size_t position;
};

// A formula that cannot be evaluated with the values it was given (division by zero and the like).
struct FormulaDomainError {
  const char* text;
};

// What a name in a formula means.
struct FormulaSymbol {
  enum class What { Unknown, Variable, Constant, Expression } what = What::Unknown;
  uint32_t variable = 0;          // index of the value passed to Evaluate
  Number constant = {};           // for Constant
  std::string_view expression{};  // for Expression: its text
};
using FormulaResolver = std::function<FormulaSymbol(std::string_view name)>;

class Formula {
 public:
  // Throws FormulaError.
  void Compile(std::string_view text, FormulaKind kind, const FormulaResolver& resolve);
  bool IsCompiled() const { return !m_code.empty(); }

  // Values are indexed as the resolver numbered the variables. Throws FormulaDomainError.
  int64_t EvaluateInt(const Number* variables) const;
  double EvaluateFloat(const Number* variables) const;

  struct Instruction {
    uint16_t op;
    uint16_t extra;
    uint32_t operand;
  };

 private:
  Number Run(const Number* variables) const;

  FormulaKind m_kind = FormulaKind::Float;
  uint32_t m_stackNeed = 0;
  std::vector<Instruction> m_code;
  std::vector<Number> m_constants;
};

// The integer next to a double, half away from zero. Throws FormulaDomainError outside the 64-bit
// range.
int64_t RoundToInt(double value);

}  // namespace OrvexGenApi
