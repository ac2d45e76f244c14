#include "host/printing/fields.h"

#include <gmock/gmock.h>
#include <set>

#include "tests/host/journals/support.h"
#include "tests/host/printing/sample_rows.h"

namespace packetdb::host::test {
namespace {

TEST(RowFields, HaveNamesOfTheirOwn) {
  std::set<std::string> names;
  for (const Field& field : RowFields()) EXPECT_TRUE(names.insert(field.name).second);
  EXPECT_EQ(names.size(), 27U);
}

TEST(RowFields, AreChosenInTheOrderGiven) {
  PrintOptions options = SampleOptions("csv");
  options.fields = ParseFields("dst,count,src");
  EXPECT_THAT(PrintedRows({}, options, Names()), "dst,count,src\r\n");
}

TEST(RowFields, OfATemplateAreThoseThatItNames) {
  const auto fields = ChosenFields(SampleOptions("template={src} {count} {src}"));
  ASSERT_EQ(fields.size(), 2U);
  EXPECT_STREQ(fields[0]->name, "src");
  EXPECT_STREQ(fields[1]->name, "count");
}

TEST(RowFields, ThatThereAreNotAreRefusedWithTheNearest) {
  EXPECT_EQ(WhatOf<PrintError>([] { ParseFields("src,src_prot"); }),
            "there is no field 'src_prot': did you mean src_port?");
  EXPECT_THAT(WhatOf<PrintError>([] { ParseFields("everything"); }),
              testing::StartsWith("there is no field 'everything': fields are first, last, count"));
  EXPECT_THAT(WhatOf<PrintError>([] { ParseFields(""); }), testing::StartsWith("there is no"));
  EXPECT_THAT(WhatOf<PrintError>([] { ParseFields("src,"); }), testing::StartsWith("there is no"));
}

TEST(RowFields, OfEveryFormatAreSome) {
  for (const char* format : {"table", "wide", "csv", "tsv", "json", "ndjson", "raw"}) {
    EXPECT_GT(ChosenFields(SampleOptions(format)).size(), 10U) << format;
  }
}

}  // namespace
}  // namespace packetdb::host::test
