#include "host/intake/page_rows.h"

#include <gmock/gmock.h>
#include <memory>
#include <string>

namespace packetdb::host::test {
namespace {

class RowsOfThePage : public testing::Test {
 protected:
  const std::unique_ptr<StatusPage> page_ = std::make_unique<StatusPage>();
};

TEST_F(RowsOfThePage, AreFoundByName) {
  JournalStatus* const row = FreeRow(page_->journals);
  ASSERT_EQ(row, page_->journals.data());
  NameRow(*row, "lan");
  EXPECT_EQ(FindRow(page_->journals, "lan"), row);
  EXPECT_EQ(FindRow(page_->journals, "la"), nullptr);
  EXPECT_EQ(FindRow(page_->journals, "lan0"), nullptr);
  EXPECT_EQ(FreeRow(page_->journals), row + 1);
}

TEST_F(RowsOfThePage, HaveNamesUpToTheirSize) {
  const std::string name(60, 'n');
  NameRow(*FreeRow(page_->journals), name);
  EXPECT_EQ(FindRow(page_->journals, name), page_->journals.data());
  EXPECT_EQ(std::string(page_->journals[0].name.data()), std::string(kStatusNameSize - 1, 'n'));
}

TEST_F(RowsOfThePage, RunOut) {
  for (std::size_t i = 0; i < kMostJournals; ++i) {
    NameRow(*FreeRow(page_->journals), std::to_string(i));
  }
  EXPECT_EQ(FreeRow(page_->journals), nullptr);
  EXPECT_EQ(FindRow(page_->journals, "63"), &page_->journals.back());
}

}  // namespace
}  // namespace packetdb::host::test
