#pragma once
// SPDX-License-Identifier: Apache-2.0
// The exceptions of the GenICam C++ interface. They do not derive from std::exception. They own
// their texts, are thrown by value and caught by reference; the pointers they hand out live as long
// as the exception.

#include <cstdarg>
#include <sstream>
#include <string>

#include <Base/GCTypes.h>

namespace GENICAM_NAMESPACE {

class GCBASE_API GenericException {
 public:
  GenericException(const char* pDescription, const char* pSourceFileName, unsigned int SourceLine);
  GenericException(const char* pDescription, const char* pSourceFileName, unsigned int SourceLine,
                   const char* pExceptionType);
  GenericException(const char* pDescription, const char* pSourceFileName, unsigned int SourceLine,
                   const char* pEntryPoint, const char* pErrorNodeName, const char* pExceptionType);
  GenericException(const GenericException&);
  GenericException& operator=(const GenericException&);
  virtual ~GenericException();

  // The bare text.
  virtual const char* GetDescription() const;
  virtual const char* GetSourceFileName() const;
  virtual unsigned int GetSourceLine() const;
  // Description, exception type, node and entry point where they are known, file and line, in one
  // line of text.
  virtual const char* what() const;

 protected:
  std::string m_description;
  std::string m_sourceFileName;
  std::string m_entryPoint;
  std::string m_errorNodeName;
  std::string m_exceptionType;
  std::string m_what;
  unsigned int m_sourceLine;
};

#define GENICAM_DECLARE_EXCEPTION(Name)                                                    \
  class GCBASE_API Name : public GenericException {                                        \
   public:                                                                                 \
    Name(const char* pDescription, const char* pSourceFileName, unsigned int SourceLine);  \
    Name(const char* pDescription, const char* pSourceFileName, unsigned int SourceLine,   \
         const char* pExceptionType);                                                      \
    Name(const char* pDescription, const char* pSourceFileName, unsigned int SourceLine,   \
         const char* pEntryPoint, const char* pErrorNodeName, const char* pExceptionType); \
    Name(const Name&);                                                                     \
    Name& operator=(const Name&);                                                          \
    ~Name() override;                                                                      \
  }

GENICAM_DECLARE_EXCEPTION(BadAllocException);         // out of memory
GENICAM_DECLARE_EXCEPTION(InvalidArgumentException);  // bad argument, text that cannot be parsed
GENICAM_DECLARE_EXCEPTION(OutOfRangeException);       // value outside its range or off its grid
GENICAM_DECLARE_EXCEPTION(PropertyException);         // bad property in a description
GENICAM_DECLARE_EXCEPTION(RuntimeException);          // failures at run time, files included
GENICAM_DECLARE_EXCEPTION(LogicalErrorException);     // programming errors, null smart pointers
GENICAM_DECLARE_EXCEPTION(AccessException);           // the access mode forbids it
GENICAM_DECLARE_EXCEPTION(TimeoutException);
GENICAM_DECLARE_EXCEPTION(DynamicCastException);

#undef GENICAM_DECLARE_EXCEPTION

// Longest message that a reporter composes, its terminating NUL included; longer ones are cut.
enum { GENICAM_EXCEPTION_MESSAGE_SIZE = 2048 };

GCBASE_API std::string FormatExceptionText(const char* pFormat, va_list arguments);

// Makes an exception of kind E with a printf-style text. Used through the macros below: throw
// RUNTIME_EXCEPTION("...", x);
template <class E>
class ExceptionReporter {
 public:
  ExceptionReporter(const char* pSourceFileName, unsigned int SourceLine)
      : m_sourceFileName(pSourceFileName), m_sourceLine(SourceLine) {}
  ExceptionReporter(const char* pSourceFileName, unsigned int SourceLine,
                    const char* pExceptionType)
      : m_sourceFileName(pSourceFileName),
        m_exceptionType(pExceptionType),
        m_sourceLine(SourceLine) {}
  ExceptionReporter(const char* pSourceFileName, unsigned int SourceLine, const char* pEntryPoint,
                    const char* pErrorNodeName, const char* pExceptionType)
      : m_sourceFileName(pSourceFileName),
        m_entryPoint(pEntryPoint),
        m_errorNodeName(pErrorNodeName),
        m_exceptionType(pExceptionType),
        m_sourceLine(SourceLine) {}

  __attribute__((format(printf, 2, 3))) E Report(const char* pFormat, ...) const {
    va_list arguments;
    va_start(arguments, pFormat);
    const std::string text = FormatExceptionText(pFormat, arguments);
    va_end(arguments);
    return Make(text.c_str());
  }
  E Report() const { return Make(""); }
  E Report(const std::string& text) const { return Make(text.c_str()); }
  E Report(const std::stringstream& text) const { return Make(text.str().c_str()); }

 private:
  E Make(const char* pText) const {
    if (m_errorNodeName) {
      return E(pText, m_sourceFileName, m_sourceLine, m_entryPoint, m_errorNodeName,
               m_exceptionType);
    }
    if (m_exceptionType) return E(pText, m_sourceFileName, m_sourceLine, m_exceptionType);
    return E(pText, m_sourceFileName, m_sourceLine);
  }

  const char* m_sourceFileName;
  const char* m_entryPoint = nullptr;
  const char* m_errorNodeName = nullptr;
  const char* m_exceptionType = nullptr;
  unsigned int m_sourceLine;
};

// The checks behind CHECK_RANGE_I64 and CHECK_RANGE_FLT; throw OutOfRangeException.
GCBASE_API void CheckRange(int64_t Value, int64_t Min, int64_t Max, int64_t Inc,
                           const char* pSourceFileName, unsigned int SourceLine);
GCBASE_API void CheckRange(double Value, double Min, double Max, const char* pSourceFileName,
                           unsigned int SourceLine);

}  // namespace GENICAM_NAMESPACE

#define GENICAM_REPORTER(Name) \
  GENICAM_NAMESPACE::ExceptionReporter<GENICAM_NAMESPACE::Name>(__FILE__, __LINE__, #Name).Report

#define GENERIC_EXCEPTION          GENICAM_REPORTER(GenericException)
#define BAD_ALLOC_EXCEPTION        GENICAM_REPORTER(BadAllocException)
#define INVALID_ARGUMENT_EXCEPTION GENICAM_REPORTER(InvalidArgumentException)
#define OUT_OF_RANGE_EXCEPTION     GENICAM_REPORTER(OutOfRangeException)
#define PROPERTY_EXCEPTION         GENICAM_REPORTER(PropertyException)
#define RUNTIME_EXCEPTION          GENICAM_REPORTER(RuntimeException)
#define LOGICAL_ERROR_EXCEPTION    GENICAM_REPORTER(LogicalErrorException)
#define ACCESS_EXCEPTION           GENICAM_REPORTER(AccessException)
#define TIMEOUT_EXCEPTION          GENICAM_REPORTER(TimeoutException)
#define DYNAMICCAST_EXCEPTION      GENICAM_REPORTER(DynamicCastException)

#define CHECK_RANGE_I64(Value, Min, Max, Inc)                                             \
  GENICAM_NAMESPACE::CheckRange(int64_t(Value), int64_t(Min), int64_t(Max), int64_t(Inc), \
                                __FILE__, __LINE__)
#define CHECK_RANGE_FLT(Value, Min, Max) \
  GENICAM_NAMESPACE::CheckRange(double(Value), double(Min), double(Max), __FILE__, __LINE__)
#define CHECK_DYNAMIC_CAST_POINTER(Pointer) \
  if (nullptr == (Pointer))                 \
  throw DYNAMICCAST_EXCEPTION("Unable to perform cast %s, pointer is NULL", #Pointer)
