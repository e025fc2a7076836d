// SPDX-License-Identifier: Apache-2.0
// Strings of the GenICam interface: the operations that are more than one line.

#include <Base/GCString.h>

#include <algorithm>
#include <cstring>
#include <new>

#include <Base/GCException.h>
#include <Base/GCStringVector.h>

namespace GENICAM_NAMESPACE {

namespace {

const char* OrEmpty(const char* pc) {
  return pc ? pc : "";
}

void CheckPosition(size_t position, size_t size) {
  if (position > size) {
    throw OUT_OF_RANGE_EXCEPTION("Position %zu lies behind the end of a string of %zu bytes",
                                 position, size);
  }
}

void* Allocate(size_t size) {
  void* p = ::operator new(size, std::nothrow);
  if (!p) throw BAD_ALLOC_EXCEPTION("Unable to allocate %zu bytes", size);
  return p;
}

}  // namespace

// Here, so that the virtual table has one home.
gcstring::~gcstring() = default;

gcstring& gcstring::append(const gcstring& str) {
  m_text.append(str.m_text);
  return *this;
}

gcstring& gcstring::append(size_t count, char ch) {
  m_text.append(count, ch);
  return *this;
}

gcstring& gcstring::assign(const gcstring& str) {
  return *this = str;
}

gcstring& gcstring::assign(size_t count, char ch) {
  m_text.assign(count, ch);
  return *this;
}

gcstring& gcstring::assign(const char* pc) {
  m_text.assign(OrEmpty(pc));
  return *this;
}

gcstring& gcstring::assign(const char* pc, size_t n) {
  m_text.assign(OrEmpty(pc), pc ? n : 0);
  return *this;
}

size_t gcstring::find(const gcstring& str, size_t offset) const {
  return m_text.find(str.m_text, offset);
}

size_t gcstring::find(const gcstring& str, size_t offset, size_t count) const {
  return m_text.find(str.m_text.data(), offset, std::min(count, str.m_text.size()));
}

size_t gcstring::find(const char* pc, size_t offset) const {
  return m_text.find(OrEmpty(pc), offset);
}

size_t gcstring::find(const char* pc, size_t offset, size_t count) const {
  pc = OrEmpty(pc);
  return m_text.find(pc, offset, strnlen(pc, count));
}

void gcstring::reserve(size_t n) {
  if (n > m_text.capacity()) m_text.reserve(n);
}

gcstring& gcstring::erase(size_t pos, size_t len) {
  CheckPosition(pos, m_text.size());
  m_text.erase(pos, len);
  return *this;
}

gcstring gcstring::substr(size_t offset, size_t count) const {
  CheckPosition(offset, m_text.size());
  return gcstring(m_text.data() + offset, std::min(count, m_text.size() - offset));
}

size_t gcstring::find_first_of(const gcstring& str, size_t offset) const {
  return m_text.find_first_of(str.m_text, offset);
}

size_t gcstring::find_first_not_of(const gcstring& str, size_t offset) const {
  return m_text.find_first_not_of(str.m_text, offset);
}

size_t gcstring::find_last_of(const gcstring& str, size_t offset) const {
  return m_text.find_last_of(str.m_text, offset);
}

size_t gcstring::find_last_of(char c, size_t offset) const {
  return m_text.find_last_of(c, offset);
}

size_t gcstring::find_last_not_of(const gcstring& str, size_t offset) const {
  return m_text.find_last_not_of(str.m_text, offset);
}

size_t gcstring::find_last_not_of(char c, size_t offset) const {
  return m_text.find_last_not_of(c, offset);
}

gcstring& gcstring::operator+=(const gcstring& str) {
  return append(str);
}

gcstring& gcstring::operator+=(const char* pc) {
  m_text.append(OrEmpty(pc));
  return *this;
}

gcstring& gcstring::operator+=(char ch) {
  m_text.push_back(ch);
  return *this;
}

gcstring gcstring::operator+=(const gcstring& str) const {
  return *this + str;
}

gcstring gcstring::operator+=(char ch) const {
  gcstring result(*this);
  result.m_text.push_back(ch);
  return result;
}

void* gcstring::operator new(size_t uiSize) {
  return Allocate(uiSize);
}
void* gcstring::operator new(size_t, void* pWhere) {
  return pWhere;
}
void gcstring::operator delete(void* pWhere) {
  ::operator delete(pWhere);
}
void gcstring::operator delete(void*, void*) {}

gcstring operator+(const gcstring& left, const gcstring& right) {
  gcstring result;
  result.m_text.reserve(left.size() + right.size());
  result.m_text.append(left.m_text).append(right.m_text);
  return result;
}

gcstring operator+(const gcstring& left, const char* right) {
  gcstring result(left);
  return result += right;
}

gcstring operator+(const char* left, const gcstring& right) {
  gcstring result(left);
  return result += right;
}

std::istream& getline(std::istream& is, gcstring& str) {
  return getline(is, str, '\n');
}

std::istream& getline(std::istream& is, gcstring& str, char delim) {
  std::string text;
  std::getline(is, text, delim);
  str.assign(text.data(), text.size());
  return is;
}

std::ostream& operator<<(std::ostream& ostr, const gcstring& str) {
  return ostr << std::string_view(str.c_str(), str.size());
}

std::istream& operator>>(std::istream& istr, gcstring& str) {
  std::string text;
  if (istr >> text) str.assign(text.data(), text.size());
  return istr;
}

gcstring_vector::~gcstring_vector() = default;

bool gcstring_vector::contains(const gcstring& str) const {
  return std::find(begin(), end(), str) != end();
}

void* gcstring_vector::operator new(size_t uiSize) {
  return Allocate(uiSize);
}
void gcstring_vector::operator delete(void* pWhere) {
  ::operator delete(pWhere);
}

}  // namespace GENICAM_NAMESPACE
