#include "tests/faults/death/view.h"

#include <fmt/format.h>

#include "host/record_file/result.h"
#include "platform/record_file.h"

namespace packetdb::faults {
namespace {

constexpr std::size_t kShown = 4;  // records at each end

std::string Describe(const std::optional<Identity>& record) {
  return record ? fmt::format(" {}.{}", record->number, record->version) : " torn";
}

}  // namespace

int Open(CDbFile& file, const FileOptions& options, int mode) {
  return file.Init(options.path, kMagic, options.record_size, options.capacity, mode);
}

int Append(CDbFile& file, const FileOptions& options, const Identity& identity) {
  return file.AppendRecord(MakeRecord(identity, options.record_size).data());
}

int Overwrite(CDbFile& file, const FileOptions& options, int ticket, const Identity& identity) {
  return file.WriteRecord(ticket, MakeRecord(identity, options.record_size).data());
}

View ViewOf(CDbFile& file, std::size_t record_size) {
  View view;
  RecordBytes record(record_size);
  const int count = file.RecordCount();
  for (int position = 0; position < count; ++position) {
    const bool got = file.ReadRecord(position, record.data()) >= 0;
    view.push_back(got ? IdentityOf(record.data(), record_size) : std::nullopt);
  }
  return view;
}

Opened LookAt(const FileOptions& options, int mode) {
  CDbFile file;
  Opened opened;
  opened.result = Open(file, options, mode);
  if (opened.result >= 0) opened.view = ViewOf(file, options.record_size);
  return opened;
}

std::string Describe(const View& view) {
  std::string text = fmt::format("{} records", view.size());
  for (std::size_t i = 0; i < view.size(); ++i) {
    const bool shown = i < kShown || i + kShown >= view.size();
    if (shown) text += Describe(view[i]);
    if (i == kShown && !shown) text += " ...";
  }
  return text;
}

std::string Describe(const Opened& opened) {
  if (opened.result >= 0) return Describe(opened.view);
  return fmt::format("{}: {}", opened.result, host::DescribeRecordFileResult(opened.result));
}

}  // namespace packetdb::faults
