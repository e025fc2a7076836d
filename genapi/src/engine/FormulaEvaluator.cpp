// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <limits>

#include "engine/Formula.h"
#include "engine/FormulaOps.h"
#include "engine/Limits.h"

namespace OrvexGenApi {
namespace {

// Two's complement wrap-around instead of undefined behaviour.
int64_t Wrap(uint64_t v) {
  return static_cast<int64_t>(v);
}
uint64_t U(int64_t v) {
  return static_cast<uint64_t>(v);
}

int64_t DivideInt(int64_t a, int64_t b) {
  if (b == 0) throw FormulaDomainError{"division by zero"};
  return b == -1 ? Wrap(0 - U(a)) : a / b;
}
int64_t ModuloInt(int64_t a, int64_t b) {
  if (b == 0) throw FormulaDomainError{"division by zero"};
  return b == -1 ? 0 : a % b;
}

int64_t PowerInt(int64_t base, int64_t exponent) {
  if (exponent < 0) {
    if (base == 0) throw FormulaDomainError{"zero to a negative power"};
    if (base == 1) return 1;
    if (base == -1) return (exponent & 1) ? -1 : 1;
    return 0;
  }
  uint64_t result = 1;
  uint64_t factor = U(base);
  for (uint64_t e = U(exponent); e != 0; e >>= 1) {
    if (e & 1) result *= factor;
    factor *= factor;
  }
  return Wrap(result);
}

// Counts outside 0..63 shift everything out.
int64_t ShiftLeft(int64_t a, int64_t n) {
  if (n < 0 || n > 63) return 0;
  return Wrap(U(a) << n);
}
int64_t ShiftRight(int64_t a, int64_t n) {
  if (n < 0 || n > 63) return a < 0 ? -1 : 0;
  return a >> n;
}

// Operand of a bit operator.
int64_t Bits(const Number& n) {
  if (n.isInt) return n.i;
  const double t = std::trunc(n.d);
  if (!(t >= -9223372036854775808.0 && t < 18446744073709551616.0)) {
    throw FormulaDomainError{"a bit operator needs a 64-bit integer"};
  }
  return t >= 9223372036854775808.0 ? Wrap(static_cast<uint64_t>(t)) : static_cast<int64_t>(t);
}

double RoundHalfAway(double value, double digits) {
  if (digits == 0) return std::round(value);
  const double scale = std::pow(10.0, std::trunc(digits));
  const double scaled = value * scale;
  return std::isfinite(scaled) && scale != 0 ? std::round(scaled) / scale : value;
}

double CallFloat(Fn fn, double x, double second) {
  switch (fn) {
    case Fn::Sgn:
      return x > 0 ? 1 : x < 0 ? -1 : 0;
    case Fn::Neg:
      return -x;
    case Fn::Atan:
      return std::atan(x);
    case Fn::Cos:
      return std::cos(x);
    case Fn::Sin:
      return std::sin(x);
    case Fn::Tan:
      return std::tan(x);
    case Fn::Asin:
      return std::asin(x);
    case Fn::Acos:
      return std::acos(x);
    case Fn::Abs:
      return std::fabs(x);
    case Fn::Exp:
      return std::exp(x);
    case Fn::Ln:
      return std::log(x);
    case Fn::Lg:
      return std::log10(x);
    case Fn::Sqrt:
      return std::sqrt(x);
    case Fn::Trunc:
      return std::trunc(x);
    case Fn::Floor:
      return std::floor(x);
    case Fn::Ceil:
      return std::ceil(x);
    case Fn::Round:
      return RoundHalfAway(x, second);
  }
  return x;
}

Number Call(Fn fn, const Number& x, const Number* second) {
  if (x.isInt) {
    switch (fn) {
      case Fn::Sgn:
        return Number::Int(x.i > 0 ? 1 : x.i < 0 ? -1 : 0);
      case Fn::Neg:
        return Number::Int(Wrap(0 - U(x.i)));
      case Fn::Abs:
        return Number::Int(x.i < 0 ? Wrap(0 - U(x.i)) : x.i);
      case Fn::Trunc:
      case Fn::Floor:
      case Fn::Ceil:
        return x;
      case Fn::Round:
        if (second == nullptr || second->AsDouble() >= 0) return x;
        break;
      default:
        break;
    }
  }
  return Number::Float(CallFloat(fn, x.AsDouble(), second ? second->AsDouble() : 0));
}

bool Compare(Op op, const Number& a, const Number& b) {
  if (a.isInt && b.isInt) {
    switch (op) {
      case Op::Less:
        return a.i < b.i;
      case Op::Greater:
        return a.i > b.i;
      case Op::LessEqual:
        return a.i <= b.i;
      case Op::GreaterEqual:
        return a.i >= b.i;
      case Op::Equal:
        return a.i == b.i;
      default:
        return a.i != b.i;
    }
  }
  const double x = a.AsDouble();
  const double y = b.AsDouble();
  switch (op) {
    case Op::Less:
      return x < y;
    case Op::Greater:
      return x > y;
    case Op::LessEqual:
      return x <= y;
    case Op::GreaterEqual:
      return x >= y;
    case Op::Equal:
      return x == y;
    default:
      return x != y;
  }
}

Number ArithmeticFloat(Op op, const Number& a, const Number& b) {
  const double x = a.AsDouble();
  const double y = b.AsDouble();
  switch (op) {
    case Op::Power:
      return Number::Float(std::pow(x, y));
    case Op::Multiply:
      return Number::Float(x * y);
    case Op::Divide:
      if (y == 0) throw FormulaDomainError{"division by zero"};
      return Number::Float(x / y);
    case Op::Modulo:
      if (y == 0) throw FormulaDomainError{"division by zero"};
      return Number::Float(std::fmod(x, y));
    case Op::Add:
      return Number::Float(x + y);
    default:
      return Number::Float(x - y);
  }
}

// In an integer formula both operands count as integers; in a float formula integers stay exact
// while they can.
Number Arithmetic(Op op, const Number& a, const Number& b, FormulaKind kind) {
  if (!a.isInt || !b.isInt) return ArithmeticFloat(op, a, b);
  if (kind == FormulaKind::Integer) {
    switch (op) {
      case Op::Power:
        return Number::Int(PowerInt(a.i, b.i));
      case Op::Multiply:
        return Number::Int(Wrap(U(a.i) * U(b.i)));
      case Op::Divide:
        return Number::Int(DivideInt(a.i, b.i));
      case Op::Modulo:
        return Number::Int(ModuloInt(a.i, b.i));
      case Op::Add:
        return Number::Int(Wrap(U(a.i) + U(b.i)));
      default:
        return Number::Int(Wrap(U(a.i) - U(b.i)));
    }
  }
  int64_t exact = 0;
  switch (op) {
    case Op::Add:
      if (!__builtin_add_overflow(a.i, b.i, &exact)) return Number::Int(exact);
      break;
    case Op::Subtract:
      if (!__builtin_sub_overflow(a.i, b.i, &exact)) return Number::Int(exact);
      break;
    case Op::Multiply:
      if (!__builtin_mul_overflow(a.i, b.i, &exact)) return Number::Int(exact);
      break;
    case Op::Modulo:
      return Number::Int(ModuloInt(a.i, b.i));
    default:
      break;
  }
  return ArithmeticFloat(op, a, b);
}

}  // namespace

int64_t RoundToInt(double value) {
  const double rounded = std::round(value);
  if (!(rounded >= -9223372036854775808.0 && rounded < 9223372036854775808.0)) {
    throw FormulaDomainError{"the value does not fit into a 64-bit integer"};
  }
  return static_cast<int64_t>(rounded);
}

Number Formula::Run(const Number* variables) const {
  Number stack[sk_maxFormulaStack + 1];  // the first one is never used: the stack is empty there
  Number* top = stack;
  const Instruction* code = m_code.data();
  const Instruction* const end = code + m_code.size();
  for (const Instruction* at = code; at != end; ++at) {
    const Op op = static_cast<Op>(at->op);
    switch (op) {
      case Op::PushVariable:
        *++top = variables[at->operand];
        break;
      case Op::PushConstant:
        *++top = m_constants[at->operand];
        break;
      case Op::Jump:
        at = code + at->operand - 1;
        break;
      case Op::JumpIfFalse:
        if (!(top--)->IsTrue()) at = code + at->operand - 1;
        break;
      case Op::Truth:
        *top = Number::Int(top->IsTrue());
        break;
      case Op::Negate:
        *top = top->isInt ? Number::Int(Wrap(0 - U(top->i))) : Number::Float(-top->d);
        break;
      case Op::Complement:
        *top = Number::Int(~Bits(*top));
        break;
      case Op::Less:
      case Op::Greater:
      case Op::LessEqual:
      case Op::GreaterEqual:
      case Op::Equal:
      case Op::NotEqual:
        --top;
        *top = Number::Int(Compare(op, top[0], top[1]));
        break;
      case Op::ShiftLeft:
        --top;
        *top = Number::Int(ShiftLeft(Bits(top[0]), Bits(top[1])));
        break;
      case Op::ShiftRight:
        --top;
        *top = Number::Int(ShiftRight(Bits(top[0]), Bits(top[1])));
        break;
      case Op::BitAnd:
        --top;
        *top = Number::Int(Bits(top[0]) & Bits(top[1]));
        break;
      case Op::BitXor:
        --top;
        *top = Number::Int(Bits(top[0]) ^ Bits(top[1]));
        break;
      case Op::BitOr:
        --top;
        *top = Number::Int(Bits(top[0]) | Bits(top[1]));
        break;
      case Op::Function:
        top -= at->extra - 1;
        *top = Call(static_cast<Fn>(at->operand), top[0], at->extra > 1 ? &top[1] : nullptr);
        if (m_kind == FormulaKind::Integer && !top->isInt) *top = Number::Int(RoundToInt(top->d));
        break;
      default:
        --top;
        *top = Arithmetic(op, top[0], top[1], m_kind);
        break;
    }
  }
  return *top;
}

int64_t Formula::EvaluateInt(const Number* variables) const {
  const Number result = Run(variables);
  return result.isInt ? result.i : RoundToInt(result.d);
}

double Formula::EvaluateFloat(const Number* variables) const {
  return Run(variables).AsDouble();
}

}  // namespace OrvexGenApi
