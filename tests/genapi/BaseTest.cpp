// SPDX-License-Identifier: Apache-2.0
// Strings, sequences, exceptions, locks and utilities of the base library.
#include <Base/GCBase.h>
#include <Base/GCSynch.h>
#include <GenApi/Container.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <sstream>
#include <thread>

namespace {

using GenICam::gcstring;
using GenICam::gcstring_vector;
constexpr size_t sk_npos = gcstring::npos;

struct FindCase {
  const char* Name;
  std::function<size_t(const gcstring&)> Search;
  size_t Expected;
};

class GcStringFind : public testing::TestWithParam<FindCase> {};

TEST_P(GcStringFind, AnswersPositionInAbcabcOrNpos) {
  EXPECT_EQ(GetParam().Search("abcabc"), GetParam().Expected);
}

#define SEARCH(expression) [](const gcstring& s) { return s.expression; }
INSTANTIATE_TEST_SUITE_P(
    Searches, GcStringFind,
    testing::Values(FindCase{"Char", SEARCH(find('b')), 1},
                    FindCase{"CharFrom", SEARCH(find('b', 2)), 4},
                    FindCase{"CharBehindEnd", SEARCH(find('b', 99)), sk_npos},
                    FindCase{"String", SEARCH(find(gcstring("ca"))), 2},
                    FindCase{"Text", SEARCH(find("abc", 1)), 3},
                    FindCase{"TextPart", SEARCH(find("abX", 1, 2)), 3},
                    FindCase{"StringPartLongerThanString", SEARCH(find(gcstring("ab"), 1, 99)), 3},
                    FindCase{"NullTextIsEmpty", SEARCH(find(static_cast<const char*>(nullptr), 2)),
                             2},
                    FindCase{"FirstOf", SEARCH(find_first_of("xc")), 2},
                    FindCase{"FirstNotOf", SEARCH(find_first_not_of("ab")), 2},
                    FindCase{"LastOfChar", SEARCH(find_last_of('a')), 3},
                    FindCase{"LastOfUpTo", SEARCH(find_last_of("a", 2)), 0},
                    FindCase{"LastNotOf", SEARCH(find_last_not_of("bc")), 3},
                    FindCase{"LastNotOfChar", SEARCH(find_last_not_of('c')), 4},
                    FindCase{"Nowhere", SEARCH(find("x")), sk_npos}),
    [](const auto& info) { return std::string(info.param.Name); });
#undef SEARCH

TEST(GcString, KeepsNulBytesThatItWasGivenWithALength) {
  const gcstring text("a\0b", 3);
  EXPECT_EQ(text.size(), 3u);
  std::ostringstream os;
  os << text;
  EXPECT_EQ(os.str(), std::string("a\0b", 3));
  EXPECT_NE(text, gcstring("a"));
}

TEST(GcString, TakesNullAsEmpty) {
  const char* pNull = nullptr;
  gcstring text(pNull);
  EXPECT_TRUE(text.empty());
  EXPECT_TRUE(text == pNull);
  text = "x";
  text += pNull;
  EXPECT_EQ((text + pNull).size(), 1u);
  text = pNull;
  EXPECT_TRUE(gcstring(pNull, 5).empty() && text.empty());
}

TEST(GcString, AppendsToItselfAndLeavesConstantsAlone) {
  gcstring text("ab");
  text += text;
  EXPECT_STREQ(text.c_str(), "abab");
  const gcstring constant("x");
  EXPECT_STREQ((constant += 'y').c_str(), "xy");
  EXPECT_STREQ((constant += gcstring("z")).c_str(), "xz");
  EXPECT_STREQ(constant, "x");
}

TEST(GcString, RefusesPositionsBehindTheEnd) {
  gcstring text("abc");
  EXPECT_STREQ(text.substr(3).c_str(), "");
  EXPECT_STREQ(text.substr(1, 1).c_str(), "b");
  EXPECT_THROW(text.substr(4), GenICam::OutOfRangeException);
  EXPECT_THROW(text.erase(4), GenICam::OutOfRangeException);
  EXPECT_STREQ(text.erase(1, 99).c_str(), "a");
}

TEST(GcString, ComparesWithTextFromEitherSide) {
  const gcstring text("abc");
  EXPECT_TRUE("abc" == text && text == "abc" && text != "abd" && text < "abd" &&
              gcstring("b") > text);
  EXPECT_LT(text.compare("abd"), 0);
  EXPECT_STREQ(("x" + text + "y").c_str(), "xabcy");
}

TEST(GcString, IsReadByLineByDelimiterAndByWord) {
  std::istringstream is("one two\nthree;four");
  gcstring line;
  gcstring part;
  gcstring word;
  GenICam::getline(is, line);
  getline(is, part, ';');
  is >> word;
  EXPECT_STREQ(line, "one two");
  EXPECT_STREQ(part, "three");
  EXPECT_STREQ(word, "four");
}

TEST(GcStringVector, InsertsErasesAndFinds) {
  gcstring_vector list(2, "x");
  list.insert(1, "a");
  list.insert(list.begin(), "first");
  list.push_back("last");
  ASSERT_EQ(list.size(), 5u);
  EXPECT_TRUE(list.contains("a") && !list.contains("A"));
  list.erase(0);
  list.erase(list.end() - 1);
  std::sort(list.begin(), list.end());
  EXPECT_STREQ(list.front(), "a");
  EXPECT_STREQ(list[2], "x");
  gcstring_vector copy;
  EXPECT_EQ(copy.assign(list).size(), 3u);
}

TEST(GcStringVector, ThrowsForIndexesThatAreNotThere) {
  gcstring_vector list;
  EXPECT_THROW(list.at(0), GenICam::OutOfRangeException);
  EXPECT_THROW(list.front(), GenICam::OutOfRangeException);
  EXPECT_THROW(list.back(), GenICam::OutOfRangeException);
  EXPECT_THROW(list.pop_back(), GenICam::OutOfRangeException);
  EXPECT_THROW(list.insert(1, "x"), GenICam::OutOfRangeException);
  EXPECT_THROW(list.erase(0), GenICam::OutOfRangeException);
}

struct ExceptionCase {
  const char* Name;
  std::function<void()> Throw;
};

class ExceptionMacros : public testing::TestWithParam<ExceptionCase> {};

TEST_P(ExceptionMacros, ThrowTheirOwnClassWithBareAndAssembledText) {
  try {
    GetParam().Throw();
    FAIL() << "nothing was thrown";
  } catch (const GenICam::GenericException& error) {
    EXPECT_STREQ(error.GetDescription(), "value 7 of x");
    EXPECT_STREQ(error.GetSourceFileName(), __FILE__);
    const std::string what = error.what();
    EXPECT_EQ(what, std::string("value 7 of x : ") + GetParam().Name + " thrown (file '" +
                        __FILE__ + "', line " + std::to_string(error.GetSourceLine()) + ")");
  }
}

template <class Expected, class Reporter>
ExceptionCase Case(const char* pName, Reporter reporter) {
  return {pName, [reporter, pName] {
            try {
              throw reporter();
            } catch (const Expected&) {
              throw;
            } catch (...) {
              ADD_FAILURE() << "another class than " << pName;
              throw;
            }
          }};
}

#define EXCEPTION_CASE(Class, MACRO) \
  Case<GenICam::Class>(#Class, [] { return MACRO("value %d of %s", 7, "x"); })
INSTANTIATE_TEST_SUITE_P(
    Classes, ExceptionMacros,
    testing::Values(EXCEPTION_CASE(GenericException, GENERIC_EXCEPTION),
                    EXCEPTION_CASE(BadAllocException, BAD_ALLOC_EXCEPTION),
                    EXCEPTION_CASE(InvalidArgumentException, INVALID_ARGUMENT_EXCEPTION),
                    EXCEPTION_CASE(OutOfRangeException, OUT_OF_RANGE_EXCEPTION),
                    EXCEPTION_CASE(PropertyException, PROPERTY_EXCEPTION),
                    EXCEPTION_CASE(RuntimeException, RUNTIME_EXCEPTION),
                    EXCEPTION_CASE(LogicalErrorException, LOGICAL_ERROR_EXCEPTION),
                    EXCEPTION_CASE(AccessException, ACCESS_EXCEPTION),
                    EXCEPTION_CASE(TimeoutException, TIMEOUT_EXCEPTION),
                    EXCEPTION_CASE(DynamicCastException, DYNAMICCAST_EXCEPTION)),
    [](const auto& info) { return std::string(info.param.Name); });

TEST(Exceptions, NameNodeAndEntryPointAndOwnTheirTexts) {
  std::string text(5000, 'a');
  GenICam::AccessException error(text.c_str(), "F.cpp", 12, "SetValue", "Gain", "AccessException");
  const GenICam::GenericException copy = error;
  text.clear();
  EXPECT_EQ(std::string(copy.GetDescription()).size(), 5000u);
  EXPECT_NE(std::string(copy.what())
                .find("thrown in node 'Gain' while calling 'SetValue' (file 'F.cpp', line 12)"),
            std::string::npos);
}

TEST(Exceptions, CutComposedTextsAtTheirLimit) {
  const std::string text(5000, 'a');
  EXPECT_EQ(std::string(RUNTIME_EXCEPTION("%s", text.c_str()).GetDescription()).size(), 2047u);
}

struct RangeCase {
  int64_t Value, Min, Max, Inc;
  bool IsGood;
};

TEST(RangeChecks, HoldBoundsAndGridOverTheFullWidth) {
  constexpr RangeCase sk_cases[] = {
      {5, 0, 10, 5, true},
      {6, 0, 10, 5, false},
      {-1, 0, 10, 1, false},
      {11, 0, 10, 1, false},
      {INT64_MAX, INT64_MIN, INT64_MAX, 1, true},
      {INT64_MAX, INT64_MIN, INT64_MAX, 2, false},
      {INT64_MAX - 1, INT64_MIN, INT64_MAX, 2, true},
  };
  for (const RangeCase& c : sk_cases) {
    SCOPED_TRACE(c.Value);
    if (c.IsGood) {
      EXPECT_NO_THROW(CHECK_RANGE_I64(c.Value, c.Min, c.Max, c.Inc));
    } else {
      EXPECT_THROW(CHECK_RANGE_I64(c.Value, c.Min, c.Max, c.Inc), GenICam::OutOfRangeException);
    }
  }
  EXPECT_THROW(CHECK_RANGE_I64(1, 0, 10, 0), GenICam::LogicalErrorException);
  EXPECT_THROW(CHECK_RANGE_FLT(1.5, 0, 1), GenICam::OutOfRangeException);
  EXPECT_THROW(CHECK_RANGE_FLT(std::nan(""), 0, 1), GenICam::OutOfRangeException);
}

TEST(Utilities, CastIntegersOnlyWhenTheyFit) {
  EXPECT_EQ((GenICam::INTEGRAL_CAST<uint8_t>(255)), 255);
  EXPECT_THROW((GenICam::INTEGRAL_CAST<uint8_t>(256)), GenICam::RuntimeException);
  EXPECT_THROW((GenICam::INTEGRAL_CAST<uint64_t>(-1)), GenICam::RuntimeException);
  EXPECT_THROW((GenICam::INTEGRAL_CAST2<int64_t, uint64_t>(UINT64_MAX)), GenICam::RuntimeException);
}

TEST(Utilities, CodeUrlsAndLeaveMalformedEscapesAlone) {
  EXPECT_STREQ(GenICam::UrlEncode("a b%\xff~"), "a%20b%25%FF~");
  EXPECT_STREQ(GenICam::UrlDecode("a%20b%2x%4"), "a b%2x%4");
}

TEST(Utilities, ReplaceVariablesAndSplitTokens) {
  setenv("ORVEX_TEST_VARIABLE", "x y", 1);
  gcstring text("/$(ORVEX_TEST_VARIABLE)/$(ORVEX_TEST_VARIABLE");
  GenICam::ReplaceEnvironmentVariables(text, true);
  EXPECT_STREQ(text, "/x%20y/$(ORVEX_TEST_VARIABLE");
  gcstring missing("$(ORVEX_TEST_VARIABLE_THAT_IS_NOT_SET)");
  EXPECT_THROW(GenICam::ReplaceEnvironmentVariables(missing), GenICam::RuntimeException);
  gcstring_vector tokens;
  GenICam::Tokenize(" a,,b ", tokens, ", ");
  ASSERT_EQ(tokens.size(), 2u);
  EXPECT_STREQ(tokens[1], "b");
}

TEST(Lock, IsRecursiveAndKeepsOthersOut) {
  GenICam::CLockEx lock;
  lock.Lock();
  EXPECT_TRUE(lock.TryLock());
  EXPECT_EQ(lock.GetRecursionCount(), 2);
  EXPECT_EQ(lock.GetLockCount(), 1);
  bool taken = true;
  std::thread([&] { taken = lock.TryLock(); }).join();
  EXPECT_FALSE(taken);
  lock.Unlock();
  lock.Unlock();
  EXPECT_EQ(lock.GetLockCount(), 0);
  std::thread([&] {
    taken = lock.TryLock();
    if (taken) lock.Unlock();
  }).join();
  EXPECT_TRUE(taken);
}

}  // namespace
