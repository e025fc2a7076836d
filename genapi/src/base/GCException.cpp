// SPDX-License-Identifier: Apache-2.0
// Exceptions of the GenICam interface, their composed text, and the range checks that throw them.

#include <Base/GCException.h>

#include <cmath>
#include <cstdio>

namespace GENICAM_NAMESPACE {

namespace {

std::string Text(const char* p) {
  return p ? p : "";
}

}  // namespace

GenericException::GenericException(const char* pDescription, const char* pSourceFileName,
                                   unsigned int SourceLine)
    : GenericException(pDescription, pSourceFileName, SourceLine, "GenericException") {}

GenericException::GenericException(const char* pDescription, const char* pSourceFileName,
                                   unsigned int SourceLine, const char* pExceptionType)
    : GenericException(pDescription, pSourceFileName, SourceLine, "", "", pExceptionType) {}

GenericException::GenericException(const char* pDescription, const char* pSourceFileName,
                                   unsigned int SourceLine, const char* pEntryPoint,
                                   const char* pErrorNodeName, const char* pExceptionType)
    : m_description(Text(pDescription)),
      m_sourceFileName(Text(pSourceFileName)),
      m_entryPoint(Text(pEntryPoint)),
      m_errorNodeName(Text(pErrorNodeName)),
      m_exceptionType(Text(pExceptionType)),
      m_sourceLine(SourceLine) {
  m_what = m_description + " : " + m_exceptionType + " thrown";
  if (!m_errorNodeName.empty()) m_what += " in node '" + m_errorNodeName + "'";
  if (!m_entryPoint.empty()) m_what += " while calling '" + m_entryPoint + "'";
  m_what += " (file '" + m_sourceFileName + "', line " + std::to_string(m_sourceLine) + ")";
}

GenericException::GenericException(const GenericException&) = default;
GenericException& GenericException::operator=(const GenericException&) = default;
GenericException::~GenericException() = default;

const char* GenericException::GetDescription() const {
  return m_description.c_str();
}
const char* GenericException::GetSourceFileName() const {
  return m_sourceFileName.c_str();
}
unsigned int GenericException::GetSourceLine() const {
  return m_sourceLine;
}
const char* GenericException::what() const {
  return m_what.c_str();
}

#define GENICAM_DEFINE_EXCEPTION(Name)                                                           \
  Name::Name(const char* pDescription, const char* pSourceFileName, unsigned int SourceLine)     \
      : GenericException(pDescription, pSourceFileName, SourceLine, #Name) {}                    \
  Name::Name(const char* pDescription, const char* pSourceFileName, unsigned int SourceLine,     \
             const char* pExceptionType)                                                         \
      : GenericException(pDescription, pSourceFileName, SourceLine, pExceptionType) {}           \
  Name::Name(const char* pDescription, const char* pSourceFileName, unsigned int SourceLine,     \
             const char* pEntryPoint, const char* pErrorNodeName, const char* pExceptionType)    \
      : GenericException(pDescription, pSourceFileName, SourceLine, pEntryPoint, pErrorNodeName, \
                         pExceptionType) {}                                                      \
  Name::Name(const Name&) = default;                                                             \
  Name& Name::operator=(const Name&) = default;                                                  \
  Name::~Name() = default;

GENICAM_DEFINE_EXCEPTION(BadAllocException)
GENICAM_DEFINE_EXCEPTION(InvalidArgumentException)
GENICAM_DEFINE_EXCEPTION(OutOfRangeException)
GENICAM_DEFINE_EXCEPTION(PropertyException)
GENICAM_DEFINE_EXCEPTION(RuntimeException)
GENICAM_DEFINE_EXCEPTION(LogicalErrorException)
GENICAM_DEFINE_EXCEPTION(AccessException)
GENICAM_DEFINE_EXCEPTION(TimeoutException)
GENICAM_DEFINE_EXCEPTION(DynamicCastException)

std::string FormatExceptionText(const char* pFormat, va_list arguments) {
  char buffer[GENICAM_EXCEPTION_MESSAGE_SIZE] = "";
  if (pFormat) std::vsnprintf(buffer, sizeof buffer, pFormat, arguments);
  return buffer;
}

void CheckRange(int64_t Value, int64_t Min, int64_t Max, int64_t Inc, const char* pSourceFileName,
                unsigned int SourceLine) {
  const ExceptionReporter<OutOfRangeException> reporter(pSourceFileName, SourceLine,
                                                        "OutOfRangeException");
  const auto print = [](int64_t v) { return static_cast<long long>(v); };
  if (Value < Min) {
    throw reporter.Report("Value %lld must be greater than or equal %lld", print(Value),
                          print(Min));
  }
  if (Value > Max) {
    throw reporter.Report("Value %lld must be smaller than or equal %lld", print(Value),
                          print(Max));
  }
  if (Inc <= 0) {
    throw ExceptionReporter<LogicalErrorException>(pSourceFileName, SourceLine,
                                                   "LogicalErrorException")
        .Report("The increment %lld must be greater than 0", print(Inc));
  }
  // Unsigned, because a range of int64_t can be wider than int64_t.
  if ((uint64_t(Value) - uint64_t(Min)) % uint64_t(Inc) != 0) {
    throw reporter.Report(
        "The difference between value %lld and minimum %lld must be a multiple of %lld",
        print(Value), print(Min), print(Inc));
  }
}

void CheckRange(double Value, double Min, double Max, const char* pSourceFileName,
                unsigned int SourceLine) {
  const ExceptionReporter<OutOfRangeException> reporter(pSourceFileName, SourceLine,
                                                        "OutOfRangeException");
  if (std::isnan(Value)) throw reporter.Report("The value is not a number");
  if (Value < Min) throw reporter.Report("Value %f must be greater than or equal %f", Value, Min);
  if (Value > Max) throw reporter.Report("Value %f must be smaller than or equal %f", Value, Max);
}

}  // namespace GENICAM_NAMESPACE
