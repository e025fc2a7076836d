// SPDX-License-Identifier: Apache-2.0
// Formula text to stack program: precedence climbing over one token of look-ahead.
#include <cctype>
#include <charconv>
#include <cmath>

#include "engine/Formula.h"
#include "engine/FormulaOps.h"
#include "engine/Limits.h"

namespace OrvexGenApi {
namespace {

struct BinaryOperator {
  std::string_view text;
  int level;  // higher binds tighter
  Op op;
};

// Longer texts stand before their prefixes. All of them group from the left, the power operator
// included.
constexpr BinaryOperator sk_binary[] = {
    {"**", 10, Op::Power},       {"*", 9, Op::Multiply},     {"/", 9, Op::Divide},
    {"%", 9, Op::Modulo},        {"+", 8, Op::Add},          {"-", 8, Op::Subtract},
    {"<<", 7, Op::ShiftLeft},    {">>", 7, Op::ShiftRight},  {"<=", 6, Op::LessEqual},
    {">=", 6, Op::GreaterEqual}, {"<>", 5, Op::NotEqual},    {"!=", 5, Op::NotEqual},
    {"<", 6, Op::Less},          {">", 6, Op::Greater},      {"==", 5, Op::Equal},
    {"=", 5, Op::Equal},         {"&&", 1, Op::JumpIfFalse}, {"||", 0, Op::JumpIfFalse},
    {"&", 4, Op::BitAnd},        {"^", 3, Op::BitXor},       {"|", 2, Op::BitOr},
};
constexpr int sk_andLevel = 1;
constexpr int sk_orLevel = 0;

struct FunctionName {
  std::string_view text;
  Fn fn;
  int minArguments;
  int maxArguments;
};
constexpr FunctionName sk_functions[] = {
    {"SGN", Fn::Sgn, 1, 1},   {"NEG", Fn::Neg, 1, 1},     {"ATAN", Fn::Atan, 1, 1},
    {"COS", Fn::Cos, 1, 1},   {"SIN", Fn::Sin, 1, 1},     {"TAN", Fn::Tan, 1, 1},
    {"ASIN", Fn::Asin, 1, 1}, {"ACOS", Fn::Acos, 1, 1},   {"ABS", Fn::Abs, 1, 1},
    {"EXP", Fn::Exp, 1, 1},   {"LN", Fn::Ln, 1, 1},       {"LG", Fn::Lg, 1, 1},
    {"SQRT", Fn::Sqrt, 1, 1}, {"TRUNC", Fn::Trunc, 1, 1}, {"FLOOR", Fn::Floor, 1, 1},
    {"CEIL", Fn::Ceil, 1, 1}, {"ROUND", Fn::Round, 1, 2},
};

bool EqualsIgnoringCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (std::toupper(static_cast<unsigned char>(a[i])) != b[i]) return false;
  }
  return true;
}

bool IsNameStart(char c) {
  return std::isalpha(static_cast<unsigned char>(c)) || c == '_';
}
bool IsNamePart(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '.';
}
bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

class Compiler {
 public:
  Compiler(FormulaKind kind, const FormulaResolver& resolve,
           std::vector<Formula::Instruction>& code, std::vector<Number>& constants)
      : m_kind(kind), m_resolve(resolve), m_code(code), m_constants(constants) {}

  void CompileAll(std::string_view text) {
    CompileText(text);
    if (m_code.size() > sk_maxFormulaInstructions) Fail("the formula is too long");
  }
  uint32_t StackNeed() const { return m_maxStack; }

 private:
  [[noreturn]] void Fail(std::string text) const { throw FormulaError{std::move(text), m_pos}; }

  // The text of a formula or, nested in it, of a named expression.
  void CompileText(std::string_view text) {
    if (text.size() > sk_maxFormulaLength) Fail("the formula is too long");
    const auto outerText = m_text;
    const size_t outerPos = m_pos;
    m_text = text;
    m_pos = 0;
    Conditional();
    SkipBlanks();
    if (m_pos != m_text.size()) Fail("unexpected '" + std::string(m_text.substr(m_pos, 12)) + "'");
    m_text = outerText;
    m_pos = outerPos;
  }

  void SkipBlanks() {
    while (m_pos < m_text.size() && std::isspace(static_cast<unsigned char>(m_text[m_pos])))
      ++m_pos;
  }
  bool Accept(char c) {
    SkipBlanks();
    if (m_pos >= m_text.size() || m_text[m_pos] != c) return false;
    ++m_pos;
    return true;
  }
  void Expect(char c) {
    if (!Accept(c)) Fail(std::string("'") + c + "' expected");
  }

  uint32_t Emit(Op op, uint32_t operand = 0, uint16_t extra = 0) {
    if (m_code.size() >= sk_maxFormulaInstructions) Fail("the formula is too long");
    m_code.push_back({static_cast<uint16_t>(op), extra, operand});
    return static_cast<uint32_t>(m_code.size() - 1);
  }
  void PatchToHere(uint32_t instruction) {
    m_code[instruction].operand = static_cast<uint32_t>(m_code.size());
  }
  void Push() {
    if (++m_stack > m_maxStack) m_maxStack = m_stack;
    if (m_stack > sk_maxFormulaStack) Fail("the formula is nested too deeply");
  }
  void Pop(uint32_t n = 1) { m_stack -= n; }
  void PushConstant(Number value) {
    m_constants.push_back(value);
    Emit(Op::PushConstant, static_cast<uint32_t>(m_constants.size() - 1));
    Push();
  }

  struct DepthGuard {
    explicit DepthGuard(Compiler& c) : compiler(c) {
      if (++compiler.m_depth > sk_maxFormulaDepth)
        compiler.Fail("the formula is nested too deeply");
    }
    ~DepthGuard() { --compiler.m_depth; }
    Compiler& compiler;
  };

  void Conditional() {
    DepthGuard guard(*this);
    Binary(sk_orLevel);
    if (!Accept('?')) return;
    const uint32_t toElse = Emit(Op::JumpIfFalse);
    Pop();
    Conditional();
    Expect(':');
    const uint32_t toEnd = Emit(Op::Jump);
    Pop();
    PatchToHere(toElse);
    Conditional();
    PatchToHere(toEnd);
  }

  const BinaryOperator* PeekBinary() {
    SkipBlanks();
    const auto rest = m_text.substr(m_pos);
    for (const auto& candidate : sk_binary) {
      if (!rest.starts_with(candidate.text)) continue;
      // The first character of a two-character operator is not an operator of its own.
      if (candidate.text == "&" && rest.starts_with("&&")) continue;
      if (candidate.text == "|" && rest.starts_with("||")) continue;
      return &candidate;
    }
    return nullptr;
  }

  void Binary(int minLevel) {
    DepthGuard guard(*this);
    Unary();
    for (;;) {
      const BinaryOperator* op = PeekBinary();
      if (op == nullptr || op->level < minLevel) return;
      m_pos += op->text.size();
      if (op->level == sk_andLevel) {
        ShortCircuitAnd();
      } else if (op->level == sk_orLevel) {
        ShortCircuitOr();
      } else {
        Binary(op->level + 1);
        Emit(op->op);
        Pop();
      }
    }
  }

  // a && b: b is only evaluated when a is true.
  void ShortCircuitAnd() {
    const uint32_t toFalse = Emit(Op::JumpIfFalse);
    Pop();
    Binary(sk_andLevel + 1);
    Emit(Op::Truth);
    const uint32_t toEnd = Emit(Op::Jump);
    Pop();
    PatchToHere(toFalse);
    PushConstant(Number::Int(0));
    PatchToHere(toEnd);
  }

  void ShortCircuitOr() {
    const uint32_t toSecond = Emit(Op::JumpIfFalse);
    Pop();
    PushConstant(Number::Int(1));
    const uint32_t toEnd = Emit(Op::Jump);
    Pop();
    PatchToHere(toSecond);
    Binary(sk_orLevel + 1);
    Emit(Op::Truth);
    PatchToHere(toEnd);
  }

  void Unary() {
    DepthGuard guard(*this);
    if (Accept('-')) {
      Unary();
      Emit(Op::Negate);
    } else if (Accept('+')) {
      Unary();
    } else if (Accept('~')) {
      Unary();
      Emit(Op::Complement);
    } else {
      Primary();
    }
  }

  void Primary() {
    SkipBlanks();
    if (m_pos >= m_text.size()) Fail("the formula ends where a value is expected");
    const char c = m_text[m_pos];
    if (Accept('(')) {
      Conditional();
      Expect(')');
    } else if (IsDigit(c) || c == '.') {
      Literal();
    } else if (IsNameStart(c)) {
      Name();
    } else {
      Fail("unexpected '" + std::string(m_text.substr(m_pos, 12)) + "'");
    }
  }

  void Literal() {
    const char* begin = m_text.data() + m_pos;
    const char* end = m_text.data() + m_text.size();
    if (end - begin > 2 && begin[0] == '0' && (begin[1] == 'x' || begin[1] == 'X')) {
      uint64_t value = 0;
      const auto [stop, error] = std::from_chars(begin + 2, end, value, 16);
      if (error != std::errc()) Fail("bad hexadecimal number");
      Finish(stop, Number::Int(static_cast<int64_t>(value)));
      return;
    }
    int64_t integer = 0;
    const auto asInt = std::from_chars(begin, end, integer, 10);
    double real = 0;
    const auto asReal = std::from_chars(begin, end, real);
    if (asReal.ec != std::errc()) Fail("bad number");
    if (asInt.ec == std::errc() && asInt.ptr == asReal.ptr) {
      Finish(asInt.ptr, Number::Int(integer));
    } else if (m_kind == FormulaKind::Float) {
      Finish(asReal.ptr, Number::Float(real));
    } else if (real == std::trunc(real) && std::fabs(real) < 9.2e18) {
      Finish(asReal.ptr, Number::Int(static_cast<int64_t>(real)));
    } else {
      // Never cut silently.
      Fail("an integer formula holds a number that is no 64-bit integer");
    }
  }
  void Finish(const char* stop, Number value) {
    m_pos = static_cast<size_t>(stop - m_text.data());
    if (m_pos < m_text.size() && (IsNameStart(m_text[m_pos]) || IsDigit(m_text[m_pos]))) {
      Fail("bad number");
    }
    PushConstant(value);
  }

  void Name() {
    const size_t start = m_pos;
    while (m_pos < m_text.size() && IsNamePart(m_text[m_pos])) ++m_pos;
    const auto name = m_text.substr(start, m_pos - start);
    // Symbols of the node win over the names of the language.
    const FormulaSymbol symbol = m_resolve(name);
    switch (symbol.what) {
      case FormulaSymbol::What::Variable:
        Emit(Op::PushVariable, symbol.variable);
        Push();
        return;
      case FormulaSymbol::What::Constant:
        PushConstant(symbol.constant);
        return;
      case FormulaSymbol::What::Expression:
        NamedExpression(symbol.expression);
        return;
      case FormulaSymbol::What::Unknown:
        break;
    }
    if (EqualsIgnoringCase(name, "PI") || EqualsIgnoringCase(name, "E")) {
      if (Accept('(')) Expect(')');
      PushConstant(
          Number::Float(name.size() == 2 ? 3.14159265358979323846 : 2.71828182845904523536));
      return;
    }
    for (const auto& function : sk_functions) {
      if (EqualsIgnoringCase(name, function.text)) {
        Call(function);
        return;
      }
    }
    Fail("unknown name '" + std::string(name) + "'");
  }

  void NamedExpression(std::string_view text) {
    DepthGuard guard(*this);
    CompileText(text);
  }

  void Call(const FunctionName& function) {
    Expect('(');
    int arguments = 0;
    do {
      Conditional();
      ++arguments;
    } while (arguments < function.maxArguments && Accept(','));
    Expect(')');
    if (arguments < function.minArguments) Fail("too few arguments");
    Emit(Op::Function, static_cast<uint32_t>(function.fn), static_cast<uint16_t>(arguments));
    Pop(static_cast<uint32_t>(arguments - 1));
  }

  FormulaKind m_kind;
  const FormulaResolver& m_resolve;
  std::vector<Formula::Instruction>& m_code;
  std::vector<Number>& m_constants;
  std::string_view m_text;
  size_t m_pos = 0;
  size_t m_depth = 0;
  uint32_t m_stack = 0;
  uint32_t m_maxStack = 0;
};

}  // namespace

void Formula::Compile(std::string_view text, FormulaKind kind, const FormulaResolver& resolve) {
  std::vector<Instruction> code;
  std::vector<Number> constants;
  Compiler compiler(kind, resolve, code, constants);
  compiler.CompileAll(text);
  code.shrink_to_fit();
  constants.shrink_to_fit();
  m_kind = kind;
  m_stackNeed = compiler.StackNeed();
  m_code = std::move(code);
  m_constants = std::move(constants);
}

}  // namespace OrvexGenApi
