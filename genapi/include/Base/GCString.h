#pragma once
// SPDX-License-Identifier: Apache-2.0
// The string of the GenICam C++ interface: a sequence of bytes with a NUL behind it, with the
// operations of std::string that the interface names. A value type; distinct objects may be used by
// distinct threads.

#include <istream>
#include <ostream>
#include <string>

#include <Base/GCTypes.h>

#define GCSTRING_NPOS (static_cast<size_t>(-1))

namespace GENICAM_NAMESPACE {

class GCBASE_API gcstring {
 public:
  static constexpr size_t npos = static_cast<size_t>(-1);

  gcstring() = default;
  // A null pointer gives the empty string.
  gcstring(const char* pc) : m_text(pc ? pc : "") {}
  // The first n bytes at pc, NUL bytes included; empty when pc is null.
  gcstring(const char* pc, size_t n) : m_text(pc ? pc : "", pc ? n : 0) {}
  gcstring(size_t count, char ch) : m_text(count, ch) {}
  gcstring(const gcstring&) = default;
  gcstring(gcstring&&) noexcept = default;
  virtual ~gcstring();

  gcstring& append(const gcstring& str);
  gcstring& append(size_t count, char ch);
  gcstring& assign(const gcstring& str);
  gcstring& assign(size_t count, char ch);
  gcstring& assign(const char* pc);
  gcstring& assign(const char* pc, size_t n);
  // Less than, equal to, greater than zero, comparing bytes as unsigned.
  int compare(const gcstring& str) const { return m_text.compare(str.m_text); }
  const char* c_str() const { return m_text.c_str(); }
  bool empty() const { return m_text.empty(); }
  // Position of the first match at or behind offset, npos when there is none.
  size_t find(char ch, size_t offset = 0) const { return m_text.find(ch, offset); }
  size_t find(const gcstring& str, size_t offset = 0) const;
  // The same for the first count bytes of str.
  size_t find(const gcstring& str, size_t offset, size_t count) const;
  size_t find(const char* pc, size_t offset = 0) const;
  size_t find(const char* pc, size_t offset, size_t count) const;
  size_t length() const { return m_text.size(); }
  size_t size() const { return m_text.size(); }
  void resize(size_t n) { m_text.resize(n); }
  void reserve(size_t n = 0);
  // Throws OutOfRangeException when pos lies behind the end.
  gcstring& erase(size_t pos = 0, size_t len = GCSTRING_NPOS);
  size_t max_size() const { return m_text.max_size(); }
  // Throws OutOfRangeException when offset lies behind the end.
  gcstring substr(size_t offset = 0, size_t count = GCSTRING_NPOS) const;
  size_t find_first_of(const gcstring& str, size_t offset = 0) const;
  size_t find_first_not_of(const gcstring& str, size_t offset = 0) const;
  size_t find_last_of(const gcstring& str, size_t offset = GCSTRING_NPOS) const;
  size_t find_last_of(char c, size_t offset = GCSTRING_NPOS) const;
  size_t find_last_not_of(const gcstring& str, size_t offset = GCSTRING_NPOS) const;
  size_t find_last_not_of(char c, size_t offset = GCSTRING_NPOS) const;
  static size_t _npos() { return npos; }
  void swap(gcstring& Right) noexcept { m_text.swap(Right.m_text); }

  bool operator!=(const gcstring& str) const { return m_text != str.m_text; }
  bool operator!=(const char* pc) const { return m_text != (pc ? pc : ""); }
  bool operator==(const gcstring& str) const { return m_text == str.m_text; }
  bool operator==(const char* pc) const { return m_text == (pc ? pc : ""); }
  bool operator<(const gcstring& str) const { return m_text < str.m_text; }
  bool operator<(const char* pc) const { return m_text < (pc ? pc : ""); }
  bool operator>(const gcstring& str) const { return m_text > str.m_text; }
  bool operator>(const char* pc) const { return m_text > (pc ? pc : ""); }
  gcstring& operator+=(const gcstring& str);
  gcstring& operator+=(const char* pc);
  gcstring& operator+=(char ch);
  // On a constant string: a new string, this one unchanged.
  gcstring operator+=(const gcstring& str) const;
  gcstring operator+=(char ch) const;
  gcstring& operator=(const gcstring&) = default;
  gcstring& operator=(gcstring&&) noexcept = default;
  gcstring& operator=(const char* pc) { return assign(pc); }
  operator const char*() const { return m_text.c_str(); }

  // Allocation inside the library that made the string; BadAllocException when memory is out.
  static void* operator new(size_t uiSize);
  static void* operator new(size_t uiSize, void* pWhere);
  static void operator delete(void* pWhere);
  static void operator delete(void* pWhere, void* pNewWhere);

  friend GCBASE_API gcstring operator+(const gcstring& left, const gcstring& right);
  friend GCBASE_API gcstring operator+(const gcstring& left, const char* right);
  friend GCBASE_API gcstring operator+(const char* left, const gcstring& right);

 private:
  std::string m_text;
};

GCBASE_API gcstring operator+(const gcstring& left, const gcstring& right);
GCBASE_API gcstring operator+(const gcstring& left, const char* right);
GCBASE_API gcstring operator+(const char* left, const gcstring& right);

// Reads up to the delimiter, which is taken from the stream and dropped.
GCBASE_API std::istream& getline(std::istream& is, gcstring& str);
GCBASE_API std::istream& getline(std::istream& is, gcstring& str, char delim);
GCBASE_API std::ostream& operator<<(std::ostream& ostr, const gcstring& str);
// Reads one word, as std::string does.
GCBASE_API std::istream& operator>>(std::istream& istr, gcstring& str);

}  // namespace GENICAM_NAMESPACE
