#include "tests/host/record_file/checked.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <ostream>
#include <unistd.h>

#include "host/record_file/inspect.h"
#include "host/record_file/open.h"

namespace packetdb::host {

void PrintTo(const Found& found, std::ostream* out) {
  *out << "byte " << std::get<0>(found) << ", severity " << static_cast<int>(std::get<1>(found))
       << ", " << std::get<2>(found);
}

Found Damage(std::uint64_t position, std::string_view kind) {
  return {position, Severity::kDamage, std::string(kind)};
}
Found Warning(std::uint64_t position, std::string_view kind) {
  return {position, Severity::kWarning, std::string(kind)};
}
Found Note(std::uint64_t position, std::string_view kind) {
  return {position, Severity::kNote, std::string(kind)};
}

Checked Check(const std::string& path, const std::function<void()>& meanwhile) {
  Checked checked;
  Descriptor file;
  checked.result = OpenUnlocked(path, Access::kRead, &file);
  if (checked.result < 0) return checked;
  checked.result = CheckRecordFile(file, [&](const Finding& finding) {
    EXPECT_NE(finding.text, "");
    EXPECT_EQ(finding.text.find('\n'), std::string::npos);
    checked.found.emplace_back(finding.position, finding.severity, finding.kind);
    checked.texts.push_back(finding.text);
    if (meanwhile) meanwhile();
  });
  return checked;
}

Checked CheckBytes(const std::string& path, const Bytes& bytes) {
  WriteBytes(path, bytes);
  Checked checked = Check(path);
  EXPECT_EQ(ReadBytes(path), bytes) << "and nothing is written";
  return checked;
}

std::vector<Found> FindingsIn(const std::string& path) {
  Checked checked = Check(path);
  EXPECT_EQ(checked.result, kRecordFileOk);
  return checked.found;
}

void FlipBit(const std::string& path, std::uint64_t bit) {
  const Descriptor file(open(path.c_str(), O_RDWR | O_CLOEXEC));
  unsigned char byte = 0;
  const auto at = static_cast<off_t>(bit / 8);
  ASSERT_EQ(pread(file.get(), &byte, 1, at), 1);
  byte = static_cast<unsigned char>(byte ^ (1U << (bit % 8)));
  ASSERT_EQ(pwrite(file.get(), &byte, 1, at), 1);
}

std::uint64_t OffsetIn(const std::string& path, std::uint64_t sequence) {
  Descriptor file;
  FileFacts facts;
  EXPECT_EQ(OpenUnlocked(path, Access::kRead, &file), kRecordFileOk);
  EXPECT_EQ(InspectDespiteLength(file, &facts), kRecordFileOk);
  return OffsetOf(facts.geometry, sequence);
}

}  // namespace packetdb::host
