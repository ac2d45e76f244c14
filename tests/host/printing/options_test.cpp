#include "host/printing/options.h"

#include <gmock/gmock.h>

#include "tests/host/journals/support.h"

namespace packetdb::host::test {
namespace {

std::string FormatError(const std::string& text) {
  PrintOptions options;
  return WhatOf<PrintError>([&] { SetFormat(text, &options); });
}

TEST(PrintFormats, AreWords) {
  PrintOptions options;
  SetFormat("ndjson", &options);
  EXPECT_EQ(options.format, PrintFormat::kNdjson);
  SetFormat("template={src}=", &options);
  EXPECT_EQ(options.format, PrintFormat::kTemplate);
  EXPECT_EQ(options.template_text, "{src}=");
}

TEST(PrintFormats, ThatThereAreNotAreRefusedWithAllThereAre) {
  EXPECT_EQ(FormatError("xml"),
            "'xml' is not an output format: give table, wide, csv, tsv, json, ndjson, raw, or "
            "template=...");
  EXPECT_THAT(FormatError("jsno"), testing::EndsWith("; did you mean json?"));
  EXPECT_THAT(FormatError("template"), testing::EndsWith("; did you mean template?"));
}

}  // namespace
}  // namespace packetdb::host::test
