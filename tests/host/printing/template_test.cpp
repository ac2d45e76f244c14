#include "host/printing/template.h"

#include <gmock/gmock.h>

#include "host/printing/options.h"
#include "tests/host/journals/support.h"
#include "tests/host/printing/sample_rows.h"

namespace packetdb::host::test {
namespace {

std::string Filled(const std::string& text) {
  return PrintedRows({DroppedRow()}, SampleOptions("template=" + text), Names());
}

std::string TemplateError(const std::string& text) {
  return WhatOf<PrintError>([&] { Filled(text); });
}

TEST(Templates, AreTextWithFields) {
  EXPECT_EQ(Filled("{src}:{src_port} -> {dst}!"), "10.0.0.7:40000 -> 192.168.1.1!\n");
}

TEST(Templates, AlignFields) {
  EXPECT_EQ(Filled("[{count:4}][{count:<4}][{count:>4}][{count:^4}][{bytes:1}]"),
            "[3   ][3   ][   3][ 3  ][180]\n");
}

TEST(Templates, HaveBracesAndBackslashes) {
  EXPECT_EQ(Filled("{{{count}}}\\t\\\\\\n{{}}"), "{3}\t\\\n{}\n");
}

TEST(Templates, AreRefusedWithTheReason) {
  EXPECT_EQ(TemplateError("{src"),
            "template '{src' makes no sense: a { has no } behind it ({{ is a brace); give fields "
            "as {src} or {count:>8}");
  const auto expect = [](const char* text, const char* reason) {
    EXPECT_THAT(TemplateError(text), testing::HasSubstr(reason)) << text;
  };
  expect("src}", "a } has no { before it (}} is a brace)");
  expect("{}", "{} names no field");
  expect("{:8}", "{} names no field");
  expect("{src:x}", "'x' is no width");
  expect("{src:>}", "'>' is no width");
  expect("{src:1001}", "'1001' is no width");
  expect("{src}\\x", "behind a backslash stands n, t or a backslash");
  expect("{src}\\", "behind a backslash stands n, t or a backslash");
  expect("src", "it has no field");
  expect("", "it has no field");
}

TEST(Templates, AreRefusedForFieldsThatThereAreNot) {
  EXPECT_EQ(TemplateError("{src} {cuont}"), "there is no field 'cuont': did you mean count?");
}

}  // namespace
}  // namespace packetdb::host::test
