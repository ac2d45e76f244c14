#include "host/times/span.h"

#include <gmock/gmock.h>
#include <sstream>

#include "host/times/time_error.h"
#include "tests/host/journals/support.h"

namespace packetdb::host::test {
namespace {

std::string SpanError(std::string_view text) {
  return WhatOf<TimeError>([&] { ParseSpan(text); });
}

TEST(Spans, AreNumbersWithUnits) {
  EXPECT_EQ(ParseSpan("10m"), 600);
  EXPECT_EQ(ParseSpan("0s"), 0);
  EXPECT_EQ(ParseSpan("2 days"), 2 * 86400);
  EXPECT_EQ(ParseSpan("1M"), 2630016) << "30.44 days";
  EXPECT_EQ(ParseSpan("1y"), 31557600) << "365.25 days";
}

TEST(Spans, AddUp) {
  EXPECT_EQ(ParseSpan("1h30m"), 5400);
  EXPECT_EQ(ParseSpan("1h 30m"), 5400);
  EXPECT_EQ(ParseSpan(" 1 hour  30 min 5s "), 5405);
  EXPECT_EQ(ParseSpan("1m1M"), 60 + 2630016);
}

TEST(Spans, HaveUnitsInAllTheirForms) {
  const std::pair<const char*, std::int64_t> forms[] = {
      {"s sec secs second seconds", 1}, {"m min mins minute minutes", 60},
      {"h hr hrs hour hours", 3600},    {"d day days", 86400},
      {"w week weeks", 604800},         {"M month months", 2630016},
      {"y year years", 31557600}};
  for (const auto& [names, seconds] : forms) {
    std::istringstream words(names);
    for (std::string word; words >> word;) EXPECT_EQ(ParseSpan("3" + word), 3 * seconds) << word;
  }
}

TEST(Spans, NeedAUnitForEachNumber) {
  EXPECT_EQ(SpanError("10"),
            "'10' has a number without a unit: units are s, min, h, d, w, M for months, y");
  EXPECT_EQ(SpanError("1h 30"),
            "'1h 30' has a number without a unit: units are s, min, h, d, w, M for months, y");
}

TEST(Spans, HaveNoOtherUnits) {
  EXPECT_EQ(SpanError("3 Hours"),
            "'3 Hours' has the unit 'Hours', which is none: units are s, min, h, d, w, M for "
            "months, y");
}

TEST(Spans, AreRefusedWhenTheyAreNone) {
  for (const char* text : {"", " ", "m", "-1h", "1h,2m", "1.5h", "1h m", "h1"}) {
    EXPECT_THAT(SpanError(text), testing::HasSubstr("unit")) << text;
  }
}

TEST(Spans, HaveAnEnd) {
  EXPECT_EQ(ParseSpan("4294967295s"), kLongestSpan);
  for (const char* text : {"4294967296s", "137y", "4294967295s 1s", "99999999999999999999y"}) {
    EXPECT_EQ(SpanError(text),
              "'" + std::string(text) + "' is too long: 4294967295 seconds at most");
  }
}

}  // namespace
}  // namespace packetdb::host::test
