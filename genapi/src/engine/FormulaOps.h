#pragma once
// SPDX-License-Identifier: Apache-2.0
// Operation codes of compiled formulas, shared by the compiler and the evaluator.
#include <cstdint>

namespace OrvexGenApi {

enum class Op : uint16_t {
  PushVariable,  // operand: variable
  PushConstant,  // operand: constant
  Jump,          // operand: target
  JumpIfFalse,   // pops the condition
  Truth,         // top of stack becomes 1 or 0
  Negate,
  Complement,
  Power,
  Multiply,
  Divide,
  Modulo,
  Add,
  Subtract,
  ShiftLeft,
  ShiftRight,
  Less,
  Greater,
  LessEqual,
  GreaterEqual,
  Equal,
  NotEqual,
  BitAnd,
  BitXor,
  BitOr,
  Function,  // operand: function, extra: number of arguments
};

enum class Fn : uint32_t {
  Sgn,
  Neg,
  Atan,
  Cos,
  Sin,
  Tan,
  Asin,
  Acos,
  Abs,
  Exp,
  Ln,
  Lg,
  Sqrt,
  Trunc,
  Floor,
  Ceil,
  Round,
};

}  // namespace OrvexGenApi
